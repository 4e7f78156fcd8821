// Acquisition images: decoded bytes of every format, the conversion table,
// the getter frame and the packed grey formats' addressing.
#include "std/pelbuf/acqimage.h"

#include "tests/pelbuf/pelops.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned short>;
using Planes = std::vector<yc3PlanePel>;

ycPelBuffer<unsigned char> rawOf(std::int32_t w, std::int32_t h, const Bytes& bytes, std::int32_t x0 = 0,
                                 std::int32_t y0 = 0)
{
    return bufferOf<unsigned char>(w, h, bytes, x0, y0);
}

// A packed 10 or 12-bit raw buffer of w by h pixels holding `bytes` from its
// first pel on.
ycPelBuffer<unsigned char> packedOf(std::int32_t w, std::int32_t h, const Bytes& bytes)
{
    ycPelBuffer<unsigned char> raw = ycAcqImage::packedRawBuffer(w, h);
    raw.mutating();
    std::memcpy(raw.root()->pels(), bytes.data(), bytes.size());
    return raw;
}

Bytes grey8Of(const ycAcqImage& a)
{
    return pelsOf<unsigned char>(a.getGrey8PelBuffer());
}

Words grey16Of(const ycAcqImage& a)
{
    return pelsOf<unsigned short>(a.getGrey16PelBuffer());
}

Planes planesOf(const ycAcqImage& a)
{
    return pelsOf<yc3PlanePel>(a.get3PlanePelBuffer());
}

// One small image of each format, with what it decodes to; an empty list is
// a conversion the format does not offer. `supports` spells the table for
// grey8, grey16, rgb16, rgb32 and 3-plane.
struct FormatCase {
    yeImageFormat format;
    std::function<ycAcqImage()> make;
    const char* supports;
    Bytes grey8;
    Words grey16;
    Planes planes;
};

