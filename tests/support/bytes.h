// Helpers for tests that compare archive bytes.
#ifndef TLVSTD_TESTS_SUPPORT_BYTES_H
#define TLVSTD_TESTS_SUPPORT_BYTES_H

#include "std/archive/memarchive.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// The bytes that `store` writes after the 2-byte header of a plain archive.
Bytes storedBody(ycArchive::Ordering ordering, const std::function<void(ycArchive&)>& store);

// Everything a storing memory archive holds, its index written first.
std::string bytesOf(ycMemoryArchive& stored);

// A loading memory archive over its own copy of some bytes.
class LoadArchive {
public:
    // A header for `ordering` followed by `body`.
    LoadArchive(ycArchive::Ordering ordering, const Bytes& body, bool seekable = false);
    // Whole archive bytes, header included.
    explicit LoadArchive(std::string bytes, bool seekable = false);
    // What `stored` holds, read as seekable as it was written.
    explicit LoadArchive(ycMemoryArchive& stored);
    ycArchive& operator*() { return archive_; }
    ycArchive* operator->() { return &archive_; }

private:
    std::string bytes_;
    ycMemoryArchive archive_;
};

// Hex text such as "00 22 22", for readable expectations; a word that starts
// with ' stands for its other characters, as in "04 22 'Gear 22".
Bytes hex(const std::string& text);

// A directory for files the tests write (created on first use).
std::string testOutputDir();

// The whole content of a file.
std::string fileBytes(const std::filesystem::path& path);

#endif
