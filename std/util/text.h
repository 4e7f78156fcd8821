// Text conversions.
//
// The library's wide text is std::wstring, whatever the width of wchar_t. These
// are the only places where text changes form:
// - widening: each byte of a narrow text becomes one character of the same
//   value (0x00..0xFF), read through unsigned char so that byte E9 is U+00E9
//   on every platform;
// - narrowing: characters up to U+00FF are kept as one byte each; every other
//   code point (a surrogate pair counts as one) becomes one '?';
// - UTF-16: code points above U+FFFF become surrogate pairs; a pair is joined
//   on the way back and a lone surrogate passes through unchanged, so any
//   sequence of units survives a round trip. A value above U+10FFFF has no
//   UTF-16 form: the conversion gives nothing (the archive then throws
//   ycBadUnicodeChar);
// - UTF-8: for output and file paths; a malformed byte reads as U+FFFD.
#ifndef TLVSTD_UTIL_TEXT_H
#define TLVSTD_UTIL_TEXT_H

#include "std/config.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

TLVSTD_API std::wstring yfWiden(std::string_view narrow);
TLVSTD_API std::string yfNarrow(std::wstring_view wide);

TLVSTD_API std::optional<std::u16string> yfToUtf16(std::wstring_view wide);
TLVSTD_API std::wstring yfFromUtf16(std::u16string_view units);

TLVSTD_API std::string yfToUtf8(std::wstring_view wide);
TLVSTD_API std::wstring yfFromUtf8(std::string_view utf8);

// A file path from wide text, the same file on every platform.
TLVSTD_API std::filesystem::path yfPath(std::wstring_view wide);

// The 32-bit value as 8 lowercase hexadecimal digits, zero-padded, no prefix.
TLVSTD_API std::wstring yfHex8(std::uint32_t value);

#endif
