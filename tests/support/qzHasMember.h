#pragma once
// Whether a class has a public member of a name, as has_name<Class>. The name must not be overloaded.

#include <type_traits>

#define QZ_TEST_HAS_MEMBER(name)       \
  template <class Class, class = void> \
  constexpr bool has_##name = false;   \
  template <class Class>               \
  constexpr bool has_##name<Class, std::void_t<decltype(&Class::name)>> = true;
