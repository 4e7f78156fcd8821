// libFuzzer entry for the archive inspector: arbitrary bytes listed and
// shown as the tool would, as text and as JSON. Every input must end in
// output, a ycException or a reached limit; anything else is a finding (a
// crash, a sanitizer report, another exception, a failed assertion that no
// archive error follows: some contents are refused by an assertion and then
// BadContent, on purpose).
#include "walk.h"

#include "std/archive/memarchive.h"
#include "std/except/except.h"
#include "std/util/assert.h"
#include "std/util/debug.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>

namespace {

bool asserted = false;
void recordAssertion(const char*, int)
{
    asserted = true;
}

void runOne(const std::uint8_t* data, std::size_t size, const Command& command)
{
    try {
        const bool seekable = (data[0] & 1) == 1;
        ycMemoryArchive ar(reinterpret_cast<const char*>(data), static_cast<std::int32_t>(size), seekable);
        std::ostringstream out;
        asserted = false;
        inspect(ar, command, out);
        if (asserted) std::abort();
    } catch (const ycException&) {
    } catch (const LimitReached&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    yfSetDebugSink([](std::string_view) {});
    yfSetAssertHandler(&recordAssertion);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > (1u << 24)) return 0;
    // A small budget: what a hostile input can make the tool do per record
    // is what the run is after, not how long a large budget lasts.
    for (bool json : {false, true}) runOne(data, size, Command{false, 0, json, 20000, {}});
    for (std::int32_t id = 1; id <= 3; ++id) runOne(data, size, Command{true, id, id == 2, 20000, {}});
    return 0;
}
