#include "walk.h"

#include "describe.h"

#include "std/archive/objects.h"
#include "std/except/except.h"
#include "std/except/registry.h"
#include "std/util/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr std::int64_t kHeaderBytes = 2;

std::int64_t streamSize(ycArchive& ar)
{
    const ycArchive::pos back = ar.tell();
    ar.seek(0, std::ios_base::end);
    const ycArchive::pos size = ar.tell();
    ar.seek(back);
    return size;
}

Node item(const char* kind, ycArchive::pos position)
{
    Node node = Node::object();
    node.add("kind", kind);
    node.add("position", position);
    return node;
}

Node objectItem(std::int32_t id, const std::string& type, ycArchive::pos position, std::optional<std::int64_t> size)
{
    Node node = Node::object();
    node.add("kind", "object");
    node.add("id", id);
    node.add("type", type);
    node.add("position", position);
    node.add("size", size ? Node(*size) : Node());
    return node;
}

// --- seekable archives: the index ---------------------------------------------

struct Placed {
    ycArchive::pos position;
    ycArchive::pos end; // one past the last byte that may hold other items
    Node node;
};

// The header of the object record at the read position: its type and the
// record's whole length, read without the body.
std::pair<std::string, std::int64_t> recordExtent(ycArchive& ar)
{
    std::int32_t id = 0;
    std::uint64_t bodySize = 0;
    ycArchive::pos at = 0;
    ar.readObjectHeader64(id, bodySize, at);
    std::array<char, 4> marker{};
    std::uint32_t smallSize = 0;
    std::string type;
    ar.raw(marker.data(), 4);
    ar || id || smallSize || type;
    return {type, ar.tell() - at + static_cast<std::int64_t>(bodySize)};
}

std::vector<Placed> indexItems(ycArchive& ar, Budget& records)
{
    std::vector<Placed> placed;
    for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) {
        records.spend();
        const ycArchive::pos at = ar.findMark(n);
        Node node = item("mark", at);
        node.add("number", n);
        placed.push_back({at, at, std::move(node)});
    }
    for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) {
        records.spend();
        const ycArchive::pos at = ar.findObject(id);
        auto [type, size] = recordExtent(ar);
        placed.push_back({at, at + size, objectItem(id, type, at, size)});
    }
    for (ycArchive::pos at = ar.firstPointerPos(); at != -1; at = ar.nextPointerPos()) {
        records.spend();
        Node node = item("pointer", at);
        node.add("id", ar.pointerObjectID());
        placed.push_back({at, at, std::move(node)});
    }
    // Enclosing records first where two start together.
    std::stable_sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) {
        return a.position != b.position ? a.position < b.position : a.end > b.end;
    });
    return placed;
}

// Appends placed[i..] that lie before `end` to `contents`, each with the
// items inside it; returns the first index not taken. An index can claim
// extents nested any depth, but no reader takes records nested deeper than
// the archive does, so neither does the listing (nor its stack).
std::size_t nest(std::vector<Placed>& placed, std::size_t i, ycArchive::pos end, Node& contents, int depth = 0)
{
    constexpr int kMaxNesting = 1000;
    while (i < placed.size() && placed[i].position < end) {
        Placed& p = placed[i++];
        if (p.end > p.position) {
            if (depth == kMaxNesting)
                throw LimitReached("stopped at the limit of " + std::to_string(kMaxNesting) + " nested records");
            Node inner = Node::list();
            i = nest(placed, i, p.end, inner, depth + 1);
            if (!inner.items().empty()) p.node.add("contents", std::move(inner));
        }
        contents.push(std::move(p.node));
    }
    return i;
}

// --- plain archives: the walk -------------------------------------------------

// Builds the items of one traced read: records nest as they are read.
class Walker : public ycArchive::Tracer {
public:
    Walker(Node& contents, Budget& records) : top_(contents), records_(records) {}

    void recordBegins(ycArchive::pos at, std::int32_t id, const std::string& type) override
    {
        records_.spend();
        open_.push_back({at, id, type, yc_TypeRegistry::instance().factory(type) != nullptr, Node::list()});
    }
    void recordEnds(ycArchive::pos end, const ycPersistent& object) override
    {
        Open done = std::move(open_.back());
        open_.pop_back();
        ended(done, end, object);
        close(std::move(done), end - done.position);
    }
    void referenceMet(ycArchive::pos at, std::int32_t id) override
    {
        records_.spend();
        Node node = item("reference", at);
        node.add("id", id);
        into().push(std::move(node));
    }

