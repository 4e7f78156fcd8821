// Persistence on many threads at once, each thread with archives of its own.
// Visited sets are per thread while the registry and the list of open
// archives are shared, so every thread must write exactly the bytes that one
// thread alone writes, and read back objects that store as those bytes again.
#include "../support/bytes.h"

#include "std/archive/filearchive.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/pelbuf/pelbuf.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

// What one thread stores, made from its number so that threads differ.
struct Objects {
    ycPtrHandle<yc2XformBase> linear, composed; // composed holds linear twice
    ycPtrHandle<ycPelRoot<float>> root;
    ycPelBuffer<unsigned char> image, window; // window shares image's root
    std::unique_ptr<ycException> failure;

    Objects() = default;
    explicit Objects(int n)
        : linear(new yc2XformLinear(ycMatrix<2>(1.0, n, 0.0, 2.0), ycVector<2>(n, -n))),
          composed(new yc2XformComposed(*linear, *linear, false, false)), root(new ycPelRoot<float>(4, 2, 4)),
          image(8, 4), failure(std::make_unique<ycAssertFailure>(L"thread " + std::to_wstring(n)))
    {
        for (std::int32_t y = 0; y < 2; ++y)
            for (std::int32_t x = 0; x < 4; ++x) root->pels()[y * root->rowUpdate() + x] = n + 0.25f * (x + 4 * y);
        for (std::int32_t y = 0; y < 4; ++y)
            for (std::int32_t x = 0; x < 8; ++x) image.put(x, y, static_cast<unsigned char>(n * 32 + x + 8 * y));
        window = image;
        window.windowRoot(1, 1, 3, 2);
    }
};

// Stores the objects, or loads them, by the archive's direction.
void transfer(ycArchive& ar, Objects& o)
{
    yfSerializeHandle(ar, o.composed);
    yfSerializeHandle(ar, o.linear); // a reference back to the composed one's member
    yfSerializeHandle(ar, o.root);
    ar || o.image || o.window;
    if (ar.isStoring()) {
        ar.storeObject(o.failure.get());
    } else {
        o.failure.reset(dynamic_cast<ycException*>(ar.loadObject().release()));
        if (!o.failure) throw std::runtime_error("the stored exception did not load as one");
    }
}

ycArchive::Ordering ordering(int n)
{
    return n % 2 ? ycArchive::littleEndian : ycArchive::bigEndian;
}

std::string stored(Objects& o, int n)
{
    ycMemoryArchive ar(ordering(n), true);
    transfer(ar, o);
    return bytesOf(ar);
}

struct Round {
    std::string memory, file;         // what thread n's objects store as
    std::string fromMemory, fromFile; // the same, stored again after loading each
    std::wstring message;             // the exception loaded from the file
    std::int32_t linearShares = 0;    // handles to the linear transform loaded from memory
    std::string error;                // what a transfer threw
    bool operator==(const Round&) const = default;
};

Round roundTrip(int n, const std::string& path)
{
    Round r;
    try {
        Objects o(n), fromMemory, fromFile;
        r.memory = stored(o, n);
        {
            ycFileArchive out(yfWiden(path), ycArchive::storing, ordering(n), true);
            transfer(out, o);
        }
        r.file = fileBytes(path);
        {
            LoadArchive in(r.memory, true);
            transfer(*in, fromMemory);
        }
        {
            ycFileArchive in(yfWiden(path), ycArchive::loading, ordering(n), true);
            transfer(in, fromFile);
        }
        r.fromMemory = stored(fromMemory, n);
        r.fromFile = stored(fromFile, n);
        r.message = fromFile.failure->message(true);
        r.linearShares = fromMemory.linear->refCount();
    } catch (const ycException& e) {
        r.error = yfNarrow(e.message(true));
    } catch (const std::exception& e) {
        r.error = e.what();
    }
    return r;
}

TEST(ArchiveThreads, EachThreadWritesAndReadsWhatOneThreadAloneDoes)
{
    constexpr int kThreads = 6, kRounds = 20;
    const std::string dir = testOutputDir();
    auto path = [&](const char* kind, int n) { return dir + "/threads-" + kind + "-" + std::to_string(n) + ".arc"; };

    std::vector<Round> alone;
    for (int n = 0; n < kThreads; ++n) {
        const Round& r = alone.emplace_back(roundTrip(n, path("alone", n)));
        ASSERT_EQ(r.error, "") << n;
        EXPECT_EQ(r.file, r.memory) << n;
        EXPECT_EQ(r.fromMemory, r.memory) << n;
        EXPECT_EQ(r.fromFile, r.memory) << n;
        EXPECT_EQ(r.message, L"ycAssertFailure: thread " + std::to_wstring(n));
        EXPECT_EQ(r.linearShares, 3) << n; // its own handle and the composed one's two members
        if (n > 0) {
            EXPECT_NE(r.memory, alone[0].memory) << n;
        }
    }

    std::vector<Round> last(kThreads);
    std::vector<int> differing(kThreads, 0);
    {
        std::vector<std::jthread> threads;
        for (int n = 0; n < kThreads; ++n) {
            threads.emplace_back([&, n] {
                for (int round = 0; round < kRounds; ++round) {
                    last[n] = roundTrip(n, path("many", n));
                    if (!(last[n] == alone[n])) ++differing[n];
                }
            });
        }
    }
    for (int n = 0; n < kThreads; ++n) {
        EXPECT_EQ(differing[n], 0) << n;
        EXPECT_EQ(last[n].error, "") << n;
        EXPECT_TRUE(last[n] == alone[n]) << n;
    }
}

} // namespace
