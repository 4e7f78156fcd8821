#include "std/util/text.h"


namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHigh(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLow(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Walks the code points of wide text, joining surrogate pairs where wchar_t
// holds UTF-16 (or where such a pair was stored in a wider wchar_t).
template <class F>
void forEachCodePoint(std::wstring_view wide, F&& f)
{
    for (std::size_t i = 0; i < wide.size(); ++i) {
        auto c = static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(wide[i]));
        if (isHigh(c) && i + 1 < wide.size()) {
            auto next = static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(wide[i + 1]));
            if (isLow(next)) {
                c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
                ++i;
            }
        }
        f(c);
    }
}

void appendCodePoint(std::wstring& out, char32_t c)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (c > 0xFFFF) {
            c -= 0x10000;
            out.push_back(static_cast<wchar_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + (c & 0x3FF)));
            return;
        }
    }
    out.push_back(static_cast<wchar_t>(c));
}

} // namespace

std::wstring yfWiden(std::string_view narrow)
{
    std::wstring out;
    out.reserve(narrow.size());
    for (char c : narrow) out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
    return out;
}

std::string yfNarrow(std::wstring_view wide)
{
    std::string out;
    out.reserve(wide.size());
    forEachCodePoint(wide, [&](char32_t c) { out.push_back(c <= 0xFF ? static_cast<char>(c) : '?'); });
    return out;
}

std::optional<std::u16string> yfToUtf16(std::wstring_view wide)
{
    std::u16string out;
    out.reserve(wide.size());
    bool representable = true;
    forEachCodePoint(wide, [&](char32_t c) {
        if (c > 0x10FFFF) {
            representable = false;
        } else if (c > 0xFFFF) {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    });
    if (!representable) return std::nullopt;
    return out;
}

std::wstring yfFromUtf16(std::u16string_view units)
{
    std::wstring out;
    out.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t c = units[i];
        if (isHigh(c) && i + 1 < units.size() && isLow(units[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (char32_t(units[i + 1]) - 0xDC00);
            ++i;
        }
        appendCodePoint(out, c);
    }
    return out;
}

std::string yfToUtf8(std::wstring_view wide)
{
    std::string out;
    out.reserve(wide.size());
    forEachCodePoint(wide, [&](char32_t c) {
        if (c > 0x10FFFF) c = kReplacement;
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    });
    return out;
}

std::wstring yfFromUtf8(std::string_view utf8)
{
    std::wstring out;
    out.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size()) {
        auto b = static_cast<unsigned char>(utf8[i]);
        int extra = b < 0x80 ? 0 : (b >> 5) == 0x6 ? 1 : (b >> 4) == 0xE ? 2 : (b >> 3) == 0x1E ? 3 : -1;
        char32_t c = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
        bool ok = extra >= 0 && i + static_cast<std::size_t>(extra) < utf8.size();
        for (int k = 1; ok && k <= extra; ++k) {
            auto t = static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]);
            ok = (t & 0xC0) == 0x80;
            c = (c << 6) | (t & 0x3F);
        }
        static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (!ok || c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            appendCodePoint(out, kReplacement);
            ++i;
        } else {
            appendCodePoint(out, c);
            i += static_cast<std::size_t>(extra) + 1;
        }
    }
    return out;
}

std::filesystem::path yfPath(std::wstring_view wide)
{
#ifdef _WIN32
    return std::filesystem::path(std::wstring(wide));
#else
    std::string bytes = yfToUtf8(wide);
    return std::filesystem::path(std::u8string(bytes.begin(), bytes.end()));
#endif
}

std::wstring yfHex8(std::uint32_t value)
{
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring out(8, L'0');
    for (int i = 7; i >= 0; --i, value >>= 4) out[static_cast<std::size_t>(i)] = kDigits[value & 0xF];
    return out;
}