    // A read that failed: the records still open go in without a size.
    // Returns the place and id of the innermost, where the read failed.
    std::pair<ycArchive::pos, std::int32_t> abandon()
    {
        std::pair<ycArchive::pos, std::int32_t> innermost{-1, 0};
        if (!open_.empty()) innermost = {open_.back().position, open_.back().id};
        while (!open_.empty()) {
            Open done = std::move(open_.back());
            open_.pop_back();
            close(std::move(done), std::nullopt);
        }
        return innermost;
    }
    // An item of the top level, between records.
    void addTop(Node node) { top_.push(std::move(node)); }
    // Whether the walk goes on past the record `id` of a class not known here.
    virtual bool skips(std::int32_t) const { return true; }

protected:
    struct Open {
        ycArchive::pos position;
        std::int32_t id;
        std::string type;
        bool known; // registered here
        Node contents;
    };
    virtual void ended(const Open&, ycArchive::pos, const ycPersistent&) {}

private:
    Node& into() { return open_.empty() ? top_ : open_.back().contents; }
    void close(Open done, std::optional<std::int64_t> size)
    {
        Node node = objectItem(done.id, done.type, done.position, size);
        if (!done.known) node.add("unknownClass", true);
        if (!done.contents.items().empty()) node.add("contents", std::move(done.contents));
        into().push(std::move(node));
    }

    Node& top_;
    Budget& records_;
    std::vector<Open> open_;
};

bool bytesAt(ycArchive& ar, ycArchive::pos at, std::int64_t size, const unsigned char (&bytes)[4])
{
    if (at + 4 > size) return false;
    char got[4];
    ar.seek(at);
    ar.raw(got, 4);
    return std::memcmp(got, bytes, 4) == 0;
}

constexpr unsigned char kNewObjectTag[4] = {0xFF, 0xFF, 0xFF, 0xFF}; // -1 in either ordering

// Where the next top-level record starts at or after `from`: its marker, or
// the new-object tag before it. `size` when there is none.
ycArchive::pos nextRecord(ycArchive& ar, ycArchive::pos from, std::int64_t size)
{
    constexpr std::int64_t kChunk = 1 << 16;
    std::vector<char> chunk;
    for (ycArchive::pos at = from; at + 4 <= size; at += kChunk) {
        const std::int64_t n = std::min(kChunk + 3, size - at);
        chunk.resize(static_cast<std::size_t>(n));
        ar.seek(at);
        ar.raw(chunk.data(), n);
        const auto* marker = reinterpret_cast<const char*>(kYcObjectMarker);
        auto hit = std::search(chunk.begin(), chunk.end(), marker, marker + 4);
        if (hit != chunk.end()) {
            const ycArchive::pos found = at + (hit - chunk.begin());
            return found - 4 >= from && bytesAt(ar, found - 4, size, kNewObjectTag) ? found - 4 : found;
        }
    }
    return size;
}

// Walks a plain archive's top level with `walker`; `stop` is asked after
// each record whether to go on.
template <class Stop>
void walkPlain(ycArchive& ar, Walker& walker, Budget& records, Stop&& stop)
{
    const std::int64_t size = streamSize(ar);
    std::vector<std::unique_ptr<ycPersistent>> loaded; // later references may name them
    for (ycArchive::pos at = kHeaderBytes; at < size && !stop();) {
        if (bytesAt(ar, at, size, kNewObjectTag) && bytesAt(ar, at + 4, size, kYcObjectMarker)) at += 4;
        if (!bytesAt(ar, at, size, kYcObjectMarker)) {
            records.spend();
            const ycArchive::pos next = nextRecord(ar, at + 1, size);
            Node node = item("data", at);
            node.add("size", next - at);
            walker.addTop(std::move(node));
            at = next;
            continue;
        }
        ar.seek(at);
        try {
            loaded.push_back(ar.readTraced(walker));
            at = ar.tell();
        } catch (const ycArchive::UnknownType&) {
            // Only its loader knows where such a record ends: go on at the
            // next record marker, which keeps the ids in stream order.
            auto [failed, id] = walker.abandon();
            if (failed < 0 || !walker.skips(id)) throw;
            at = nextRecord(ar, failed + 4, size);
        } catch (...) {
            walker.abandon();
            throw;
        }
    }
}

// What show does with the object once its record is whole.
struct Examine {
    Budget& fields;
    const std::optional<std::filesystem::path>& png;
    Node operator()(Node shown, const ycPersistent& object) const
    {
        shown.add("state", describe(object, fields));
        if (png) {
            try {
                writePng(object, *png);
            } catch (const std::invalid_argument& refused) {
                throw std::invalid_argument("object " + shown.find("id")->scalarText() + ": " + refused.what());
            }
        }
        return shown;
    }
};

