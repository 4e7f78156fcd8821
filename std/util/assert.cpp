#include "std/util/assert.h"

#include <atomic>

namespace {
std::atomic<std::int64_t> gCount{0};
}

ycAssertHandler yfSetAssertHandler(ycAssertHandler handler)
{
    return ystd_set_assert_handler(handler);
}

void yfCountingAssertHandler(const char*, int)
{
    ++gCount;
}

std::int64_t yfAssertCount()
{
    return gCount.load();
}
