#include "std/pelbuf/pel3buf.h"

#include "std/archive/archive.h"
#include "std/except/registry.h"
#include "std/util/assert.h"

#include <string>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

using Planes = ycPelRoot<yc3PlanePel>;

// An 8-bit view of one plane that sees what `of` sees.
template <class View>
View planeView(const yc_PelBuffer& of, Planes::Plane* plane)
{
    if (!of.isBound()) throw ycPel::UnboundWindow();
    View view(plane);
    view.windowRoot(of.windowRoot());
    view.offset(of.offset());
    view.copyXforms(of);
    return view;
}

ycColorSpaceDefs::ColorSpace checkedColorSpace(ycColorSpaceDefs::ColorSpace c)
{
    if (!ycColorSpaceDefs::isThreePlane(c)) throw ycColorSpaceDefs::BadColorSpace(ycColorSpaceDefs::name(c));
    return c;
}

// Runs the pel buffer's level, then moves the tag; a refused stored tag puts
// the buffer back as it was.
template <class Base, class Level>
void serializeWithColorSpace(ycArchive& ar, Base& self, ycColorSpaceDefs::ColorSpace& tag, Level&& level)
{
    std::int32_t value = tag;
    if (ar.isStoring()) {
        level();
        ar || value;
        return;
    }
    const Base before = self;
    level();
    try {
        ar || value;
        const auto c = static_cast<ycColorSpaceDefs::ColorSpace>(value);
        if (!ycColorSpaceDefs::isThreePlane(c)) throw ycArchive::BadContent(kSourceName, __LINE__);
        tag = c;
    } catch (...) {
        self = before;
        throw;
    }
}

} // namespace

// --- yc3PlanePelBuffer_const --------------------------------------------------

yc3PlanePelBuffer_const::yc3PlanePelBuffer_const(const yc3PlanePelBuffer& other)
    : ycPelBuffer_const(other), colorSpace_(other.colorSpace())
{
}

yc3PlanePelBuffer_const::~yc3PlanePelBuffer_const() = default;

ycPelBuffer_const<unsigned char> yc3PlanePelBuffer_const::plane0() const
{
    return planeView<ycPelBuffer_const<unsigned char>>(*this, root() ? root()->plane0() : nullptr);
}

ycPelBuffer_const<unsigned char> yc3PlanePelBuffer_const::plane1() const
{
    return planeView<ycPelBuffer_const<unsigned char>>(*this, root() ? root()->plane1() : nullptr);
}

ycPelBuffer_const<unsigned char> yc3PlanePelBuffer_const::plane2() const
{
    return planeView<ycPelBuffer_const<unsigned char>>(*this, root() ? root()->plane2() : nullptr);
}

void yc3PlanePelBuffer_const::colorSpace(ColorSpace c)
{
    colorSpace_ = checkedColorSpace(c);
    ycPersistent::mutating();
}

void yc3PlanePelBuffer_const::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycPelBuffer_const<yc3PlanePel>& self = *this;
        serializeWithColorSpace(ar, self, colorSpace_, [&] { ycPelBuffer_const::dispatchSerialize(ar); });
    });
}

// --- yc3PlanePelBuffer --------------------------------------------------------

yc3PlanePelBuffer::yc3PlanePelBuffer(const ycPelBuffer<unsigned char>& p0, const ycPelBuffer<unsigned char>& p1,
                                     const ycPelBuffer<unsigned char>& p2)
{
    if (!p0.isBound() || !p1.isBound() || !p2.isBound()) throw ycPel::UnboundWindow();
    const auto fits = [&](const ycPelBuffer<unsigned char>& p) {
        const ycPelRoot<unsigned char>& a = *p.root();
        const ycPelRoot<unsigned char>& b = *p0.root();
        return a.isLocal() && a.width() == b.width() && a.height() == b.height() &&
               a.rowUpdate() == b.rowUpdate() && a.alignModulus() == b.alignModulus() &&
               p.windowRoot() == p0.windowRoot();
    };
    ymAssert(p0.root()->isLocal() && fits(p1) && fits(p2));
    if (!p0.root()->isLocal() || !fits(p1) || !fits(p2)) return;
    assignRoot(new Planes(p0.root(), p1.root(), p2.root()));
    windowRoot(p0.windowRoot());
    offset(p0.offset());
    copyXforms(p0);
}

yc3PlanePelBuffer::~yc3PlanePelBuffer() = default;

ycPelBuffer<unsigned char> yc3PlanePelBuffer::plane0() const
{
    return planeView<ycPelBuffer<unsigned char>>(*this, root() ? root()->plane0() : nullptr);
}

ycPelBuffer<unsigned char> yc3PlanePelBuffer::plane1() const
{
    return planeView<ycPelBuffer<unsigned char>>(*this, root() ? root()->plane1() : nullptr);
}

ycPelBuffer<unsigned char> yc3PlanePelBuffer::plane2() const
{
    return planeView<ycPelBuffer<unsigned char>>(*this, root() ? root()->plane2() : nullptr);
}

void yc3PlanePelBuffer::colorSpace(ColorSpace c)
{
    colorSpace_ = checkedColorSpace(c);
    ycPersistent::mutating();
}

void yc3PlanePelBuffer::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycPelBuffer<yc3PlanePel>& self = *this;
        serializeWithColorSpace(ar, self, colorSpace_, [&] { ycPelBuffer::dispatchSerialize(ar); });
    });
}

void yf_RegisterPel3BufferClasses(yc_TypeRegistry& registry)
{
    registry.add<yc3PlanePelBuffer>("yc3PlanePelBuffer");
    registry.add<yc3PlanePelBuffer_const>("yc3PlanePelBuffer_const");
}
