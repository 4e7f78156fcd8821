// How a kernel file reaches its row functions.
//
// With vector paths (YCORE_SIMD), a kernel file is compiled once per
// processor target through Highway's foreach_target, exports its row
// functions with YCORE_EXPORT and calls them through YCORE_ROW, which picks
// the best target the processor runs (on the first call, then through a
// table). Without them, YCORE_ROW calls the scalar reference of the same
// name in namespace ycore::ref, and YCORE_EXPORT is nothing.
//
// The pattern of a kernel file k.cpp, whose scalar reference is in k.h:
//
//   #if YCORE_SIMD
//   #undef HWY_TARGET_INCLUDE
//   #define HWY_TARGET_INCLUDE "core/kernels/k.cpp"
//   #include "hwy/foreach_target.h"
//   #include "hwy/highway.h"
//   HWY_BEFORE_NAMESPACE();
//   namespace ycore { namespace HWY_NAMESPACE { ... row functions ... } }
//   HWY_AFTER_NAMESPACE();
//   #endif
//   #if !YCORE_SIMD || HWY_ONCE
//   #include "core/kernels/dispatch.h"
//   namespace ycore { YCORE_EXPORT(RowFunction); }
//   extern "C" int yip_...(...) { checks, then YCORE_ROW(RowFunction)(...) per row }
//   #endif
#ifndef TLKCORE_KERNELS_DISPATCH_H
#define TLKCORE_KERNELS_DISPATCH_H

#if YCORE_SIMD
#include "hwy/highway.h"
#define YCORE_EXPORT(f) HWY_EXPORT(f)
#define YCORE_ROW(f) HWY_DYNAMIC_DISPATCH(f)
#else
#define YCORE_EXPORT(f) static_assert(true)
#define YCORE_ROW(f) ::ycore::ref::f
#endif

#endif
