// Reads arbitrary bytes as archives of every kind. The first byte chooses the
// kind, the rest is the archive:
//   0  plain archive: a stream of (operation byte, value) pairs, every
//      primitive, string, container, object record and reference
//   1  the same operations in a seekable archive
//   2  seekable archive: the index walked, every mark and object found, read
//      and loaded, pointers followed, then every record in stream order
//   3  seekable archive opened for appending: a mark and an object added and
//      the index rewritten, which must then read back whatever was there
// Every input must end in a ycException. Anything else is a finding: a crash,
// a sanitizer report, another exception, a failed assertion, or an appended
// archive that does not read back (yc_fuzz::Finding).
//
// Included by the fuzz target and by the unit tests that run it over the seed
// corpus, once per program.
#ifndef TLVSTD_FUZZ_ARCHIVE_HARNESS_H
#define TLVSTD_FUZZ_ARCHIVE_HARNESS_H

#include "std/archive/memarchive.h"
#include "std/except/registry.h"
#include "std/util/assert.h"
#include "std/util/handle.h"
#include "std/except/except.h"

#include <algorithm>
#include <memory>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace yc_fuzz {

struct Finding : std::logic_error {
    using std::logic_error::logic_error;
};

// What an input loads as whole records stays alive until the input ends, so
// that later references may find it; everything below it has its owner.
inline std::vector<std::unique_ptr<ycPersistent>> loaded;
inline void keep(std::unique_ptr<ycPersistent> p)
{
    loaded.push_back(std::move(p));
}

// A class with references, so that records inside records and references
// back to earlier ones are read too.
class Node : public ycPersistent {
    ymDeclarePersistent(Node);

public:
    std::int32_t value = 0;
    std::string label;
    std::unique_ptr<ycPersistent> left;
    std::unique_ptr<ycPersistent> right;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Node", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || value || label;
            yfSerializeOwned(ar, left);
            yfSerializeOwned(ar, right);
        });
    }
};
ymImplementPersistent(Node, "yc_fuzz::Node")

// The value operations in number order, each with a typical value (the
// seeds' content); after them come an object record, a reference and raw bytes.
inline auto sampleValues()
{
    return std::tuple{std::int8_t(-5), std::int16_t(-300), std::uint16_t(60000), std::int32_t(123456),
                      std::int64_t(-1), 1.5f, 2.25, true, L'\u00e9', std::string("text"), std::wstring(L"wide \u00e9"),
                      std::u32string(U"u32"), std::vector<unsigned char>{1, 2, 3}, std::vector<bool>{true, false},
                      std::vector<std::int32_t>{7, 8}, std::vector<std::string>{"a", "bc"}};
}
using Values = decltype(sampleValues());
constexpr std::uint8_t opObject = std::tuple_size_v<Values>;
constexpr std::uint8_t opReference = opObject + 1, opRaw = opObject + 2, opCount = opObject + 3;

// One of each operation.
inline void writeOps(ycArchive& ar, ycPersistent& object, ycPersistent& shared)
{
    std::uint8_t op = 0;
    std::apply([&](const auto&... value) { ((ar << op++ << value), ...); }, sampleValues());
    ar << opObject << object << opReference;
    ycPersistent* p = &shared;
    ycPersistent::serializePointer(ar, p, p);
    char raw[3] = {'r', 'a', 'w'};
    ar << opRaw << std::uint8_t(3);
    ar.raw(raw, 3);
}

template <class T>
void readOne(ycArchive& ar)
{
    T v{};
    ar >> v;
}

template <class... T>
void readValue(ycArchive& ar, std::uint8_t op, std::tuple<T...>*)
{
    static constexpr void (*readers[])(ycArchive&) = {&readOne<T>...};
    readers[op](ar);
}

inline void readOps(ycArchive& ar)
{
    for (;;) { // each operation takes at least a byte: Eof ends it
        std::uint8_t op = 0;
        ar >> op;
        op %= opCount;
        if (op < opObject) {
            readValue(ar, op, static_cast<Values*>(nullptr));
        } else if (op == opObject) {
            keep(ycPersistent::readObject(ar));
        } else if (op == opReference) {
            std::unique_ptr<ycPersistent> p;
            yfSerializeOwned(ar, p);
            keep(std::move(p));
        } else {
            std::uint8_t n = 0;
            char bytes[256];
            ar >> n;
            ar.raw(bytes, n);
        }
    }
}

