// tlvstd-convert: turns a raw camera dump into an image file to look at.
//
//   tlvstd-convert RAW FORMAT WIDTH HEIGHT [ROWBYTES] OUT
//
// RAW holds HEIGHT rows of ROWBYTES bytes (by default the format's packed
// row); FORMAT is a name or a code from 1 to 19 (--help lists them); WIDTH and
// HEIGHT count pixels. Colour formats become an RGB image through the
// acquisition image's colour conversion; grey ones a grey image of their
// values as they are, 16 bits deep for more than 8 bits. OUT's extension
// chooses PNG (.png) or PGM/PPM (.pgm, .ppm, .pnm).
//
// The three-plane format's RAW is its red, green and blue planes one after
// the other. The packed 10 and 12-bit formats are a stream of pixels, three
// bytes to two, whose rows are ROWBYTES / 3 * 2 pixels apart (by default
// WIDTH, so rows may start inside a group).
//
// A wrong command line is one line on stderr and exit status 2; a file that
// cannot be read or is too short, or a conversion that fails, status 1.
#include "std/except/except.h"
#include "std/pelbuf/acqimage.h"
#include "std/pelbuf/imagefile.h"
#include "std/util/text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Format {
    const char* name;
    yeImageFormat code;
    // Bytes of a pixel in the raw dump, as a fraction.
    int num;
    int den;
};

constexpr Format kFormats[] = {
    {"Grey8", yeGrey8, 1, 1},          {"Grey16", yeGrey16, 2, 1},
    {"PackedRGB16", yePackedRGB16, 2, 1}, {"PackedRGB32", yePackedRGB32, 4, 1},
    {"Bayer8", yeBayer8, 1, 1},        {"Bayer16", yeBayer16, 2, 1},
    {"UYYVYY", yeUYYVYY, 3, 2},        {"UYVY", yeUYVY, 2, 1},
    {"UYV", yeUYV, 3, 1},              {"RGB24", yeRGB24, 3, 1},
    {"RGB48", yeRGB48, 6, 1},          {"3Plane", ye3Plane, 1, 1},
    {"Grey10", yeGrey10, 2, 1},        {"Grey12", yeGrey12, 2, 1},
    {"BGR24", yeBGR24, 3, 1},          {"Grey16BigEndian", yeGrey16BigEndian, 2, 1},
    {"Grey14", yeGrey14, 2, 1},        {"Grey10Packed", yeGrey10Packed, 3, 2},
    {"Grey12Packed", yeGrey12Packed, 3, 2},
};

struct UsageError {
    std::string what;
};

struct Failure {
    std::string what;
};

void printHelp()
{
    std::cout << "usage: tlvstd-convert RAW FORMAT WIDTH HEIGHT [ROWBYTES] OUT\n"
                 "  RAW       the camera's bytes: HEIGHT rows, ROWBYTES apart (default: the packed row)\n"
                 "  FORMAT    a name or code below\n"
                 "  OUT       .png, or .pgm/.ppm/.pnm; colour formats give RGB, grey ones their values\n"
                 "            (16-bit for more than 8 bits)\n"
                 "formats (code, name, intensity bits, bytes a pixel):\n";
    for (const Format& f : kFormats) {
        std::cout << "  " << std::left << std::setw(4) << f.code << std::setw(17) << f.name << std::setw(4)
                  << ycAcqImage::intensityBits(f.code);
        if (f.den == 1) std::cout << f.num;
        else std::cout << f.num << '/' << f.den;
        std::cout << (f.code == ye3Plane ? " in each of three planes, one after the other\n" : "\n");
    }
}

std::optional<std::int64_t> number(const std::string& text)
{
    std::int64_t v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return v;
}

const Format& formatNamed(const std::string& text)
{
    const auto lower = [](std::string s) {
        std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return s;
    };
    const auto code = number(text);
    for (const Format& f : kFormats)
        if ((code && *code == f.code) || lower(text) == lower(f.name)) return f;
    throw UsageError{"no format '" + text + "'"};
}

