// Acquisition images: the table of conversions, the getter frame and one
// implementation class per format.
#include "std/pelbuf/acqimage.h"

#include "core/yconvert.h"
#include "std/except/status.h"
#include "std/pelbuf/package.h"
#include "std/pelbuf/pelcolor.h"
#include "std/pelbuf/pelcopy.h"
#include "std/util/assert.h"
#include "std/util/numeric.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

// The pattern goes to the core as it is.
static_assert(int{ycAcqImage::RGGB} == YIP_BAYER_RGGB && int{ycAcqImage::GRBG} == YIP_BAYER_GRBG &&
              int{ycAcqImage::GBRG} == YIP_BAYER_GBRG && int{ycAcqImage::BGGR} == YIP_BAYER_BGGR);

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

using Bytes = ycPelBuffer<unsigned char>;
using Bytes_const = ycPelBuffer_const<unsigned char>;
using Grey16 = ycPelBuffer<unsigned short>;
using RGB16 = ycPelBuffer<ycPackedRGB16Pel>;
using RGB32 = ycPelBuffer<ycPackedRGB32Pel>;

// The conversions of each format, as bits of the targets.
enum : unsigned { kGrey8 = 1, kGrey16 = 2, kRGB16 = 4, kRGB32 = 8, kPlanes = 16 };
constexpr unsigned kColour = kRGB16 | kRGB32 | kPlanes;
constexpr unsigned kAll = kGrey8 | kGrey16 | kColour;
constexpr unsigned kSupport[] = {
    0,                // no format 0
    kAll,             // Grey8
    kAll,             // Grey16
    kRGB16,           // PackedRGB16
    kColour,          // PackedRGB32
    kGrey8 | kColour, // Bayer8
    kGrey8 | kColour, // Bayer16
    kGrey8 | kColour, // UYYVYY
    kGrey8 | kColour, // UYVY
    kGrey8 | kColour, // UYV
    kColour,          // RGB24
    kAll,             // RGB48
    kColour,          // 3Plane
    kAll,             // Grey10
    kAll,             // Grey12
    kColour,          // BGR24
    kGrey8 | kGrey16, // Grey16BigEndian
    kAll,             // Grey14
    kAll,             // Grey10Packed
    kAll,             // Grey12Packed
};
constexpr std::int32_t kFormats = static_cast<std::int32_t>(std::size(kSupport));

bool isKnown(yeImageFormat f)
{
    return f >= 1 && f < kFormats;
}

unsigned targetBit(yeImageFormat target)
{
    switch (target) {
    case yeGrey8: return kGrey8;
    case yeGrey16: return kGrey16;
    case yePackedRGB16: return kRGB16;
    case yePackedRGB32: return kRGB32;
    case ye3Plane: return kPlanes;
    default: return 0;
    }
}

ycAcqImage::NotSupported notSupported(yeImageFormat format, yeImageFormat target)
{
    return ycAcqImage::NotSupported(L"image format " + std::to_wstring(format) + L" has no conversion to format " +
                                    std::to_wstring(target));
}

// Raw pels a pixel takes: `den` raw pels hold `num` pixels.
struct Scale {
    std::int32_t num = 1;
    std::int32_t den = 1;
    std::int32_t pixels(std::int32_t raw) const
    {
        return static_cast<std::int32_t>(std::int64_t{raw} * num / den);
    }
};
constexpr Scale kOne{1, 1};
constexpr Scale kWord{1, 2};

// A new result for the raw window at pixel scale: aligned rows, the raw offset
// in pixels; unbound when there is no pixel.
template <class B>
B newResult(const yc_PelBuffer& raw, Scale s)
{
    const std::int32_t w = s.pixels(raw.width());
    const std::int32_t h = raw.height();
    if (w < 1 || h < 1) return B();
    B out(w, h, 32);
    out.offset(s.pixels(raw.offset().x()), raw.offset().y());
    return out;
}

