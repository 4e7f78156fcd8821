// Pixel ("pel") types.
//
// Pel roots and buffers exist for exactly thirteen pel types, and ycPelType
// admits only these:
//
//   type                    bytes   canonical name      archive form
//   unsigned char           1       unsigned char       raw byte
//   signed char             1       signed char         raw byte
//   short                   2       short               16-bit integer
//   unsigned short          2       unsigned short      16-bit integer
//   ycPackedRGB16Pel        2       ycPackedRGB16Pel    its 16-bit value
//   std::int32_t            4       long                32-bit integer
//   std::uint32_t           4       unsigned long       32-bit integer
//   float                   4       float               its bit pattern
//   ycPackedRGB32Pel        4       ycPackedRGB32Pel    its 32-bit value
//   double                  8       double              its bit pattern
//   ycPair<std::int32_t>    8       ycPair<long>        first, then second
//   ycPair<float>           8       ycPair<float>       first, then second
//   yc3PlanePel             1 per plane  yc3PlanePel    plane0, plane1, plane2
//
// The 32-bit integer pels are std::int32_t and std::uint32_t on every
// platform; plain long is not a pel type anywhere (it is 64 bits on some).
// Canonical names are the ones archives carry ("ycPelRoot<long>"), fixed
// texts that do not depend on the compiler.
//
// The packed colour pels hold their bytes, so they have no alignment of their
// own: a pool may hand them out at any address.
#ifndef TLVSTD_PELBUF_PELTYPES_H
#define TLVSTD_PELBUF_PELTYPES_H

#include "std/archive/archive.h"
#include "std/math/pair.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <type_traits>
#include <typeinfo>

// One 16-bit colour pel. Which bits carry which colour belongs to the formats
// that make it; the library moves the value whole.
struct ycPackedRGB16Pel {
    std::array<unsigned char, 2> bytes{}; // the value in the machine's order

    constexpr ycPackedRGB16Pel() = default;
    constexpr explicit ycPackedRGB16Pel(std::uint16_t v) : bytes(std::bit_cast<std::array<unsigned char, 2>>(v)) {}

    constexpr std::uint16_t value() const { return std::bit_cast<std::uint16_t>(bytes); }
    constexpr void value(std::uint16_t v) { bytes = std::bit_cast<std::array<unsigned char, 2>>(v); }

    friend constexpr bool operator==(const ycPackedRGB16Pel&, const ycPackedRGB16Pel&) = default;
};

// One 32-bit colour pel: bytes blue, green, red and a fourth byte, in that
// order in memory. Its value is blue | green << 8 | red << 16 | fourth << 24.
struct ycPackedRGB32Pel {
    unsigned char blue = 0;
    unsigned char green = 0;
    unsigned char red = 0;
    unsigned char fourth = 0;

    constexpr ycPackedRGB32Pel() = default;
    // Colours in the usual red, green, blue order.
    constexpr ycPackedRGB32Pel(unsigned char r, unsigned char g, unsigned char b, unsigned char x = 0)
        : blue(b), green(g), red(r), fourth(x)
    {
    }
    constexpr explicit ycPackedRGB32Pel(std::uint32_t v)
        : blue(static_cast<unsigned char>(v)), green(static_cast<unsigned char>(v >> 8)),
          red(static_cast<unsigned char>(v >> 16)), fourth(static_cast<unsigned char>(v >> 24))
    {
    }

    constexpr std::uint32_t value() const
    {
        return std::uint32_t{blue} | std::uint32_t{green} << 8 | std::uint32_t{red} << 16 |
               std::uint32_t{fourth} << 24;
    }

    friend constexpr bool operator==(const ycPackedRGB32Pel&, const ycPackedRGB32Pel&) = default;
};

// One pel of a three-plane image: a byte from each plane.
struct yc3PlanePel {
    unsigned char plane0 = 0;
    unsigned char plane1 = 0;
    unsigned char plane2 = 0;

    constexpr yc3PlanePel() = default;
    constexpr yc3PlanePel(unsigned char p0, unsigned char p1, unsigned char p2) : plane0(p0), plane1(p1), plane2(p2) {}

    friend constexpr bool operator==(const yc3PlanePel&, const yc3PlanePel&) = default;
};

// Where pel (0, 0) of each plane of a three-plane image lies.
struct yc3PlanePelPtr {
    unsigned char* plane0 = nullptr;
    unsigned char* plane1 = nullptr;
    unsigned char* plane2 = nullptr;

    friend constexpr bool operator==(const yc3PlanePelPtr&, const yc3PlanePelPtr&) = default;
};

static_assert(sizeof(ycPackedRGB16Pel) == 2 && alignof(ycPackedRGB16Pel) == 1);
static_assert(sizeof(ycPackedRGB32Pel) == 4 && alignof(ycPackedRGB32Pel) == 1);
static_assert(sizeof(yc3PlanePel) == 3);
static_assert(std::is_trivially_copyable_v<ycPackedRGB16Pel> && std::is_trivially_copyable_v<ycPackedRGB32Pel> &&
              std::is_trivially_copyable_v<yc3PlanePel>);