std::vector<FormatCase> formatCases()
{
    const auto bytes = [](yeImageFormat f, std::int32_t w, std::int32_t h, Bytes raw) {
        return [=] { return ycAcqImage(rawOf(w, h, raw), f); };
    };
    const auto grey = [](std::vector<unsigned char> g) {
        Planes p;
        for (unsigned char v : g) p.emplace_back(v, v, v);
        return p;
    };
    return {
        {yeGrey8, bytes(yeGrey8, 2, 1, {0x12, 0xFE}), "yyyyy", {0x12, 0xFE}, {0x12, 0xFE}, grey({0x12, 0xFE})},
        {yeGrey16, bytes(yeGrey16, 4, 1, {0x34, 0x12, 0xFF, 0x00}), "yyyyy", {0x12, 0x00}, {0x1234, 0x00FF},
         grey({0x12, 0x00})},
        {yePackedRGB16,
         [] { return ycAcqImage(bufferOf<ycPackedRGB16Pel>(1, 1, {ycPackedRGB16Pel(0xF81F)})); },
         "--y--", {}, {}, {}},
        {yePackedRGB32,
         [] { return ycAcqImage(bufferOf<ycPackedRGB32Pel>(2, 1, {{1, 2, 3, 9}, {250, 0, 7, 9}})); },
         "--yyy", {}, {}, {{1, 2, 3}, {250, 0, 7}}},
        // A flat mosaic is flat in every colour.
        {yeBayer8, bytes(yeBayer8, 4, 2, Bytes(8, 50)), "y-yyy", Bytes(8, 50), {}, Planes(8, {50, 50, 50})},
        {yeBayer16, bytes(yeBayer16, 8, 2, {0x00, 50, 0xFF, 50, 0x12, 50, 0x34, 50, 0x56, 50, 0x78, 50, 0x9A, 50,
                                            0xBC, 50}),
         "y-yyy", Bytes(8, 50), {}, Planes(8, {50, 50, 50})},
        // Video-range Y 235 is white, 16 black, 126 mid grey.
        {yeUYYVYY, bytes(yeUYYVYY, 6, 1, {128, 235, 16, 128, 126, 235}), "y-yyy", {235, 16, 126, 235}, {},
         grey({255, 0, 128, 255})},
        {yeUYVY, bytes(yeUYVY, 4, 1, {128, 235, 128, 16}), "y-yyy", {235, 16}, {}, grey({255, 0})},
        {yeUYV, bytes(yeUYV, 3, 1, {128, 126, 128}), "y-yyy", {126}, {}, grey({128})},
        {yeRGB24, bytes(yeRGB24, 6, 1, {10, 20, 30, 255, 0, 1}), "--yyy", {}, {}, {{10, 20, 30}, {255, 0, 1}}},
        // The weighted sum falls just below 0x1234; grey8 keeps the low byte.
        {yeRGB48,
         bytes(yeRGB48, 18, 1,
               {0x34, 0x12, 0x34, 0x12, 0x34, 0x12, 0xFF, 0xFF, 0, 0, 0, 0, 0x00, 0x01, 0x00, 0x02, 0x00, 0x03}),
         "yyyyy", {0x33, 0x8A, 0xD0}, {0x1233, 0x4C8A, 0x01D0}, {{0x12, 0x12, 0x12}, {0xFF, 0, 0}, {1, 2, 3}}},
        {ye3Plane,
         [] {
             yc3PlanePelBuffer planes(ycPelRect(0, 0, 2, 1));
             const yc3PlanePel pels[] = {{1, 2, 3}, {4, 5, 6}};
             planes.copyFromBuffer(pels);
             return ycAcqImage(planes);
         },
         "--yyy", {}, {}, {{1, 2, 3}, {4, 5, 6}}},
        {yeGrey10, bytes(yeGrey10, 4, 1, {0xFF, 0x03, 0x00, 0x02}), "yyyyy", {0xFF, 0x80}, {0x3FF, 0x200},
         grey({0xFF, 0x80})},
        {yeGrey12, bytes(yeGrey12, 4, 1, {0xBC, 0x0A, 0x00, 0x08}), "yyyyy", {0xAB, 0x80}, {0xABC, 0x800},
         grey({0xAB, 0x80})},
        {yeBGR24, bytes(yeBGR24, 6, 1, {10, 20, 30, 255, 0, 1}), "--yyy", {}, {}, {{30, 20, 10}, {1, 0, 255}}},
        // Grey, yet colour by its own report: no three planes.
        {yeGrey16BigEndian, bytes(yeGrey16BigEndian, 4, 1, {0x12, 0x34, 0xAB, 0xCD}), "yy---", {0x12, 0xAB},
         {0x1234, 0xABCD}, {}},
        {yeGrey14, bytes(yeGrey14, 4, 1, {0xFF, 0x3F, 0x34, 0x12}), "yyyyy", {0xFF, 0x48}, {0x3FFF, 0x1234},
         grey({0xFF, 0x48})},
        {yeGrey10Packed, [] { return ycAcqImage(packedOf(2, 1, {0xFF, 0x33, 0x80}), yeGrey10Packed); }, "yyyyy",
         {0xFF, 0x80}, {0x3FF, 0x203}, grey({0xFF, 0x80})},
        {yeGrey12Packed, [] { return ycAcqImage(packedOf(2, 1, {0x12, 0x34, 0x56}), yeGrey12Packed); }, "yyyyy",
         {0x12, 0x56}, {0x124, 0x563}, grey({0x12, 0x56})},
    };
}

constexpr yeImageFormat kTargets[] = {yeGrey8, yeGrey16, yePackedRGB16, yePackedRGB32, ye3Plane};

TEST(AcqImage, FormatCodes)
{
    struct Row {
        std::int32_t code;
        std::int32_t bits;
        bool colour;
    };
    const Row rows[] = {
        {1, 8, false},  {2, 16, false}, {3, 8, true},   {4, 8, true},   {5, 8, true},   {6, 8, true},
        {7, 8, true},   {8, 8, true},   {9, 8, true},   {10, 8, true},  {11, 8, true},  {12, 8, true},
        {13, 10, false}, {14, 12, false}, {15, 8, true}, {16, 16, true}, {17, 14, false}, {18, 10, false},
        {19, 12, false}, {0, 8, true},   {20, 8, true},
    };
    for (const Row& r : rows) {
        const auto f = static_cast<yeImageFormat>(r.code);
        EXPECT_EQ(ycAcqImage::intensityBits(f), r.bits) << r.code;
        EXPECT_EQ(ycAcqImage::isColor(f), r.colour) << r.code;
    }
    // No conversion to or from a code outside the table.
    EXPECT_FALSE(ycAcqImage::isConversionSupported(static_cast<yeImageFormat>(0), yeGrey8));
    EXPECT_FALSE(ycAcqImage::isConversionSupported(static_cast<yeImageFormat>(20), yeGrey8));
    EXPECT_FALSE(ycAcqImage::isConversionSupported(yeGrey8, yeRGB24));
}