// A failed assertion is a finding unless the step then ends in an archive
// error: some stream contents are refused that way on purpose (a buffer whose
// transform is missing asserts, then throws BadContent).
inline thread_local bool asserted = false;
inline void recordAssertion(const char*, int)
{
    asserted = true;
}

// Runs `f`; a ycException ends only that step.
template <class F>
void step(F&& f)
{
    asserted = false;
    try {
        f();
    } catch (const ycException&) {
        asserted = false;
    }
    if (asserted) throw Finding("a failed assertion that no archive error followed");
}

inline void walkSeekable(ycArchive& ar)
{
    std::vector<std::int32_t> marks, ids;
    std::int32_t read = 0;
    std::uint32_t size = 0;
    std::uint64_t size64 = 0;
    ycArchive::pos at = 0;
    step([&] {
        for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) marks.push_back(n);
    });
    for (std::int32_t n : marks) {
        step([&] {
            ar.findMark(n);
            ar.readMark(read);
            ar.prevMarkNum(n);
        });
    }
    step([&] {
        for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
    });
    for (std::int32_t id : ids) {
        step([&] {
            ar.findObject(id);
            ar.readObjectHeader64(read, size64, at);
            ar.objectTypeName();
            keep(ar.loadObject());
        });
        step([&] {
            ar.findObject(id);
            ar.readObjectHeader(read, size, at);
        });
    }
    step([&] {
        for (at = ar.firstPointerPos(); at >= 0; at = ar.nextPointerPos()) ar.pointerObjectID();
    });
    // In stream order: records and marks until something else comes.
    step([&] {
        ar.seek(2);
        for (;;) {
            ycArchive::pos start = ar.tell();
            try {
                keep(ar.loadObject());
            } catch (const ycArchive::BadType&) {
                ar.seek(start);
                ar.skipMark();
            }
        }
    });
}

// A loading seekable archive over a writable copy, as a file opened for appending.
class WritableArchive : public ycArchive {
public:
    WritableArchive(const char* data, std::size_t size)
        : ycArchive(&buffer_, loading, littleEndian, true, false), buffer_(data, size)
    {
        start();
    }
    ~WritableArchive() override { finish(); }
    std::string bytes() const
    {
        auto s = buffer_.bytes();
        return std::string(s.begin(), s.end());
    }

private:
    yc_MemoryBuffer buffer_;
};

inline void appendAndReread(const char* data, std::size_t size)
{
    std::string bytes;
    std::int32_t mark = 0, id = 0;
    {
        WritableArchive ar(data, size);
        ar.append();
        mark = ar.writeNewMark(0);
        Node node;
        node.value = 42;
        node.label = "appended";
        id = ar.storeObject(&node);
        ar.storeObject(&node); // a pointer record
        ar.sync();
        bytes = ar.bytes();
    }
    // Whatever the old index held, the new one must be whole.
    try {
        ycMemoryArchive again(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
        again.findMark(mark);
        std::int32_t read = 0;
        again.readMark(read);
        again.findObject(id);
        auto object = again.loadObject();
        auto* node = dynamic_cast<Node*>(object.get());
        if (read != mark || !node || node->value != 42 || node->label != "appended")
            throw Finding("appended records read back wrong");
    } catch (const ycException&) {
        throw Finding("appended archive does not read back");
    }
}

// One input. Returns normally when it ended in a ycException.
inline void run(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return;
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    const auto length = static_cast<std::int32_t>(std::min<std::size_t>(size - 1, 1 << 20));
    struct FreeAtEnd {
        ~FreeAtEnd() { loaded.clear(); }
    } freeAtEnd;
    ycAssertHandlerScope recording(&recordAssertion);
    step([&] {
        const int kind = data[0] % 4;
        if (kind == 3) {
            appendAndReread(bytes, static_cast<std::size_t>(length));
            return;
        }
        ycMemoryArchive ar(bytes, length, kind != 0);
        if (kind == 2)
            walkSeekable(ar);
        else
            readOps(ar);
    });
}

} // namespace yc_fuzz

#endif
