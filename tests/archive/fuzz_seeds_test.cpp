// The fuzz targets' seed corpora: made here from real archives, run through
// each target's harness cut at every length and with every byte changed, and
// kept equal to the committed copies in fuzz/seeds/<target>. The test writes
// what it makes under its output folder, and `./dev.sh seeds` copies that
// over the committed corpora. Every input committed there, including those
// that once found faults, must end in a library error.
#include "../support/bytes.h"
#include "fuzz/archive_harness.h"
#include "fuzz/use_harness.h"

#include "std/pelbuf/xfcache.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/util/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

// Every pel set, so that seeds never hold the allocator's leftovers.
template <class Buffer, class Value>
void fill(Buffer& b, Value value)
{
    for (std::int32_t y = 0; y < b.height(); ++y)
        for (std::int32_t x = 0; x < b.width(); ++x) b.put(x, y, value(y * b.width() + x));
}

using Seeds = std::map<std::string, std::string>;

Seeds makeArchiveSeeds()
{
    yc_fuzz::Node shared, object;
    shared.value = 1;
    shared.label = "shared";
    object.value = 2;
    object.label = "object";
    auto child = std::make_unique<yc_fuzz::Node>();
    child->value = 3;
    child->label = "child";
    object.left = std::move(child);
    auto seed = [](char kind, ycMemoryArchive& ar) { return std::string(1, kind) + bytesOf(ar); };

    std::map<std::string, std::string> seeds;
    {
        ycMemoryArchive plain(ycArchive::bigEndian), seekable(ycArchive::littleEndian, true);
        yc_fuzz::writeOps(plain, object, shared);
        yc_fuzz::writeOps(seekable, object, shared);
        seeds["plain-ops"] = seed(0, plain);
        seeds["seekable-ops"] = seed(1, seekable);
    }
    {
        // Pixels and transforms, so that their loaders are fuzzed from real records.
        ycMemoryArchive pixels(ycArchive::littleEndian), transforms(ycArchive::bigEndian);
        ycPelBuffer<unsigned char> image(5, 3);
        ycPelBuffer<double> doubles(2, 2, 8);
        ycPelBuffer<ycPair<float>> pairs(3, 1, 4);
        yc3PlanePelBuffer planes(3, 2);
        fill(image, [](int i) { return static_cast<unsigned char>(i); });
        fill(doubles, [](int i) { return i * 0.5; });
        fill(pairs, [](int i) { return ycPair<float>(static_cast<float>(i), 1.0f); });
        fill(planes, [](int i) { return yc3PlanePel(1, static_cast<unsigned char>(i), 3); });
        ycPelBuffer<unsigned char> window = image;
        window.windowRoot(1, 1, 2, 2);
        for (const ycPersistent* p : std::initializer_list<const ycPersistent*>{&image, &window, &doubles, &pairs, &planes})
            pixels << yc_fuzz::opObject << *p;
        seeds["plain-pixels"] = seed(0, pixels);

        yc2XformLinear linear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
        yc2XformPerspective perspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.001, 0, 1));
        yc2XformPoly poly(2, ycXform<2>());
        yc2XformComposed composed(linear, perspective, true, true);
        yc2XformCache cache(perspective);
        for (const ycPersistent* p :
             std::initializer_list<const ycPersistent*>{&linear, &perspective, &poly, &composed, &cache})
            transforms << yc_fuzz::opObject << *p;
        seeds["plain-transforms"] = seed(0, transforms);
    }
    ycMemoryArchive ar(ycArchive::littleEndian, true), empty(ycArchive::bigEndian, true);
    ar.writeNewMark(0);
    ar.storeObject(&object);
    ar.writeNewMark(7);
    ar.storeObject(&shared); // held already: a pointer record
    ycAssertFailure failure(L"stored");
    ar.storeObject(&failure);
    seeds["seekable-walk"] = seed(2, ar);
    seeds["seekable-append"] = seed(3, ar);
    seeds["seekable-empty"] = seed(3, empty);
    return seeds;
}