// Calls row(src, dst, width) for every row, src at the raw window's row.
template <class T, class Row>
ycPelBuffer<T> convertRows(const Bytes_const& raw, Scale s, Row row)
{
    auto out = newResult<ycPelBuffer<T>>(raw, s);
    if (!out.isBound()) return out;
    const unsigned char* src = raw.pointToOffset();
    T* dst = out.pointToOffset();
    for (std::int32_t r = 0; r < out.height(); ++r) {
        row(src + std::ptrdiff_t{r} * raw.rowUpdate(), dst + std::ptrdiff_t{r} * out.rowUpdate(), out.width());
    }
    return out;
}

using CoreCall = int (*)(std::int32_t, std::int32_t, const std::uint8_t*, std::ptrdiff_t, std::uint8_t*,
                         std::ptrdiff_t, int);

// The whole window through one core conversion; its failures are NotSupported.
template <class T>
ycPelBuffer<T> convertByCore(const Bytes_const& raw, Scale s, CoreCall call, int extra)
{
    auto out = newResult<ycPelBuffer<T>>(raw, s);
    if (!out.isBound()) return out;
    const auto dstRow = static_cast<std::ptrdiff_t>(out.rowUpdate() * sizeof(T));
    yfThrowExceptionOnFailure<ycAcqImage::NotSupported>(
        call(out.width(), out.height(), raw.pointToOffset(), raw.rowUpdate(),
             reinterpret_cast<std::uint8_t*>(out.pointToOffset()), dstRow, extra));
    return out;
}

// The YUV conversions take no fifth argument; these give them one.
template <int (*F)(std::int32_t, std::int32_t, const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t)>
int withoutExtra(std::int32_t w, std::int32_t h, const std::uint8_t* s, std::ptrdiff_t sr, std::uint8_t* d,
                 std::ptrdiff_t dr, int)
{
    return F(w, h, s, sr, d, dr);
}

std::uint16_t bigEndianWord(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}

std::uint16_t littleEndianWord(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}

yc3PlanePelBuffer separate(const RGB32& rgb)
{
    yc3PlanePelBuffer out;
    if (rgb.isBound()) yfRGBSeparateColorPlanes(rgb, out);
    return out;
}

// The raw bytes a packed 10 or 12-bit window reads, counted from the root's
// first pel.
std::uint64_t packedBytesRead(const Bytes_const& raw)
{
    if (!raw.isBound() || raw.width() < 1 || raw.height() < 1) return 0;
    const ycPelRect& w = raw.windowRoot();
    const std::int64_t last =
        std::int64_t{w.x()} + w.width() - 1 + (std::int64_t{w.y()} + w.height() - 1) * raw.rowUpdate();
    return static_cast<std::uint64_t>(last / 2) * 3 + 3;
}

void checkPackedBytes(const Bytes_const& raw)
{
    const std::uint64_t needed = packedBytesRead(raw);
    if (needed == 0) return;
    const auto* root = raw.root();
    const auto* package = dynamic_cast<const ycPelBlockPackage*>(root->package());
    if (!package || package->bytes() != root->pels() || package->byteSize() < needed) {
        throw ycAcqImage::NotSupported(L"packed 10 and 12-bit images read 1.5 bytes a pixel: their raw buffer "
                                       L"must lie in a ycPelBlockPackage that holds " +
                                       std::to_wstring(needed) + L" bytes");
    }
}

} // namespace

// --- the implementations -------------------------------------------------------

yc_AcqImage::~yc_AcqImage() = default;

ycPelBuffer<unsigned char> yc_AcqImage::grey8() const
{
    // Also RGB48's rule: intensityBits is 8 there, so the low byte is kept.
    const Grey16 g = grey16();
    if (!g.isBound()) return {};
    return yf_extract8BitImage(g, ycAcqImage::intensityBits(format_) - 8);
}

ycPelBuffer<unsigned short> yc_AcqImage::grey16() const
{
    throw notSupported(format_, yeGrey16);
}

ycPelBuffer<ycPackedRGB16Pel> yc_AcqImage::rgb16() const
{
    const yc3PlanePelBuffer p = planes();
    RGB16 out;
    if (p.isBound()) yfRGBPack(p.plane0(), p.plane1(), p.plane2(), out);
    return out;
}

ycPelBuffer<ycPackedRGB32Pel> yc_AcqImage::rgb32() const
{
    const yc3PlanePelBuffer p = planes();
    RGB32 out;
    if (p.isBound()) yfRGBPack(p, out, 0);
    return out;
}

