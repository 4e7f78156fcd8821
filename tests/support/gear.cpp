#include "gear.h"

void Part::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion("Part", 0);
        ycPersistent::dispatchSerialize(ar);
        ar || width;
    });
}

void Gear::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion("Gear", 0);
        Part::dispatchSerialize(ar);
        ar || teeth || name;
        serializePointer(ar, left, left);
        serializePointer(ar, right, right);
    });
}

ymImplementPersistent(Gear, "Gear")
