#include "core/kernels/arith.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

namespace {

using Shifted = int (*)(const yimg_image*, const yimg_image*, yimg_image*, int);
using Plain = int (*)(const yimg_image*, const yimg_image*, yimg_image*);

// An entry point with its pel size and its reference row, both taking a shift
// (ignored by Min and Max).
struct Kernel {
    const char* name;
    int pelSize;
    std::function<int(const yimg_image*, const yimg_image*, yimg_image*, int)> run;
    std::function<void(const void*, const void*, void*, std::size_t, int)> ref;
};

template <class T>
Kernel shifted(const char* name, Shifted f, void (*ref)(const T*, const T*, T*, std::size_t, int))
{
    return {name, int(sizeof(T)), f, [ref](const void* a, const void* b, void* d, std::size_t n, int s) {
                ref(static_cast<const T*>(a), static_cast<const T*>(b), static_cast<T*>(d), n, s);
            }};
}
template <class T>
Kernel plain(const char* name, Plain f, void (*ref)(const T*, const T*, T*, std::size_t))
{
    return {name, int(sizeof(T)), [f](const yimg_image* a, const yimg_image* b, yimg_image* d, int) { return f(a, b, d); },
            [ref](const void* a, const void* b, void* d, std::size_t n, int) {
                ref(static_cast<const T*>(a), static_cast<const T*>(b), static_cast<T*>(d), n);
            }};
}

const std::vector<Kernel>& kernels()
{
    using namespace ycore::ref;
#define SHIFTED(Op)                                                                                       \
    shifted("" #Op "8", yip_pel##Op##8, Op##8Row), shifted("" #Op "16", yip_pel##Op##16, Op##16Row),     \
        shifted("" #Op "S16", yip_pel##Op##S16, Op##S16Row), shifted("" #Op "32", yip_pel##Op##32, Op##32Row)
#define PLAIN(Op)                                                                                         \
    plain("" #Op "8", yip_pel##Op##8, Op##8Row), plain("" #Op "16", yip_pel##Op##16, Op##16Row),         \
        plain("" #Op "32", yip_pel##Op##32, Op##32Row)
    static const std::vector<Kernel> all = {SHIFTED(Add), SHIFTED(Sub), SHIFTED(Mult), SHIFTED(MultAdd),
                                            PLAIN(Min), PLAIN(Max)};
#undef SHIFTED
#undef PLAIN
    return all;
}

const Kernel& kernel(const std::string& name)
{
    for (const Kernel& k : kernels()) {
        if (name == k.name) return k;
    }
    throw std::invalid_argument(name);
}

} // namespace

// d = op(a, b) with d holding d0 before (MultAdd reads it), on a row wide
// enough for whole vectors and a tail, the same pel for pel.
TEST(CoreKernels, ArithmeticFollowsItsRules)
{
    struct Case {
        const char* kernel;
        std::int64_t a, b, d0;
        int shift;
        std::int64_t want;
    } cases[] = {
        {"Add8", 200, 100, 0, 0, 255},         {"Add8", 200, 100, 0, 1, 150},
        {"Add8", 255, 255, 0, 8, 1},           {"Add8", 255, 255, 0, 9, 0},
        {"Add8", 3, 4, 0, 31, 0},              {"Add16", 65535, 2, 0, 0, 65535},
        {"Add16", 65535, 65535, 0, 1, 65535},  {"Add16", 65535, 65535, 0, 16, 1},
        {"AddS16", 32767, 1, 0, 0, 32767},     {"AddS16", -32768, -1, 0, 0, -32768},
        {"AddS16", -32768, -32768, 0, 1, -32768}, {"AddS16", -3, 0, 0, 1, -2},
        {"AddS16", -1, 0, 0, 31, -1},          {"Add32", 0xFFFFFFFF, 1, 0, 0, 0xFFFFFFFF},
        {"Add32", 0xFFFFFFFF, 0xFFFFFFFF, 0, 1, 0xFFFFFFFF}, {"Add32", 0xFFFFFFFF, 3, 0, 31, 2},
        {"Sub8", 10, 20, 0, 0, 0},             {"Sub8", 20, 10, 0, 1, 5},
        {"Sub8", 10, 20, 0, 3, 0},             {"Sub16", 1000, 1, 0, 0, 999},
        {"SubS16", -32768, 1, 0, 0, -32768},   {"SubS16", 32767, -32768, 0, 0, 32767},
        {"SubS16", 32767, -32768, 0, 1, 32767}, {"SubS16", -32768, 32767, 0, 1, -32768},
        {"SubS16", 0, 1, 0, 1, -1},            {"SubS16", 0, 1, 0, 20, -1},
        {"Sub32", 1, 2, 0, 0, 0},              {"Sub32", 0xFFFFFFFF, 0, 0, 4, 0x0FFFFFFF},
        {"Mult8", 16, 16, 0, 0, 255},          {"Mult8", 16, 16, 0, 1, 128},
        {"Mult8", 255, 255, 0, 8, 254},        {"Mult8", 255, 255, 0, 16, 0},
        {"Mult16", 65535, 65535, 0, 16, 65534}, {"Mult16", 300, 300, 0, 0, 65535},
        {"MultS16", -300, 300, 0, 0, -32768},  {"MultS16", -32768, -32768, 0, 15, 32767},
        {"MultS16", -3, 3, 0, 2, -3},          {"MultS16", -32768, 32767, 0, 31, -1},
        {"Mult32", 0xFFFFFFFF, 0xFFFFFFFF, 0, 31, 0xFFFFFFFF},
        {"Mult32", 0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF}, {"Mult32", 65536, 65536, 0, 31, 2},
        {"MultAdd8", 10, 10, 200, 0, 255},     {"MultAdd8", 10, 10, 100, 2, 125},
        {"MultAdd16", 256, 256, 1, 1, 32769},  {"MultAddS16", -100, 100, 5, 0, -9995},
        {"MultAddS16", -200, 200, -1, 0, -32768}, {"MultAddS16", -1, 1, 0, 31, -1},
        {"MultAdd32", 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFF},
        {"MultAdd32", 0x10000, 0x10000, 7, 16, 0x10007},
        {"Min8", 7, 200, 0, 0, 7},             {"Max8", 7, 200, 0, 0, 200},
        {"Min16", 65535, 1, 0, 0, 1},          {"Max16", 65535, 1, 0, 0, 65535},
        {"Min32", 0xFFFFFFFF, 0x80000000, 0, 0, 0x80000000}, {"Max32", 0xFFFFFFFF, 0x80000000, 0, 0, 0xFFFFFFFF},
    };
    forEachTarget([&](const std::string& target) {
        for (const Case& c : cases) {
            const Kernel& k = kernel(c.kernel);
            Image a(37, 1, k.pelSize), b(37, 1, k.pelSize), d(37, 1, k.pelSize);
            Image want = d;
            for (std::int32_t x = 0; x < 37; ++x) {
                putPel(a, x, 0, std::uint32_t(c.a));
                putPel(b, x, 0, std::uint32_t(c.b));
                putPel(d, x, 0, std::uint32_t(c.d0));
                putPel(want, x, 0, std::uint32_t(c.want));
            }
            ASSERT_EQ(k.run(a.get(), b.get(), d.get(), c.shift), YSTD_OK);
            EXPECT_EQ(d.bytes(), want.bytes()) << target << " " << c.kernel << "(" << c.a << ", " << c.b << ", "
                                               << c.d0 << ") >> " << c.shift;
        }
    });
}

TEST(CoreKernels, ArithmeticMatchesReferenceOnEveryTarget)
{
    const int shifts[] = {0, 1, 3, 7, 8, 9, 15, 16, 17, 31};
    forEachTarget([&](const std::string& target) {
        std::mt19937 rng(11);
        for (const Kernel& k : kernels()) {
            for (const Shape& sh : awkwardShapes()) {
                for (const int shift : shifts) {
                    // Rows stay aligned to the pel, as in any pel buffer.
                    const std::int32_t pad = sh.pad * k.pelSize;
                    Image a(sh.width, sh.height, k.pelSize, sh.skip, pad);
                    Image b(sh.width, sh.height, k.pelSize, sh.skip + 1, pad + 2 * k.pelSize);
                    Image d(sh.width, sh.height, k.pelSize, sh.skip + 2, pad);
                    a.fill(rng);
                    b.fill(rng);
                    d.fill(rng);
                    Image want = d, wantInPlace = a, inPlace = a;
                    for (std::int32_t y = 0; y < sh.height; ++y) {
                        k.ref(a.row<char>(y), b.row<char>(y), want.row<char>(y), std::size_t(sh.width), shift);
                        k.ref(a.row<char>(y), b.row<char>(y), wantInPlace.row<char>(y), std::size_t(sh.width), shift);
                    }
                    const std::string what = target + " " + k.name + " width " + std::to_string(sh.width) +
                                             " >> " + std::to_string(shift);
                    ASSERT_EQ(k.run(a.get(), b.get(), d.get(), shift), YSTD_OK);
                    ASSERT_EQ(d.bytes(), want.bytes()) << what;
                    ASSERT_EQ(k.run(inPlace.get(), b.get(), inPlace.get(), shift), YSTD_OK);
                    ASSERT_EQ(inPlace.bytes(), wantInPlace.bytes()) << what << " in place";
                }
            }
        }
    });
}

TEST(CoreKernels, ArithmeticChecksShiftAndSizes)
{
    Image a(4, 2, 1), b(4, 2, 1), d(4, 2, 1), narrow(3, 2, 1), wide(4, 2, 2);
    struct Case {
        yimg_image *a, *b, *d;
        int shift, status;
    } cases[] = {
        {a.get(), b.get(), d.get(), 31, YSTD_OK},
        {a.get(), b.get(), d.get(), 32, YSTD_ERR_BAD_ARGUMENT},
        {a.get(), b.get(), d.get(), -1, YSTD_ERR_BAD_ARGUMENT},
        {a.get(), narrow.get(), d.get(), 0, YSTD_ERR_BAD_ARGUMENT},
        {a.get(), b.get(), wide.get(), 0, YSTD_ERR_BAD_IMAGE},
        {a.get(), nullptr, d.get(), 0, YSTD_ERR_BAD_IMAGE},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelMultAdd8(c.a, c.b, c.d, c.shift), c.status) << c.shift;
    EXPECT_EQ(yip_pelMax8(a.get(), b.get(), narrow.get()), YSTD_ERR_BAD_ARGUMENT);
}
