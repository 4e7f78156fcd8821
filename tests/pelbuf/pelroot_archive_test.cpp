// Pel roots in archives: exact bytes, round trips of every pel type in both
// byte orders, and damaged streams.
#include "../math/archive_bytes.h"
#include "pelvalues.h"

#include "core/ycore.h"
#include "std/archive/memarchive.h"
#include "std/except/registry.h"
#include "std/pelbuf/pelroot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <streambuf>
#include <string>

namespace {

constexpr auto kBig = ycArchive::bigEndian;
constexpr auto kLittle = ycArchive::littleEndian;

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
class OneWayArchive : public ycArchive {
public:
    OneWayArchive(ycArchive::Ordering o, const Bytes& body)
        : ycArchive(&buffer_, loading, littleEndian, false, true), buffer_(o, body)
    {
        start();
    }
    ~OneWayArchive() override { finish(); }

private:
    struct Buffer : std::streambuf {
        Buffer(ycArchive::Ordering o, const Bytes& body) : bytes{char(2), char(o)}
        {
            bytes.append(body.begin(), body.end());
            setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
        }
        std::string bytes;
    } buffer_;
};

void load(ycArchive::Ordering o, const Bytes& body, ycPersistent& into)
{
    LoadArchive in(o, body);
    *in >> into;
}

// Loads a root of T from `body`, from a memory archive or a one-way stream.
template <class T>
std::unique_ptr<ycPelRoot<T>> loadRoot(ycArchive::Ordering o, const Bytes& body, bool oneWay)
{
    if (oneWay) {
        OneWayArchive in(o, body);
        return loadRoot<T>(in);
    }
    LoadArchive in(o, body);
    return loadRoot<T>(*in);
}

// The record of a root: head, three version bytes 0, width, height,
// alignment, flags, then `pels` (hex).
Bytes rootRecord(ycArchive::Ordering o, const std::string& name, std::int32_t w, std::int32_t h, std::int32_t align,
                 const std::string& pels, std::int32_t flags = 0)
{
    return ArchiveBytes(o).record(name, {0, 0, 0}).i32(w).i32(h).i32(align).i32(flags).bytes(hex(pels)).done();
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
        const ycPersistent& object = *made;
        EXPECT_EQ(registry.nameOf(typeid(object)), name);
    }
    EXPECT_EQ(registry.nameOf(typeid(ycPelRoot<std::int32_t>)), "ycPelRoot<long>");
    EXPECT_EQ(registry.nameOf(typeid(ycPelRoot<ycPair<std::int32_t>>)), "ycPelRoot<ycPair<long>>");
}

// Rows without their padding; pels wider than a byte in archive order.
TEST(PelRootArchive, GoldenBytes)
{
    ycPelRoot<unsigned char> bytes(5, 1, 4);
    ASSERT_EQ(bytes.rowUpdate(), 8);
    for (int i = 0; i < 8; ++i) bytes.pels()[i] = static_cast<unsigned char>(i + 1); // padding too
    ycPelRoot<short> shorts(2, 1, 8);
    shorts.pelsFromVect(whole(shorts), {0x0102, -2});
    ycPelRoot<ycPackedRGB32Pel> rgb(1, 1, 1);
    rgb.pels()[0] = ycPackedRGB32Pel(0x11, 0x22, 0x33, 0x44); // bytes 33 22 11 44 in memory
    ycPelRoot<ycPair<std::int32_t>> pairs(1, 1, 1);
    pairs.pels()[0] = {1, -2};
    ycPelRoot<yc3PlanePel> planes(2, 1, 4); // plane by plane
    planes.pelsFromVect(whole(planes), {{1, 2, 3}, {4, 5, 6}});
    ycPelRoot<double> empty;
    struct Row {
        ycPersistent& root;
        const char* name;
        std::int32_t w, h, align;
        const char *big, *little;
    } rows[] = {
        {bytes, "ycPelRoot<unsigned char>", 5, 1, 4, "01 02 03 04 05", "01 02 03 04 05"},
        {shorts, "ycPelRoot<short>", 2, 1, 8, "01 02 FF FE", "02 01 FE FF"},
        {rgb, "ycPelRoot<ycPackedRGB32Pel>", 1, 1, 1, "44 11 22 33", "33 22 11 44"},
        {pairs, "ycPelRoot<ycPair<long>>", 1, 1, 1, "00 00 00 01 FF FF FF FE", "01 00 00 00 FE FF FF FF"},
        {planes, "ycPelRoot<yc3PlanePel>", 2, 1, 4, "01 02 03 04 05 06", "01 02 03 04 05 06"},
        {empty, "ycPelRoot<double>", 0, 0, 0, "", ""},
    };
    for (const Row& r : rows) {
        for (auto [o, pels] : {std::pair(kBig, r.big), std::pair(kLittle, r.little)}) {
            EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << r.root; }), rootRecord(o, r.name, r.w, r.h, r.align, pels))
                << r.name << " " << int(o);
        }
    }
    auto back = loadRoot<double>(kLittle, rootRecord(kLittle, "ycPelRoot<double>", 0, 0, 0, ""), false);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->width(), 0);
    EXPECT_NO_THROW(back->repInvariant());

    // Flag bits 2 and 4 each announce one value that is read and dropped.
    auto scratch = loadRoot<short>(kBig, rootRecord(kBig, "ycPelRoot<short>", 2, 1, 1, "AA AA BB BB 00 07 00 08", 6), false);
    ASSERT_TRUE(scratch);
    EXPECT_TRUE(scratch->pels()[0] == 7 && scratch->pels()[1] == 8);
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
    for (auto o : {kBig, kLittle}) {
        const Bytes body = storedBody(o, [&](ycArchive& ar) { ar << root; });
        // Never the padding: the object is its head, fields and pels alone.
        const std::size_t pelBytes = 21 * (std::is_same_v<T, yc3PlanePel> ? 3 : sizeof(T));
        EXPECT_EQ(body.size(), ArchiveBytes(o).record(yfTypeName(typeid(root)), {0, 0, 0}).done().size() + 16 + pelBytes);
        for (bool oneWay : {false, true}) {
            std::unique_ptr<ycPelRoot<T>> back = loadRoot<T>(o, body, oneWay);
            ASSERT_TRUE(back);
            EXPECT_TRUE(back->width() == 7 && back->height() == 3 && back->alignModulus() == 12);
            EXPECT_EQ(back->rowUpdate(), root.rowUpdate());
            std::vector<T> loaded;
            back->pelsToVect(whole(*back), loaded);
            EXPECT_EQ(loaded, values);
        }
    }
}

