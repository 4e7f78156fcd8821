// Seekable file archives of 1,000, 100,000 and 1,000,000 small objects:
// opening, opening and loading one object by id, loading 1,000 objects by
// random id, and loading all in order. Then destroying objects loaded by
// reference while their archive is open. The files are written once per
// size in the temporary directory and removed at exit.
#include "std/archive/filearchive.h"
#include "std/except/registry.h"
#include "std/util/handle.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <vector>

// A counted object of a few bytes.
class BenchDot : public ycPersistent, public ycRepBase {
    ymDeclarePersistent(BenchDot);

public:
    std::int32_t value = 0;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("BenchDot", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || value;
        });
    }
};
ymImplementPersistent(BenchDot, "BenchDot")

// A record that refers to a counted object.
class BenchLink : public ycPersistent {
    ymDeclarePersistent(BenchLink);

public:
    ycPtrHandle<BenchDot> target;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("BenchLink", 0);
            ycPersistent::dispatchSerialize(ar);
            yfSerializeHandle(ar, target);
        });
    }
};
ymImplementPersistent(BenchLink, "BenchLink")

namespace {

struct Files {
    std::map<std::string, std::filesystem::path> made;
    ~Files()
    {
        std::error_code ignored;
        for (auto& [key, path] : made) std::filesystem::remove(path, ignored);
    }
};
Files gFiles;

// A seekable file of `count` objects with ids 1 to count: dots, or links
// each with a dot of its own.
const std::filesystem::path& archiveOf(std::int64_t count, bool links)
{
    const std::string key = (links ? "links" : "dots") + std::to_string(count);
    auto it = gFiles.made.find(key);
    if (it != gFiles.made.end()) return it->second;
    auto path = std::filesystem::temp_directory_path() / ("tlvstd_bench_seekable_" + key + ".arc");
    {
        ycFileArchive out(path.wstring(), ycArchive::storing, ycArchive::littleEndian, true);
        for (std::int64_t i = 0; i < count; ++i) {
            if (links) {
                BenchLink link;
                link.target = ycPtrHandle<BenchDot>(new BenchDot);
                link.target->value = static_cast<std::int32_t>(i);
                out.storeObject(&link);
            } else {
                BenchDot dot;
                dot.value = static_cast<std::int32_t>(i);
                out.storeObject(&dot);
            }
        }
    }
    return gFiles.made.emplace(key, path).first->second;
}

ycFileArchive openArchive(std::int64_t count, bool links = false)
{
    return ycFileArchive(archiveOf(count, links).wstring(), ycArchive::loading, ycArchive::littleEndian, true);
}

void BM_Open(benchmark::State& state)
{
    archiveOf(state.range(0), false);
    for (auto _ : state) {
        ycFileArchive in = openArchive(state.range(0));
        benchmark::DoNotOptimize(&in);
    }
}

void BM_OpenReadOne(benchmark::State& state)
{
    const auto count = state.range(0);
    archiveOf(count, false);
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int32_t> ids(1, static_cast<std::int32_t>(count));
    for (auto _ : state) {
        ycFileArchive in = openArchive(count);
        in.findObject(ids(random));
        benchmark::DoNotOptimize(in.loadObject());
    }
}

void BM_ReadRandom(benchmark::State& state)
{
    const auto count = state.range(0);
    ycFileArchive in = openArchive(count);
    std::mt19937 random(11);
    std::uniform_int_distribution<std::int32_t> ids(1, static_cast<std::int32_t>(count));
    for (auto _ : state) {
        for (int i = 0; i < 1000; ++i) {
            in.findObject(ids(random));
            benchmark::DoNotOptimize(in.loadObject());
        }
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void BM_ReadInOrder(benchmark::State& state)
{
    const auto count = state.range(0);
    archiveOf(count, false);
    for (auto _ : state) {
        ycFileArchive in = openArchive(count);
        for (std::int64_t i = 0; i < count; ++i) benchmark::DoNotOptimize(in.loadObject());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// Links loaded in order, each loading its dot by reference; then the dots
// go while the archive is still open, and only that is timed.
// Destroys `count` objects loaded by reference, with the archive still open
// (its table forgets each) or already closed (the same frees, no table): the
// difference is what the bookkeeping costs.
void destroyLoaded(benchmark::State& state, bool archiveOpen)
{
    const auto count = state.range(0);
    archiveOf(count, true);
    for (auto _ : state) {
        state.PauseTiming();
        auto in = std::make_unique<ycFileArchive>(archiveOf(count, true).wstring(), ycArchive::loading,
                                                  ycArchive::littleEndian, true);
        std::vector<std::unique_ptr<ycPersistent>> links;
        links.reserve(static_cast<std::size_t>(count));
        for (std::int64_t i = 0; i < count; ++i) links.push_back(in->loadObject());
        if (!archiveOpen) in.reset();
        state.ResumeTiming();
        links.clear();
        state.PauseTiming();
        in.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void BM_DestroyLoaded(benchmark::State& state)
{
    destroyLoaded(state, true);
}

void BM_DestroyAfterClose(benchmark::State& state)
{
    destroyLoaded(state, false);
}

} // namespace

BENCHMARK(BM_Open)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenReadOne)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReadRandom)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadInOrder)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DestroyLoaded)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DestroyAfterClose)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
