// Export marker for the library's public classes and functions.
// Every symbol an application may use carries VEXAPI_API; the Linux build hides the rest
// (-fvisibility=hidden), so a missing marker fails on both builds alike.
#pragma once

#if defined(_WIN32)
#  if defined(VEXAPI_STATIC) && !defined(VEXAPI_BUILDING)
#    define VEXAPI_API // linked from the static archive the internal test suites use
#  elif defined(VEXAPI_BUILDING)
#    define VEXAPI_API __declspec(dllexport)
#  else
#    define VEXAPI_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__)
#  define VEXAPI_API __attribute__((visibility("default")))
#else
#  define VEXAPI_API
#endif
