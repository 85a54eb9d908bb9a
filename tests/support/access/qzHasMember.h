#pragma once
// QZ_TEST_HAS_MEMBER(name) defines has_name<Class>: whether Class has a public member of that name, not overloaded.

#include <type_traits>

#define QZ_TEST_HAS_MEMBER(name)       \
  template <class Class, class = void> \
  constexpr bool has_##name = false;   \
  template <class Class>               \
  constexpr bool has_##name<Class, std::void_t<decltype(&Class::name)>> = true;
