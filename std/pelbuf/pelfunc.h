// Pixel operations: the framework they share.
//
// A pixel operation is a free function over pel buffers. It runs in two
// steps: preparation matches the windows of its operands and allocates an
// unbound destination, then a row kernel runs once per row of the common
// window. The operations themselves are in pelcopy.h (copy, conversion, set,
// clear, equality), pelarith.h (arithmetic, minimum and maximum, division,
// square-accumulate, table maps), pelgeom.h (flips, transpose, sampling,
// averaging, border, median, inversion) and pelcolor.h (colour packing and
// extraction).
//
// Windows are matched by image coordinates, not by first pels: the common
// window is the intersection of the operands' windows in image coordinates,
// and pel (x, y) of the result comes from pel (x, y) of each source.
//
// Preparation (yfPelPrepare_*), for every operation:
//   1. every source must be bound, else ycPel::UnboundWindow;
//   2. an unbound destination is left to the caller: only the sources are
//      intersected;
//   3. otherwise all windows are intersected; when the intersection is empty
//      every operand gets subWindow(0, 0, 0, 0), else every operand's window
//      becomes the intersection (never clipped);
//   4. a destination that shares pels with a source without being the very
//      same view is ycPelFunc::Overlap. The same view in place is allowed;
//      a sub-window of a source is not.
// The overlap is checked on the operands as given, before any window
// changes, so a refused call leaves every operand as it was.
//
// The public operations copy their source views before preparing (a copy is
// cheap and shares the pels), so a caller's sources keep their windows; the
// destination's window becomes the common window, which is how the result is
// seen. When the operands have no common window the destination's window is
// empty and its pels are untouched. Every operation with a non-empty result
// copies the (first) source's client transform to the destination.
//
// Allocation (yf_PelPrepareAlloc_*): an unbound destination becomes a new
// buffer of the common window's size (rows aligned to 32 bytes) whose offset
// is the first source's, so the result sits at the input's image
// coordinates. An empty common window allocates nothing.
//
// Kernels. A row kernel is an object with one virtual call per row, given
// row pointers and a count of pels; its parameters (a shift, a table) are
// fields. Pointers are the buffer's pointer types: T* for one array, three
// plane pointers for yc3PlanePel. Kernels that the core computes go through
// an image descriptor (yf_PelImage) instead, one call per image.
//
// Failures: ycPelFunc::Range (a strict map table met a value outside its
// range), Overlap (see above), BadParams (a parameter outside its domain);
// and the ycPel errors of the buffers. A core status turns into an exception
// through yfThrowExceptionOnFailure<ycPelFunc::BadParams>.
#ifndef TLVSTD_PELBUF_PELFUNC_H
#define TLVSTD_PELBUF_PELFUNC_H

#include "core/ypel.h"
#include "std/except/except.h"
#include "std/except/status.h"
#include "std/pelbuf/pelbuf.h"

#include <cstdint>
#include <initializer_list>

class ycPelFunc {
public:
    ymErrorGroup(ycException);
    ymError(Range, Errors);
    ymError(Overlap, Errors);
    ymError(BadParams, Errors);
};

// --- row kernels -------------------------------------------------------------

template <ycPelType T>
using yc_PelPtr = typename ycPelPointers<T>::pointer;
template <ycPelType T>
using yc_PelPtr_const = typename ycPelPointers<T>::const_pointer;

// One source row to one destination row.
template <ycPelType S, ycPelType D>
class yc_Kernel_1s1d {
public:
    virtual ~yc_Kernel_1s1d() = default;
    virtual void process(yc_PelPtr_const<S> src, yc_PelPtr<D> dst, std::int32_t count) = 0;
};

// Two source rows to one destination row.
template <ycPelType S1, ycPelType S2, ycPelType D>
class yc_Kernel_2s1d {
public:
    virtual ~yc_Kernel_2s1d() = default;
    virtual void process(yc_PelPtr_const<S1> src1, yc_PelPtr_const<S2> src2, yc_PelPtr<D> dst,
                         std::int32_t count) = 0;
};

// A row that is read only (a running minimum, a histogram).
template <ycPelType S>
class yc_Kernel_1s {
public:
    virtual ~yc_Kernel_1s() = default;
    virtual void process(yc_PelPtr_const<S> src, std::int32_t count) = 0;
};

// --- preparation -------------------------------------------------------------

// The rule above over any number of sources and destinations; returns the
// common window in image coordinates (empty when there is none). Unbound
// destinations are skipped.
TLVSTD_API ycPelRect yf_PelPrepare(std::initializer_list<yc_PelBuffer*> sources,
                                   std::initializer_list<yc_PelBuffer*> destinations);

inline ycPelRect yfPelPrepare_1s1d(yc_PelBuffer& src, yc_PelBuffer& dst) { return yf_PelPrepare({&src}, {&dst}); }
inline ycPelRect yfPelPrepare_2s1d(yc_PelBuffer& src1, yc_PelBuffer& src2, yc_PelBuffer& dst)
{
    return yf_PelPrepare({&src1, &src2}, {&dst});
}
inline ycPelRect yfPelPrepare_3s1d(yc_PelBuffer& src1, yc_PelBuffer& src2, yc_PelBuffer& src3, yc_PelBuffer& dst)
{
    return yf_PelPrepare({&src1, &src2, &src3}, {&dst});
}
inline ycPelRect yfPelPrepare_2s2d(yc_PelBuffer& src1, yc_PelBuffer& src2, yc_PelBuffer& dst1, yc_PelBuffer& dst2)
{
    return yf_PelPrepare({&src1, &src2}, {&dst1, &dst2});
}

