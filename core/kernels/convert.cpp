// Unsigned conversion between pel sizes 1, 2 and 4.
#include "core/kernels/convert.h"

#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/convert.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Works in vectors of the wider type: a part vector of the narrower one
// holds as many lanes.
template <class From, class To>
void ConvertRow(const From* s, To* d, std::size_t n)
{
    std::size_t i = 0;
    if constexpr (sizeof(To) > sizeof(From)) {
        const hn::ScalableTag<To> dt;
        const hn::Rebind<From, decltype(dt)> df;
        const std::size_t N = hn::Lanes(dt);
        for (; i + N <= n; i += N) hn::StoreU(hn::PromoteTo(dt, hn::LoadU(df, s + i)), dt, d + i);
    } else {
        const hn::ScalableTag<From> df;
        const hn::Rebind<To, decltype(df)> dt;
        const std::size_t N = hn::Lanes(df);
        for (; i + N <= n; i += N) hn::StoreU(hn::TruncateTo(dt, hn::LoadU(df, s + i)), dt, d + i);
    }
    ref::ConvertRow(s + i, d + i, n - i);
}

YCORE_CONVERT_ROWS(YCORE_CONVERT_ROW)

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"

#include "core/kernels/image.h"

#include <cstring>

namespace {

template <class From, class To, class Row>
void convertRows(const yimg_image* s, yimg_image* d, Row row)
{
    using namespace ycore;
    const Rows rows = rowsOf({s, d});
    for (std::int32_t y = 0; y < rows.count; ++y) row(rowOf<const From>(s, y), rowOf<To>(d, y), rows.length);
}

// The pel sizes of source and destination as one number, 10 * from + to.
constexpr int pair(int from, int to) { return 10 * from + to; }

} // namespace

namespace ycore {
#define YCORE_CONVERT_EXPORT(F, T, From, To) YCORE_EXPORT(Convert##F##to##T##Row);
YCORE_CONVERT_ROWS(YCORE_CONVERT_EXPORT)
#undef YCORE_CONVERT_EXPORT
} // namespace ycore

extern "C" int yip_pelConvert(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    const auto sizeOk = [](const yimg_image* im) {
        return im != nullptr && (im->pelSize == 1 || im->pelSize == 2 || im->pelSize == 4);
    };
    if (!sizeOk(s) || !sizeOk(d)) return YSTD_ERR_BAD_IMAGE;
    if (int st = checkImage(s, s->pelSize); st != YSTD_OK) return st;
    if (int st = checkImage(d, d->pelSize); st != YSTD_OK) return st;
    if (s->width != d->width || s->height != d->height) return YSTD_ERR_BAD_ARGUMENT;
    if (s->pelSize == d->pelSize) {
        // The very same window is already its own copy.
        if (s->pels == d->pels) return YSTD_OK;
        for (std::int32_t y = 0; y < s->height; ++y) {
            std::memcpy(rowOf<unsigned char>(d, y), rowOf<const unsigned char>(s, y),
                        std::size_t(s->width) * std::size_t(s->pelSize));
        }
        return YSTD_OK;
    }
    switch (pair(s->pelSize, d->pelSize)) {
#define YCORE_CONVERT_CASE(F, T, From, To)                                                           \
    case pair(int(sizeof(From)), int(sizeof(To))):                                                   \
        convertRows<From, To>(s, d, [](const From* rs, To* rd, std::size_t n) {                      \
            YCORE_ROW(Convert##F##to##T##Row)(rs, rd, n);                                       \
        });                                                                                          \
        break;
        YCORE_CONVERT_ROWS(YCORE_CONVERT_CASE)
#undef YCORE_CONVERT_CASE
    }
    return YSTD_OK;
}
#endif
