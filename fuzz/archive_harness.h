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
#include "std/archive/registry.h"
#include "std/except/except.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace yc_fuzz {

struct Finding : std::logic_error {
    using std::logic_error::logic_error;
};

// A class with references, so that records inside records and references
// back to earlier ones are read too. Loaded graphs have no single owner, so
// every object an input produces is kept here and freed when the input ends.
class Node : public ycPersistent {
    ymDeclarePersistent(Node);

public:
    Node() { live().insert(this); }
    ~Node() override { live().erase(this); }
    static std::set<Node*>& live()
    {
        static std::set<Node*> nodes;
        return nodes;
    }

    std::int32_t value = 0;
    std::string label;
    ycPersistent* left = nullptr;
    ycPersistent* right = nullptr;

protected:
    void dispatchSerialize(ycArchive& ar) override;
};

inline std::set<ycPersistent*>& adopted()
{
    static std::set<ycPersistent*> others;
    return others;
}

inline void adopt(ycPersistent* p)
{
    if (p && !dynamic_cast<Node*>(p)) adopted().insert(p);
}

inline void freeAll()
{
    for (ycPersistent* p : std::set<ycPersistent*>(adopted())) delete p;
    adopted().clear();
    while (!Node::live().empty()) delete *Node::live().begin();
}

inline void Node::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion("Node", 0);
        ycPersistent::dispatchSerialize(ar);
        ar || value || label;
        // Adopted one by one: the second may fail after the first loaded.
        serializePointer(ar, left, left);
        if (ar.isLoading()) adopt(left);
        serializePointer(ar, right, right);
        if (ar.isLoading()) adopt(right);
    });
}

ymImplementPersistent(Node, "yc_fuzz::Node")

enum Op : std::uint8_t {
    opInt8, opInt16, opUInt16, opInt32, opInt64, opFloat, opDouble, opBool, opWChar,
    opString, opWString, opU32String, opBytes, opBools, opInt32s, opStrings,
    opObject, opReference, opRaw, opCount
};

// One of each operation with a typical value: the seeds' content.
inline void writeOps(ycArchive& ar, ycPersistent& object, ycPersistent& shared)
{
    for (std::uint8_t op = 0; op < opCount; ++op) {
        ar << op;
        switch (op) {
        case opInt8: ar << std::int8_t(-5); break;
        case opInt16: ar << std::int16_t(-300); break;
        case opUInt16: ar << std::uint16_t(60000); break;
        case opInt32: ar << std::int32_t(123456); break;
        case opInt64: ar << std::int64_t(-1); break;
        case opFloat: ar << 1.5f; break;
        case opDouble: ar << 2.25; break;
        case opBool: ar << true; break;
        case opWChar: ar << L'\u00e9'; break;
        case opString: ar << std::string("text"); break;
        case opWString: ar << std::wstring(L"wide \u00e9"); break;
        case opU32String: ar << std::u32string(U"u32"); break;
        case opBytes: ar << std::vector<unsigned char>{1, 2, 3}; break;
        case opBools: ar << std::vector<bool>{true, false}; break;
        case opInt32s: ar << std::vector<std::int32_t>{7, 8}; break;
        case opStrings: ar << std::vector<std::string>{"a", "bc"}; break;
        case opObject: ar << object; break;
        case opReference: {
            ycPersistent* p = &shared;
            ycPersistent::serializePointer(ar, p, p);
            ycPersistent::serializePointer(ar, p, p); // again: a reference back
            break;
        }
        case opRaw: {
            std::uint8_t n = 3;
            char bytes[3] = {'r', 'a', 'w'};
            ar << n;
            ar.raw(bytes, n);
            break;
        }
        default: break;
        }
    }
}

template <class T>
void readOne(ycArchive& ar)
{
    T v{};
    ar >> v;
}

