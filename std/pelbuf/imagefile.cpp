#include "std/pelbuf/imagefile.h"

#include "std/except/unbuilt.h"
#include "std/pelbuf/pelcolor.h"
#include "std/pelbuf/pelcopy.h"
#include "std/util/text.h"

#include <spng.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>

namespace {

constexpr unsigned char kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kPngChunkLimit = std::size_t{16} << 20;
constexpr std::size_t kPngCacheLimit = std::size_t{64} << 20;

[[noreturn]] void badFormat(const std::string& why)
{
    throw ycDIB::BadFormat(yfFromUtf8(why));
}

// Dense pels between a buffer and a file: rows of width * channels samples,
// one byte each up to maxval 255, else two bytes with the high one first.
struct Raster {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int channels = 1;
    std::uint32_t maxval = 255;
    std::span<const unsigned char> samples;

    std::size_t sampleBytes() const { return maxval > 255 ? 2 : 1; }
    std::size_t rowBytes() const { return std::size_t{width} * static_cast<std::size_t>(channels) * sampleBytes(); }
};

// --- from buffers ------------------------------------------------------------

struct OwnedRaster {
    Raster raster;
    std::vector<unsigned char> bytes;
};

template <class T>
OwnedRaster gather(const ycPelBuffer_const<T>& src)
{
    if (!src.isBound() || src.width() <= 0 || src.height() <= 0)
        throw ycDIB::WriteError(L"an image file needs a bound buffer with pels in its window");
    OwnedRaster out;
    Raster& r = out.raster;
    r.width = static_cast<std::uint32_t>(src.width());
    r.height = static_cast<std::uint32_t>(src.height());
    r.channels = std::is_same_v<T, unsigned char> || std::is_same_v<T, unsigned short> ? 1 : 3;
    r.maxval = std::is_same_v<T, unsigned short> ? 65535 : 255;
    out.bytes.resize(r.rowBytes() * r.height);
    unsigned char* o = out.bytes.data();
    const std::int32_t y0 = src.offset().y(), w = src.width();
    for (std::int32_t y = y0; y < y0 + src.height(); ++y) {
        const auto row = src.pointToRow(y);
        for (std::int32_t x = 0; x < w; ++x) {
            if constexpr (std::is_same_v<T, unsigned char>) {
                *o++ = row[x];
            } else if constexpr (std::is_same_v<T, unsigned short>) {
                *o++ = static_cast<unsigned char>(row[x] >> 8);
                *o++ = static_cast<unsigned char>(row[x]);
            } else if constexpr (std::is_same_v<T, ycPackedRGB32Pel>) {
                *o++ = row[x].red;
                *o++ = row[x].green;
                *o++ = row[x].blue;
            } else {
                *o++ = row.plane0[x];
                *o++ = row.plane1[x];
                *o++ = row.plane2[x];
            }
        }
    }
    r.samples = out.bytes;
    return out;
}

// --- to buffers --------------------------------------------------------------

std::uint32_t sampleAt(const unsigned char* p, bool wide)
{
    return wide ? (std::uint32_t{p[0]} << 8) | p[1] : p[0];
}

[[noreturn]] void sampleAboveMaxval(std::uint32_t v, std::uint32_t maxval)
{
    badFormat("a sample of " + std::to_string(v) + " is above the maxval " + std::to_string(maxval));
}

template <class T>
ycPelBuffer<T> scatterGrey(const Raster& r)
{
    ycPelBuffer<T> out(static_cast<std::int32_t>(r.width), static_cast<std::int32_t>(r.height));
    const bool wide = r.sampleBytes() == 2;
    const unsigned char* in = r.samples.data();
    for (std::int32_t y = 0; y < out.height(); ++y) {
        T* row = out.pointToRow(y);
        for (std::uint32_t x = 0; x < r.width; ++x, in += r.sampleBytes()) {
            const std::uint32_t v = sampleAt(in, wide);
            if (v > r.maxval) sampleAboveMaxval(v, r.maxval);
            row[x] = static_cast<T>(v);
        }
    }
    return out;
}

ycPelBuffer<ycPackedRGB32Pel> scatterColour(const Raster& r)
{
    ycPelBuffer<ycPackedRGB32Pel> out(static_cast<std::int32_t>(r.width), static_cast<std::int32_t>(r.height));
    const bool wide = r.sampleBytes() == 2;
    const unsigned char* in = r.samples.data();
    // Wider samples than a packed pel holds are scaled, with rounding.
    const auto narrow = [&](std::uint32_t v) {
        if (v > r.maxval) sampleAboveMaxval(v, r.maxval);
        return static_cast<unsigned char>(wide ? (v * 255 + r.maxval / 2) / r.maxval : v);
    };
    for (std::int32_t y = 0; y < out.height(); ++y) {
        ycPackedRGB32Pel* row = out.pointToRow(y);
        for (std::uint32_t x = 0; x < r.width; ++x, in += 3 * r.sampleBytes()) {
            const unsigned char red = narrow(sampleAt(in, wide));
            const unsigned char green = narrow(sampleAt(in + r.sampleBytes(), wide));
            const unsigned char blue = narrow(sampleAt(in + 2 * r.sampleBytes(), wide));
            row[x] = ycPackedRGB32Pel(red, green, blue);
        }
    }
    return out;
}

ycImageFile scatter(const Raster& r)
{
    if (r.channels == 3) return scatterColour(r);
    if (r.sampleBytes() == 2) return scatterGrey<unsigned short>(r);
    return scatterGrey<unsigned char>(r);
}

void checkSize(std::uint64_t width, std::uint64_t height, const ycImageFileLimits& limits)
{
    if (width == 0 || height == 0) badFormat("the image has no pels (" + std::to_string(width) + " by " +
                                             std::to_string(height) + ")");
    if (width > limits.maxSide || height > limits.maxSide || width * height > limits.maxPels)
        badFormat("the image is too large (" + std::to_string(width) + " by " + std::to_string(height) + ")");
}

// --- PNG -----------------------------------------------------------------------

struct SpngFree {
    void operator()(spng_ctx* ctx) const { spng_ctx_free(ctx); }
};
using Spng = std::unique_ptr<spng_ctx, SpngFree>;

Spng newSpng(int flags)
{
    Spng ctx(spng_ctx_new(flags));
    if (!ctx) throw std::bad_alloc();
    return ctx;
}

[[noreturn]] void pngFailure(bool writing, int status)
{
    const std::string text = std::string(writing ? "PNG encoder: " : "bad PNG: ") + spng_strerror(status);
    if (writing) throw ycDIB::WriteError(yfFromUtf8(text));
    badFormat(text);
}

std::vector<unsigned char> encodePng(const Raster& r)
{
    Spng ctx = newSpng(SPNG_CTX_ENCODER);
    spng_set_option(ctx.get(), SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr ihdr{};
    ihdr.width = r.width;
    ihdr.height = r.height;
    ihdr.bit_depth = static_cast<std::uint8_t>(8 * r.sampleBytes());
    ihdr.color_type = r.channels == 3 ? SPNG_COLOR_TYPE_TRUECOLOR : SPNG_COLOR_TYPE_GRAYSCALE;
    int status = spng_set_ihdr(ctx.get(), &ihdr);
    // The raster's 16-bit samples are already in PNG's byte order.
    if (status == 0)
        status = spng_encode_image(ctx.get(), r.samples.data(), r.samples.size(), SPNG_FMT_RAW,
                                   SPNG_ENCODE_FINALIZE);
    std::size_t size = 0;
    void* png = status == 0 ? spng_get_png_buffer(ctx.get(), &size, &status) : nullptr;
    if (!png) pngFailure(true, status);
    const auto* bytes = static_cast<const unsigned char*>(png);
    std::vector<unsigned char> out(bytes, bytes + size);
    std::free(png);
    return out;
}

ycImageFile decodePng(std::span<const unsigned char> bytes, const ycImageFileLimits& limits)
{
    Spng ctx = newSpng(0);
    const std::uint32_t side = std::min<std::uint32_t>(limits.maxSide, 0x7FFFFFFF);
    spng_set_image_limits(ctx.get(), side, side);
    spng_set_chunk_limits(ctx.get(), kPngChunkLimit, kPngCacheLimit);
    spng_set_png_buffer(ctx.get(), bytes.data(), bytes.size());
    spng_ihdr ihdr{};
    if (int status = spng_get_ihdr(ctx.get(), &ihdr)) pngFailure(false, status);
    checkSize(ihdr.width, ihdr.height, limits);

    // Grey stays grey at its depth; everything else becomes 8-bit RGB.
    // Alpha is decoded where the decoder insists and dropped below.
    int format = SPNG_FMT_RGB8;
    int samplesPerPel = 3, keep = 3;
    std::uint32_t maxval = 255;
    if (ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE && ihdr.bit_depth <= 8) {
        format = SPNG_FMT_G8;
        samplesPerPel = keep = 1;
    } else if (ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE || ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA) {
        format = ihdr.bit_depth == 16 ? SPNG_FMT_GA16 : SPNG_FMT_GA8;
        samplesPerPel = 2;
        keep = 1;
        maxval = ihdr.bit_depth == 16 ? 65535 : 255;
    }
    std::size_t size = 0;
    if (int status = spng_decoded_image_size(ctx.get(), format, &size)) pngFailure(false, status);
    std::vector<unsigned char> decoded(size);
    if (int status = spng_decode_image(ctx.get(), decoded.data(), size, format, 0)) pngFailure(false, status);
    // A file cut after its pels is still a cut file.
    if (int status = spng_decode_chunks(ctx.get())) pngFailure(false, status);

    Raster r;
    r.width = ihdr.width;
    r.height = ihdr.height;
    r.channels = keep;
    r.maxval = maxval;
    if (samplesPerPel == keep) {
        r.samples = decoded;
        return scatter(r);
    }
    // Grey with alpha: keep the grey samples, 16-bit ones turned from host
    // order into the raster's.
    const std::size_t pels = std::size_t{r.width} * r.height;
    std::vector<unsigned char> grey(pels * r.sampleBytes());
    for (std::size_t i = 0; i < pels; ++i) {
        if (maxval == 255) {
            grey[i] = decoded[2 * i];
        } else {
            std::uint16_t v = 0;
            std::memcpy(&v, &decoded[4 * i], 2);
            grey[2 * i] = static_cast<unsigned char>(v >> 8);
            grey[2 * i + 1] = static_cast<unsigned char>(v);
        }
    }
    r.samples = grey;
    return scatter(r);
}

// --- PGM / PPM -------------------------------------------------------------------

std::vector<unsigned char> encodePnm(const Raster& r)
{
    const std::string header = std::string(r.channels == 3 ? "P6\n" : "P5\n") + std::to_string(r.width) + " " +
                               std::to_string(r.height) + "\n" + std::to_string(r.maxval) + "\n";
    std::vector<unsigned char> out(header.begin(), header.end());
    out.insert(out.end(), r.samples.begin(), r.samples.end());
    return out;
}

bool isPnmSpace(unsigned char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Reads the header's numbers, skipping whitespace and comments before each.
class PnmHeader {
public:
    explicit PnmHeader(std::span<const unsigned char> bytes) : bytes_(bytes) {}

    std::uint64_t number(const char* what)
    {
        for (;;) {
            if (pos_ == bytes_.size()) badFormat(std::string("the PGM/PPM header ends before its ") + what);
            const unsigned char c = bytes_[pos_];
            if (c == '#') {
                while (pos_ < bytes_.size() && bytes_[pos_] != '\n' && bytes_[pos_] != '\r') ++pos_;
            } else if (isPnmSpace(c)) {
                ++pos_;
            } else {
                break;
            }
        }
        std::uint64_t value = 0;
        const std::size_t start = pos_;
        while (pos_ < bytes_.size() && bytes_[pos_] >= '0' && bytes_[pos_] <= '9') {
            // Anything this long is over every limit; stop before it overflows.
            if (value < (std::uint64_t{1} << 40)) value = value * 10 + (bytes_[pos_] - '0');
            ++pos_;
        }
        if (pos_ == start) badFormat(std::string("the PGM/PPM header has no number for its ") + what);
        return value;
    }

    // One whitespace byte ends the header.
    std::size_t rasterStart()
    {
        if (pos_ == bytes_.size() || !isPnmSpace(bytes_[pos_]))
            badFormat("the PGM/PPM header does not end in whitespace after its maxval");
        return pos_ + 1;
    }

private:
    std::span<const unsigned char> bytes_;
    std::size_t pos_ = 2;
};

ycImageFile decodePnm(std::span<const unsigned char> bytes, const ycImageFileLimits& limits)
{
    PnmHeader header(bytes);
    const std::uint64_t width = header.number("width");
    const std::uint64_t height = header.number("height");
    const std::uint64_t maxval = header.number("maxval");
    const std::size_t start = header.rasterStart();
    checkSize(width, height, limits);
    if (maxval == 0 || maxval > 65535) badFormat("the PGM/PPM maxval " + std::to_string(maxval) + " is not in 1..65535");
    Raster r;
    r.width = static_cast<std::uint32_t>(width);
    r.height = static_cast<std::uint32_t>(height);
    r.channels = bytes[1] == '6' ? 3 : 1;
    r.maxval = static_cast<std::uint32_t>(maxval);
    const std::uint64_t need = std::uint64_t{r.rowBytes()} * r.height;
    if (need > bytes.size() - start)
        badFormat("the PGM/PPM header promises " + std::to_string(need) + " raster bytes, " +
                  std::to_string(bytes.size() - start) + " follow");
    r.samples = bytes.subspan(start, static_cast<std::size_t>(need));
    return scatter(r);
}

// --- files -------------------------------------------------------------------

std::string pathText(const std::filesystem::path& path)
{
    return yfToUtf8(path.wstring());
}

std::vector<unsigned char> fileBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw ycDIB::ReadError(yfFromUtf8("cannot open " + pathText(path)));
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw ycDIB::ReadError(yfFromUtf8("cannot read " + pathText(path)));
    return bytes;
}

template <class B>
constexpr const char* kindName()
{
    if constexpr (std::is_same_v<B, ycPelBuffer<unsigned char>>) return "8-bit grey";
    else if constexpr (std::is_same_v<B, ycPelBuffer<unsigned short>>) return "16-bit grey";
    else if constexpr (std::is_same_v<B, ycPelBuffer<ycPackedRGB32Pel>>) return "packed RGB32";
    else return "three-plane";
}

} // namespace

ycImageFileView::ycImageFileView(const ycImageFile& image)
    : view_(std::visit([](const auto& b) -> Views { return b; }, image))
{
}

std::optional<ycImageFileFormat> yfImageFileFormatOf(const std::filesystem::path& path)
{
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    if (ext == ".png") return ycImageFileFormat::png;
    if (ext == ".pgm" || ext == ".ppm" || ext == ".pnm") return ycImageFileFormat::pnm;
    return std::nullopt;
}

std::vector<unsigned char> yfWriteImageBytes(const ycImageFileView& image, ycImageFileFormat format)
{
    const OwnedRaster r = std::visit([](const auto& b) { return gather(b); }, image.views());
    return format == ycImageFileFormat::png ? encodePng(r.raster) : encodePnm(r.raster);
}

void yfWriteImage(const std::filesystem::path& path, const ycImageFileView& image, ycImageFileFormat format)
{
    const std::vector<unsigned char> bytes = yfWriteImageBytes(image, format);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw ycDIB::WriteError(yfFromUtf8("cannot write " + pathText(path)));
}

void yfWriteImage(const std::filesystem::path& path, const ycImageFileView& image)
{
    const auto format = yfImageFileFormatOf(path);
    if (!format)
        badFormat("the extension of " + pathText(path) + " names no image format (.png, .pgm, .ppm, .pnm)");
    yfWriteImage(path, image, *format);
}

ycImageFile yfReadImageBytes(std::span<const unsigned char> bytes, const ycImageFileLimits& limits)
{
    if (bytes.size() >= sizeof kPngSignature && std::equal(std::begin(kPngSignature), std::end(kPngSignature), bytes.begin()))
        return decodePng(bytes, limits);
    if (bytes.size() >= 2 && bytes[0] == 'P' && (bytes[1] == '5' || bytes[1] == '6')) return decodePnm(bytes, limits);
    badFormat("not a PNG, binary PGM or binary PPM file");
}

ycImageFile yfReadImage(const std::filesystem::path& path, const ycImageFileLimits& limits)
{
    const std::vector<unsigned char> bytes = fileBytes(path);
    return yfReadImageBytes(bytes, limits);
}

template <class B>
B yfImageAs(ycImageFile image)
{
    if (B* same = std::get_if<B>(&image)) return std::move(*same);
    if constexpr (std::is_same_v<B, ycPelBuffer<ycPackedRGB32Pel>>) {
        B out;
        if (const auto* planes = std::get_if<yc3PlanePelBuffer>(&image)) {
            yfRGBPack(*planes, out, 0);
            return out;
        }
        if (const auto* grey = std::get_if<ycPelBuffer<unsigned char>>(&image)) {
            yfRGBPack(*grey, *grey, *grey, out, 0);
            return out;
        }
    } else if constexpr (std::is_same_v<B, yc3PlanePelBuffer>) {
        if (const auto* packed = std::get_if<ycPelBuffer<ycPackedRGB32Pel>>(&image)) {
            B out;
            yfRGBSeparateColorPlanes(*packed, out);
            return out;
        }
        if (const auto* grey = std::get_if<ycPelBuffer<unsigned char>>(&image))
            return B(yfPelCopy(*grey), yfPelCopy(*grey), yfPelCopy(*grey));
    }
    const char* held = std::visit([](const auto& b) { return kindName<std::decay_t<decltype(b)>>(); }, image);
    badFormat(std::string("a ") + held + " image is not read as " + kindName<B>());
}

template TLVSTD_INSTANCE_API ycPelBuffer<unsigned char> yfImageAs(ycImageFile);
template TLVSTD_INSTANCE_API ycPelBuffer<unsigned short> yfImageAs(ycImageFile);
template TLVSTD_INSTANCE_API ycPelBuffer<ycPackedRGB32Pel> yfImageAs(ycImageFile);
template TLVSTD_INSTANCE_API yc3PlanePelBuffer yfImageAs(ycImageFile);
