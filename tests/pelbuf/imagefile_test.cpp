// PNG and PGM/PPM files: round trips, header forms, refused inputs.
#include "std/pelbuf/imagefile.h"

#include "std/except/unbuilt.h"
#include "tests/pelbuf/pelops.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

using Data = std::vector<unsigned char>;

Data dataOf(const std::string& s)
{
    return Data(s.begin(), s.end());
}

// Distinct values in every byte, 16-bit ones above 255.
template <class T>
T pelAt(int i)
{
    const auto b = [i](int k) { return static_cast<unsigned char>(i * 37 + k * 91 + 5); };
    if constexpr (std::is_same_v<T, unsigned char>) return b(0);
    else if constexpr (std::is_same_v<T, unsigned short>) return static_cast<unsigned short>(i * 4099 + 300);
    else if constexpr (std::is_same_v<T, ycPackedRGB32Pel>) return ycPackedRGB32Pel(b(0), b(1), b(2), 0);
    else return yc3PlanePel{b(0), b(1), b(2)};
}

// A 5 by 3 window at (2, 1) of a 9 by 6 root whose other pels differ, so a
// write of the whole root or a wrong row stride shows.
template <class B>
B windowed()
{
    using T = typename B::value_type;
    B b(9, 6);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 9; ++x) b.put(x, y, pelAt<T>(100 + y * 9 + x));
    b.windowRoot(2, 1, 5, 3);
    int i = 0;
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) b.put(b.offset().x() + x, b.offset().y() + y, pelAt<T>(i++));
    return b;
}

template <class B>
void expectRoundTrips()
{
    using T = typename B::value_type;
    const B original = windowed<B>();
    std::vector<T> expected;
    for (int i = 0; i < 15; ++i) expected.push_back(pelAt<T>(i));
    const std::string dir = testOutputDir();
    for (auto format : {ycImageFileFormat::png, ycImageFileFormat::pnm}) {
        SCOPED_TRACE(format == ycImageFileFormat::png ? "png" : "pnm");
        const Data bytes = yfWriteImageBytes(original, format);
        const B fromBytes = yfReadImageBytesAs<B>(bytes);
        EXPECT_EQ(fromBytes.window(), ycPelRect(0, 0, 5, 3));
        EXPECT_EQ(pelsOf(fromBytes), expected);

        const std::string path = dir + "/roundtrip" + (format == ycImageFileFormat::png ? ".png" : ".PNM");
        yfWriteImage(path, original);
        EXPECT_EQ(fileBytes(path), std::string(bytes.begin(), bytes.end()));
        EXPECT_EQ(pelsOf(yfReadImageAs<B>(path)), expected);
    }
}

TEST(ImageFile, EveryPelTypeRoundTripsThroughBothFormatsInMemoryAndOnDisk)
{
    expectRoundTrips<ycPelBuffer<unsigned char>>();
    expectRoundTrips<ycPelBuffer<unsigned short>>();
    expectRoundTrips<ycPelBuffer<ycPackedRGB32Pel>>();
    expectRoundTrips<yc3PlanePelBuffer>();

    // Colour comes back as packed pels; the fourth byte is not kept.
    ycPelBuffer<ycPackedRGB32Pel> packed(1, 1);
    packed.put(0, 0, ycPackedRGB32Pel(1, 2, 3, 0xEE));
    const ycImageFile back = yfReadImageBytes(yfWriteImageBytes(packed, ycImageFileFormat::png));
    ASSERT_TRUE(std::holds_alternative<ycPelBuffer<ycPackedRGB32Pel>>(back));
    EXPECT_EQ(std::get<ycPelBuffer<ycPackedRGB32Pel>>(back).get(0, 0), ycPackedRGB32Pel(1, 2, 3, 0));
    // A read image writes again as it is.
    EXPECT_EQ(yfWriteImageBytes(back, ycImageFileFormat::pnm), dataOf(std::string("P6\n1 1\n255\n\x01\x02\x03", 14)));
}

