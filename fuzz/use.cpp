// libFuzzer entry for loading objects and using them; see use_harness.h.
#include "fuzz/use_harness.h"

#include "std/util/debug.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    yfSetDebugSink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    yc_fuzz::use::run(data, size);
    return 0;
}
