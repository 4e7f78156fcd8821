// Transfer of persistent objects: whole objects in the archive's direction and
// references to counted objects. The protocol of an object's body is in
// std/except/persistent.h, the stream forms in archive.h.
#ifndef TLVSTD_ARCHIVE_PERSIST_H
#define TLVSTD_ARCHIVE_PERSIST_H

#include "std/config.h"
#include "std/except/persistent.h"
#include "std/util/handle.h"

#include <concepts>
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
// still being read (a cycle, which counting cannot free) is BadContent.
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
        [](ycPersistent* p) { Traits::release(static_cast<Plain*>(p)); });
    h = ycPtrHandle<T>(static_cast<Plain*>(out));
}

#endif
