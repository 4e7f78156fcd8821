// Acquisition images: the raw pels a camera delivered, their format, and
// conversions into the library's pel buffers.
//
// A ycAcqImage wraps one raw buffer and its format code (yeImageFormat). Most
// formats arrive as a ycPelBuffer<unsigned char> whose width counts bytes, not
// pixels: a 16-bit format's raw buffer is twice as wide as the image, UYVY's
// twice, UYV's, RGB24's and BGR24's three times, RGB48's six times, UYYVYY's
// one and a half times. Packed 16-bit, packed 32-bit and three-plane colour
// images come in their own buffer types. The 16-bit grey formats (2, 13, 14,
// 17) and the 16-bit Bayer mosaic hold one 16-bit value per pixel, low byte
// first, as cameras send them; code 16 holds it high byte first.
//
//   code  format            bits  colour  grey8 grey16 rgb16 rgb32 3-plane
//   1     Grey8               8   no       yes   yes    yes   yes   yes
//   2     Grey16             16   no       yes   yes    yes   yes   yes
//   3     PackedRGB16         8   yes      -     -      yes   -     -
//   4     PackedRGB32         8   yes      -     -      yes   yes   yes
//   5     Bayer8              8   yes      yes   -      yes   yes   yes
//   6     Bayer16             8   yes      yes   -      yes   yes   yes
//   7     UYYVYY              8   yes      yes   -      yes   yes   yes
//   8     UYVY                8   yes      yes   -      yes   yes   yes
//   9     UYV                 8   yes      yes   -      yes   yes   yes
//   10    RGB24               8   yes      -     -      yes   yes   yes
//   11    RGB48               8   yes      yes   yes    yes   yes   yes
//   12    3Plane              8   yes      -     -      yes   yes   yes
//   13    Grey10             10   no       yes   yes    yes   yes   yes
//   14    Grey12             12   no       yes   yes    yes   yes   yes
//   15    BGR24               8   yes      -     -      yes   yes   yes
//   16    Grey16BigEndian    16   yes      yes   yes    -     -     -
//   17    Grey14             14   no       yes   yes    yes   yes   yes
//   18    Grey10Packed       10   no       yes   yes    yes   yes   yes
//   19    Grey12Packed       12   no       yes   yes    yes   yes   yes
//
// isConversionSupported answers from this table and the getters obey it: a
// conversion marked "-" throws ycAcqImage::NotSupported. Code 16 reports
// itself as colour although it is grey; callers rely on that, so it stays.
//
// Every getter:
//   1. an unbound image (or raw buffer) gives an unbound result;
//   2. a conversion the format does not offer throws NotSupported;
//   3. the result is a new buffer, rows aligned to 32 bytes, of the pixel
//      width (the raw width divided by the bytes of a pixel, truncated) and
//      the raw height; its offset is the raw offset converted the same way
//      (x halved for two bytes a pixel) and its client transform is the
//      identity. A result with no pixels is unbound;
//   4. rows are read from the raw window's first pel, one raw row update
//      apart.
//
// The conversions:
//   grey8 of a grey format of more than 8 bits (2, 13, 14, 16, 17) shifts
//     each value right by intensityBits - 8 and keeps the low byte; grey16
//     gives the values as they are. grey16 of Grey8 widens.
//   3-plane of a grey format copies its grey8 result into all three planes.
//   rgb32 and rgb16 come from the 3-plane result (rgb32 with fourth byte 0,
//     rgb16 as 5-6-5, pelcolor.h) unless the format makes packed colour
//     itself; PackedRGB16 only copies itself.
//   YUV, 8-bit Bayer, RGB24 and BGR24 are converted by the core
//     (core/yconvert.h): grey is the Y bytes, colour comes as packed 32-bit
//     pels, and 3-plane separates those. A raw width the core cannot take (an
//     odd pixel count of UYVY, one not a multiple of four of UYYVYY) is
//     NotSupported.
//   Bayer16 takes the high byte of each value and converts that mosaic as
//     Bayer8 does. The mosaic's pattern is not part of the format code: give
//     it to the constructor (RGGB unless said).
//   RGB48: three little-endian 16-bit values R, G, B a pixel. grey16 is
//     (0.299 R + 0.587 G) + 0.114 B in double, truncated; grey8 is the low
//     byte of that value, not a scaled one (R = G = B = 0x1234 gives 0x1233
//     and 0x33); 3-plane takes the high bytes of R, G and B.
//   Packed 10 and 12-bit grey: two pixels in three bytes B0 B1 B2,
//     10-bit P0 = B0 << 2 | B1 & 0x03, P1 = (B1 & 0x30) >> 4 | B2 << 2;
//     12-bit P0 = B0 << 4 | B1 & 0x0F, P1 = (B1 & 0xF0) >> 4 | B2 << 4.
//     The raw buffer's width and row update count pixels: pixel
//     i = x + y * rowUpdate (root coordinates) lies in the group at byte
//     (i / 2) * 3 of the root's pels, as P0 when i is even, so a row may
//     start inside a group. grey8 is B0 or B2, the value's high byte.
//     The bytes thus run past the root's own rows by half, so they must come
//     from a ycPelBlockPackage that holds them: packedRawBuffer makes one.
//     A raw buffer over any other root is NotSupported, when the image is
//     made and again when it is converted (a load can replace the pels).
//
// Copies of an acquisition image share its raw pels, as copies of a pel
// buffer do; the image never writes them.
#ifndef TLVSTD_PELBUF_ACQIMAGE_H
#define TLVSTD_PELBUF_ACQIMAGE_H

#include "std/except/except.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"

#include <cstdint>
#include <memory>

