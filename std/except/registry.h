// The type registry.
//
// One process-wide table from canonical type name to factory, and from the
// compiler's type to its canonical name. Archives write the canonical name of
// an object's class and create objects from it when they read one back, so the
// name is a fixed text given by each class, the same bytes on every compiler:
// "ycShapesError::BadParams", "ycPelRoot<long>" for 32-bit signed pels.
//
// The library registers its own classes when the registry is first used, so
// none is lost when the library is linked statically. A class of a program
// registers itself with a static record next to its definition:
//
//     class Gear : public ycPersistent {
//         ymDeclarePersistent(Gear);   // leaves the class body private
//     public:
//         ...
//     };
//     ymImplementPersistent(Gear, "Gear")     // in one .cpp
//
// Registering one name for two different types is an assertion; registering
// the same pair again is ignored.
#ifndef TLVSTD_EXCEPT_REGISTRY_H
#define TLVSTD_EXCEPT_REGISTRY_H

#include "std/except/persistent.h"
#include "std/config.h"

#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

using ycFactory = ycPersistent* (*)();

template <class T>
ycPersistent* yf_Make()
{
    return new (std::nothrow) T();
}

class TLVSTD_API yc_TypeRegistry {
public:
    static yc_TypeRegistry& instance();

    void add(const std::type_info& type, const char* name, ycFactory factory);
    template <class T>
    void add(const char* name)
    {
        add(typeid(T), name, &yf_Make<T>);
    }

    // The registered name of `type`, or empty when it has none.
    std::string nameOf(const std::type_info& type) const;
    // The factory registered under `name`, or null.
    ycFactory factory(std::string_view name) const;
    std::vector<std::string> names() const;

private:
    yc_TypeRegistry();
    struct Tables;
    Tables* tables_; // never destroyed: archives may look names up at exit
};

// The registered name of `type`; for an unregistered type, the compiler's name
// in canonical spelling (for messages only: such a name never reaches an archive).
TLVSTD_API std::string yfTypeName(const std::type_info& type);

class TLVSTD_API yc_Instantiator {
public:
    yc_Instantiator(const std::type_info& type, const char* name, ycFactory factory);
};

#define ymDeclarePersistent(T)                                                   \
private:                                                                         \
    static ycPersistent* make() { return new (std::nothrow) T(); }               \
    static const yc_Instantiator sExemplar

#define ymImplementPersistent(T, name) const yc_Instantiator T::sExemplar(typeid(T), name, &T::make);

#endif
