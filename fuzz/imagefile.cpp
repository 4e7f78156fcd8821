// libFuzzer entry for image files: arbitrary bytes read as PNG, PGM or PPM.
// Every input must either read or end in ycDIB::BadFormat. An image that
// reads must write again in both formats and read back to the same pels.
// Anything else is a finding: a crash, a sanitizer report, a failed
// assertion, another exception, or a round trip that changes pels.
#include "std/except/unbuilt.h"
#include "std/pelbuf/imagefile.h"
#include "std/pelbuf/pelcopy.h"
#include "std/util/assert.h"
#include "std/util/debug.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace {

[[noreturn]] void finding(const char* what)
{
    std::fprintf(stderr, "finding: %s\n", what);
    std::abort();
}

// Small enough that a bomb of a header cannot reach the fuzzer's malloc limit.
constexpr ycImageFileLimits kLimits{.maxPels = std::uint32_t{1} << 20, .maxSide = std::uint32_t{1} << 16};

bool samePels(const ycImageFile& a, const ycImageFile& b)
{
    if (a.index() != b.index()) return false;
    return std::visit(
        [&](const auto& x) { return yfPelEqual(x, std::get<std::decay_t<decltype(x)>>(b)); }, a);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    yfSetDebugSink([](std::string_view) {});
    yfSetAssertHandler([](const char*, int) { finding("a failed assertion"); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ycImageFile image;
    try {
        image = yfReadImageBytes(std::span<const unsigned char>(data, size), kLimits);
    } catch (const ycDIB::BadFormat&) {
        return 0;
    }
    for (auto format : {ycImageFileFormat::png, ycImageFileFormat::pnm}) {
        const ycImageFile back = yfReadImageBytes(yfWriteImageBytes(image, format), kLimits);
        if (!samePels(image, back)) finding("an image reads back with other pels");
    }
    return 0;
}