TEST(AcqImage, SupportMatrixIsWhatTheGettersDo)
{
    for (const FormatCase& c : formatCases()) {
        const ycAcqImage a = c.make();
        ASSERT_TRUE(a.isBound()) << c.format;
        EXPECT_EQ(a.formatAcquired(), c.format);
        EXPECT_EQ(a.isColor(), ycAcqImage::isColor(c.format));
        const std::function<bool()> getters[] = {
            [&] { return a.getGrey8PelBuffer().isBound(); },
            [&] { return a.getGrey16PelBuffer().isBound(); },
            [&] { return a.getPackedRGB16PelBuffer().isBound(); },
            [&] { return a.getPackedRGB32PelBuffer().isBound(); },
            [&] { return a.get3PlanePelBuffer().isBound(); },
        };
        for (std::size_t t = 0; t < std::size(kTargets); ++t) {
            const bool offered = c.supports[t] == 'y';
            SCOPED_TRACE(std::to_string(c.format) + " to " + std::to_string(kTargets[t]));
            EXPECT_EQ(a.isConversionSupported(kTargets[t]), offered);
            if (offered) {
                EXPECT_TRUE(getters[t]());
            } else {
                EXPECT_THROW(getters[t](), ycAcqImage::NotSupported);
            }
        }
    }
}

TEST(AcqImage, DecodedPels)
{
    for (const FormatCase& c : formatCases()) {
        SCOPED_TRACE(c.format);
        const ycAcqImage a = c.make();
        if (!c.grey8.empty()) {
            EXPECT_EQ(grey8Of(a), c.grey8);
        }
        if (!c.grey16.empty()) {
            EXPECT_EQ(grey16Of(a), c.grey16);
        }
        if (c.planes.empty()) continue;
        EXPECT_EQ(planesOf(a), c.planes);
        // Packed colour agrees with the planes; a packed 32-bit image copies
        // its fourth bytes too, conversions write 0.
        const unsigned char fourth = c.format == yePackedRGB32 ? 9 : 0;
        std::vector<std::uint32_t> rgb32, want32;
        std::vector<std::uint16_t> rgb16, want16;
        for (const ycPackedRGB32Pel& p : pelsOf<ycPackedRGB32Pel>(a.getPackedRGB32PelBuffer())) {
            rgb32.push_back(p.value());
        }
        for (const ycPackedRGB16Pel& p : pelsOf<ycPackedRGB16Pel>(a.getPackedRGB16PelBuffer())) {
            rgb16.push_back(p.value());
        }
        for (const yc3PlanePel& p : c.planes) {
            want32.push_back(ycPackedRGB32Pel(p.plane0, p.plane1, p.plane2, fourth).value());
            want16.push_back(static_cast<std::uint16_t>((p.plane0 >> 3) << 11 | (p.plane1 >> 2) << 5 | p.plane2 >> 3));
        }
        EXPECT_EQ(rgb32, want32);
        EXPECT_EQ(rgb16, want16);
    }
    // The pattern reaches the core: the same 2 by 2 mosaic read as RGGB and
    // as BGGR swaps red and blue.
    const ycPelBuffer<unsigned char> mosaic = rawOf(2, 2, {200, 100, 100, 0});
    EXPECT_EQ(planesOf(ycAcqImage(mosaic, yeBayer8)).front(), yc3PlanePel(200, 100, 0));
    EXPECT_EQ(planesOf(ycAcqImage(mosaic, yeBayer8, ycAcqImage::BGGR)).front(), yc3PlanePel(0, 100, 200));

    // Packed 16-bit colour only copies itself.
    const ycAcqImage p16(bufferOf<ycPackedRGB16Pel>(2, 1, {ycPackedRGB16Pel(0xF81F), ycPackedRGB16Pel(0x0123)}));
    std::vector<std::uint16_t> values;
    for (const ycPackedRGB16Pel& p : pelsOf<ycPackedRGB16Pel>(p16.getPackedRGB16PelBuffer())) {
        values.push_back(p.value());
    }
    EXPECT_EQ(values, (std::vector<std::uint16_t>{0xF81F, 0x0123}));
}