// The pels of any image as numbers: grey values, or packed RGB32 values.
std::vector<std::uint32_t> valuesOf(const ycImageFile& image)
{
    std::vector<std::uint32_t> out;
    std::visit(
        [&](const auto& b) {
            for (const auto& p : pelsOf(b)) {
                if constexpr (std::is_same_v<std::decay_t<decltype(p)>, ycPackedRGB32Pel>) out.push_back(p.value());
                else if constexpr (std::is_integral_v<std::decay_t<decltype(p)>>) out.push_back(p);
            }
        },
        image);
    return out;
}

TEST(ImageFile, PnmHeadersAndSamplesAsTheFormatAllows)
{
    struct Row {
        std::string bytes;
        std::vector<std::uint32_t> values; // grey values, or packed RGB32 values
    } rows[] = {
        {"P5\n# made by hand\n2 # width\n  1\t\r\n# maxval next\n255\n\x07\xFF", {0x07, 0xFF}},
        {std::string("P5 2 1 15 \x0F\x00", 12), {15, 0}},
        {"P5 2 1 65535\n\x12\x34\xAB\xCD", {0x1234, 0xABCD}},
        {std::string("P5 1 1 256\n\x01\x00", 13), {0x100}},
        {"P6 1 1 255\n\x10\x20\x30trailing bytes", {0x102030}},
        {std::string("P6 2 1 1023\n\x03\xFF\x00\x00\x02\x00\x00\x00\x00\x00\x00\x01", 24), {0xFF0080, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(valuesOf(yfReadImageBytes(dataOf(row.bytes))), row.values);
    }
    EXPECT_TRUE(std::holds_alternative<ycPelBuffer<unsigned short>>(yfReadImageBytes(dataOf(rows[3].bytes))));
    EXPECT_TRUE(std::holds_alternative<ycPelBuffer<unsigned char>>(yfReadImageBytes(dataOf(rows[1].bytes))));
}

// PNG's chunk checksum, so that edited headers pass the decoder's check.
std::uint32_t crc32(const unsigned char* p, std::size_t n)
{
    std::uint32_t c = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < n; ++i) {
        c ^= p[i];
        for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1)));
    }
    return ~c;
}

// The PNG with its IHDR width and height replaced.
Data withPngSize(Data png, std::uint32_t w, std::uint32_t h)
{
    for (int k = 0; k < 4; ++k) {
        png[16 + k] = static_cast<unsigned char>(w >> (24 - 8 * k));
        png[20 + k] = static_cast<unsigned char>(h >> (24 - 8 * k));
    }
    const std::uint32_t crc = crc32(&png[12], 17);
    for (int k = 0; k < 4; ++k) png[29 + k] = static_cast<unsigned char>(crc >> (24 - 8 * k));
    return png;
}