yc3PlanePelBuffer yc_AcqImage::planes() const
{
    const Bytes g = grey8();
    if (!g.isBound()) return {};
    return yc3PlanePelBuffer(yfPelCopy(Bytes_const(g)), yfPelCopy(Bytes_const(g)), yfPelCopy(Bytes_const(g)));
}

namespace {

// Formats whose raw buffer holds bytes.
class yc_ByteAcqImage : public yc_AcqImage {
public:
    yc_ByteAcqImage(yeImageFormat format, const Bytes& raw) : yc_AcqImage(format), raw_(raw) {}
    const yc_PelBuffer& raw() const override { return raw_; }

protected:
    const Bytes_const& bytes() const { return raw_; }

private:
    Bytes raw_;
};

// Formats held in a typed buffer of their own.
template <class Buffer>
class yc_TypedAcqImage : public yc_AcqImage {
public:
    yc_TypedAcqImage(yeImageFormat format, const Buffer& raw) : yc_AcqImage(format), raw_(raw) {}
    const yc_PelBuffer& raw() const override { return raw_; }

protected:
    Buffer raw_;
};

class yc_Grey8AcqImage final : public yc_ByteAcqImage {
public:
    explicit yc_Grey8AcqImage(const Bytes& raw) : yc_ByteAcqImage(yeGrey8, raw) {}
    Bytes grey8() const override
    {
        Bytes out = newResult<Bytes>(bytes(), kOne);
        if (out.isBound()) yfPelCopy(bytes(), out);
        return out;
    }
    Grey16 grey16() const override
    {
        Grey16 out = newResult<Grey16>(bytes(), kOne);
        if (out.isBound()) yfPelCopy(bytes(), out);
        return out;
    }
};

// One 16-bit value a pixel, in the machine's order or high byte first; grey8
// is the base's shift.
class yc_WordAcqImage : public yc_ByteAcqImage {
public:
    yc_WordAcqImage(yeImageFormat format, const Bytes& raw, bool bigEndian)
        : yc_ByteAcqImage(format, raw), bigEndian_(bigEndian)
    {
    }
    Grey16 grey16() const override
    {
        const auto read = bigEndian_ ? bigEndianWord : littleEndianWord;
        const auto row = [read](const unsigned char* s, unsigned short* d, std::int32_t w) {
            for (std::int32_t x = 0; x < w; ++x) d[x] = read(s + 2 * x);
        };
        return convertRows<unsigned short>(bytes(), kWord, row);
    }

private:
    bool bigEndian_;
};

class yc_Grey16AcqImage final : public yc_WordAcqImage {
public:
    explicit yc_Grey16AcqImage(const Bytes& raw) : yc_WordAcqImage(yeGrey16, raw, false) {}
};
class yc_Grey10AcqImage final : public yc_WordAcqImage {
public:
    explicit yc_Grey10AcqImage(const Bytes& raw) : yc_WordAcqImage(yeGrey10, raw, false) {}
};
class yc_Grey12AcqImage final : public yc_WordAcqImage {
public:
    explicit yc_Grey12AcqImage(const Bytes& raw) : yc_WordAcqImage(yeGrey12, raw, false) {}
};
class yc_Grey14AcqImage final : public yc_WordAcqImage {
public:
    explicit yc_Grey14AcqImage(const Bytes& raw) : yc_WordAcqImage(yeGrey14, raw, false) {}
};
class yc_Grey16BigEndianAcqImage final : public yc_WordAcqImage {
public:
    explicit yc_Grey16BigEndianAcqImage(const Bytes& raw) : yc_WordAcqImage(yeGrey16BigEndian, raw, true) {}
};

// Two pixels in three bytes, addressed over the root's pels (see the header).
class yc_PackedGreyAcqImage : public yc_ByteAcqImage {
public:
    yc_PackedGreyAcqImage(yeImageFormat format, const Bytes& raw) : yc_ByteAcqImage(format, raw)
    {
        checkPackedBytes(bytes());
    }
    Grey16 grey16() const override
    {
        checkPackedBytes(bytes());
        const unsigned char* base = bytes().root() ? bytes().root()->pels() : nullptr;
        const bool twelve = formatAcquired() == yeGrey12Packed;
        const auto row = [base, twelve](const unsigned char* s, unsigned short* d, std::int32_t w) {
            const std::int64_t first = s - base;
            for (std::int32_t x = 0; x < w; ++x) {
                const std::int64_t i = first + x;
                const unsigned char* g = base + i / 2 * 3;
                const unsigned b0 = g[0], b1 = g[1], b2 = g[2];
                unsigned v;
                if (twelve) {
                    v = i % 2 == 0 ? (b0 << 4) + (b1 & 0x0F) : ((b1 & 0xF0) >> 4) + (b2 << 4);
                } else {
                    v = i % 2 == 0 ? (b0 << 2) + (b1 & 0x03) : ((b1 & 0x30) >> 4) + (b2 << 2);
                }
                d[x] = static_cast<unsigned short>(v);
            }
        };
        return convertRows<unsigned short>(bytes(), kOne, row);
    }
};

class yc_Grey10PackedAcqImage final : public yc_PackedGreyAcqImage {
public:
    explicit yc_Grey10PackedAcqImage(const Bytes& raw) : yc_PackedGreyAcqImage(yeGrey10Packed, raw) {}
};
class yc_Grey12PackedAcqImage final : public yc_PackedGreyAcqImage {
public:
    explicit yc_Grey12PackedAcqImage(const Bytes& raw) : yc_PackedGreyAcqImage(yeGrey12Packed, raw) {}
};

class yc_RGB48AcqImage final : public yc_ByteAcqImage {
public:
    explicit yc_RGB48AcqImage(const Bytes& raw) : yc_ByteAcqImage(yeRGB48, raw) {}
    Grey16 grey16() const override
    {
        const auto row = [](const unsigned char* s, unsigned short* d, std::int32_t w) {
            for (std::int32_t x = 0; x < w; ++x, s += 6) {
                const double r = littleEndianWord(s), g = littleEndianWord(s + 2), b = littleEndianWord(s + 4);
                // Left to right, without contraction: the truncation depends on it.
                const double sum = 0.299 * r + 0.587 * g;
                d[x] = static_cast<unsigned short>(yf_ToInt32Sat(sum + 0.114 * b));
            }
        };
        return convertRows<unsigned short>(bytes(), kScale, row);
    }
    yc3PlanePelBuffer planes() const override
    {
        auto out = newResult<yc3PlanePelBuffer>(bytes(), kScale);
        if (!out.isBound()) return out;
        const unsigned char* src = bytes().pointToOffset();
        const yc3PlanePelPtr dst = out.pointToOffset();
        const std::ptrdiff_t dstRow = out.rowUpdate();
        for (std::int32_t r = 0; r < out.height(); ++r) {
            const unsigned char* s = src + std::ptrdiff_t{r} * bytes().rowUpdate();
            for (std::int32_t x = 0; x < out.width(); ++x, s += 6) {
                const std::ptrdiff_t at = r * dstRow + x;
                dst.plane0[at] = s[1];
                dst.plane1[at] = s[3];
                dst.plane2[at] = s[5];
            }
        }
        return out;
    }

private:
    static constexpr Scale kScale{1, 6};
};

// Formats the core converts to grey (when it can) and to packed colour; the
// three planes are separated from the colour.
class yc_CoreAcqImage : public yc_ByteAcqImage {
public:
    Bytes grey8() const override
    {
        if (!calls_.grey) throw notSupported(formatAcquired(), yeGrey8);
        return convertByCore<unsigned char>(bytes(), calls_.scale, calls_.grey, extra_);
    }
    RGB32 rgb32() const override { return convertByCore<ycPackedRGB32Pel>(bytes(), calls_.scale, calls_.rgb, extra_); }
    yc3PlanePelBuffer planes() const override { return separate(rgb32()); }

protected:
    // `extra` is the Bayer pattern, or RGB24's blue-first flag.
    yc_CoreAcqImage(yeImageFormat format, const Bytes& raw, int extra = 0)
        : yc_ByteAcqImage(format, raw), calls_(callsOf(format)), extra_(extra)
    {
    }

private:
    struct Calls {
        Scale scale;
        CoreCall grey; // null where the table offers no grey
        CoreCall rgb;
    };
    static Calls callsOf(yeImageFormat format)
    {
        switch (format) {
        case yeBayer8: return {kOne, yip_convertBayer8ToGreyscale, yip_convertBayer8ToRGB};
        case yeUYYVYY:
            return {Scale{2, 3}, withoutExtra<yip_convertUYYVYYToGreyscale>, withoutExtra<yip_convertUYYVYYToRGB>};
        case yeUYVY: return {kWord, withoutExtra<yip_convertUYVYToGreyscale>, withoutExtra<yip_convertUYVYToRGB>};
        case yeUYV: return {Scale{1, 3}, withoutExtra<yip_convertUYVToGreyscale>, withoutExtra<yip_convertUYVToRGB>};
        default: return {Scale{1, 3}, nullptr, yip_convertRGB24ToRGB}; // RGB24, BGR24
        }
    }