TEST(AcqImage, GetterFrame)
{
    // Unbound gives unbound, before the table is asked.
    const ycAcqImage none;
    const ycAcqImage unboundRaw(ycPelBuffer<unsigned char>(), yeRGB24);
    for (const ycAcqImage* a : {&none, &unboundRaw}) {
        EXPECT_FALSE(a->isBound());
        EXPECT_FALSE(a->getGrey8PelBuffer().isBound());
        EXPECT_FALSE(a->getGrey16PelBuffer().isBound());
        EXPECT_FALSE(a->getPackedRGB16PelBuffer().isBound());
        EXPECT_FALSE(a->getPackedRGB32PelBuffer().isBound());
        EXPECT_FALSE(a->get3PlanePelBuffer().isBound());
        EXPECT_FALSE(a->getAcquiredImage().isBound());
        EXPECT_EQ(a->width(), 0);
        EXPECT_EQ(a->rowUpdate(), 0);
    }
    EXPECT_EQ(none.formatAcquired(), 0);
    EXPECT_EQ(none.internal(), nullptr);
    EXPECT_EQ(unboundRaw.formatAcquired(), yeRGB24);

    // Offsets and widths in pixels; rows one raw row update apart, from a
    // window inside a larger root.
    struct Frame {
        yeImageFormat format;
        std::int32_t rawX; // raw offset x
        std::int32_t rawWidth;
        std::int32_t x;
        std::int32_t width;
    };
    const Frame frames[] = {
        {yeGrey8, 7, 5, 7, 5},   {yeGrey16, 7, 5, 3, 2},  {yeGrey16BigEndian, -3, 4, -1, 2},
        {yeUYVY, 8, 4, 4, 2},    {yeUYYVYY, 6, 6, 4, 4},  {yeUYV, 9, 6, 3, 2},
        {yeRGB24, 10, 8, 3, 2},  {yeRGB48, 13, 12, 2, 2}, {yeBayer16, 4, 8, 2, 4},
    };
    for (const Frame& f : frames) {
        SCOPED_TRACE(f.format);
        ycPelBuffer<unsigned char> raw(16, 4);
        for (std::int32_t y = 0; y < 4; ++y) {
            for (std::int32_t x = 0; x < 16; ++x) raw.put(x, y, static_cast<unsigned char>(16 * y + x));
        }
        raw.windowRoot(2, 1, f.rawWidth, 2);
        raw.offset(f.rawX, 5);
        const ycAcqImage a(raw, f.format);
        EXPECT_EQ(a.width(), f.rawWidth);
        EXPECT_EQ(a.height(), 2);
        EXPECT_EQ(a.rowUpdate(), 32);
        EXPECT_EQ(a.getAcquiredImage(), raw);
        const ycPelRect want(f.x, 5, f.width, 2);
        const auto check = [&](yeImageFormat target, auto get) {
            if (!a.isConversionSupported(target)) return;
            const auto out = get();
            EXPECT_EQ(out.window(), want) << target;
            EXPECT_EQ(out.alignModulus(), 32) << target;
        };
        check(yeGrey8, [&] { return a.getGrey8PelBuffer(); });
        check(yeGrey16, [&] { return a.getGrey16PelBuffer(); });
        check(yePackedRGB16, [&] { return a.getPackedRGB16PelBuffer(); });
        check(yePackedRGB32, [&] { return a.getPackedRGB32PelBuffer(); });
        check(ye3Plane, [&] { return a.get3PlanePelBuffer(); });
    }

    // The second row comes from the raw root's next row: bytes 16 apart.
    ycPelBuffer<unsigned char> raw(8, 3);
    raw.copyFromBuffer(Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 0, 0x05, 0x06,
                             0x07, 0x08, 0, 0}
                           .data());
    raw.windowRoot(2, 1, 4, 2);
    EXPECT_EQ(grey16Of(ycAcqImage(raw, yeGrey16)), (Words{0x0201, 0x0403, 0x0605, 0x0807}));
    EXPECT_EQ(grey16Of(ycAcqImage(raw, yeGrey16BigEndian)), (Words{0x0102, 0x0304, 0x0506, 0x0708}));

    // Copies share the raw pels.
    const ycAcqImage a(raw, yeGrey8);
    const ycAcqImage b = a;
    EXPECT_EQ(b.getAcquiredImage().root(), raw.root());
    EXPECT_EQ(b.internal(), a.internal());
    EXPECT_EQ(b.getAcquiredImage(), a.getAcquiredImage());

    // The Bayer pattern travels with the image; other formats keep RGGB.
    EXPECT_EQ(ycAcqImage(raw, yeBayer8, ycAcqImage::GBRG).bayerPattern(), ycAcqImage::GBRG);
    EXPECT_EQ(a.bayerPattern(), ycAcqImage::RGGB);
}

