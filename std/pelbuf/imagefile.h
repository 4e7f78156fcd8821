// Image files: PNG and binary PGM/PPM, written from pel buffers and read back
// into them, so that people can open what a program saw.
//
// Pel types. Four kinds of buffer go to a file and come back from one:
//   ycPelBuffer<unsigned char>      8-bit grey   PNG grey 8,  PGM maxval 255
//   ycPelBuffer<unsigned short>     16-bit grey  PNG grey 16, PGM maxval 65535
//   ycPelBuffer<ycPackedRGB32Pel>   colour       PNG RGB 8,   PPM maxval 255
//   yc3PlanePelBuffer               colour       the same; planes 0, 1, 2 are
//                                                red, green, blue
// Only the window is written. Colour goes out as red, green, blue: the fourth
// byte of a packed pel is dropped and the colour-space tag of a three-plane
// buffer is not looked at. PGM and PPM are one family (pnm): a grey image is
// written as P5 and a colour one as P6, whatever the extension says.
//
// Reading gives the natural type of what the file holds (ycImageFile, a
// variant of the four buffers), a new root at offset (0, 0):
//   PNG grey of 1 to 8 bits (alpha dropped)         8-bit grey, values as
//                                                   the decoder expands them
//   PNG grey of 16 bits (alpha dropped)             16-bit grey
//   PNG colour, palette, any depth (alpha dropped)  packed RGB32, fourth 0;
//                                                   16-bit samples keep their
//                                                   high byte
//   P5 with maxval up to 255                        8-bit grey, values as stored
//   P5 with maxval 256 to 65535                     16-bit grey, values as stored
//   P6 with maxval up to 255                        packed RGB32, values as stored
//   P6 with maxval 256 to 65535                     packed RGB32, each sample
//                                                   scaled to 0..255, rounded
// The typed reads (yfReadImageAs<B>) give buffer type B: the natural type
// itself, colour in the other colour type, or 8-bit grey as colour (the grey
// value in all three channels). Anything else is ycDIB::BadFormat, since it
// would lose values.
//
// The format of a read is its signature (PNG's eight bytes, or "P5"/"P6");
// of a write, the argument or else the file name's extension: .png, or .pgm,
// .ppm, .pnm (any case).
//
// PGM/PPM: the binary forms P5 and P6. The header is the magic, width, height
// and maxval as decimal numbers, separated by whitespace, where a '#' starts a
// comment running to the end of the line; one whitespace byte ends it. Samples
// of maxval above 255 take two bytes, most significant first. A sample above
// maxval is a bad file. Bytes after the raster (a second image) are ignored.
//
// Limits. A read never does more work than its limits allow: at most
// ycImageFileLimits::maxPels pels and maxSide on each side (2^28 and 2^16
// unless the caller gives smaller ones), PNG chunks of at most 16 MiB with at
// most 64 MiB of ancillary chunks kept. A PGM/PPM whose header promises more
// raster bytes than follow is refused before anything is allocated.
//
// Failures use the library's bitmap-file error group ycDIB (std/except/
// unbuilt.h), always with a text saying what was wrong:
//   ycDIB::BadFormat   the bytes are not an image this module reads (unknown
//                      signature, bad or truncated header or data, a size of
//                      zero or over the limits, maxval 0 or above 65535), a
//                      typed read that would lose values, an unknown extension;
//   ycDIB::ReadError   the file cannot be opened or read;
//   ycDIB::WriteError  the file cannot be written, or the encoder fails.
// An unbound buffer or an empty window is not written (ycDIB::WriteError). A
// failed read leaves nothing behind; a failed write to a path may leave a
// partial file.
#ifndef TLVSTD_PELBUF_IMAGEFILE_H
#define TLVSTD_PELBUF_IMAGEFILE_H

#include "std/config.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <variant>
#include <vector>

enum class ycImageFileFormat { png, pnm };

// What a read gives: the buffer type that holds the file's pels as they are.
using ycImageFile = std::variant<ycPelBuffer<unsigned char>, ycPelBuffer<unsigned short>,
                                 ycPelBuffer<ycPackedRGB32Pel>, yc3PlanePelBuffer>;

// Any of the four kinds, as a read-only view, for the writers.
class TLVSTD_API ycImageFileView {
public:
    using Views = std::variant<ycPelBuffer_const<unsigned char>, ycPelBuffer_const<unsigned short>,
                               ycPelBuffer_const<ycPackedRGB32Pel>, ycPelBuffer_const<yc3PlanePel>>;
    ycImageFileView(const ycPelBuffer_const<unsigned char>& b) : view_(b) {}
    ycImageFileView(const ycPelBuffer_const<unsigned short>& b) : view_(b) {}
    ycImageFileView(const ycPelBuffer_const<ycPackedRGB32Pel>& b) : view_(b) {}
    ycImageFileView(const ycPelBuffer_const<yc3PlanePel>& b) : view_(b) {}
    ycImageFileView(const ycImageFile& image);
    const Views& views() const { return view_; }

private:
    Views view_;
};

struct ycImageFileLimits {
    std::uint32_t maxPels = std::uint32_t{1} << 28;
    std::uint32_t maxSide = std::uint32_t{1} << 16;
};

// The format a file name's extension names, if any.
TLVSTD_API std::optional<ycImageFileFormat> yfImageFileFormatOf(const std::filesystem::path& path);

// Writing: to bytes in the given format, or to a file in the given format or
// the one its extension names.
TLVSTD_API std::vector<unsigned char> yfWriteImageBytes(const ycImageFileView& image, ycImageFileFormat format);
TLVSTD_API void yfWriteImage(const std::filesystem::path& path, const ycImageFileView& image);
TLVSTD_API void yfWriteImage(const std::filesystem::path& path, const ycImageFileView& image,
                             ycImageFileFormat format);

// Reading, into the natural type.
TLVSTD_API ycImageFile yfReadImageBytes(std::span<const unsigned char> bytes, const ycImageFileLimits& limits = {});
TLVSTD_API ycImageFile yfReadImage(const std::filesystem::path& path, const ycImageFileLimits& limits = {});

// The natural type turned into buffer type B (see the header comment).
template <class B>
TLVSTD_API B yfImageAs(ycImageFile image);

template <class B>
B yfReadImageBytesAs(std::span<const unsigned char> bytes, const ycImageFileLimits& limits = {})
{
    return yfImageAs<B>(yfReadImageBytes(bytes, limits));
}
template <class B>
B yfReadImageAs(const std::filesystem::path& path, const ycImageFileLimits& limits = {})
{
    return yfImageAs<B>(yfReadImage(path, limits));
}

extern template TLVSTD_API ycPelBuffer<unsigned char> yfImageAs(ycImageFile);
extern template TLVSTD_API ycPelBuffer<unsigned short> yfImageAs(ycImageFile);
extern template TLVSTD_API ycPelBuffer<ycPackedRGB32Pel> yfImageAs(ycImageFile);
extern template TLVSTD_API yc3PlanePelBuffer yfImageAs(ycImageFile);

#endif