std::int32_t size(const std::string& text, const char* what, std::int64_t most)
{
    const auto v = number(text);
    if (!v || *v < 1 || *v > most)
        throw UsageError{std::string(what) + " '" + text + "' is not a number from 1 to " + std::to_string(most)};
    return static_cast<std::int32_t>(*v);
}

// The raw dump, checked to hold `need` bytes.
std::vector<unsigned char> readRaw(const std::string& path, std::int64_t need)
{
    std::ifstream in(yfPath(yfFromUtf8(path)), std::ios::binary);
    if (!in) throw Failure{"cannot open " + path};
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (static_cast<std::int64_t>(bytes.size()) < need)
        throw Failure{path + " holds " + std::to_string(bytes.size()) + " bytes; the image needs " +
                      std::to_string(need)};
    return bytes;
}

struct Geometry {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int64_t rowBytes = 0;
    std::int64_t packedRow = 0; // bytes a row of pixels occupies
    std::int32_t rowPixels = 0; // of the packed 10 and 12-bit stream
};

// Rows of `row` bytes each, ROWBYTES apart in the dump from `start`.
template <class T, class Put>
void fillRows(ycPelBuffer<T>& dst, const std::vector<unsigned char>& raw, const Geometry& g, std::int64_t start,
              Put put)
{
    for (std::int32_t y = 0; y < dst.height(); ++y)
        put(dst.pointToRow(y), raw.data() + start + y * g.rowBytes);
}

ycAcqImage acquire(const Format& f, const std::vector<unsigned char>& raw, const Geometry& g)
{
    switch (f.code) {
    case yePackedRGB16: {
        ycPelBuffer<ycPackedRGB16Pel> b(g.width, g.height);
        fillRows(b, raw, g, 0, [&](ycPackedRGB16Pel* row, const unsigned char* in) {
            for (std::int32_t x = 0; x < g.width; ++x)
                row[x] = ycPackedRGB16Pel(static_cast<std::uint16_t>(in[2 * x] | in[2 * x + 1] << 8));
        });
        return ycAcqImage(b);
    }
    case yePackedRGB32: {
        ycPelBuffer<ycPackedRGB32Pel> b(g.width, g.height);
        fillRows(b, raw, g, 0, [&](ycPackedRGB32Pel* row, const unsigned char* in) {
            for (std::int32_t x = 0; x < g.width; ++x)
                row[x] = ycPackedRGB32Pel(in[4 * x + 2], in[4 * x + 1], in[4 * x], in[4 * x + 3]);
        });
        return ycAcqImage(b);
    }
    case ye3Plane: {
        yc3PlanePelBuffer b(g.width, g.height);
        for (int p = 0; p < 3; ++p) {
            ycPelBuffer<unsigned char> plane = p == 0 ? b.plane0() : p == 1 ? b.plane1() : b.plane2();
            fillRows(plane, raw, g, p * g.rowBytes * g.height,
                     [&](unsigned char* row, const unsigned char* in) { std::memcpy(row, in, g.width); });
        }
        return ycAcqImage(b);
    }
    case yeGrey10Packed:
    case yeGrey12Packed: {
        // One stream of pixels, rows a whole number of groups apart.
        ycPelBuffer<unsigned char> b = ycAcqImage::packedRawBuffer(g.rowPixels, g.height, 1);
        const std::int64_t pixels = std::int64_t{b.rowUpdate()} * g.height;
        const auto bytes = std::min<std::int64_t>(static_cast<std::int64_t>(raw.size()), (pixels * 3 + 1) / 2);
        std::memcpy(b.root()->pels(), raw.data(), static_cast<std::size_t>(bytes));
        b.windowRoot(0, 0, g.width, g.height);
        return ycAcqImage(b, f.code);
    }
    default: {
        ycPelBuffer<unsigned char> b(static_cast<std::int32_t>(g.packedRow), g.height);
        fillRows(b, raw, g, 0, [&](unsigned char* row, const unsigned char* in) {
            std::memcpy(row, in, static_cast<std::size_t>(g.packedRow));
        });
        return ycAcqImage(b, f.code);
    }
    }
}

