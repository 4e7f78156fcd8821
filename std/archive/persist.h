// Transfer of persistent objects: whole objects in the archive's direction and
// references to counted objects. The protocol of an object's body is in
// std/except/persistent.h, the stream forms in archive.h.
#ifndef TLVSTD_ARCHIVE_PERSIST_H
#define TLVSTD_ARCHIVE_PERSIST_H

#include "std/config.h"
#include "std/except/persistent.h"
#include "std/util/handle.h"

#include <concepts>
#include <memory>
#include <type_traits>

// Whole-object transfer in the archive's direction; << asserts a storing
// archive, >> a loading one.
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycPersistent& object);
TLVSTD_API ycArchive& operator<<(ycArchive& ar, const ycPersistent& object);
TLVSTD_API ycArchive& operator>>(ycArchive& ar, ycPersistent& object);

// Object reference to a counted object. A loading archive keeps a share of
// every object it makes until it goes away, so a later reference to the same
// object finds it alive even if the first handle is gone; handles reloaded
// from references to one object share it again. An object of another type
// than T is ycArchive::BadType; a reference to an object whose own record is
// still being read (a cycle, which counting cannot free) is BadContent. An
// object loaded earlier as a whole record (readObject, loadObject) that no
// handle holds is not shared: a seekable archive loads the reference a copy
// of its own, a plain one refuses it (BadContent).
template <class T>
    requires std::derived_from<std::remove_const_t<T>, ycPersistent>
void yfSerializeHandle(ycArchive& ar, ycPtrHandle<T>& h)
{
    using Plain = std::remove_const_t<T>;
    using Traits = ycHandleTraits<Plain>;
    ycPersistent* out = nullptr;
    ycPersistent::serializeCounted(
        ar, const_cast<Plain*>(h.get()), out,
        [](ycPersistent* p) { return dynamic_cast<Plain*>(p) != nullptr; },
        [](ycPersistent* p) { Traits::acquire(static_cast<Plain*>(p)); },
        [](ycPersistent* p) {
            if (Traits::drop(static_cast<Plain*>(p))) Traits::dispose(static_cast<Plain*>(p));
        });
    h = ycPtrHandle<T>(static_cast<Plain*>(out));
}


// Object reference to an object that is not counted: `p` owns what is
// loaded. Loading replaces `p` only when the whole reference was read. An
// object has one owner, so a reference back to an object loaded earlier is
// ycArchive::BadContent (share such objects through counted handles); an
// object of another type than T is BadType.
template <class T>
    requires std::derived_from<T, ycPersistent> && (!std::derived_from<T, ycRepBase>)
void yfSerializeOwned(ycArchive& ar, std::unique_ptr<T>& p)
{
    std::unique_ptr<ycPersistent> loaded;
    if (ycPersistent::serializeOwned(ar, p.get(), loaded, [](ycPersistent* q) { return dynamic_cast<T*>(q) != nullptr; }))
        p.reset(dynamic_cast<T*>(loaded.release()));
}

#endif