enum yeImageFormat : std::int32_t {
    yeGrey8 = 1,
    yeGrey16 = 2,
    yePackedRGB16 = 3,
    yePackedRGB32 = 4,
    yeBayer8 = 5,
    yeBayer16 = 6,
    yeUYYVYY = 7,
    yeUYVY = 8,
    yeUYV = 9,
    yeRGB24 = 10,
    yeRGB48 = 11,
    ye3Plane = 12,
    yeGrey10 = 13,
    yeGrey12 = 14,
    yeBGR24 = 15,
    yeGrey16BigEndian = 16,
    yeGrey14 = 17,
    yeGrey10Packed = 18,
    yeGrey12Packed = 19,
};

class yc_AcqImage;

class TLVSTD_API ycAcqImage {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NotSupported, Errors);

    // The colours of a Bayer mosaic's first two pixels on its first row, then
    // on its second: RGGB is red, green over green, blue.
    enum BayerPattern : std::int32_t { RGGB = 0, GRBG = 1, GBRG = 2, BGGR = 3 };

    // 16 for codes 2 and 16, 10 for 13 and 18, 12 for 14 and 19, 14 for 17,
    // 8 for any other code.
    static std::int32_t intensityBits(yeImageFormat format);
    // False exactly for codes 1, 2, 13, 14, 17, 18 and 19.
    static bool isColor(yeImageFormat format);
    // Whether `format` converts to `target` (1, 2, 3, 4 or 12): the table
    // above. Any other code on either side is false.
    static bool isConversionSupported(yeImageFormat format, yeImageFormat target);

    // A raw buffer for a packed 10 or 12-bit image of width x height pixels:
    // a root over a ycPelBlockPackage with room for all of its bytes. Write
    // them from root()->pels() on, three bytes for every two pixels of
    // (height - 1) * rowUpdate + width; with the alignment 1 and an even
    // width the rows are contiguous.
    static ycPelBuffer<unsigned char> packedRawBuffer(std::int32_t width, std::int32_t height,
                                                      std::int32_t alignModulus = 1);

    // Unbound.
    ycAcqImage();
    // Raw bytes of any format but 3, 4 and 12 (those have their own buffer
    // types); an unknown code, or 3, 4 or 12, is NotSupported. `pattern` is
    // read by the Bayer formats only.
    ycAcqImage(const ycPelBuffer<unsigned char>& raw, yeImageFormat format, BayerPattern pattern = RGGB);
    explicit ycAcqImage(const ycPelBuffer<ycPackedRGB16Pel>& raw);
    explicit ycAcqImage(const ycPelBuffer<ycPackedRGB32Pel>& raw);
    explicit ycAcqImage(const yc3PlanePelBuffer& raw);
    ycAcqImage(const ycAcqImage&);
    ycAcqImage(ycAcqImage&&) noexcept;
    ycAcqImage& operator=(const ycAcqImage&);
    ycAcqImage& operator=(ycAcqImage&&) noexcept;
    ~ycAcqImage();

    // Of the raw buffer (width in its own pels, bytes for most formats);
    // 0 when unbound.
    std::int32_t width() const;
    std::int32_t height() const;
    std::int32_t rowUpdate() const;
    std::int32_t alignModulus() const;
    bool isBound() const;
    // The format code; 0 for an image made unbound.
    yeImageFormat formatAcquired() const;
    std::int32_t intensityBits() const { return intensityBits(formatAcquired()); }
    bool isColor() const { return isColor(formatAcquired()); }
    bool isConversionSupported(yeImageFormat target) const
    {
        return isConversionSupported(formatAcquired(), target);
    }
    // As given to the constructor; RGGB for other formats.
    BayerPattern bayerPattern() const { return pattern_; }

    ycPelBuffer<unsigned char> getGrey8PelBuffer() const;
    ycPelBuffer<unsigned short> getGrey16PelBuffer() const;
    ycPelBuffer<ycPackedRGB16Pel> getPackedRGB16PelBuffer() const;
    ycPelBuffer<ycPackedRGB32Pel> getPackedRGB32PelBuffer() const;
    yc3PlanePelBuffer get3PlanePelBuffer() const;

    // The raw buffer, as the constructor was given it (an unbound one for an
    // image made unbound); valid while this image lives.
    const yc_PelBuffer& getAcquiredImage() const;
    // The format's implementation; null for an image made unbound.
    const yc_AcqImage* internal() const { return impl_.get(); }

private:
    std::shared_ptr<const yc_AcqImage> impl_;
    BayerPattern pattern_ = RGGB;
};

// The base of the per-format implementations (yc_Grey8AcqImage to
// yc_Grey12PackedAcqImage, one a code): the format code, and the raw buffer,
// which each format holds by value in its own type. A format overrides the
// conversions it has; the base's defaults cover the grey formats (shifting
// grey16 down, copying grey8 into three planes) and pack colour from the
// three planes. The table above decides what is asked of them.
class TLVSTD_API yc_AcqImage {
public:
    virtual ~yc_AcqImage();
    yc_AcqImage(const yc_AcqImage&) = delete;
    yc_AcqImage& operator=(const yc_AcqImage&) = delete;

    yeImageFormat formatAcquired() const { return format_; }
    virtual const yc_PelBuffer& raw() const = 0;
    bool isBound() const { return raw().isBound(); }

    virtual ycPelBuffer<unsigned char> grey8() const;
    virtual ycPelBuffer<unsigned short> grey16() const;
    virtual ycPelBuffer<ycPackedRGB16Pel> rgb16() const;
    virtual ycPelBuffer<ycPackedRGB32Pel> rgb32() const;
    virtual yc3PlanePelBuffer planes() const;

protected:
    explicit yc_AcqImage(yeImageFormat format) : format_(format) {}

private:
    yeImageFormat format_;
};

#endif