    Calls calls_;
    int extra_;
};

class yc_Bayer8AcqImage final : public yc_CoreAcqImage {
public:
    yc_Bayer8AcqImage(const Bytes& raw, ycAcqImage::BayerPattern p) : yc_CoreAcqImage(yeBayer8, raw, p) {}
};
class yc_UYYVYYAcqImage final : public yc_CoreAcqImage {
public:
    explicit yc_UYYVYYAcqImage(const Bytes& raw) : yc_CoreAcqImage(yeUYYVYY, raw) {}
};
class yc_UYVYAcqImage final : public yc_CoreAcqImage {
public:
    explicit yc_UYVYAcqImage(const Bytes& raw) : yc_CoreAcqImage(yeUYVY, raw) {}
};
class yc_UYVAcqImage final : public yc_CoreAcqImage {
public:
    explicit yc_UYVAcqImage(const Bytes& raw) : yc_CoreAcqImage(yeUYV, raw) {}
};
class yc_RGB24AcqImage final : public yc_CoreAcqImage {
public:
    explicit yc_RGB24AcqImage(const Bytes& raw) : yc_CoreAcqImage(yeRGB24, raw, 0) {}
};
class yc_BGR24AcqImage final : public yc_CoreAcqImage {
public:
    explicit yc_BGR24AcqImage(const Bytes& raw) : yc_CoreAcqImage(yeBGR24, raw, 1) {}
};

// The high byte of each 16-bit value, converted as an 8-bit mosaic.
class yc_Bayer16AcqImage final : public yc_ByteAcqImage {
public:
    yc_Bayer16AcqImage(const Bytes& raw, ycAcqImage::BayerPattern pattern)
        : yc_ByteAcqImage(yeBayer16, raw), pattern_(pattern)
    {
    }
    Bytes grey8() const override { return mosaic().grey8(); }
    RGB32 rgb32() const override { return mosaic().rgb32(); }
    yc3PlanePelBuffer planes() const override { return mosaic().planes(); }

private:
    yc_Bayer8AcqImage mosaic() const
    {
        const auto highBytes = [](const unsigned char* s, unsigned char* d, std::int32_t w) {
            for (std::int32_t x = 0; x < w; ++x) d[x] = s[2 * x + 1];
        };
        return yc_Bayer8AcqImage(convertRows<unsigned char>(bytes(), kWord, highBytes), pattern_);
    }