// When `scratch` is unbound, a new width by height buffer (alignment 32) goes
// to both; otherwise nothing changes.
template <ycPelType T>
void yfPelAlloc(ycPelBuffer<T>& scratch, ycPelBuffer<T>& dst, std::int32_t width, std::int32_t height)
{
    if (scratch.isBound()) return;
    scratch = ycPelBuffer<T>(width, height, 32);
    dst = scratch;
}

// An unbound `dst` becomes a buffer of the common window, at the first
// source's offset.
template <ycPelType D>
void yf_PelAllocAt(ycPelBuffer<D>& dst, const ycPelRect& common)
{
    if (dst.isBound() || common.isEmpty()) return;
    dst = ycPelBuffer<D>(common, 32);
}

template <ycPelType S, ycPelType D = S>
ycPelRect yf_PelPrepareAlloc_1s1d(ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst)
{
    const ycPelRect common = yfPelPrepare_1s1d(src, dst);
    yf_PelAllocAt(dst, common);
    return common;
}

template <ycPelType S1, ycPelType S2, ycPelType D>
ycPelRect yf_PelPrepareAlloc_2s1d(ycPelBuffer_const<S1>& src1, ycPelBuffer_const<S2>& src2, ycPelBuffer<D>& dst)
{
    const ycPelRect common = yfPelPrepare_2s1d(src1, src2, dst);
    yf_PelAllocAt(dst, common);
    return common;
}

// --- application -------------------------------------------------------------

// Prepare, allocate, run the kernel once per row of the common window, copy
// the source's client transform; the common window, or a null rectangle when
// nothing was done.
template <ycPelType S, ycPelType D>
ycPelRect yf_PelApply_1s1d(ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, yc_Kernel_1s1d<S, D>& kernel)
{
    const ycPelRect common = yf_PelPrepareAlloc_1s1d(src, dst);
    if (common.isEmpty()) return ycPelRect();
    for (std::int32_t y = common.y(); y < common.y() + common.height(); ++y) {
        kernel.process(src.pointToRow(y), dst.pointToRow(y), common.width());
    }
    dst.copyXforms(src);
    return common;
}

template <ycPelType S1, ycPelType S2, ycPelType D>
ycPelRect yf_PelApply_2s1d(ycPelBuffer_const<S1>& src1, ycPelBuffer_const<S2>& src2, ycPelBuffer<D>& dst,
                           yc_Kernel_2s1d<S1, S2, D>& kernel)
{
    const ycPelRect common = yf_PelPrepareAlloc_2s1d(src1, src2, dst);
    if (common.isEmpty()) return ycPelRect();
    for (std::int32_t y = common.y(); y < common.y() + common.height(); ++y) {
        kernel.process(src1.pointToRow(y), src2.pointToRow(y), dst.pointToRow(y), common.width());
    }
    dst.copyXforms(src1);
    return common;
}

// Every row of the buffer's window (which must be bound) through a reading
// kernel; the window, or a null rectangle when it is empty.
template <ycPelType S>
ycPelRect yf_PelApply_1s(const ycPelBuffer_const<S>& buffer, yc_Kernel_1s<S>& kernel)
{
    if (!buffer.isBound()) throw ycPel::UnboundWindow();
    const ycPelRect w = buffer.window();
    if (w.isEmpty()) return ycPelRect();
    for (std::int32_t y = w.y(); y < w.y() + w.height(); ++y) kernel.process(buffer.pointToRow(y), w.width());
    return w;
}

// --- the core's kernels ------------------------------------------------------

// The descriptor of a bound buffer's window (one-array pel types). The
// writable form marks the buffer changed.
template <yc_SingleArrayPelType T>
yimg_image yf_PelImage(const ycPelBuffer_const<T>& b)
{
    return {const_cast<T*>(b.pointToOffset()), b.width(), b.height(),
            static_cast<std::ptrdiff_t>(b.rowUpdate()) * static_cast<std::ptrdiff_t>(sizeof(T)),
            static_cast<std::int32_t>(sizeof(T))};
}
template <yc_SingleArrayPelType T>
yimg_image yf_PelImage(ycPelBuffer<T>& b)
{
    b.mutating();
    return yf_PelImage(static_cast<const ycPelBuffer_const<T>&>(b));
}

// Throws for a failed core status, with BadParams for a bad argument.
inline void yf_PelCheck(int status) { yfThrowExceptionOnFailure<ycPelFunc::BadParams>(status); }

// yf_PelApply_1s1d and _2s1d for a core kernel: prepare and allocate, then
// one call `core(descriptors...)` over the common window, whose status is
// checked; the common window, or a null rectangle when nothing was done.
template <yc_SingleArrayPelType S, yc_SingleArrayPelType D, class Core>
ycPelRect yf_PelApplyCore_1s1d(ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, Core&& core)
{
    const ycPelRect common = yf_PelPrepareAlloc_1s1d(src, dst);
    if (common.isEmpty()) return ycPelRect();
    const yimg_image s = yf_PelImage(src);
    yimg_image d = yf_PelImage(dst);
    yf_PelCheck(core(&s, &d));
    dst.copyXforms(src);
    return common;
}

template <yc_SingleArrayPelType S1, yc_SingleArrayPelType S2, yc_SingleArrayPelType D, class Core>
ycPelRect yf_PelApplyCore_2s1d(ycPelBuffer_const<S1>& src1, ycPelBuffer_const<S2>& src2, ycPelBuffer<D>& dst,
                               Core&& core)
{
    const ycPelRect common = yf_PelPrepareAlloc_2s1d(src1, src2, dst);
    if (common.isEmpty()) return ycPelRect();
    const yimg_image s1 = yf_PelImage(src1);
    const yimg_image s2 = yf_PelImage(src2);
    yimg_image d = yf_PelImage(dst);
    yf_PelCheck(core(&s1, &s2, &d));
    dst.copyXforms(src1);
    return common;
}

#endif
