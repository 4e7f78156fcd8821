#include "std/pelbuf/pel3buf.h"

#include "std/archive/archive.h"
#include "std/except/registry.h"
#include "std/util/assert.h"

#include <string>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

using Planes = ycPelRoot<yc3PlanePel>;

} // namespace

// --- what both colour buffers share ------------------------------------------

template <class Base>
yc_3PlanePelBufferOf<Base>::~yc_3PlanePelBufferOf() = default;

// An 8-bit view of one plane that sees what this buffer sees.
template <class Base>
typename yc_3PlanePelBufferOf<Base>::PlaneBuffer yc_3PlanePelBufferOf<Base>::plane(int i) const
{
    const Planes* planes = this->root();
    if (!planes) throw ycPel::UnboundWindow();
    typename Planes::Plane* const each[] = {planes->plane0(), planes->plane1(), planes->plane2()};
    PlaneBuffer view{ycPtrHandle<typename Planes::Plane>(each[i])};
    view.windowRoot(this->windowRoot());
    view.offset(this->offset());
    view.copyXforms(*this);
    return view;
}

template <class Base>
void yc_3PlanePelBufferOf<Base>::colorSpace(ColorSpace c)
{
    if (!ycColorSpaceDefs::isThreePlane(c)) throw ycColorSpaceDefs::BadColorSpace(ycColorSpaceDefs::name(c));
    colorSpace_ = c;
    ycPersistent::mutating();
}

// The pel buffer's level, then the tag; a refused stored tag puts the buffer
// back as it was.
template <class Base>
void yc_3PlanePelBufferOf<Base>::dispatchSerialize(ycArchive& ar)
{
    ycPersistent::serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) ycPersistent::unknownVersion(kSourceName, __LINE__);
        std::int32_t value = colorSpace_;
        if (ar.isStoring()) {
            Base::dispatchSerialize(ar);
            ar || value;
            return;
        }
        Base& self = *this;
        const Base before = self;
        Base::dispatchSerialize(ar);
        try {
            ar || value;
            const auto c = static_cast<ColorSpace>(value);
            if (!ycColorSpaceDefs::isThreePlane(c)) throw ycArchive::BadContent(kSourceName, __LINE__);
            colorSpace_ = c;
        } catch (...) {
            self = before;
            throw;
        }
    });
}

template class TLVSTD_INSTANCE_API yc_3PlanePelBufferOf<ycPelBuffer_const<yc3PlanePel>>;
template class TLVSTD_INSTANCE_API yc_3PlanePelBufferOf<ycPelBuffer<yc3PlanePel>>;

// --- yc3PlanePelBuffer_const --------------------------------------------------

yc3PlanePelBuffer_const::yc3PlanePelBuffer_const(const yc3PlanePelBuffer& other)
    : yc_3PlanePelBufferOf(other, other.colorSpace())
{
}

yc3PlanePelBuffer_const::~yc3PlanePelBuffer_const() = default;

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
    assignRoot(ycPtrHandle<yc_PelRoot>(new Planes(p0.root(), p1.root(), p2.root())));
    windowRoot(p0.windowRoot());
    offset(p0.offset());
    copyXforms(p0);
}

yc3PlanePelBuffer::~yc3PlanePelBuffer() = default;

void yf_RegisterPel3BufferClasses(yc_TypeRegistry& registry)
{
    registry.add<yc3PlanePelBuffer>("yc3PlanePelBuffer");
    registry.add<yc3PlanePelBuffer_const>("yc3PlanePelBuffer_const");
}