// 5-6-5 widened to 8 bits a channel, the top bits repeated below.
ycPelBuffer<ycPackedRGB32Pel> widen(const ycPelBuffer<ycPackedRGB16Pel>& src)
{
    ycPelBuffer<ycPackedRGB32Pel> out(src.width(), src.height());
    for (std::int32_t y = 0; y < src.height(); ++y) {
        const ycPackedRGB16Pel* in = src.pointToRow(src.offset().y() + y);
        ycPackedRGB32Pel* row = out.pointToRow(y);
        for (std::int32_t x = 0; x < src.width(); ++x) {
            const unsigned v = in[x].value();
            const unsigned r = v >> 11, g = (v >> 5) & 0x3F, b = v & 0x1F;
            row[x] = ycPackedRGB32Pel(static_cast<unsigned char>(r << 3 | r >> 2),
                                      static_cast<unsigned char>(g << 2 | g >> 4),
                                      static_cast<unsigned char>(b << 3 | b >> 2));
        }
    }
    return out;
}

void convert(const std::vector<std::string>& args)
{
    if (args.size() != 5 && args.size() != 6) throw UsageError{"expected RAW FORMAT WIDTH HEIGHT [ROWBYTES] OUT"};
    const Format& f = formatNamed(args[1]);
    Geometry g;
    g.width = size(args[2], "WIDTH", 65536);
    g.height = size(args[3], "HEIGHT", 65536);
    g.packedRow = (std::int64_t{g.width} * f.num + f.den - 1) / f.den;
    g.rowBytes = args.size() == 6 ? size(args[4], "ROWBYTES", std::int64_t{1} << 30) : g.packedRow;
    const std::string& out = args.back();
    if (g.rowBytes < g.packedRow)
        throw UsageError{"ROWBYTES " + std::to_string(g.rowBytes) + " is less than a row's " +
                         std::to_string(g.packedRow) + " bytes"};
    if (!yfImageFileFormatOf(yfPath(yfFromUtf8(out))))
        throw UsageError{"OUT '" + out + "' names no image format (.png, .pgm, .ppm, .pnm)"};

    std::int64_t need = (g.height - 1) * g.rowBytes + g.packedRow;
    if (f.code == ye3Plane) need += 2 * g.height * g.rowBytes;
    if (f.code == yeGrey10Packed || f.code == yeGrey12Packed) {
        if (args.size() == 6 && g.rowBytes % 3 != 0)
            throw UsageError{"ROWBYTES of a packed format must hold whole groups of three bytes"};
        g.rowPixels = args.size() == 6 ? static_cast<std::int32_t>(g.rowBytes / 3 * 2) : g.width;
        const std::int64_t pixels = std::int64_t{g.height - 1} * g.rowPixels + g.width;
        need = (pixels * 3 + 1) / 2;
    }
    const std::vector<unsigned char> raw = readRaw(args[0], need);
    const ycAcqImage image = acquire(f, raw, g);

    const auto path = yfPath(yfFromUtf8(out));
    if (f.code == yePackedRGB16) yfWriteImage(path, widen(image.getPackedRGB16PelBuffer()));
    else if (image.isColor() && f.code != yeGrey16BigEndian) yfWriteImage(path, image.getPackedRGB32PelBuffer());
    else if (image.intensityBits() > 8) yfWriteImage(path, image.getGrey16PelBuffer());
    else yfWriteImage(path, image.getGrey8PelBuffer());
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
        printHelp();
        return 0;
    }
    try {
        convert(args);
        return 0;
    } catch (const UsageError& e) {
        std::cerr << "tlvstd-convert: " << e.what << "; see --help\n";
        return 2;
    } catch (const Failure& e) {
        std::cerr << "tlvstd-convert: " << e.what << '\n';
    } catch (const ycException& e) {
        std::cerr << "tlvstd-convert: " << yfToUtf8(e.message(true)) << '\n';
    } catch (const std::exception& e) {
        std::cerr << "tlvstd-convert: " << e.what() << '\n';
    }
    return 1;
}
