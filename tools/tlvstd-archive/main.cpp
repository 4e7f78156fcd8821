// tlvstd-archive: shows what an archive file holds. The commands and their
// output are in kHelp below and in the README; walk.h has the listing's
// items, describe.h the objects' fields.
#include "walk.h"

#include "std/archive/filearchive.h"
#include "std/util/text.h"

#include <charconv>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kUsage = "usage: tlvstd-archive [--json] [--limit N] list FILE\n"
                               "       tlvstd-archive [--json] [--limit N] show FILE ID [--png OUT]\n"
                               "       tlvstd-archive --help\n";

constexpr const char* kHelp = R"(
Shows what an archive file holds.

  list FILE   the header, then every mark, object record, pointer and
              reference in stream order, each inside the record that holds
              it. A seekable archive is listed from its index without
              loading any object; a plain one is read record by record.
  show FILE ID
              loads object ID (the id references use; in a plain archive the
              order of its record, nested ones counted) and prints its state:
              values, transforms, exceptions, pel roots and buffers with the
              minimum, maximum and mean of their pels.

  --json      the same as JSON, one document (schema in the README)
  --limit N   records walked and fields described per command, at most
              (default 1000000); a command that reaches it stops and says so
  --png OUT   with show: also writes the object's pels as a PNG (8 or
              16-bit grey, packed RGB32 or three-plane pels)

Exit status: 0 done; 1 the file could not be read as far as the command
needed (one line on stderr; list prints what it found before); 2 usage.
)";

int usage()
{
    std::cerr << kUsage;
    return 2;
}

bool parseNumber(std::string_view text, auto& value)
{
    auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    return failure == std::errc() && rest == text.data() + text.size();
}

// The header says whether the archive is seekable; the archive checks the rest.
std::unique_ptr<ycFileArchive> open(const std::string& path)
{
    std::wstring wide = yfFromUtf8(path);
    std::ifstream peek(yfPath(wide), std::ios::binary);
    const bool seekable = (peek.get() & 1) == 1;
    return std::make_unique<ycFileArchive>(wide, ycArchive::loading, ycArchive::littleEndian, seekable, true);
}

} // namespace

int main(int argc, char** argv)
{
    Command command;
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--help") {
            std::cout << kUsage << kHelp;
            return 0;
        } else if (arg == "--json") {
            command.json = true;
        } else if (arg == "--limit") {
            if (++i == argc || !parseNumber(argv[i], command.limit)) return usage();
        } else if (arg == "--png") {
            if (++i == argc) return usage();
            command.png = yfPath(yfFromUtf8(argv[i]));
        } else if (arg.starts_with("--")) {
            return usage();
        } else {
            words.emplace_back(arg);
        }
    }
    command.show = !words.empty() && words[0] == "show";
    const bool list = !words.empty() && words[0] == "list";
    if (!(list && words.size() == 2 && !command.png) &&
        !(command.show && words.size() == 3 && parseNumber(words[2], command.id) && command.id > 0))
        return usage();

    const std::string& path = words[1];
    try {
        std::unique_ptr<ycFileArchive> ar = open(path);
        inspect(*ar, command, std::cout);
    } catch (...) {
        std::cout.flush();
        std::cerr << "tlvstd-archive: " << path << ": " << inspectFailure(std::current_exception()) << '\n';
        return 1;
    }
    return 0;
}