// Pels of every type from a byte pattern, so that every byte of a pel is set.
template <class T>
T patternPel(int i)
{
    unsigned char raw[sizeof(T)];
    for (std::size_t k = 0; k < sizeof(T); ++k) raw[k] = static_cast<unsigned char>(i * 7 + static_cast<int>(k) * 3 + 1);
    T value{};
    std::memcpy(&value, raw, sizeof(T));
    return value;
}

// Inputs of the load-and-use target: a mode byte, then operations each
// followed by its object (use_harness.h).
Seeds makeUseSeeds()
{
    using namespace yc_fuzz::use;
    auto seed = [](std::uint8_t mode, ycMemoryArchive& ar) { return std::string(1, char(mode)) + bytesOf(ar); };
    auto record = [](ycMemoryArchive& ar, const ycPersistent& object) {
        ar << std::uint8_t(opRecord);
        if (ar.isSeekable())
            ar.storeObject(const_cast<ycPersistent*>(&object));
        else
            ar << object;
    };
    Seeds seeds;

    ycPtrHandle<yc2XformLinear> linear(new yc2XformLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6)));
    const yc2XformPerspective perspective(ycMatrix<3>(1, 0.5, 0, 0, 1, 0, 0.001, 0, 1));
    const yc2XformPoly poly(2, {1, 1, 0, 0.01, 0, 0}, {0, 0, 1, 0, 0.02, 0});
    ycPtrHandle<yc2XformComposed> composed(new yc2XformComposed(*linear, perspective, false, true));
    composed->postCompose(*linear, false); // one member twice
    const yc2XformCache cache(perspective);
    for (std::uint8_t mode : {0, 7}) {
        ycMemoryArchive ar(ycArchive::bigEndian, mode & 1);
        for (const ycPersistent* p : std::initializer_list<const ycPersistent*>{linear.get(), &perspective, &poly,
                                                                                 composed.get(), &cache})
            record(ar, *p);
        // Counted references: a new object, then the same one again.
        for (int twice = 0; twice < 2; ++twice) {
            ycPtrHandle<yc2XformBase> shared = composed;
            ar << std::uint8_t(opXformRef);
            yfSerializeHandle(ar, shared);
        }
        seeds[mode ? "seekable-transforms" : "plain-transforms"] = seed(mode, ar);
    }
    {
        ycMemoryArchive ar(ycArchive::littleEndian);
        ycPelTypes::forEach([&](auto type) {
            using T = typename decltype(type)::type;
            ycPelBuffer<T> b(3, 2, 4);
            fill(b, patternPel<T>);
            record(ar, *b.root());
        });
        ycPelBuffer<short> b(2, 2, 2);
        fill(b, patternPel<short>);
        ycPtrHandle<yc_PelRoot> shared(b.root());
        for (int twice = 0; twice < 2; ++twice) {
            ar << std::uint8_t(opRootRef);
            yfSerializeHandle(ar, shared);
        }
        seeds["plain-roots"] = seed(2, ar);
    }
    for (std::uint8_t mode : {4, 5}) {
        // Windows with offsets and client transforms; writable and read-only
        // buffers take turns.
        ycMemoryArchive ar(ycArchive::littleEndian, mode & 1);
        bool writable = true;
        ycPelTypes::forEach([&](auto type) {
            using T = typename decltype(type)::type;
            ycPelBuffer<T> b(4, 3);
            fill(b, patternPel<T>);
            b.windowRoot(1, 0, 3, 2);
            b.offset(-2, 5);
            b.clientFromImageXformBase(yc2XformLinear(ycMatrix<2>(0, 2, 2, 0), ycVector<2>(1, 1)));
            if (writable)
                record(ar, b);
            else
                record(ar, ycPelBuffer_const<T>(b));
            writable = !writable;
        });
        yc3PlanePelBuffer planes(3, 2);
        fill(planes, patternPel<yc3PlanePel>);
        planes.colorSpace(ycColorSpaceDefs::YUV);
        planes.clientFromImageXformBase(perspective);
        record(ar, planes);
        record(ar, yc3PlanePelBuffer_const(planes));
        seeds[mode & 1 ? "seekable-buffers" : "plain-buffers"] = seed(mode, ar);
    }
    {
        ycMemoryArchive ar(ycArchive::bigEndian);
        record(ar, ycAssertFailure(L"stored"));
        record(ar, ycArchive::Eof());
        record(ar, ycPel::NonlinearXform());
        seeds["plain-exceptions"] = seed(6, ar);
    }
    return seeds;
}

