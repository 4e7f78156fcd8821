#include "std/pelbuf/pelcopy.h"

#include <algorithm>
#include <cstring>

namespace {

template <ycPelType T>
bool rowsEqual(yc_PelPtr_const<T> a, yc_PelPtr_const<T> b, std::int32_t count)
{
    const auto n = static_cast<std::size_t>(count);
    if constexpr (std::is_same_v<T, yc3PlanePel>) {
        return std::memcmp(a.plane0, b.plane0, n) == 0 && std::memcmp(a.plane1, b.plane1, n) == 0 &&
               std::memcmp(a.plane2, b.plane2, n) == 0;
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::equal(a, a + n, b);
    } else if constexpr (std::is_same_v<T, ycPair<float>>) {
        // Values, not bytes: -0.0 == 0.0 and NaN != NaN.
        return std::equal(a, a + n, b,
                          [](const T& p, const T& q) { return p.first == q.first && p.second == q.second; });
    } else {
        return std::memcmp(a, b, n * sizeof(T)) == 0;
    }
}

} // namespace

template <ycPelType S, ycPelType D>
    requires std::is_same_v<S, D> || (yc_UnsignedPelType<S> && yc_UnsignedPelType<D>)
void yfPelCopy(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst)
{
    ycPelBuffer_const<S> s = src;
    if constexpr (std::is_same_v<S, D>) {
        yc_CopyPel<S, D> kernel;
        yf_PelApply_1s1d(s, dst, kernel);
    } else {
        yf_PelApplyCore_1s1d(s, dst, yip_pelConvert);
    }
}

template <ycPelType T>
ycPelBuffer<T> yfPelCopy(const ycPelBuffer_const<T>& src)
{
    ycPelBuffer<T> dst;
    yfPelCopy(src, dst);
    return dst;
}

void yfPelCopy(const yc3PlanePelBuffer_const& src, yc3PlanePelBuffer& dst)
{
    yfPelCopy<yc3PlanePel, yc3PlanePel>(src, dst);
    dst.colorSpace(src.colorSpace());
}

void yfPelCopy(const yc3PlanePelBuffer& src, yc3PlanePelBuffer& dst) { yfPelCopy(yc3PlanePelBuffer_const(src), dst); }

yc3PlanePelBuffer yfPelCopy(const yc3PlanePelBuffer_const& src)
{
    yc3PlanePelBuffer dst;
    yfPelCopy(src, dst);
    return dst;
}

yc3PlanePelBuffer yfPelCopy(const yc3PlanePelBuffer& src) { return yfPelCopy(yc3PlanePelBuffer_const(src)); }

template <yc_SingleArrayPelType T>
void yfPelSet(ycPelBuffer<T>& dst, const std::type_identity_t<T>& value)
{
    if (!dst.isBound()) throw ycPel::UnboundWindow();
    const ycPelRect w = dst.window();
    if (w.isEmpty()) return;
    for (std::int32_t y = w.y(); y < w.y() + w.height(); ++y) std::fill_n(dst.pointToRow(y), w.width(), value);
}

template <yc_SingleArrayPelType T>
void yfPelClear(ycPelBuffer<T>& dst)
{
    yfPelSet(dst, T{});
}

template <yc_SingleArrayPelType T>
void yf_PelClear(ycPelBuffer<T>& dst)
{
    if (dst.isBound()) yfPelClear(dst);
}

void yfPelSet_U8(ycPelBuffer<unsigned char>& dst, unsigned char value) { yfPelSet(dst, value); }

template <ycPelType T>
bool yfPelEqual(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b)
{
    if (!a.isBound() || !b.isBound() || a.window() != b.window()) return false;
    const ycPelRect w = a.window();
    if (w.isEmpty()) return true;
    for (std::int32_t y = w.y(); y < w.y() + w.height(); ++y) {
        if (!rowsEqual<T>(a.pointToRow(y), b.pointToRow(y), w.width())) return false;
    }
    return true;
}

#define TLVSTD_PELCOPY_ANY(T)                                                                                 \
    template TLVSTD_INSTANCE_API void yfPelCopy<T, T>(const ycPelBuffer_const<T>&, ycPelBuffer<T>&);        \
    template TLVSTD_INSTANCE_API ycPelBuffer<T> yfPelCopy<T>(const ycPelBuffer_const<T>&);                  \
    template TLVSTD_INSTANCE_API bool yfPelEqual<T>(const ycPelBuffer_const<T>&, const ycPelBuffer_const<T>&);
#define TLVSTD_PELCOPY_SINGLE(T)                                                                        \
    template TLVSTD_INSTANCE_API void yfPelSet<T>(ycPelBuffer<T>&, const std::type_identity_t<T>&); \
    template TLVSTD_INSTANCE_API void yfPelClear<T>(ycPelBuffer<T>&);                               \
    template TLVSTD_INSTANCE_API void yf_PelClear<T>(ycPelBuffer<T>&);
ymForEachSingleArrayPelType(TLVSTD_PELCOPY_ANY)
TLVSTD_PELCOPY_ANY(yc3PlanePel)
ymForEachSingleArrayPelType(TLVSTD_PELCOPY_SINGLE)
#undef TLVSTD_PELCOPY_ANY
#undef TLVSTD_PELCOPY_SINGLE

#define TLVSTD_PELCOPY_CONVERT(S, D) \
    template TLVSTD_INSTANCE_API void yfPelCopy<S, D>(const ycPelBuffer_const<S>&, ycPelBuffer<D>&);
TLVSTD_PELCOPY_CONVERT(unsigned char, unsigned short)
TLVSTD_PELCOPY_CONVERT(unsigned char, std::uint32_t)
TLVSTD_PELCOPY_CONVERT(unsigned short, unsigned char)
TLVSTD_PELCOPY_CONVERT(unsigned short, std::uint32_t)
TLVSTD_PELCOPY_CONVERT(std::uint32_t, unsigned char)
TLVSTD_PELCOPY_CONVERT(std::uint32_t, unsigned short)
#undef TLVSTD_PELCOPY_CONVERT