// A walker that examines the object with one id when its record is whole.
class Finder : public Walker {
public:
    Finder(Node& contents, Budget& records, std::int32_t id, const Examine& examine)
        : Walker(contents, records), id_(id), examine_(examine)
    {
    }
    std::optional<Node> found;

private:
    bool skips(std::int32_t id) const override { return id != id_; }
    void ended(const Open& record, ycArchive::pos end, const ycPersistent& object) override
    {
        if (record.id != id_ || found) return;
        found = examine_(objectItem(record.id, record.type, record.position, end - record.position), object);
    }
    std::int32_t id_;
    const Examine& examine_;
};

std::string itemLine(const Node& node)
{
    const std::string kind = node.find("kind")->scalarText();
    const std::string at = " at " + node.find("position")->scalarText();
    const Node* size = node.find("size");
    const std::string bytes = size && !size->isNull() ? ", " + size->scalarText() + " bytes" : "";
    if (kind == "mark") return "mark " + node.find("number")->scalarText() + at;
    if (kind == "data") return "data" + at + bytes;
    if (kind == "object")
        return "object " + node.find("id")->scalarText() + " " + node.find("type")->scalarText() + at +
               (node.find("unknownClass") ? ", class not known here" : size && size->isNull() ? ", unfinished" : bytes);
    const std::string id = node.find("id")->scalarText();
    return kind + (id == "0" ? " to no object" : " to object " + id) + at;
}

void writeItems(std::ostream& os, const Node& list, int indent)
{
    for (const Node& node : list.items()) {
        os << std::string(static_cast<std::size_t>(indent), ' ') << itemLine(node) << '\n';
        if (const Node* inner = node.find("contents")) writeItems(os, *inner, indent + 2);
    }
}

} // namespace

Node archiveHeader(ycArchive& ar)
{
    Node header = Node::object();
    header.add("version", ar.version());
    header.add("byteOrder", ar.ordering() == ycArchive::bigEndian ? "big-endian" : "little-endian");
    header.add("seekable", ar.isSeekable());
    header.add("bytes", streamSize(ar));
    return header;
}

void listContents(ycArchive& ar, Node& contents, Budget& records)
{
    if (ar.isSeekable()) {
        std::vector<Placed> placed = indexItems(ar, records);
        nest(placed, 0, streamSize(ar), contents);
        return;
    }
    Walker walker(contents, records);
    walkPlain(ar, walker, records, [] { return false; });
}

Node showObject(ycArchive& ar, std::int32_t id, Budget& records, Budget& fields,
                const std::optional<std::filesystem::path>& png)
{
    const Examine examine{fields, png};
    if (ar.isSeekable()) {
        const ycArchive::pos at = ar.findObject(id);
        auto [type, size] = recordExtent(ar);
        ar.seek(at);
        std::unique_ptr<ycPersistent> object = ar.loadObject();
        return examine(objectItem(id, type, at, size), *object);
    }
    Node walked = Node::list();
    Finder finder(walked, records, id, examine);
    walkPlain(ar, finder, records, [&] { return finder.found.has_value(); });
    if (!finder.found) throw ycArchive::NotFound(("no record has id " + std::to_string(id)).c_str(), 0);
    return std::move(*finder.found);
}

void writeListing(std::ostream& os, const Node& header, const Node& contents)
{
    os << "version " << header.find("version")->scalarText() << ", " << header.find("byteOrder")->scalarText()
       << ", " << (std::get<bool>(header.find("seekable")->value()) ? "seekable" : "not seekable") << ", "
       << header.find("bytes")->scalarText() << " bytes\n";
    writeItems(os, contents, 0);
}

std::string inspectFailure(std::exception_ptr failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const ycException& e) {
        std::string text = yfToUtf8(e.message(true));
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    } catch (const std::exception& e) {
        return e.what();
    }
}


void inspect(ycArchive& ar, const Command& command, std::ostream& out)
{
    Budget records(command.limit, "records"), fields(command.limit, "fields");
    Node doc = Node::object();
    doc.add("archive", archiveHeader(ar));
    if (command.show) {
        Node shown = showObject(ar, command.id, records, fields, command.png);
        if (command.json) {
            doc.add("object", std::move(shown));
            writeJson(out, doc);
        } else {
            out << itemLine(shown) << '\n';
            writeText(out, *shown.find("state"), 2);
        }
        return;
    }
    Node contents = Node::list();
    std::exception_ptr failure;
    try {
        listContents(ar, contents, records);
    } catch (...) {
        failure = std::current_exception();
    }
    if (command.json) {
        doc.add("contents", std::move(contents));
        if (failure) doc.add("error", inspectFailure(failure));
        writeJson(out, doc);
    } else {
        writeListing(out, *doc.find("archive"), contents);
    }
    if (failure) std::rethrow_exception(failure);
}
