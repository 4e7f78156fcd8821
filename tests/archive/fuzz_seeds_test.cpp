// The archive fuzz target's seed corpus: made here from real archives, run
// through the fuzz harness cut at every length and with every byte changed,
// and kept equal to the committed copy in fuzz/seeds/fuzz_archive. The test
// writes what it makes under its output folder, and `./dev.sh seeds` copies
// that over the committed corpus. Every input committed there, including
// those that once found faults, must end in an archive error.
#include "../support/bytes.h"
#include "fuzz/archive_harness.h"

#include "std/pelbuf/xfcache.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/util/debug.h"

#include <gtest/gtest.h>

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

std::map<std::string, std::string> makeSeeds()
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

void run(const std::string& input)
{
    yc_fuzz::run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

TEST(FuzzSeeds, EveryCutAndChangedByteEndsInAnArchiveError)
{
    ycDebugCapture quiet;
    for (const auto& [name, bytes] : makeSeeds()) {
        for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
            ASSERT_NO_THROW(run(bytes.substr(0, cut))) << name << " cut at " << cut;
        for (std::size_t at = 1; at < bytes.size(); ++at) {
            for (char flip : {'\x01', '\x80', '\xff'}) {
                std::string changed = bytes;
                changed[at] ^= flip;
                ASSERT_NO_THROW(run(changed)) << name << " changed at " << at;
            }
        }
    }
}

TEST(FuzzSeeds, CommittedCorpusIsCurrent)
{
    namespace fs = std::filesystem;
    const fs::path dir = fs::path(__FILE__).parent_path().parent_path().parent_path() / "fuzz/seeds/fuzz_archive";
    const fs::path made = fs::path(testOutputDir()) / "seeds/fuzz_archive";
    const auto seeds = makeSeeds();
    fs::remove_all(made);
    fs::create_directories(made);
    for (const auto& [name, bytes] : seeds) std::ofstream(made / name, std::ios::binary) << bytes;
    if (!fs::is_directory(dir)) GTEST_SKIP() << "no source tree at " << dir;
    // Besides the seeds made here, the corpus keeps inputs that once found faults.
    ycDebugCapture quiet;
    for (const auto& entry : fs::directory_iterator(dir)) {
        const std::string bytes = fileBytes(entry.path()), name = entry.path().filename().string();
        if (seeds.count(name)) {
            EXPECT_EQ(bytes, seeds.at(name)) << name << ": refresh with ./dev.sh seeds";
        }
        EXPECT_NO_THROW(run(bytes)) << name;
    }
    for (const auto& [name, bytes] : seeds) EXPECT_TRUE(fs::exists(dir / name)) << name;
}

} // namespace
