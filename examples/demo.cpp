// The library in typical use, printed step by step.
#include "std/tlvstd.h"

#include <cstdio>
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

} // namespace

int main()
{
    try {
        errors();
        archives();
    } catch (const ycException& e) {
        say(L"unexpected: " + e.message(true));
        return 1;
    }
    return 0;
}