inline ycArchive& operator||(ycArchive& ar, ycPackedRGB16Pel& p)
{
    std::uint16_t v = p.value();
    ar || v;
    p.value(v);
    return ar;
}

inline ycArchive& operator||(ycArchive& ar, ycPackedRGB32Pel& p)
{
    std::uint32_t v = p.value();
    ar || v;
    p = ycPackedRGB32Pel(v);
    return ar;
}

inline ycArchive& operator||(ycArchive& ar, yc3PlanePel& p)
{
    yc3PlanePel v = p;
    ar || v.plane0 || v.plane1 || v.plane2;
    p = v;
    return ar;
}

template <class T, class... U>
concept yc_OneOf = (std::same_as<T, U> || ...);

template <class T>
concept ycPelType = yc_OneOf<T, unsigned char, signed char, short, unsigned short, ycPackedRGB16Pel, std::int32_t,
                             std::uint32_t, float, ycPackedRGB32Pel, double, ycPair<std::int32_t>, ycPair<float>,
                             yc3PlanePel>;

// The pel types held in one array (all but the three-plane pel).
template <class T>
concept yc_SingleArrayPelType = ycPelType<T> && !std::same_as<T, yc3PlanePel>;

// How a pel's bytes in memory map to its archive form: `fields` scalars of
// `fieldBytes` bytes each, back to back with no padding, each held in memory
// in `ordering` and archived in the archive's. A row of pels is then a block
// of fields that can go to the stream whole.
template <class T>
struct yc_PelFields {
    static constexpr std::size_t fieldBytes = sizeof(T);
    static constexpr std::size_t fields = 1;
    static constexpr int ordering = yf_MachineOrdering();
};
template <class T>
struct yc_PelFields<ycPair<T>> {
    static constexpr std::size_t fieldBytes = sizeof(T);
    static constexpr std::size_t fields = 2;
    static constexpr int ordering = yf_MachineOrdering();
};
// Its bytes are blue, green, red, fourth: its value least significant byte first.
template <>
struct yc_PelFields<ycPackedRGB32Pel> {
    static constexpr std::size_t fieldBytes = 4;
    static constexpr std::size_t fields = 1;
    static constexpr int ordering = 1;
};
// A byte per plane.
template <>
struct yc_PelFields<yc3PlanePel> {
    static constexpr std::size_t fieldBytes = 1;
    static constexpr std::size_t fields = 3;
    static constexpr int ordering = yf_MachineOrdering();
};

// The canonical name of a pel type.
template <ycPelType T>
constexpr const char* yfPelTypeName()
{
    if constexpr (std::same_as<T, unsigned char>) return "unsigned char";
    else if constexpr (std::same_as<T, signed char>) return "signed char";
    else if constexpr (std::same_as<T, short>) return "short";
    else if constexpr (std::same_as<T, unsigned short>) return "unsigned short";
    else if constexpr (std::same_as<T, ycPackedRGB16Pel>) return "ycPackedRGB16Pel";
    else if constexpr (std::same_as<T, std::int32_t>) return "long";
    else if constexpr (std::same_as<T, std::uint32_t>) return "unsigned long";
    else if constexpr (std::same_as<T, float>) return "float";
    else if constexpr (std::same_as<T, ycPackedRGB32Pel>) return "ycPackedRGB32Pel";
    else if constexpr (std::same_as<T, double>) return "double";
    else if constexpr (std::same_as<T, ycPair<std::int32_t>>) return "ycPair<long>";
    else if constexpr (std::same_as<T, ycPair<float>>) return "ycPair<float>";
    else return "yc3PlanePel";
}

template <class... T>
struct yc_PelTypeList {
    // Calls f(std::type_identity<T>{}) for the type whose type_info is
    // `type`; false when it is none of them.
    template <class F>
    static bool visit(const std::type_info& type, F&& f)
    {
        return ((type == typeid(T) ? (f(std::type_identity<T>{}), true) : false) || ...);
    }
    template <class F>
    static void forEach(F&& f)
    {
        (f(std::type_identity<T>{}), ...);
    }
};

// Applies the macro X to each one-array pel type, for lists the language
// cannot take from ycPelTypes (explicit instantiations).
#define ymForEachSingleArrayPelType(X)                                                                                \
    X(unsigned char) X(signed char) X(short) X(unsigned short) X(ycPackedRGB16Pel) X(std::int32_t) X(std::uint32_t)  \
        X(float) X(ycPackedRGB32Pel) X(double) X(ycPair<std::int32_t>) X(ycPair<float>)

using ycPelTypes = yc_PelTypeList<unsigned char, signed char, short, unsigned short, ycPackedRGB16Pel, std::int32_t,
                                  std::uint32_t, float, ycPackedRGB32Pel, double, ycPair<std::int32_t>, ycPair<float>,
                                  yc3PlanePel>;

// Rows go to archives as blocks of fields, so no pel type may have padding.
template <class... T>
constexpr bool yf_PelsUnpadded(yc_PelTypeList<T...>)
{
    return ((yc_PelFields<T>::fieldBytes * yc_PelFields<T>::fields == sizeof(T)) && ...);
}
static_assert(yf_PelsUnpadded(ycPelTypes{}), "a pel type with padding needs a per-pel archive path");

#endif
