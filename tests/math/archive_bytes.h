// Expected archive bytes, built field by field in one byte order.
#ifndef TLVSTD_TESTS_MATH_ARCHIVE_BYTES_H
#define TLVSTD_TESTS_MATH_ARCHIVE_BYTES_H

#include "../support/bytes.h"

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <string>

class ArchiveBytes {
public:
    explicit ArchiveBytes(ycArchive::Ordering o) : o_(o) {}
    ArchiveBytes& u8(std::uint8_t v) { b_.push_back(v); return *this; }
    ArchiveBytes& i32(std::int32_t v) { return scalar(static_cast<std::uint32_t>(v), 4); }
    ArchiveBytes& d(double v) { return scalar(std::bit_cast<std::uint64_t>(v), 8); }
    ArchiveBytes& bytes(const Bytes& more) { b_.insert(b_.end(), more.begin(), more.end()); return *this; }
    ArchiveBytes& rect(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h)
    {
        return i32(x).i32(y).i32(w).i32(h);
    }
    // ycVector<2>, and ycMatrix<2> with its determinant.
    ArchiveBytes& vec(double x, double y) { return u8(0).d(x).d(y); }
    ArchiveBytes& mat(double a, double b, double c, double e) { return u8(0).d(a).d(b).d(c).d(e).d(a * e - b * c); }
    // An object record's head: marker, quoted type name, a version byte per class level.
    ArchiveBytes& record(const std::string& name, std::initializer_list<std::uint8_t> versions)
    {
        bytes({0xf1, 0x66, 0x4b, 0xdf}).u8(static_cast<std::uint8_t>(name.size())).u8(0x22);
        b_.insert(b_.end(), name.begin(), name.end());
        u8(0x22);
        for (std::uint8_t v : versions) u8(v);
        return *this;
    }
    const Bytes& done() const { return b_; }

private:
    ArchiveBytes& scalar(std::uint64_t v, int n)
    {
        const bool big = o_ == ycArchive::bigEndian;
        for (int i = 0; i < n; ++i) u8(static_cast<std::uint8_t>(v >> (big ? 8 * (n - 1 - i) : 8 * i)));
        return *this;
    }
    ycArchive::Ordering o_;
    Bytes b_;
};

#endif