// Odd widths, rows with and without padding, more pels than the swap chunk
// holds: the stored pels are exactly those of one transfer per pel, and read
// back the same, from a memory archive and from a stream that cannot tell
// its length.
TYPED_TEST(PelRootArchiveTyped, LargeRootsAreThePelsOneByOne)
{
    using T = TypeParam;
    constexpr std::int32_t w = 4099, h = 9;
    std::vector<T> values = pelValues<T>(static_cast<std::size_t>(w * h));
    for (std::int32_t align : {1, 16}) {
        ycPelRoot<T> root(w, h, align);
        ASSERT_EQ(root.rowUpdate() == w, align == 1);
        root.pelsFromVect(whole(root), values);
        for (auto o : {kBig, kLittle}) {
            const Bytes body = storedBody(o, [&](ycArchive& ar) { ar << root; });
            const Bytes pels = storedBody(o, [&](ycArchive& ar) {
                for (T v : values) ar || v;
            });
            ASSERT_GE(body.size(), pels.size());
            EXPECT_TRUE(std::equal(pels.begin(), pels.end(), body.end() - static_cast<std::ptrdiff_t>(pels.size())))
                << int(o);
            for (bool oneWay : {false, true}) {
                std::unique_ptr<ycPelRoot<T>> back = loadRoot<T>(o, body, oneWay);
                ASSERT_TRUE(back);
                std::vector<T> loaded;
                back->pelsToVect(whole(*back), loaded);
                EXPECT_TRUE(loaded == values) << int(o) << " " << oneWay << " " << align;
            }
        }
    }
}

