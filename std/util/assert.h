// Precondition checks.
//
// ymAssert(cond) reports a broken precondition to the core's assertion entry
// with the canonical name of the reporting source (`kSourceName`, found by
// ordinary name lookup: a file-level constant in a .cpp, a class member in a
// header template) and the line. If the installed handler returns, the caller
// goes on, returning early wherever going on would touch invalid memory.
//
// Handlers: the default writes "file(line): assertion failed" to the debug
// stream and returns; yfThrowingAssertHandler (std/except/except.h) throws
// ycAssertFailure (the test suites install it); yfCountingAssertHandler counts and returns, for the few
// places where the code is meant to go on after the report.
#ifndef TLVSTD_UTIL_ASSERT_H
#define TLVSTD_UTIL_ASSERT_H

#include "core/ycore.h"
#include "std/config.h"
#include "std/util/sources.h"

#include <cstdint>

#define ymAssert(cond) \
    (static_cast<bool>(cond) ? static_cast<void>(0) : ::ystd_assert_(kSourceName, __LINE__))

using ycAssertHandler = ystd_assert_handler;

// Installs `handler` (null: the default) and returns the one it replaces.
TLVSTD_API ycAssertHandler yfSetAssertHandler(ycAssertHandler handler);

TLVSTD_API void yfCountingAssertHandler(const char* file, int line);
// Reports counted by yfCountingAssertHandler since the process started.
TLVSTD_API std::int64_t yfAssertCount();

// Installs a handler for the life of a scope, then puts the previous one back.
class TLVSTD_API ycAssertHandlerScope {
public:
    explicit ycAssertHandlerScope(ycAssertHandler handler) : previous_(yfSetAssertHandler(handler)) {}
    ~ycAssertHandlerScope() { yfSetAssertHandler(previous_); }
    ycAssertHandlerScope(const ycAssertHandlerScope&) = delete;
    ycAssertHandlerScope& operator=(const ycAssertHandlerScope&) = delete;

private:
    ycAssertHandler previous_;
};

#endif
