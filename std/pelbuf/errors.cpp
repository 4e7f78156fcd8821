// The error table of the pelbuf module, and its registration: errors, pel
// roots, pel buffers and the transform cache.
#include "std/except/error_table.h"
#include "std/pelbuf/acqimage.h"
#include "std/pelbuf/colorspace.h"
#include "std/pelbuf/pbuf_com.h"
#include "std/pelbuf/pelfunc.h"
#include "std/pelbuf/pelrect.h"
#include "std/pelbuf/pool.h"
#include "std/pelbuf/remote.h"
#include "std/pelbuf/xfcache.h"

#define PELBUF_ERROR_CLASSES(X)                         \
    X(ycPel::UnboundWindow, 0x10000400)                 \
    X(ycPel::BadWindow, 0x10000402)                     \
    X(ycPel::DisjointWindows, 0x10000403)               \
    X(ycPel::BadCoord, 0x10000405)                      \
    X(ycPel::Unknown, 0x10000406)                       \
    X(ycPel::NonlinearXform, 0x10000409)                \
    X(ycPelbufHelper1::ycPelbufTrigger, 0x10000007)     \
    X(ycRectErrors::NoOverlap, 0x10000407)              \
    X(ycRectErrors::NegativeSize, 0x10000408)           \
    X(ycColorSpaceDefs::BadColorSpace, 0x1000040a)      \
    X(ycPelFunc::Range, 0x10000500)                     \
    X(ycPelFunc::Overlap, 0x10000501)                   \
    X(ycPelFunc::BadParams, 0x10000502)                 \
    X(ycPelRootPool::NotSupported, 0x1000098c)          \
    X(ycPelRootPool::Outstanding, 0x1000098d)           \
    X(ycAcqImage::NotSupported, 0x100009d0)             \
    X(ycRemoteObject::ObjectMismatch, 0x10002600)       \
    X(yc_FastImageTransfer::TransferFailed, 0x10003502)

#define PELBUF_ERROR_GROUPS(X)      \
    X(ycPel::Errors)                \
    X(ycRectErrors::Errors)         \
    X(ycColorSpaceDefs::Errors)     \
    X(ycPelFunc::Errors)            \
    X(ycPelRootPool::Errors)        \
    X(ycAcqImage::Errors)           \
    X(ycRemoteObject::Errors)       \
    X(yc_FastImageTransfer::Errors)

PELBUF_ERROR_CLASSES(ymDefineError)
PELBUF_ERROR_GROUPS(ymDefineErrorLevel)

void yf_RegisterPelRootClasses(yc_TypeRegistry& registry);

void yf_RegisterPelbufClasses(yc_TypeRegistry& registry)
{
    PELBUF_ERROR_CLASSES(ymRegisterError)
    yf_RegisterPelRootClasses(registry);
    registry.add<yc2XformCache>("yc2XformCache");
}
