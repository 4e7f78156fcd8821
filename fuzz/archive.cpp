// libFuzzer entry for archive reading; see archive_harness.h.
#include "fuzz/archive_harness.h"

#include "std/util/debug.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    yfSetDebugSink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    yc_fuzz::run(data, size);
    return 0;
}