// A load that fails leaves the root it loads into as it was: geometry, pels
// and who owns them.
TEST(PelRootArchive, AFailedLoadLeavesTheRootAsItWas)
{
    ycPtrHandle<ycPelRoot<short>> source = yfMakeHandle<ycPelRoot<short>>(3, 2, 4);
    const Bytes whole = storedBody(kBig, [&](ycArchive& ar) { ar << *source; });
    const Bytes cut(whole.begin(), whole.end() - 3);
    alignas(16) short caller[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    ycPelRoot<short> owned(2, 2, 8), wrapped(2, 4, caller, 4);
    owned.pelsFromVect(ycPelRect(0, 0, 2, 2), {9, 8, 7, 6});
    for (ycPelRoot<short>* root : {&owned, &wrapped}) {
        const short* pels = root->pels();
        const std::int32_t width = root->width(), rowUpdate = root->rowUpdate();
        const bool owns = root->ownsPels();
        std::vector<short> before, after;
        root->pelsToVect(ycPelRect(0, 0, width, root->height()), before);
        EXPECT_THROW(load(kBig, cut, *root), ycArchive::Eof);
        root->pelsToVect(ycPelRect(0, 0, width, root->height()), after);
        EXPECT_TRUE(root->pels() == pels && root->width() == width && root->rowUpdate() == rowUpdate);
        EXPECT_EQ(root->ownsPels(), owns);
        EXPECT_EQ(after, before);
    }
}

// Loading into an existing root replaces its pels (never freeing wrapped
// memory); handles to one root share one root again.
TEST(PelRootArchive, LoadingIntoRootsAndHandles)
{
    ycPtrHandle<ycPelRoot<float>> source(new ycPelRoot<float>(3, 2, 4));
    source->pelsFromVect(whole(*source), {1, 2, 3, -4, 5, 6});
    const Bytes plain = storedBody(kBig, [&](ycArchive& ar) { ar << *source; });
    alignas(16) float caller[64] = {};
    ycPelRoot<float> target(8, 8, caller, 16); // wrapped: must not be freed
    load(kBig, plain, target);
    EXPECT_TRUE(target.width() == 3 && target.ownsPels() && target.pels() != caller);
    std::vector<float> loaded;
    target.pelsToVect(whole(target), loaded);
    EXPECT_EQ(loaded, (std::vector<float>{1, 2, 3, -4, 5, 6}));
    ycPelRoot<short> wrongType;
    EXPECT_THROW(load(kBig, plain, wrongType), ycArchive::BadType);

    ycPtrHandle<yc_PelRoot> first(source), second(source), none, a, b, c(source);
    const Bytes handles = storedBody(kBig, [&](ycArchive& ar) {
        for (auto* h : {&first, &second, &none}) yfSerializeHandle(ar, *h);
    });
    {
        LoadArchive in(kBig, handles);
        for (auto* h : {&a, &b, &c}) yfSerializeHandle(*in, *h);
    }
    ASSERT_TRUE(a);
    EXPECT_EQ(a, b);
    EXPECT_FALSE(c);
    EXPECT_EQ(a->refCount(), 2); // the archive's own share has gone with it
    auto* typed = dynamic_cast<ycPelRoot<float>*>(a.get());
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(typed->pels()[typed->rowUpdate()], -4);
}

TEST(PelRootArchive, DamagedStreamsAreArchiveErrorsAndLeakNothing)
{
    // A 3 x 2 root of 8-bit pels, alignment 4. Offsets below are counted
    // from the width, the first field after the version bytes.
    const Bytes whole = rootRecord(kBig, "ycPelRoot<unsigned char>", 3, 2, 4, "01 02 03 04 05 06");
    const std::size_t fields = whole.size() - 22;
    const std::int64_t before = ysys_memory_outstanding();
    for (bool oneWay : {false, true}) {
        for (std::size_t n = 0; n < whole.size(); ++n) { // cut short anywhere
            const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
            EXPECT_THROW(loadRoot<unsigned char>(kBig, cut, oneWay), ycArchive::Errors) << n << " " << oneWay;
        }
    }

    struct Patch {
        std::size_t at;
        const char* value;
        bool eof; // else BadContent
    } patches[] = {
        {0, "7F FF FF FF", true},  // width: more pels than the stream holds
        {4, "00 01 00 00", true},  // height
        {0, "FF FF FF FF", false}, // negative width
        {4, "00 00 00 00", false}, // no rows but a width
        {0, "00 00 00 00", false}, // no width but rows
        {8, "00 00 00 00", false}, // no alignment
        {8, "80 00 00 00", false}, // negative alignment
        {8, "40 00 00 00", false}, // padding out of all proportion
        {12, "00 00 00 02", true}, // a scratch pel eats one pel byte: one short
    };
    for (const Patch& p : patches) {
        Bytes damaged = whole;
        const Bytes value = hex(p.value);
        std::copy(value.begin(), value.end(), damaged.begin() + static_cast<std::ptrdiff_t>(fields + p.at));
        for (bool oneWay : {false, true}) {
            auto load = [&] { loadRoot<unsigned char>(kBig, damaged, oneWay); };
            if (p.eof) {
                EXPECT_THROW(load(), ycArchive::Eof) << p.at << " " << p.value << " one way " << oneWay;
            } else {
                EXPECT_THROW(load(), ycArchive::BadContent) << p.at << " " << p.value << " one way " << oneWay;
            }
        }
    }

    // 2^20 x 2^20 double pels claimed (8 TiB, more than any allocator here
    // grants), three bytes present. Where the stream cannot tell its length,
    // gathering stops at its end long before anything of that size is asked for.
    const Bytes huge = rootRecord(kLittle, "ycPelRoot<double>", 0x100000, 0x100000, 32, "01 02 03");
    for (bool oneWay : {false, true}) EXPECT_THROW(loadRoot<double>(kLittle, huge, oneWay), ycArchive::Eof) << oneWay;
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

} // namespace
