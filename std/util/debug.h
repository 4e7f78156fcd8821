// The debug stream.
//
// One process-wide sink for diagnostic lines (assertion reports, warnings from
// destructors that must not throw). Text is wide and leaves as UTF-8 bytes, to
// stderr by default; it never goes through std::wcerr, whose stream orientation
// would silence later narrow output. A program or a test redirects it with
// yfSetDebugSink.
#ifndef TLVSTD_UTIL_DEBUG_H
#define TLVSTD_UTIL_DEBUG_H

#include "std/config.h"

#include <functional>
#include <string>
#include <string_view>

// Writes `line` and a newline as one unit.
TLVSTD_API void yfDebugLine(std::wstring_view line);

// Receives UTF-8 text; an empty function restores stderr.
using ycDebugSink = std::function<void(std::string_view utf8)>;
TLVSTD_API void yfSetDebugSink(ycDebugSink sink);

// Collects the debug stream's text for the life of a scope (tests, tools).
class TLVSTD_API ycDebugCapture {
public:
    ycDebugCapture();
    ~ycDebugCapture();
    ycDebugCapture(const ycDebugCapture&) = delete;
    ycDebugCapture& operator=(const ycDebugCapture&) = delete;
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

#endif