inline void readOps(ycArchive& ar)
{
    for (;;) { // each operation takes at least a byte: Eof ends it
        std::uint8_t op = 0;
        ar >> op;
        switch (op % opCount) {
        case opInt8: readOne<std::int8_t>(ar); break;
        case opInt16: readOne<std::int16_t>(ar); break;
        case opUInt16: readOne<std::uint16_t>(ar); break;
        case opInt32: readOne<std::int32_t>(ar); break;
        case opInt64: readOne<std::int64_t>(ar); break;
        case opFloat: readOne<float>(ar); break;
        case opDouble: readOne<double>(ar); break;
        case opBool: readOne<bool>(ar); break;
        case opWChar: readOne<wchar_t>(ar); break;
        case opString: readOne<std::string>(ar); break;
        case opWString: readOne<std::wstring>(ar); break;
        case opU32String: readOne<std::u32string>(ar); break;
        case opBytes: readOne<std::vector<unsigned char>>(ar); break;
        case opBools: readOne<std::vector<bool>>(ar); break;
        case opInt32s: readOne<std::vector<std::int32_t>>(ar); break;
        case opStrings: readOne<std::vector<std::string>>(ar); break;
        case opObject: adopt(ycPersistent::readObject(ar).release()); break;
        case opReference: {
            ycPersistent* p = nullptr;
            ycPersistent::serializePointer(ar, nullptr, p);
            adopt(p);
            break;
        }
        case opRaw: {
            std::uint8_t n = 0;
            char bytes[256];
            ar >> n;
            ar.raw(bytes, n);
            break;
        }
        default: break;
        }
    }
}

// Runs `f`; a ycException ends only that step. A failed assertion goes on up.
template <class F>
void step(F&& f)
{
    try {
        f();
    } catch (const ycAssertFailure&) {
        throw;
    } catch (const ycException&) {
    }
}

inline void walkSeekable(ycArchive& ar)
{
    std::vector<std::int32_t> marks;
    step([&] {
        for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) marks.push_back(n);
    });
    for (std::int32_t n : marks) {
        step([&] {
            ar.findMark(n);
            std::int32_t read = 0;
            ar.readMark(read);
            ar.prevMarkNum(n);
        });
    }
    std::vector<std::int32_t> ids;
    step([&] {
        for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
    });
    for (std::int32_t id : ids) {
        step([&] {
            ar.findObject(id);
            std::int32_t readId = 0;
            std::uint64_t size = 0;
            ycArchive::pos at = 0;
            ar.readObjectHeader64(readId, size, at);
            ar.objectTypeName();
            adopt(ar.loadObject().release());
        });
        step([&] {
            ar.findObject(id);
            std::int32_t readId = 0;
            std::uint32_t size = 0;
            ycArchive::pos at = 0;
            ar.readObjectHeader(readId, size, at);
        });
    }
    step([&] {
        for (ycArchive::pos at = ar.firstPointerPos(); at >= 0; at = ar.nextPointerPos()) ar.pointerObjectID();
    });
    // In stream order: records and marks until something else comes.
    step([&] {
        ar.seek(2);
        for (;;) {
            ycArchive::pos at = ar.tell();
            try {
                adopt(ar.loadObject().release());
            } catch (const ycArchive::BadType&) {
                ar.seek(at);
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
        auto loaded = again.loadObject();
        auto* node = dynamic_cast<Node*>(loaded.get());
        if (read != mark || !node || node->value != 42 || node->label != "appended")
            throw Finding("appended records read back wrong");
        loaded.release(); // a Node: freed with the others
    } catch (const ycAssertFailure&) {
        throw;
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
    try {
        switch (data[0] % 4) {
        case 0:
        case 1: {
            ycMemoryArchive ar(bytes, length, data[0] % 4 == 1);
            readOps(ar);
            break;
        }
        case 2: {
            ycMemoryArchive ar(bytes, length, true);
            walkSeekable(ar);
            break;
        }
        default:
            appendAndReread(bytes, static_cast<std::size_t>(length));
            break;
        }
    } catch (const ycAssertFailure&) {
        freeAll();
        throw;
    } catch (const ycException&) {
    } catch (...) {
        freeAll();
        throw;
    }
    freeAll();
}

} // namespace yc_fuzz

#endif
