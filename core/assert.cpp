// Assertion entry and the debug sink of the core.
#include "core/ycore.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>

namespace {

void defaultAssertHandler(const char* file, int line)
{
    std::string text = std::string(file ? file : "?") + "(" + std::to_string(line) + "): assertion failed\n";
    ystd_debug_write(text.data(), text.size());
}

std::atomic<ystd_assert_handler> gHandler{&defaultAssertHandler};

struct Sink {
    std::mutex lock;
    ystd_debug_writer writer = nullptr;
    void* context = nullptr;
};

// Never destroyed: destructors running at exit may still report.
Sink& sink()
{
    static Sink* s = new Sink;
    return *s;
}

} // namespace

extern "C" {

void ystd_assert_(const char* file, int line)
{
    gHandler.load()(file, line);
}

ystd_assert_handler ystd_set_assert_handler(ystd_assert_handler handler)
{
    return gHandler.exchange(handler ? handler : &defaultAssertHandler);
}

void ystd_debug_write(const char* utf8, size_t size)
{
    Sink& s = sink();
    std::lock_guard<std::mutex> guard(s.lock);
    if (s.writer) {
        s.writer(utf8, size, s.context);
    } else {
        std::fwrite(utf8, 1, size, stderr);
        std::fflush(stderr);
    }
}

void ystd_set_debug_writer(ystd_debug_writer writer, void* context)
{
    Sink& s = sink();
    std::lock_guard<std::mutex> guard(s.lock);
    s.writer = writer;
    s.context = context;
}

} // extern "C"
