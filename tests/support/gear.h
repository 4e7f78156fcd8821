// A persistent class tree as programs write them, for the archive tests.
#ifndef TLVSTD_TESTS_SUPPORT_GEAR_H
#define TLVSTD_TESTS_SUPPORT_GEAR_H

#include "std/archive/archive.h"
#include "std/except/registry.h"

#include <cstdint>
#include <memory>
#include <string>

// The root level: one field and a mutator that reports the change.
class Part : public ycPersistent {
public:
    std::int32_t width = 0;
    void setWidth(std::int32_t w)
    {
        mutating();
        width = w;
    }

protected:
    void dispatchSerialize(ycArchive& ar) override;
};

// Registered as "Gear": fields of its own, then two references it does not own.
class Gear : public Part {
    ymDeclarePersistent(Gear);

public:
    Gear() = default;
    Gear(std::string n, std::int32_t w, ycPersistent* l = nullptr) : name(std::move(n)), left(l) { width = w; }
    std::int16_t teeth = 0;
    std::string name;
    ycPersistent* left = nullptr;
    ycPersistent* right = nullptr;
    // Three version bytes, width, teeth, name, two reference tags.
    std::uint32_t bodySize() const { return static_cast<std::uint32_t>(3 + 4 + 2 + 3 + name.size() + 8); }

protected:
    void dispatchSerialize(ycArchive& ar) override;
};

inline Gear& asGear(const std::unique_ptr<ycPersistent>& p)
{
    return dynamic_cast<Gear&>(*p);
}

#endif