    ycAcqImage::BayerPattern pattern_;
};

class yc_Packed16AcqImage final : public yc_TypedAcqImage<RGB16> {
public:
    explicit yc_Packed16AcqImage(const RGB16& raw) : yc_TypedAcqImage(yePackedRGB16, raw) {}
    RGB16 rgb16() const override
    {
        RGB16 out = newResult<RGB16>(raw_, kOne);
        if (out.isBound()) yfPelCopy(ycPelBuffer_const<ycPackedRGB16Pel>(raw_), out);
        return out;
    }
};

class yc_Packed32AcqImage final : public yc_TypedAcqImage<RGB32> {
public:
    explicit yc_Packed32AcqImage(const RGB32& raw) : yc_TypedAcqImage(yePackedRGB32, raw) {}
    RGB32 rgb32() const override
    {
        RGB32 out = newResult<RGB32>(raw_, kOne);
        if (out.isBound()) yfPelCopy(ycPelBuffer_const<ycPackedRGB32Pel>(raw_), out);
        return out;
    }
    yc3PlanePelBuffer planes() const override { return separate(raw_); }
};

class yc_3PlaneAcqImage final : public yc_TypedAcqImage<yc3PlanePelBuffer> {
public:
    explicit yc_3PlaneAcqImage(const yc3PlanePelBuffer& raw) : yc_TypedAcqImage(ye3Plane, raw) {}
    yc3PlanePelBuffer planes() const override
    {
        auto out = newResult<yc3PlanePelBuffer>(raw_, kOne);
        if (out.isBound()) yfPelCopy(raw_, out);
        return out;
    }
};

std::shared_ptr<const yc_AcqImage> makeByteImage(const Bytes& raw, yeImageFormat format,
                                                 ycAcqImage::BayerPattern pattern)
{
    switch (format) {
    case yeGrey8: return std::make_shared<yc_Grey8AcqImage>(raw);
    case yeGrey16: return std::make_shared<yc_Grey16AcqImage>(raw);
    case yeBayer8: return std::make_shared<yc_Bayer8AcqImage>(raw, pattern);
    case yeBayer16: return std::make_shared<yc_Bayer16AcqImage>(raw, pattern);
    case yeUYYVYY: return std::make_shared<yc_UYYVYYAcqImage>(raw);
    case yeUYVY: return std::make_shared<yc_UYVYAcqImage>(raw);
    case yeUYV: return std::make_shared<yc_UYVAcqImage>(raw);
    case yeRGB24: return std::make_shared<yc_RGB24AcqImage>(raw);
    case yeRGB48: return std::make_shared<yc_RGB48AcqImage>(raw);
    case yeGrey10: return std::make_shared<yc_Grey10AcqImage>(raw);
    case yeGrey12: return std::make_shared<yc_Grey12AcqImage>(raw);
    case yeBGR24: return std::make_shared<yc_BGR24AcqImage>(raw);
    case yeGrey16BigEndian: return std::make_shared<yc_Grey16BigEndianAcqImage>(raw);
    case yeGrey14: return std::make_shared<yc_Grey14AcqImage>(raw);
    case yeGrey10Packed: return std::make_shared<yc_Grey10PackedAcqImage>(raw);
    case yeGrey12Packed: return std::make_shared<yc_Grey12PackedAcqImage>(raw);
    default: break;
    }
    throw ycAcqImage::NotSupported(L"image format " + std::to_wstring(format) +
                                   L" does not come as a buffer of bytes");
}

// The getter frame: unbound gives unbound, the table refuses what the format
// does not offer, and the format converts.
template <class B, class Get>
B convert(const yc_AcqImage* impl, yeImageFormat target, Get get)
{
    if (!impl || !impl->isBound()) return B();
    if (!ycAcqImage::isConversionSupported(impl->formatAcquired(), target)) {
        throw notSupported(impl->formatAcquired(), target);
    }
    return get(*impl);
}

} // namespace

