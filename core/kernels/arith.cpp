// Element-wise arithmetic, minimum and maximum of two windows.
#include "core/kernels/arith.h"

#include "core/kernels/image.h"

namespace {

template <class T, class Row>
int binary(const yimg_image* a, const yimg_image* b, yimg_image* d, Row row)
{
    using namespace ycore;
    if (int st = checkSame({a, b, d}, int(sizeof(T))); st != YSTD_OK) return st;
    for (std::int32_t y = 0; y < a->height; ++y) {
        row(rowOf<const T>(a, y), rowOf<const T>(b, y), rowOf<T>(d, y), std::size_t(a->width));
    }
    return YSTD_OK;
}

} // namespace

#define YCORE_SHIFT_ENTRY(Op, Sfx, T)                                                                    \
    extern "C" int yip_pel##Op##Sfx(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift) \
    {                                                                                                    \
        if (shift < 0 || shift > 31) return YSTD_ERR_BAD_ARGUMENT;                                       \
        return binary<T>(a, b, d, [shift](const T* ra, const T* rb, T* rd, std::size_t n) {              \
            ycore::ref::Op##Sfx##Row(ra, rb, rd, n, shift);                                              \
        });                                                                                              \
    }
#define YCORE_PLAIN_ENTRY(Op, Sfx, T)                                                                    \
    extern "C" int yip_pel##Op##Sfx(const yimg_image* a, const yimg_image* b, yimg_image* d)            \
    {                                                                                                    \
        return binary<T>(a, b, d, [](const T* ra, const T* rb, T* rd, std::size_t n) {                   \
            ycore::ref::Op##Sfx##Row(ra, rb, rd, n);                                                     \
        });                                                                                              \
    }

#define YCORE_SHIFT_ENTRIES(Op)                                                                          \
    YCORE_SHIFT_ENTRY(Op, 8, std::uint8_t)                                                               \
    YCORE_SHIFT_ENTRY(Op, 16, std::uint16_t)                                                             \
    YCORE_SHIFT_ENTRY(Op, S16, std::int16_t)                                                             \
    YCORE_SHIFT_ENTRY(Op, 32, std::uint32_t)
#define YCORE_PLAIN_ENTRIES(Op)                                                                          \
    YCORE_PLAIN_ENTRY(Op, 8, std::uint8_t)                                                               \
    YCORE_PLAIN_ENTRY(Op, 16, std::uint16_t)                                                             \
    YCORE_PLAIN_ENTRY(Op, 32, std::uint32_t)

YCORE_SHIFT_ENTRIES(Add)
YCORE_SHIFT_ENTRIES(Sub)
YCORE_SHIFT_ENTRIES(Mult)
YCORE_SHIFT_ENTRIES(MultAdd)
YCORE_PLAIN_ENTRIES(Min)
YCORE_PLAIN_ENTRIES(Max)
