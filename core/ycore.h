// tlkcore10: the platform core the library rests on.
//
// A C interface (assertion entry, debug text sink, memory allocation, status
// codes) so that the library and foreign code can share one core. Every entry
// point that can fail returns a signed status: 0 is success, negative values
// are the failures below.
#ifndef TLKCORE_YCORE_H
#define TLKCORE_YCORE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(TLVSTD_STATIC)
#  if defined(TLVSTD_BUILDING)
#    define TLKCORE_API __declspec(dllexport)
#  else
#    define TLKCORE_API __declspec(dllimport)
#  endif
#else
#  define TLKCORE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses returned by the core. */
enum {
    YSTD_OK = 0,
    YSTD_ERR_NO_MEMORY = -1,    /* allocation failed or the size overflows */
    YSTD_ERR_BAD_ARGUMENT = -2, /* an argument is outside what the call accepts */
    YSTD_ERR_BAD_IMAGE = -3,    /* an image descriptor is malformed */
    YSTD_ERR_UNSUPPORTED = -4   /* the operation is not available here */
};

/* Assertion entry: `file` is the reporting source's canonical name, never a
   path. The installed handler decides what happens; if it returns, the caller
   goes on. The default handler writes "file(line): assertion failed" to the
   debug sink. */
typedef void (*ystd_assert_handler)(const char* file, int line);
TLKCORE_API void ystd_assert_(const char* file, int line);
/* Installs `handler` (null restores the default) and returns the previous one. */
TLKCORE_API ystd_assert_handler ystd_set_assert_handler(ystd_assert_handler handler);

/* Debug sink: receives UTF-8 text. The default writes to stderr as bytes. */
typedef void (*ystd_debug_writer)(const char* utf8, size_t size, void* context);
TLKCORE_API void ystd_debug_write(const char* utf8, size_t size);
/* Installs `writer` with its context (null restores stderr). */
TLKCORE_API void ystd_set_debug_writer(ystd_debug_writer writer, void* context);

/* Memory: blocks aligned to at least 16 bytes (and to `align` when it is a
   larger power of two). The site is recorded for leak reports in debug builds. */
TLKCORE_API int ysys_memory_alloc_internal(void** out, size_t size, const char* file, int line);
TLKCORE_API int ysys_memory_alloc64_internal(void** out, uint64_t size, size_t align,
                                             const char* file, int line);
TLKCORE_API int ysys_memory_free_internal(void* block);
/* Number of blocks handed out and not yet freed (for leak checks). */
TLKCORE_API int64_t ysys_memory_outstanding(void);

#ifdef __cplusplus
}
#endif

#endif