// --- ycAcqImage ------------------------------------------------------------------

std::int32_t ycAcqImage::intensityBits(yeImageFormat format)
{
    switch (format) {
    case yeGrey16:
    case yeGrey16BigEndian: return 16;
    case yeGrey10:
    case yeGrey10Packed: return 10;
    case yeGrey12:
    case yeGrey12Packed: return 12;
    case yeGrey14: return 14;
    default: return 8;
    }
}

bool ycAcqImage::isColor(yeImageFormat format)
{
    switch (format) {
    case yeGrey8:
    case yeGrey16:
    case yeGrey10:
    case yeGrey12:
    case yeGrey14:
    case yeGrey10Packed:
    case yeGrey12Packed: return false;
    default: return true;
    }
}

bool ycAcqImage::isConversionSupported(yeImageFormat format, yeImageFormat target)
{
    return isKnown(format) && (kSupport[format] & targetBit(target)) != 0;
}

ycPelBuffer<unsigned char> ycAcqImage::packedRawBuffer(std::int32_t width, std::int32_t height,
                                                       std::int32_t alignModulus)
{
    ymAssert(width >= 1 && height >= 1 && alignModulus >= 1);
    if (width < 1 || height < 1 || alignModulus < 1) return {};
    const std::int64_t rowUpdate = width + yc_PelRoot::padPelsNeeded(width, 1, alignModulus);
    const std::int64_t pixels = rowUpdate * height;
    const std::int64_t bytes = (pixels - 1) / 2 * 3 + 3;
    auto package = ycPelBlockPackage::make(width, height, 1, alignModulus,
                                           static_cast<std::size_t>(bytes > pixels ? bytes - pixels : 0));
    return Bytes(ycPtrHandle<ycPelRoot<unsigned char>>(new ycPelRoot<unsigned char>(*package)));
}