TEST(AcqImage, Refusals)
{
    const ycPelBuffer<unsigned char> raw = rawOf(6, 1, {128, 235, 128, 16, 128, 126});
    // Formats with buffer types of their own, and unknown codes.
    for (std::int32_t code : {0, 3, 4, 12, 20, -1}) {
        EXPECT_THROW(ycAcqImage(raw, static_cast<yeImageFormat>(code)), ycAcqImage::NotSupported) << code;
    }
    // Pixel counts the core cannot convert: three UYVY pixels, six UYYVYY.
    EXPECT_THROW(ycAcqImage(raw, yeUYVY).getGrey8PelBuffer(), ycAcqImage::NotSupported);
    EXPECT_THROW(ycAcqImage(rawOf(9, 1, Bytes(9, 128)), yeUYYVYY).getPackedRGB32PelBuffer(),
                 ycAcqImage::NotSupported);
    try {
        ycAcqImage(raw, yeRGB24).getGrey8PelBuffer();
        ADD_FAILURE() << "RGB24 has no grey";
    } catch (const ycAcqImage::NotSupported& e) {
        EXPECT_EQ(e.errorNumber(), 0x100009d0);
        EXPECT_EQ(e.info(), L"image format 10 has no conversion to format 1");
    }
}

TEST(AcqImage, PackedGreyAddressing)
{
    // Five pixels a row, so row 1 starts at pixel 5, inside a group. Ten-bit
    // groups k = 0..4 hold B0 = k + 1, B1 = 0xE6 (bits 2, 3, 6 and 7 are
    // ignored), B2 = 0x80 + k: P0 = 4k + 6, P1 = 0x202 + 4k.
    Bytes tenBit;
    for (unsigned char k = 0; k < 5; ++k) tenBit.insert(tenBit.end(), {static_cast<unsigned char>(k + 1), 0xE6,
                                                                        static_cast<unsigned char>(0x80 + k)});
    ycPelBuffer<unsigned char> raw = packedOf(5, 2, tenBit);
    EXPECT_EQ(grey16Of(ycAcqImage(raw, yeGrey10Packed)),
              (Words{0x006, 0x202, 0x00A, 0x206, 0x00E, 0x20A, 0x012, 0x20E, 0x016, 0x212}));

    // A 4 by 2 window from pixel 1: row 0 begins with P1 and row 1 ends on
    // the last byte of the block.
    raw.windowRoot(1, 0, 4, 2);
    const ycAcqImage odd(raw, yeGrey10Packed);
    EXPECT_EQ(grey16Of(odd), (Words{0x202, 0x00A, 0x206, 0x00E, 0x012, 0x20E, 0x016, 0x212}));
    EXPECT_EQ(grey8Of(odd), (Bytes{0x80, 0x02, 0x81, 0x03, 0x04, 0x83, 0x05, 0x84}));
    EXPECT_EQ(odd.getGrey16PelBuffer().window(), ycPelRect(1, 0, 4, 2));

    // Twelve-bit, three pixels a row.
    ycPelBuffer<unsigned char> twelve =
        packedOf(3, 2, {0x10, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98});
    EXPECT_EQ(grey16Of(ycAcqImage(twelve, yeGrey12Packed)), (Words{0x101, 0x322, 0x434, 0x655, 0x767, 0x988}));
    twelve.windowRoot(1, 1, 2, 1);
    EXPECT_EQ(grey8Of(ycAcqImage(twelve, yeGrey12Packed)), (Bytes{0x76, 0x98}));

    // Bytes must come from a package that holds them all.
    const ycPelBuffer<unsigned char> owned(4, 2);
    EXPECT_THROW(ycAcqImage(owned, yeGrey10Packed), ycAcqImage::NotSupported);
    EXPECT_THROW(ycAcqImage(owned, yeGrey12Packed), ycAcqImage::NotSupported);
    auto tight = ycPelBlockPackage::make(4, 2, 1, 1);
    ycPelBuffer<unsigned char> short_(ycPtrHandle<ycPelRoot<unsigned char>>(new ycPelRoot<unsigned char>(*tight)));
    EXPECT_THROW(ycAcqImage(short_, yeGrey10Packed), ycAcqImage::NotSupported);
    // A window that reads no further than the block is fine.
    short_.windowRoot(0, 0, 4, 1);
    EXPECT_EQ(grey16Of(ycAcqImage(short_, yeGrey10Packed)).size(), 4u);
    EXPECT_FALSE(ycAcqImage(ycPelBuffer<unsigned char>(), yeGrey12Packed).getGrey16PelBuffer().isBound());
}

} // namespace
