#pragma once
// QZ_COMMONADDONS_API marks a class as exported from the shared library; everything unmarked stays hidden.

#if defined(QZ_COMMONADDONS_STATIC)
/// Precedes the name of an exported class. Empty for a static library; the CMake target defines QZ_COMMONADDONS_STATIC
/// for its users.
#define QZ_COMMONADDONS_API
#elif defined(_WIN32)
#if defined(QZ_COMMONADDONS_BUILD)
#define QZ_COMMONADDONS_API __declspec(dllexport)
#else
#define QZ_COMMONADDONS_API __declspec(dllimport)
#endif
#else
#define QZ_COMMONADDONS_API __attribute__((visibility("default")))
#endif