// Loading and using every object takes long under the sanitizers, so the
// load-and-use target's seeds are cut and changed at some 32 places each.
struct Target {
    const char* name;
    Seeds (*make)();
    void (*run)(const std::uint8_t*, std::size_t);
    std::size_t places;
    std::size_t stride(std::size_t size) const { return places ? size / places + 1 : 1; }
};
const Target kTargets[] = {{"fuzz_archive", makeArchiveSeeds, yc_fuzz::run, 0},
                           {"fuzz_use", makeUseSeeds, yc_fuzz::use::run, 32}};

void run(const Target& target, const std::string& input)
{
    target.run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

TEST(FuzzSeeds, EveryCutAndChangedByteEndsInALibraryError)
{
    ycDebugCapture quiet;
    for (const Target& target : kTargets) {
        for (const auto& [name, bytes] : target.make()) {
            const std::string where = std::string(target.name) + "/" + name;
            const std::size_t stride = target.stride(bytes.size());
            for (std::size_t cut = 0; cut <= bytes.size(); cut += stride)
                ASSERT_NO_THROW(run(target, bytes.substr(0, cut))) << where << " cut at " << cut;
            for (std::size_t at = 1; at < bytes.size(); at += stride) {
                for (char flip : {'\x01', '\x80', '\xff'}) {
                    std::string changed = bytes;
                    changed[at] ^= flip;
                    ASSERT_NO_THROW(run(target, changed)) << where << " changed at " << at;
                }
            }
        }
    }
}

TEST(FuzzSeeds, CommittedCorpusIsCurrent)
{
    namespace fs = std::filesystem;
    const fs::path committed = fs::path(__FILE__).parent_path().parent_path().parent_path() / "fuzz/seeds";
    std::map<std::string, Seeds> made;
    for (const Target& target : kTargets) {
        const fs::path dir = fs::path(testOutputDir()) / "seeds" / target.name;
        made[target.name] = target.make();
        fs::remove_all(dir);
        fs::create_directories(dir);
        for (const auto& [name, bytes] : made[target.name]) std::ofstream(dir / name, std::ios::binary) << bytes;
    }
    if (!fs::is_directory(committed)) GTEST_SKIP() << "no source tree at " << committed;
    ycDebugCapture quiet;
    for (const Target& target : kTargets) {
        const fs::path dir = committed / target.name;
        const Seeds& seeds = made[target.name];
        // Besides the seeds made here, a corpus keeps inputs that once found faults.
        if (fs::is_directory(dir)) {
            for (const auto& entry : fs::directory_iterator(dir)) {
                const std::string bytes = fileBytes(entry.path()), name = entry.path().filename().string();
                if (seeds.count(name)) {
                    EXPECT_EQ(bytes, seeds.at(name)) << target.name << "/" << name << ": refresh with ./dev.sh seeds";
                }
                EXPECT_NO_THROW(run(target, bytes)) << target.name << "/" << name;
            }
        }
        for (const auto& [name, bytes] : seeds) EXPECT_TRUE(fs::exists(dir / name)) << target.name << "/" << name;
    }
}

} // namespace
