#include "tree.h"

#include <charconv>
#include <cmath>
#include <ostream>
#include <sstream>

Node& Node::add(std::string name, Node value)
{
    Fields& fields = std::get<Fields>(value_);
    fields.emplace_back(std::move(name), std::move(value));
    return fields.back().second;
}

Node& Node::push(Node item)
{
    List& items = std::get<List>(value_);
    items.push_back(std::move(item));
    return items.back();
}

const Node* Node::find(const std::string& name) const
{
    if (!isObject()) return nullptr;
    for (const auto& [key, value] : fields())
        if (key == name) return &value;
    return nullptr;
}

bool Node::isInline() const
{
    if (isObject()) return false;
    if (!isList()) return true;
    for (const Node& item : items())
        if (!item.isInline()) return false;
    return true;
}

namespace {

std::string realText(double d)
{
    if (std::isnan(d)) return "nan";
    if (std::isinf(d)) return d > 0 ? "inf" : "-inf";
    char buffer[32];
    auto [end, failure] = std::to_chars(buffer, buffer + sizeof buffer, d);
    return std::string(buffer, end);
}

// One code point of valid UTF-8 at s[i], or 0 bytes when it is not valid.
std::size_t utf8Length(const std::string& s, std::size_t i)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    const std::size_t n = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return 0;
    std::uint32_t cp = n == 1 ? lead : lead & (0x7F >> n);
    for (std::size_t k = 1; k < n; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
        cp = cp << 6 | (byte(i + k) & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not text.
    static constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kLeast[n] || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) return 0;
    return n;
}

void writeQuoted(std::ostream& os, const std::string& s)
{
    os << '"';
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t n = utf8Length(s, i);
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (n == 0) {
            os << "\xEF\xBF\xBD"; // U+FFFD for a byte that is not text
            ++i;
            continue;
        }
        if (c == '"' || c == '\\') {
            os << '\\' << s[i];
        } else if (c == '\n') {
            os << "\\n";
        } else if (c == '\t') {
            os << "\\t";
        } else if (c == '\r') {
            os << "\\r";
        } else if (c < 0x20 || c == 0x7F) {
            static constexpr char kHex[] = "0123456789abcdef";
            os << "\\u00" << kHex[c >> 4] << kHex[c & 15];
        } else {
            os.write(s.data() + i, static_cast<std::streamsize>(n));
        }
        i += n;
    }
    os << '"';
}

// Scalars and inline lists; `json` quotes texts and escapes them.
void writeInline(std::ostream& os, const Node& node, bool json)
{
    std::visit(
        [&](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, std::monostate>) {
                os << "null";
            } else if constexpr (std::is_same_v<V, bool>) {
                os << (v ? "true" : "false");
            } else if constexpr (std::is_same_v<V, std::int64_t>) {
                os << v;
            } else if constexpr (std::is_same_v<V, double>) {
                if (json && !std::isfinite(v)) {
                    writeQuoted(os, realText(v));
                } else {
                    os << realText(v);
                }
            } else if constexpr (std::is_same_v<V, std::string>) {
                if (json) {
                    writeQuoted(os, v);
                } else {
                    os << v;
                }
            } else if constexpr (std::is_same_v<V, Node::List>) {
                os << '[';
                for (std::size_t i = 0; i < v.size(); ++i) {
                    if (i) os << ", ";
                    writeInline(os, v[i], json);
                }
                os << ']';
            }
        },
        node.value());
}

void writeTextItem(std::ostream& os, const Node& node, int indent);

void writeTextField(std::ostream& os, const std::string& name, const Node& value, int indent)
{
    os << std::string(static_cast<std::size_t>(indent), ' ') << name << ':';
    if (value.isInline()) {
        os << ' ';
        writeInline(os, value, false);
        os << '\n';
        return;
    }
    os << '\n';
    if (value.isObject()) {
        writeText(os, value, indent + 2);
    } else {
        for (const Node& item : value.items()) writeTextItem(os, item, indent + 2);
    }
}

// One item of a list that is not inline: "- " then the item, its later lines
// aligned under the first.
void writeTextItem(std::ostream& os, const Node& node, int indent)
{
    const std::string lead = std::string(static_cast<std::size_t>(indent), ' ') + "- ";
    if (node.isInline()) {
        os << lead;
        writeInline(os, node, false);
        os << '\n';
    } else if (node.isObject()) {
        bool first = true;
        for (const auto& [name, value] : node.fields()) {
            if (first) os << lead;
            writeTextField(os, name, value, first ? 0 : indent + 2);
            first = false;
        }
        if (first) os << lead << "{}\n";
    } else {
        os << lead << "-\n";
        for (const Node& item : node.items()) writeTextItem(os, item, indent + 2);
    }
}

void writeJsonAt(std::ostream& os, const Node& node, int indent)
{
    if (node.isInline()) {
        writeInline(os, node, true);
        return;
    }
    const std::string inner(static_cast<std::size_t>(indent + 2), ' ');
    const std::string outer(static_cast<std::size_t>(indent), ' ');
    if (node.isObject()) {
        if (node.fields().empty()) {
            os << "{}";
            return;
        }
        os << "{\n";
        bool first = true;
        for (const auto& [name, value] : node.fields()) {
            os << (first ? "" : ",\n") << inner;
            writeQuoted(os, name);
            os << ": ";
            writeJsonAt(os, value, indent + 2);
            first = false;
        }
        os << '\n' << outer << '}';
        return;
    }
    os << "[\n";
    bool first = true;
    for (const Node& item : node.items()) {
        os << (first ? "" : ",\n") << inner;
        writeJsonAt(os, item, indent + 2);
        first = false;
    }
    os << '\n' << outer << ']';
}

} // namespace

std::string Node::scalarText() const
{
    if (!isInline() || isList()) return {};
    std::ostringstream os;
    writeInline(os, *this, false);
    return os.str();
}

void writeText(std::ostream& os, const Node& object, int indent)
{
    for (const auto& [name, value] : object.fields()) writeTextField(os, name, value, indent);
}

void writeJson(std::ostream& os, const Node& node)
{
    writeJsonAt(os, node, 0);
    os << '\n';
}