TEST(ImageFile, BadInputsAreClearExceptions)
{
    const Data png = yfWriteImageBytes(windowed<ycPelBuffer<unsigned short>>(), ycImageFileFormat::png);
    Data badCrc = png;
    badCrc[30] ^= 1;
    const auto cut = [](const Data& d, std::size_t n) { return Data(d.begin(), d.begin() + static_cast<long>(n)); };
    enum Kind { badFormat, readError };
    struct Row {
        const char* what;
        Data bytes;
    } rows[] = {
        {"empty", {}},
        {"other signature", dataOf("GIF89a....")},
        {"text PGM", dataOf("P2 1 1 255\n7\n")},
        {"PNG signature cut", cut(png, 7)},
        {"PNG header cut", cut(png, 20)},
        {"PNG data cut", cut(png, png.size() / 2 + 10)},
        {"PNG end cut", cut(png, png.size() - 12)},
        {"PNG checksum", badCrc},
        {"PNG width 0", withPngSize(png, 0, 3)},
        {"PNG too wide", withPngSize(png, 70000, 1)},
        {"PNG too many pels", withPngSize(png, 65536, 65536)},
        {"magic only", dataOf("P5")},
        {"header cut", dataOf("P5 4 4")},
        {"no maxval", dataOf("P5 4 4 # comment\n")},
        {"width 0", dataOf("P5 0 3 255\n")},
        {"height 0", dataOf("P6 3 0 255\n")},
        {"too wide", dataOf("P5 65537 1 255\n")},
        {"too many pels", dataOf("P5 65536 65536 255\n")},
        {"huge number", dataOf("P5 999999999999999999999999 1 255\n")},
        {"negative", dataOf("P5 -1 1 255\n")},
        {"maxval 0", dataOf("P5 1 1 0\n\x00")},
        {"maxval 65536", dataOf("P5 1 1 65536\n\x00\x00")},
        {"no whitespace after maxval", dataOf("P5 1 1 255x")},
        {"promises more bytes", dataOf("P5 4 4 255\n" + std::string(15, 'x'))},
        {"16-bit short by one byte", dataOf("P6 1 1 1000\n\x01\x02\x03\x04\x05")},
        {"sample above maxval", dataOf("P5 2 1 15\n\x0F\x10")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_THROW(yfReadImageBytes(row.bytes), ycDIB::BadFormat);
    }
    // Smaller limits refuse what the defaults allow.
    EXPECT_THROW(yfReadImageBytes(png, {.maxPels = 14}), ycDIB::BadFormat);
    EXPECT_THROW(yfReadImageBytes(png, {.maxPels = 1000, .maxSide = 4}), ycDIB::BadFormat);
    EXPECT_NO_THROW(yfReadImageBytes(png, {.maxPels = 15, .maxSide = 5}));

    // Typed reads that would lose values, and files that are not there.
    EXPECT_THROW(yfReadImageBytesAs<ycPelBuffer<unsigned char>>(png), ycDIB::BadFormat);
    EXPECT_THROW(yfReadImageBytesAs<ycPelBuffer<unsigned short>>(dataOf("P5 1 1 255\n\x01")), ycDIB::BadFormat);
    EXPECT_THROW(yfReadImageBytesAs<ycPelBuffer<unsigned char>>(dataOf("P6 1 1 255\n\x01\x02\x03")), ycDIB::BadFormat);
    const std::string dir = testOutputDir();
    EXPECT_THROW(yfReadImage(dir + "/no-such-file.png"), ycDIB::ReadError);
    EXPECT_THROW(yfWriteImage(dir + "/no-such-dir/a.png", windowed<ycPelBuffer<unsigned char>>()), ycDIB::WriteError);
    EXPECT_THROW(yfWriteImage(dir + "/a.bmp", windowed<ycPelBuffer<unsigned char>>()), ycDIB::BadFormat);
    EXPECT_THROW(yfWriteImageBytes(ycPelBuffer<unsigned char>(), ycImageFileFormat::png), ycDIB::WriteError);
}

TEST(ImageFile, TypedReadsWidenGreyAndSwapColourForms)
{
    const auto grey = bufferOf<unsigned char>(3, 1, {1, 2, 3});
    const Data pgm = yfWriteImageBytes(grey, ycImageFileFormat::pnm);
    const auto packed = yfReadImageBytesAs<ycPelBuffer<ycPackedRGB32Pel>>(pgm);
    EXPECT_EQ(pelsOf(packed), (std::vector<ycPackedRGB32Pel>{{1, 1, 1}, {2, 2, 2}, {3, 3, 3}}));
    const auto planes = yfReadImageBytesAs<yc3PlanePelBuffer>(pgm);
    EXPECT_EQ(pelsOf(planes.plane0()), (std::vector<unsigned char>{1, 2, 3}));
    EXPECT_EQ(pelsOf(planes.plane2()), (std::vector<unsigned char>{1, 2, 3}));
    // The planes are copies, not one buffer three times.
    EXPECT_FALSE(planes.plane0().sharesPels(planes.plane1()));

    const Data ppm = dataOf("P6\n2 1\n255\n\x01\x02\x03\x04\x05\x06");
    const auto split = yfReadImageBytesAs<yc3PlanePelBuffer>(ppm);
    EXPECT_EQ(pelsOf(split.plane1()), (std::vector<unsigned char>{2, 5}));
    EXPECT_EQ(yfWriteImageBytes(split, ycImageFileFormat::pnm), ppm);
}

// The build passes the path of the converter it makes beside this test.
const std::string kConverter = TLVSTD_CONVERT_TOOL;

TEST(ImageFile, ConverterTurnsRawDumpsIntoFilesAndRefusesBadInput)
{
    const std::string dir = testOutputDir();
    const auto raw = [&](const std::string& name, const Data& bytes) {
        const std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                    static_cast<std::streamsize>(bytes.size()));
        return path;
    };
    // Packed 12-bit, 3 by 2: the second row starts inside a group.
    const std::string packed = raw("packed12.raw", {0x12, 0x34, 0x56, 0x12, 0x34, 0x56, 0xAB, 0xCD, 0xEF});
    // BGR24, 2 by 2, rows 7 bytes apart.
    const std::string bgr = raw("bgr24.raw", {30, 20, 10, 60, 50, 40, 0xFF, 3, 2, 1, 6, 5, 4});
    struct Run {
        std::string args;
        bool grey16;
        std::vector<std::uint32_t> values;
    } runs[] = {
        {packed + " Grey12Packed 3 2 " + dir + "/packed12.png", true, {0x124, 0x563, 0x124, 0x563, 0xABD, 0xEFC}},
        {bgr + " 15 2 2 7 " + dir + "/bgr24.ppm", false, {0x0A141E, 0x28323C, 0x010203, 0x040506}},
        {bgr + " grey8 3 2 7 " + dir + "/grey8.png", false, {30, 20, 10, 3, 2, 1}},
    };
    const std::string outPath = dir + "/convert.out", errPath = dir + "/convert.err";
    const auto run = [&](const std::string& args) {
        int status = std::system(("\"" + kConverter + "\" " + args + " >\"" + outPath + "\" 2>\"" + errPath + "\"").c_str());
#ifndef _WIN32
        status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
        return status;
    };
    for (const Run& r : runs) {
        SCOPED_TRACE(r.args);
        ASSERT_EQ(run(r.args), 0) << fileBytes(errPath);
        const ycImageFile image = yfReadImage(r.args.substr(r.args.rfind(' ') + 1));
        EXPECT_EQ(std::holds_alternative<ycPelBuffer<unsigned short>>(image), r.grey16);
        EXPECT_EQ(valuesOf(image), r.values);
    }

    const struct Refusal {
        std::string args;
        int status;
        std::string says;
    } refusals[] = {
        {"", 2, "expected RAW"},
        {bgr + " nope 2 2 x.png", 2, "no format 'nope'"},
        {bgr + " 20 2 2 x.png", 2, "no format '20'"},
        {bgr + " RGB24 0 2 x.png", 2, "WIDTH '0'"},
        {bgr + " RGB24 2 2 5 x.png", 2, "ROWBYTES 5"},
        {bgr + " RGB24 2 2 x.bmp", 2, "x.bmp"},
        {bgr + " RGB24 3 2 " + dir + "/x.png", 1, "holds 13 bytes; the image needs 18"},
        {dir + "/missing.raw RGB24 1 1 " + dir + "/x.png", 1, "cannot open"},
        {bgr + " UYVY 3 2 " + dir + "/x.png", 1, "ycAcqImage::NotSupported"},
    };
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.args);
        EXPECT_EQ(run(r.args), r.status);
        const std::string err = fileBytes(errPath);
        EXPECT_EQ(err.rfind("tlvstd-convert: ", 0), 0u) << err;
        EXPECT_NE(err.find(r.says), std::string::npos) << err;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1);
    }
    ASSERT_EQ(run("--help"), 0);
    EXPECT_NE(fileBytes(outPath).find("19  Grey12Packed"), std::string::npos);
}

} // namespace
