// The library in typical use, printed step by step.
#include "std/tlvstd.h"

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <string>

namespace {

void say(const std::wstring& line)
{
    std::printf("%s\n", yfToUtf8(line).c_str());
}

std::wstring hexNumber(const ycException& e)
{
    return L"0x" + yfHex8(static_cast<std::uint32_t>(e.errorNumber()));
}

// Failures arrive as exceptions of a group, each with a fixed number.
void errors()
{
    say(L"-- errors");
    const std::function<void()> throwers[] = {
        [] { throw ycShapesError::BadParams(); },                                 // plain group
        [] { throw ycArchive::Eof("archive", 120); },                             // file and line
        [] { throw ycArchive::BadFile(L"Could not open file: missing.bin", 0); }, // file text
        [] { throw ycRangeDefs::BadParams(L"start > end"); },                     // message group
        [] { throw ycUnknownError(-3); },                                         // a bare code
    };
    for (const auto& fail : throwers) {
        try {
            fail();
        } catch (const ycException& e) {
            say(hexNumber(e) + L"  " + e.message(true));
        }
    }
}

// Values, text and an exception through a file archive in both byte orders.
void archives()
{
    say(L"-- archives");
    std::filesystem::path dir = std::filesystem::temp_directory_path() / "tlvstd-demo";
    std::filesystem::create_directories(dir);
    for (auto ordering : {ycArchive::bigEndian, ycArchive::littleEndian}) {
        std::wstring path = yfWiden((dir / (ordering == ycArchive::bigEndian ? "big.bin" : "little.bin")).string());
        {
            ycFileArchive out(path, ycArchive::storing, ordering);
            out << std::int32_t(640) << 0.25 << std::string("part 7") << std::wstring(L"caf\u00e9 \u2713");
            out << ycArchive::UnknownVersion("std/math/vector", 42);
        }
        std::int32_t width = 0;
        double scale = 0;
        std::string name;
        std::wstring label;
        ycFileArchive in(path, ycArchive::loading);
        in >> width >> scale >> name >> label;
        say(L"stored and read back (" + std::wstring(ordering == ycArchive::bigEndian ? L"big" : L"little") +
            L"-endian, " + std::to_wstring(std::filesystem::file_size(yfPath(path))) + L" bytes): " +
            std::to_wstring(width) + L", " + std::to_wstring(scale) + L", " + yfWiden(name) + L", " + label);
        try {
            static_cast<ycException*>(ycPersistent::readObject(in).release())->suicideAndRethrow();
        } catch (const ycArchive::UnknownVersion& e) {
            say(L"re-thrown as its own class: " + e.message(true));
        }
    }
}

std::wstring rectText(const ycPelRect& r)
{
    return L"(" + std::to_wstring(r.x()) + L", " + std::to_wstring(r.y()) + L") " + std::to_wstring(r.width()) +
           L" x " + std::to_wstring(r.height());
}

std::wstring pointText(const ycVector<2>& p)
{
    wchar_t text[64];
    std::swprintf(text, 64, L"(%.2f, %.2f)", p.x(), p.y());
    return text;
}

// An 8-bit image: a window with its own coordinates, a client transform in
// millimetres, pels by image coordinates, and two views of one root through
// a file archive.
void images()
{
    say(L"-- images");
    ycPelBuffer<unsigned char> image(640, 480);
    say(L"new 640 x 480 8-bit buffer: rows padded to " + std::to_wstring(image.alignModulus()) +
        L" bytes, row update " + std::to_wstring(image.rowUpdate()) + L" pels, " +
        std::to_wstring(image.refc()) + L" share of its root");

    image.windowRoot(100, 80, 320, 240);
    image.offset(0, 0);
    say(L"window " + rectText(image.windowRoot()) + L" of the root, addressed as " + rectText(image.window()));

    // 0.05 mm per pel, with the client origin at the window's centre.
    image.clientFromImageXform(ycXform<2>(ycMatrix<2>(0.05, 0, 0, 0.05), ycVector<2>(-8, -6)));
    say(L"client transform: image (0, 0) is " +
        pointText(image.clientFromImageXformBase()->mapPoint(ycVector<2>(0, 0))) + L" mm, image (320, 240) is " +
        pointText(image.clientFromImageXformBase()->mapPoint(ycVector<2>(320, 240))) + L" mm");

    for (std::int32_t y = 0; y < image.height(); ++y)
        for (std::int32_t x = 0; x < image.width(); ++x) image.put(x, y, static_cast<unsigned char>((x + 2 * y) % 256));
    const ycVector<2> client(2.5, -1.0);
    const ycPair<std::int32_t> at = image.imageFromClientXformBase()->mapPoint(client).floor();
    say(L"wrote " + std::to_wstring(image.width() * image.height()) + L" pels; client " + pointText(client) +
        L" mm is image (" + std::to_wstring(at.x()) + L", " + std::to_wstring(at.y()) + L"), pel " +
        std::to_wstring(image.get(at)));
    try {
        image.get(320, 0);
    } catch (const ycPel::BadCoord& e) {
        say(L"reading image (320, 0), just right of the window: " + hexNumber(e) + L" " + e.message(true) +
            L" at (" + std::to_wstring(e.x()) + L", " + std::to_wstring(e.y()) + L")");
    }

    ycPelBuffer<unsigned char> detail = image;
    detail.subWindow(150, 100, 20, 10);
    say(L"second view " + rectText(detail.window()) + L" on the same root: " + std::to_wstring(image.refc()) +
        L" shares, overlapping: " + (detail.sharesPels(image) ? L"yes" : L"no"));

    std::filesystem::path dir = std::filesystem::temp_directory_path() / "tlvstd-demo";
    std::filesystem::create_directories(dir);
    const std::wstring path = yfWiden((dir / "image.bin").string());
    {
        ycFileArchive out(path, ycArchive::storing, ycArchive::littleEndian);
        out << image << detail;
    }
    ycPelBuffer<unsigned char> image2;
    ycPelBuffer<unsigned char> detail2;
    {
        ycFileArchive in(path, ycArchive::loading);
        in >> image2 >> detail2;
    }
    say(L"stored both views (" + std::to_wstring(std::filesystem::file_size(yfPath(path))) +
        L" bytes) and read them back: one root again: " + (image2.root() == detail2.root() ? L"yes" : L"no") +
        L", " + std::to_wstring(image2.refc()) + L" shares, windows " + rectText(image2.window()) + L" and " +
        rectText(detail2.window()));
    detail2.put(160, 105, 255);
    say(L"client " + pointText(image2.clientFromImageXformBase()->mapPoint(ycVector<2>(160, 105))) +
        L" mm after a write through the reloaded second view: pel " + std::to_wstring(image2.get(160, 105)) +
        L" (was " + std::to_wstring(image.get(160, 105)) + L" in the original)");
}

} // namespace

int main()
{
    try {
        errors();
        archives();
        images();
    } catch (const ycException& e) {
        say(L"unexpected: " + e.message(true));
        return 1;
    }
    return 0;
}
