#include "bytes.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

Bytes storedBody(ycArchive::Ordering ordering, const std::function<void(ycArchive&)>& store)
{
    ycMemoryArchive ar(ordering);
    store(ar);
    auto all = ar.storage();
    return Bytes(all.begin() + 2, all.end());
}

std::string bytesOf(ycMemoryArchive& stored)
{
    stored.sync();
    auto all = stored.storage();
    return std::string(all.begin(), all.end());
}

static std::string withHeader(ycArchive::Ordering ordering, const Bytes& body, bool seekable)
{
    std::string bytes{char(seekable ? 3 : 2), char(ordering)};
    bytes.append(body.begin(), body.end());
    return bytes;
}

LoadArchive::LoadArchive(ycArchive::Ordering ordering, const Bytes& body, bool seekable)
    : LoadArchive(withHeader(ordering, body, seekable), seekable)
{
}

LoadArchive::LoadArchive(std::string bytes, bool seekable)
    : bytes_(std::move(bytes)), archive_(bytes_.data(), static_cast<std::int32_t>(bytes_.size()), seekable)
{
}

LoadArchive::LoadArchive(ycMemoryArchive& stored) : LoadArchive(bytesOf(stored), stored.isSeekable()) {}

Bytes hex(const std::string& text)
{
    Bytes out;
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        if (word[0] == '\'')
            out.insert(out.end(), word.begin() + 1, word.end());
        else
            out.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    }
    return out;
}

std::string testOutputDir()
{
    const char* env = std::getenv("TLVSTD_TEST_OUT");
    std::filesystem::path dir = env ? env : std::filesystem::temp_directory_path() / "tlvstd-tests";
    std::filesystem::create_directories(dir);
    return dir.string();
}

std::string fileBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}
