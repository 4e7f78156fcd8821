// Unsigned conversion between pel sizes 1, 2 and 4.
#include "core/kernels/convert.h"

#include "core/kernels/image.h"

#include <cstring>

namespace {

template <class From, class To, class Row>
void convertRows(const yimg_image* s, yimg_image* d, Row row)
{
    using namespace ycore;
    for (std::int32_t y = 0; y < s->height; ++y) row(rowOf<const From>(s, y), rowOf<To>(d, y), std::size_t(s->width));
}

// The pel sizes of source and destination as one number, 10 * from + to.
constexpr int pair(int from, int to) { return 10 * from + to; }

} // namespace

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
            ycore::ref::Convert##F##to##T##Row(rs, rd, n);                                           \
        });                                                                                          \
        break;
        YCORE_CONVERT_ROWS(YCORE_CONVERT_CASE)
#undef YCORE_CONVERT_CASE
    }
    return YSTD_OK;
}
