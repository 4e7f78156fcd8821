#include "std/util/assert.h"

#include "std/except/except.h"
#include "std/util/text.h"

#include <atomic>
#include <string>

namespace {
std::atomic<std::int64_t> gCount{0};
}

ycAssertHandler yfSetAssertHandler(ycAssertHandler handler)
{
    return ystd_set_assert_handler(handler);
}

void yfThrowingAssertHandler(const char* file, int line)
{
    throw ycAssertFailure(yfWiden(std::string(file ? file : "?") + "(" + std::to_string(line) + "): assertion failed"));
}

void yfCountingAssertHandler(const char*, int)
{
    ++gCount;
}

std::int64_t yfAssertCount()
{
    return gCount.load();
}
