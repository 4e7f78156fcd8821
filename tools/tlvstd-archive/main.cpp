// tlvstd-archive: looks inside an archive file.
//
//   tlvstd-archive list FILE      the header, then every mark and every stored
//                                 object (id, type, size, position)
//   tlvstd-archive show FILE ID   loads object ID through the type registry
//                                 and says what it is; an exception says its
//                                 whole message
//
// Anything wrong with the file is one line on stderr and exit status 1; a
// wrong command line is the usage text and status 2.
#include "std/archive/filearchive.h"
#include "std/except/registry.h"
#include "std/except/except.h"
#include "std/util/text.h"

#include <charconv>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

namespace {

constexpr const char* kUsage = "usage: tlvstd-archive list FILE\n"
                               "       tlvstd-archive show FILE ID\n";

// The header says whether the archive is seekable; the archive checks the rest.
std::unique_ptr<ycFileArchive> open(const std::string& path)
{
    std::wstring wide = yfFromUtf8(path);
    std::ifstream peek(yfPath(wide), std::ios::binary);
    const bool seekable = (peek.get() & 1) == 1;
    return std::make_unique<ycFileArchive>(wide, ycArchive::loading, ycArchive::littleEndian, seekable, true);
}

void list(ycFileArchive& ar)
{
    std::cout << "version " << int(ar.version()) << ", byte order " << int(ar.ordering())
              << (ar.ordering() == ycArchive::bigEndian ? " (big-endian)" : " (little-endian)")
              << (ar.isSeekable() ? ", seekable\n" : ", not seekable\n");
    if (!ar.isSeekable()) return;
    for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n))
        std::cout << "mark " << n << " at " << ar.findMark(n) << '\n';
    for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) {
        ar.findObject(id);
        std::int32_t readId = 0;
        std::uint64_t size = 0;
        ycArchive::pos at = 0;
        ar.readObjectHeader64(readId, size, at);
        std::cout << "object " << id << ": " << ar.objectTypeName() << ", " << size << " bytes at " << at << '\n';
    }
}

void show(ycFileArchive& ar, std::int32_t id)
{
    if (!ar.isSeekable()) throw ycArchive::NotSeekable("archive", 0);
    ar.findObject(id);
    std::cout << "object " << id << ": " << ar.objectTypeName() << '\n';
    std::unique_ptr<ycPersistent> object = ar.loadObject();
    if (auto* e = dynamic_cast<ycException*>(object.get())) {
        std::cout << "exception " << yfToUtf8(e->message(true)) << '\n';
    } else {
        const ycPersistent& loaded = *object;
        std::cout << "loaded as " << yfTypeName(typeid(loaded)) << '\n';
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    std::int32_t id = 0;
    if (command == "show" && argc == 4) {
        const char* end = argv[3] + std::char_traits<char>::length(argv[3]);
        auto [rest, failure] = std::from_chars(argv[3], end, id);
        if (failure != std::errc() || rest != end || id < 1) {
            std::cerr << kUsage;
            return 2;
        }
    } else if (!(command == "list" && argc == 3)) {
        std::cerr << kUsage;
        return 2;
    }
    const std::string path = argv[2];
    try {
        std::unique_ptr<ycFileArchive> ar = open(path);
        if (command == "list") {
            list(*ar);
        } else {
            show(*ar, id);
        }
    } catch (const ycException& e) {
        std::cerr << "tlvstd-archive: " << path << ": " << yfToUtf8(e.message(true)) << '\n';
        return 1;
    } catch (const std::exception& e) {
        std::cerr << "tlvstd-archive: " << path << ": " << e.what() << '\n';
        return 1;
    }
    return 0;
}