ycAcqImage::ycAcqImage() = default;

ycAcqImage::ycAcqImage(const ycPelBuffer<unsigned char>& raw, yeImageFormat format, BayerPattern pattern)
    : impl_(makeByteImage(raw, format, pattern)), pattern_(pattern)
{
}

ycAcqImage::ycAcqImage(const ycPelBuffer<ycPackedRGB16Pel>& raw) : impl_(std::make_shared<yc_Packed16AcqImage>(raw))
{
}

ycAcqImage::ycAcqImage(const ycPelBuffer<ycPackedRGB32Pel>& raw) : impl_(std::make_shared<yc_Packed32AcqImage>(raw))
{
}

ycAcqImage::ycAcqImage(const yc3PlanePelBuffer& raw) : impl_(std::make_shared<yc_3PlaneAcqImage>(raw)) {}

ycAcqImage::ycAcqImage(const ycAcqImage&) = default;
ycAcqImage::ycAcqImage(ycAcqImage&&) noexcept = default;
ycAcqImage& ycAcqImage::operator=(const ycAcqImage&) = default;
ycAcqImage& ycAcqImage::operator=(ycAcqImage&&) noexcept = default;
ycAcqImage::~ycAcqImage() = default;

std::int32_t ycAcqImage::width() const
{
    return impl_ ? impl_->raw().width() : 0;
}

std::int32_t ycAcqImage::height() const
{
    return impl_ ? impl_->raw().height() : 0;
}

std::int32_t ycAcqImage::rowUpdate() const
{
    return isBound() ? impl_->raw().rowUpdate() : 0;
}

std::int32_t ycAcqImage::alignModulus() const
{
    return isBound() ? impl_->raw().alignModulus() : 0;
}

bool ycAcqImage::isBound() const
{
    return impl_ && impl_->isBound();
}

yeImageFormat ycAcqImage::formatAcquired() const
{
    return impl_ ? impl_->formatAcquired() : static_cast<yeImageFormat>(0);
}

ycPelBuffer<unsigned char> ycAcqImage::getGrey8PelBuffer() const
{
    return convert<Bytes>(impl_.get(), yeGrey8, [](const yc_AcqImage& i) { return i.grey8(); });
}

ycPelBuffer<unsigned short> ycAcqImage::getGrey16PelBuffer() const
{
    return convert<Grey16>(impl_.get(), yeGrey16, [](const yc_AcqImage& i) { return i.grey16(); });
}

ycPelBuffer<ycPackedRGB16Pel> ycAcqImage::getPackedRGB16PelBuffer() const
{
    return convert<RGB16>(impl_.get(), yePackedRGB16, [](const yc_AcqImage& i) { return i.rgb16(); });
}

ycPelBuffer<ycPackedRGB32Pel> ycAcqImage::getPackedRGB32PelBuffer() const
{
    return convert<RGB32>(impl_.get(), yePackedRGB32, [](const yc_AcqImage& i) { return i.rgb32(); });
}

yc3PlanePelBuffer ycAcqImage::get3PlanePelBuffer() const
{
    return convert<yc3PlanePelBuffer>(impl_.get(), ye3Plane, [](const yc_AcqImage& i) { return i.planes(); });
}

const yc_PelBuffer& ycAcqImage::getAcquiredImage() const
{
    // Never destroyed, so it outlives every image.
    static const Bytes* const unbound = new Bytes();
    return impl_ ? impl_->raw() : *unbound;
}
