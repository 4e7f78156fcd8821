// What the archive inspector prints: a tree of values, written either as
// indented text for a person or as JSON for a script.
//
// A Node is null, a boolean, an integer, a real, a text, a list of nodes or
// an object (named fields in the order they were added). Field names are
// camelCase and the same in both forms, so the text is the JSON's reading.
//
// Text form:
//   name: scalar
//   name: [1, 2, 3]          a list whose items are scalars or such lists
//   name:                    an object, its fields indented two spaces
//     field: ...
//   name:                    a list of objects, each item led by "- "
//     - field: ...
//       field: ...
// JSON form: RFC 8259, two-space indentation, one field per line; lists of
// scalars on one line. Reals are written in the shortest form that reads
// back to the same double; a real that is not finite is the text "nan",
// "inf" or "-inf" (JSON has no number for it). Texts are UTF-8 and escaped
// where JSON needs it; bytes that are not valid UTF-8 become U+FFFD.
#ifndef TLVSTD_TOOLS_ARCHIVE_TREE_H
#define TLVSTD_TOOLS_ARCHIVE_TREE_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

class Node {
public:
    using List = std::vector<Node>;
    using Fields = std::vector<std::pair<std::string, Node>>;

    Node() = default;
    Node(bool b) : value_(b) {}
    template <class I>
        requires std::is_integral_v<I> && (!std::is_same_v<I, bool>)
    Node(I i) : value_(static_cast<std::int64_t>(i))
    {
    }
    Node(double d) : value_(d) {}
    Node(float f) : value_(static_cast<double>(f)) {}
    Node(std::string s) : value_(std::move(s)) {}
    Node(const char* s) : value_(std::string(s)) {}
    Node(List items) : value_(std::move(items)) {}

    static Node object() { return Node(Fields{}); }
    static Node list() { return Node(List{}); }

    // Objects: appends a field and returns its node.
    Node& add(std::string name, Node value);
    // Lists: appends an item and returns it.
    Node& push(Node item);

    bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
    bool isObject() const { return std::holds_alternative<Fields>(value_); }
    bool isList() const { return std::holds_alternative<List>(value_); }
    const Fields& fields() const { return std::get<Fields>(value_); }
    const List& items() const { return std::get<List>(value_); }
    // The field called `name` of an object, or null.
    const Node* find(const std::string& name) const;
    const std::variant<std::monostate, bool, std::int64_t, double, std::string, List, Fields>& value() const
    {
        return value_;
    }

    // A scalar as the text form writes it; empty for lists and objects.
    std::string scalarText() const;
    // True for scalars and lists whose items are all inline.
    bool isInline() const;

private:
    explicit Node(Fields f) : value_(std::move(f)) {}
    std::variant<std::monostate, bool, std::int64_t, double, std::string, List, Fields> value_;
};

// The text form of an object's fields, each line indented by `indent` spaces.
void writeText(std::ostream& os, const Node& object, int indent = 0);
// The JSON form, ending with a newline.
void writeJson(std::ostream& os, const Node& node);

#endif
