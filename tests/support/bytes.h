// Helpers for tests that compare archive bytes.
#ifndef TLVSTD_TESTS_SUPPORT_BYTES_H
#define TLVSTD_TESTS_SUPPORT_BYTES_H

#include "std/archive/memarchive.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// The bytes that `store` writes after the 2-byte header of a plain archive.
Bytes storedBody(ycArchive::Ordering ordering, const std::function<void(ycArchive&)>& store);

// A loading archive over a header for `ordering` followed by `body`.
class LoadArchive {
public:
    LoadArchive(ycArchive::Ordering ordering, const Bytes& body, bool seekable = false);
    ycArchive& operator*() { return archive_; }
    ycArchive* operator->() { return &archive_; }

private:
    std::string bytes_;
    ycMemoryArchive archive_;
};

// Hex text such as "00 22 22", for readable expectations.
Bytes hex(const std::string& text);

// A directory for files the tests write (created on first use).
std::string testOutputDir();

#endif
