#include "bytes.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

Bytes storedBody(ycArchive::Ordering ordering, const std::function<void(ycArchive&)>& store)
{
    ycMemoryArchive ar(ordering);
    store(ar);
    auto all = ar.storage();
    return Bytes(all.begin() + 2, all.end());
}

static std::string withHeader(ycArchive::Ordering ordering, const Bytes& body, bool seekable)
{
    std::string bytes{char(seekable ? 3 : 2), char(ordering)};
    bytes.append(body.begin(), body.end());
    return bytes;
}

LoadArchive::LoadArchive(ycArchive::Ordering ordering, const Bytes& body, bool seekable)
    : bytes_(withHeader(ordering, body, seekable)),
      archive_(bytes_.data(), static_cast<std::int32_t>(bytes_.size()), seekable)
{
}

Bytes hex(const std::string& text)
{
    Bytes out;
    std::istringstream in(text);
    std::string byte;
    while (in >> byte) out.push_back(static_cast<std::uint8_t>(std::stoul(byte, nullptr, 16)));
    return out;
}

std::string testOutputDir()
{
    const char* env = std::getenv("TLVSTD_TEST_OUT");
    std::filesystem::path dir = env ? env : std::filesystem::temp_directory_path() / "tlvstd-tests";
    std::filesystem::create_directories(dir);
    return dir.string();
}
