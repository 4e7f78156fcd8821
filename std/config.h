// Build configuration shared by every header of the library.
#ifndef TLVSTD_CONFIG_H
#define TLVSTD_CONFIG_H

// TLVSTD_API marks what the library exports: every exception and persistent
// class, the free functions, and the explicit pixel-type instantiations.
#if defined(_WIN32) && !defined(TLVSTD_STATIC)
#  if defined(TLVSTD_BUILDING)
#    define TLVSTD_API __declspec(dllexport)
#  else
#    define TLVSTD_API __declspec(dllimport)
#  endif
#else
#  define TLVSTD_API __attribute__((visibility("default")))
#endif

#endif
