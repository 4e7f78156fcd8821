// Canonical source names.
//
// Assertions and archive errors name the source that reports them. The name is
// the module path without extension, the same on every machine and build
// directory (never __FILE__). A source file says which name it reports with
//     constexpr const char* kSourceName = ycSource::archive;
// and templates in headers declare the same name as a class member.
#ifndef TLVSTD_UTIL_SOURCES_H
#define TLVSTD_UTIL_SOURCES_H

namespace ycSource {
inline constexpr const char* except = "std/except/except";
inline constexpr const char* archive = "archive";
inline constexpr const char* pbufCom = "std/pelbuf/pbuf_com";
inline constexpr const char* pelfunc = "std/pelbuf/pelfunc";
inline constexpr const char* vector = "std/math/vector";
inline constexpr const char* matrix = "std/math/matrix";
inline constexpr const char* range = "std/math/range";
inline constexpr const char* xform = "std/math/xform";
inline constexpr const char* xfbase = "std/math/xfbase";
inline constexpr const char* xflinear = "std/math/xflinear";
inline constexpr const char* xfcomp = "std/math/xfcomp";
} // namespace ycSource

#endif
