// libFuzzer entry for archive reading; see archive_harness.h.
#include "fuzz/archive_harness.h"

#include "std/util/assert.h"
#include "std/util/debug.h"

#include <cstdio>
#include <cstdlib>

namespace {

// No input may reach a broken precondition.
void abortOnAssertion(const char* file, int line)
{
    std::fprintf(stderr, "assertion failed: %s(%d)\n", file, line);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    yfSetAssertHandler(&abortOnAssertion);
    yfSetDebugSink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    yc_fuzz::run(data, size);
    return 0;
}
