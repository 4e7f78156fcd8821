#include "std/util/debug.h"

#include "core/ycore.h"
#include "std/util/text.h"

namespace {

void forward(const char* utf8, std::size_t size, void* context)
{
    (*static_cast<ycDebugSink*>(context))(std::string_view(utf8, size));
}

} // namespace

void yfDebugLine(std::wstring_view line)
{
    std::string bytes = yfToUtf8(line);
    bytes.push_back('\n');
    ystd_debug_write(bytes.data(), bytes.size());
}

void yfSetDebugSink(ycDebugSink sink)
{
    // Kept alive for the process: the core may call it from any thread at exit.
    static ycDebugSink* current = new ycDebugSink;
    ystd_set_debug_writer(nullptr, nullptr);
    *current = std::move(sink);
    if (*current) ystd_set_debug_writer(&forward, current);
}

ycDebugCapture::ycDebugCapture()
{
    yfSetDebugSink([this](std::string_view utf8) { text_.append(utf8); });
}

ycDebugCapture::~ycDebugCapture()
{
    yfSetDebugSink({});
}
