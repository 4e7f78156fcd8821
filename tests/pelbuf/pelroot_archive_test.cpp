// Pel roots in archives: exact bytes, round trips of every pel type in both
// byte orders, and damaged streams.
#include "../support/bytes.h"
#include "pelvalues.h"

#include "core/ycore.h"
#include "std/archive/memarchive.h"
#include "std/archive/registry.h"
#include "std/pelbuf/pelroot.h"

#include <gtest/gtest.h>

#include <memory>
#include <streambuf>
#include <string>

namespace {

// Marker and type name of a root's object record.
Bytes recordHead(const std::string& typeName)
{
    Bytes out = hex("F1 66 4B DF");
    out.push_back(static_cast<std::uint8_t>(typeName.size()));
    out.push_back(0x22);
    out.insert(out.end(), typeName.begin(), typeName.end());
    out.push_back(0x22);
    return out;
}

Bytes cat(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

template <class T>
std::unique_ptr<ycPelRoot<T>> loadRoot(ycArchive& ar)
{
    std::unique_ptr<ycPersistent> object = ycPersistent::readObject(ar);
    auto* root = dynamic_cast<ycPelRoot<T>*>(object.get());
    if (root) object.release();
    return std::unique_ptr<ycPelRoot<T>>(root);
}

// A loading archive over a stream that cannot seek, so cannot tell how much
// it holds (as a socket would).
class OneWayBuffer : public std::streambuf {
public:
    explicit OneWayBuffer(std::string bytes) : bytes_(std::move(bytes))
    {
        setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    }

private:
    std::string bytes_;
};

class OneWayArchive : public ycArchive {
public:
    explicit OneWayArchive(std::string bytes)
        : ycArchive(&buffer_, loading, littleEndian, false, true), buffer_(std::move(bytes))
    {
        start();
    }
    ~OneWayArchive() override { finish(); }

private:
    OneWayBuffer buffer_;
};

std::string withHeader(ycArchive::Ordering ordering, const Bytes& body)
{
    std::string out{char(2), char(ordering)};
    out.append(body.begin(), body.end());
    return out;
}

TEST(PelRootArchive, RegisteredNames)
{
    const yc_TypeRegistry& registry = yc_TypeRegistry::instance();
    for (const char* name : {"ycPelRoot<unsigned char>", "ycPelRoot<signed char>", "ycPelRoot<short>",
                             "ycPelRoot<unsigned short>", "ycPelRoot<ycPackedRGB16Pel>", "ycPelRoot<long>",
                             "ycPelRoot<unsigned long>", "ycPelRoot<float>", "ycPelRoot<ycPackedRGB32Pel>",
                             "ycPelRoot<double>", "ycPelRoot<ycPair<long>>", "ycPelRoot<ycPair<float>>",
                             "ycPelRoot<yc3PlanePel>"}) {
        ycFactory make = registry.factory(name);
        ASSERT_NE(make, nullptr) << name;
        std::unique_ptr<ycPersistent> made(make());
        EXPECT_EQ(registry.nameOf(typeid(*made)), name);
    }
    EXPECT_EQ(registry.nameOf(typeid(ycPelRoot<std::int32_t>)), "ycPelRoot<long>");
    EXPECT_EQ(registry.nameOf(typeid(ycPelRoot<ycPair<std::int32_t>>)), "ycPelRoot<ycPair<long>>");
}

TEST(PelRootArchive, EightBitRowsWithoutPadding)
{
    ycPelRoot<unsigned char> root(5, 1, 4);
    ASSERT_EQ(root.rowUpdate(), 8);
    for (int i = 0; i < 8; ++i) root.pels()[i] = static_cast<unsigned char>(i + 1); // padding too
    const Bytes body = hex("00 00 00 "
                           "00 00 00 05  00 00 00 01  00 00 00 04 "
                           "00 00 00 00 "
                           "01 02 03 04 05");
    const Bytes stored = storedBody(ycArchive::bigEndian, [&](ycArchive& ar) { ar << root; });
    EXPECT_EQ(stored, cat(recordHead("ycPelRoot<unsigned char>"), body));
    // The pel bytes are the same in either order.
    const Bytes little = storedBody(ycArchive::littleEndian, [&](ycArchive& ar) { ar << root; });
    EXPECT_EQ(little, cat(recordHead("ycPelRoot<unsigned char>"),
                          hex("00 00 00  05 00 00 00  01 00 00 00  04 00 00 00  00 00 00 00  01 02 03 04 05")));
}

TEST(PelRootArchive, WiderPelsInArchiveOrder)
{
    struct Row {
        ycArchive::Ordering ordering;
        const char* shorts;
        const char* rgb32;
        const char* pairs;
    } rows[] = {
        {ycArchive::bigEndian, "00 00 00 02 00 00 00 01 00 00 00 08 00 00 00 00  01 02 FF FE",
         "00 00 00 01 00 00 00 01 00 00 00 01 00 00 00 00  44 11 22 33",
         "00 00 00 01 00 00 00 01 00 00 00 01 00 00 00 00  00 00 00 01 FF FF FF FE"},
        {ycArchive::littleEndian, "02 00 00 00 01 00 00 00 08 00 00 00 00 00 00 00  02 01 FE FF",
         "01 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00  33 22 11 44",
         "01 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00  01 00 00 00 FE FF FF FF"},
    };
    ycPelRoot<short> shorts(2, 1, 8);
    shorts.pels()[0] = 0x0102;
    shorts.pels()[1] = -2;
    ycPelRoot<ycPackedRGB32Pel> rgb(1, 1, 1);
    rgb.pels()[0] = ycPackedRGB32Pel(0x11, 0x22, 0x33, 0x44); // bytes 33 22 11 44 in memory
    ycPelRoot<ycPair<std::int32_t>> pairs(1, 1, 1);
    pairs.pels()[0] = {1, -2};
    for (const Row& row : rows) {
        EXPECT_EQ(storedBody(row.ordering, [&](ycArchive& ar) { ar << shorts; }),
                  cat(recordHead("ycPelRoot<short>"), cat(hex("00 00 00"), hex(row.shorts))));
        EXPECT_EQ(storedBody(row.ordering, [&](ycArchive& ar) { ar << rgb; }),
                  cat(recordHead("ycPelRoot<ycPackedRGB32Pel>"), cat(hex("00 00 00"), hex(row.rgb32))));
        EXPECT_EQ(storedBody(row.ordering, [&](ycArchive& ar) { ar << pairs; }),
                  cat(recordHead("ycPelRoot<ycPair<long>>"), cat(hex("00 00 00"), hex(row.pairs))));
    }
}

TEST(PelRootArchive, ThreePlanePelsGoPlaneByPlane)
{
    ycPelRoot<yc3PlanePel> root(2, 1, 4);
    root.pelsFromVect(whole(root), {{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(storedBody(ycArchive::bigEndian, [&](ycArchive& ar) { ar << root; }),
              cat(recordHead("ycPelRoot<yc3PlanePel>"),
                  hex("00 00 00  00 00 00 02 00 00 00 01 00 00 00 04  00 00 00 00  01 02 03 04 05 06")));
}

template <class T>
class PelRootArchiveTyped : public ::testing::Test {};
TYPED_TEST_SUITE(PelRootArchiveTyped, AllPelTypes);

TYPED_TEST(PelRootArchiveTyped, RoundTripsInBothOrders)
{
    using T = TypeParam;
    ycPelRoot<T> root(7, 3, 12);
    const std::vector<T> values = pelValues<T>(21);
    root.pelsFromVect(whole(root), values);
    for (auto ordering : {ycArchive::bigEndian, ycArchive::littleEndian}) {
        ycMemoryArchive out(ordering);
        out << root;
        // Never the padding: the object is its head, fields and pels alone.
        const std::size_t pelBytes = 21 * (std::is_same_v<T, yc3PlanePel> ? 3 : sizeof(T));
        EXPECT_EQ(out.storage().size(), 2 + recordHead(yfTypeName(typeid(root))).size() + 3 + 16 + pelBytes);

        for (bool oneWay : {false, true}) {
            std::string bytes(out.storage().begin(), out.storage().end());
            std::unique_ptr<ycPelRoot<T>> back;
            if (oneWay) {
                OneWayArchive in(bytes);
                back = loadRoot<T>(in);
            } else {
                ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
                back = loadRoot<T>(in);
            }
            ASSERT_TRUE(back);
            EXPECT_EQ(back->width(), 7);
            EXPECT_EQ(back->height(), 3);
            EXPECT_EQ(back->alignModulus(), 12);
            EXPECT_EQ(back->rowUpdate(), root.rowUpdate());
            std::vector<T> loaded;
            back->pelsToVect(whole(*back), loaded);
            EXPECT_EQ(loaded, values);
        }
    }
}

TEST(PelRootArchive, LoadingIntoAnExistingRootReplacesItsPels)
{
    ycPelRoot<float> source(3, 2, 4);
    source.pelsFromVect(whole(source), {1, 2, 3, 4, 5, 6});
    ycMemoryArchive out;
    out << source;

    alignas(16) float caller[64] = {};
    ycPelRoot<float> target(8, 8, caller, 16); // wrapped: must not be freed
    ycMemoryArchive in(out.storage().data(), static_cast<std::int32_t>(out.storage().size()));
    in >> target;
    EXPECT_EQ(target.width(), 3);
    EXPECT_TRUE(target.ownsPels());
    EXPECT_NE(target.pels(), caller);
    std::vector<float> loaded;
    target.pelsToVect(whole(target), loaded);
    EXPECT_EQ(loaded, (std::vector<float>{1, 2, 3, 4, 5, 6}));

    ycPelRoot<short> wrongType;
    ycMemoryArchive again(out.storage().data(), static_cast<std::int32_t>(out.storage().size()));
    EXPECT_THROW(again >> wrongType, ycArchive::BadType);
}

TEST(PelRootArchive, HandlesToOneRootShareItAgain)
{
    ycPtrHandle<ycPelRoot<std::int32_t>> root(new ycPelRoot<std::int32_t>(2, 2, 4));
    root->pelsFromVect(whole(*root), {1, -2, 3, -4});
    ycPtrHandle<yc_PelRoot> first(root), second(root), none;
    ycMemoryArchive out(ycArchive::bigEndian);
    yfSerializeHandle(out, first);
    yfSerializeHandle(out, second);
    yfSerializeHandle(out, none);

    ycPtrHandle<yc_PelRoot> a, b, c(root);
    {
        ycMemoryArchive in(out.storage().data(), static_cast<std::int32_t>(out.storage().size()));
        yfSerializeHandle(in, a);
        yfSerializeHandle(in, b);
        yfSerializeHandle(in, c);
    }
    ASSERT_TRUE(a);
    EXPECT_EQ(a, b);
    EXPECT_FALSE(c);
    EXPECT_EQ(a->refCount(), 2); // the archive's own share has gone with it
    auto* typed = dynamic_cast<ycPelRoot<std::int32_t>*>(a.get());
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(typed->pels()[typed->rowUpdate() + 1], -4);
}

TEST(PelRootArchive, EmptyRootAndScratchValues)
{
    ycPelRoot<double> empty;
    const Bytes stored = storedBody(ycArchive::littleEndian, [&](ycArchive& ar) { ar << empty; });
    EXPECT_EQ(stored, cat(recordHead("ycPelRoot<double>"), hex("00 00 00  00 00 00 00 00 00 00 00 00 00 00 00  "
                                                                "00 00 00 00")));
    LoadArchive in(ycArchive::littleEndian, stored);
    auto back = loadRoot<double>(*in);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->width(), 0);
    EXPECT_NO_THROW(back->repInvariant());

    // Flag bits 2 and 4 each announce one value that is read and dropped.
    const Bytes flagged = cat(recordHead("ycPelRoot<short>"), hex("00 00 00  00 00 00 02 00 00 00 01 00 00 00 01 "
                                                                   "00 00 00 06  AA AA  BB BB  00 07 00 08"));
    LoadArchive in2(ycArchive::bigEndian, flagged);
    auto shorts = loadRoot<short>(*in2);
    ASSERT_TRUE(shorts);
    EXPECT_EQ(shorts->pels()[0], 7);
    EXPECT_EQ(shorts->pels()[1], 8);
}

TEST(PelRootArchive, DamagedStreamsAreArchiveErrorsAndLeakNothing)
{
    // A 3 x 2 root of 8-bit pels, alignment 4, big-endian. Offsets below are
    // counted from the first field after the version bytes.
    const Bytes head = cat(recordHead("ycPelRoot<unsigned char>"), hex("00 00 00"));
    const Bytes fields = hex("00 00 00 03  00 00 00 02  00 00 00 04  00 00 00 00  01 02 03 04 05 06");
    const std::int64_t before = ysys_memory_outstanding();

    // Cut short anywhere.
    const Bytes whole = cat(head, fields);
    for (std::size_t n = 0; n < whole.size(); ++n) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
        LoadArchive in(ycArchive::bigEndian, cut);
        EXPECT_THROW(loadRoot<unsigned char>(*in), ycArchive::Errors) << n;
        OneWayArchive oneWay(withHeader(ycArchive::bigEndian, cut));
        EXPECT_THROW(loadRoot<unsigned char>(oneWay), ycArchive::Errors) << n;
    }

    struct Patch {
        std::size_t at;
        const char* value;
        bool eof; // else BadContent
    } patches[] = {
        {0, "7F FF FF FF", true},   // width: more pels than the stream holds
        {4, "00 01 00 00", true},   // height
        {0, "FF FF FF FF", false},  // negative width
        {4, "00 00 00 00", false},  // no rows but a width
        {0, "00 00 00 00", false},  // no width but rows
        {8, "00 00 00 00", false},  // no alignment
        {8, "80 00 00 00", false},  // negative alignment
        {8, "40 00 00 00", false},  // padding out of all proportion
        {12, "00 00 00 02", true},  // a scratch pel eats one pel byte: one short
    };
    for (const Patch& p : patches) {
        Bytes damaged = fields;
        const Bytes value = hex(p.value);
        std::copy(value.begin(), value.end(), damaged.begin() + static_cast<std::ptrdiff_t>(p.at));
        const Bytes stream = cat(head, damaged);
        for (bool oneWay : {false, true}) {
            auto load = [&] {
                if (oneWay) {
                    OneWayArchive in(withHeader(ycArchive::bigEndian, stream));
                    loadRoot<unsigned char>(in);
                } else {
                    LoadArchive in(ycArchive::bigEndian, stream);
                    loadRoot<unsigned char>(*in);
                }
            };
            if (p.eof) {
                EXPECT_THROW(load(), ycArchive::Eof) << p.at << " " << p.value << " one way " << oneWay;
            } else {
                EXPECT_THROW(load(), ycArchive::BadContent) << p.at << " " << p.value << " one way " << oneWay;
            }
        }
    }
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

TEST(PelRootArchive, HugeClaimsAllocateNothing)
{
    // 2^20 x 2^20 double pels claimed (8 TiB, more than any allocator here
    // grants), three bytes present. Where the stream cannot tell its length,
    // gathering stops at its end long before anything of that size is asked for.
    const Bytes body = cat(cat(recordHead("ycPelRoot<double>"), hex("00 00 00")),
                           hex("00 00 10 00  00 00 10 00  20 00 00 00  00 00 00 00  01 02 03"));
    const std::int64_t before = ysys_memory_outstanding();
    OneWayArchive oneWay(withHeader(ycArchive::littleEndian, body));
    EXPECT_THROW(loadRoot<double>(oneWay), ycArchive::Eof);
    LoadArchive in(ycArchive::littleEndian, body);
    EXPECT_THROW(loadRoot<double>(*in), ycArchive::Eof);
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

} // namespace
