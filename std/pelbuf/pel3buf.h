// Three-plane colour buffers.
//
// yc3PlanePelBuffer is a pel buffer over a ycPelRoot<yc3PlanePel> (three
// 8-bit plane roots of one geometry) that also says what the planes hold:
// a colour-space tag (colorspace.h), RGB unless set otherwise. Tags that a
// three-plane image cannot hold (Unknown, Grey) throw
// ycColorSpaceDefs::BadColorSpace and leave the tag as it was.
//
// plane0(), plane1(), plane2() are 8-bit buffers over one plane with this
// buffer's window, offset and client transform; they share the plane's pels.
//
// Made from three 8-bit buffers, the colour buffer shares their roots. The
// three must be bound to roots of one geometry (width, height, row update,
// alignment) and have the same window in root coordinates; anything else is
// an assertion and leaves the buffer unbound. The result takes the first
// plane's window, offset and transform.
//
// Made over a root, a colour buffer follows the pel buffer's rules (pelbuf.h,
// "Roots"). A writable colour buffer converts to the read-only one, keeping
// its tag.
//
// Archive form (canonical names "yc3PlanePelBuffer" and
// "yc3PlanePelBuffer_const"): version byte 00 for this level, then the pel
// buffer's form (pelbuf.h), then the tag as a 32-bit integer. A stored tag
// that a three-plane buffer refuses is ycArchive::BadContent, and the buffer
// stays as it was.
#ifndef TLVSTD_PELBUF_PEL3BUF_H
#define TLVSTD_PELBUF_PEL3BUF_H

#include "std/pelbuf/colorspace.h"
#include "std/pelbuf/pelbuf.h"

#include <type_traits>

class yc3PlanePelBuffer;

// What the two colour buffers share: the tag, the plane views and the
// archive level. Base is ycPelBuffer_const<yc3PlanePel> or ycPelBuffer<yc3PlanePel>,
// and the planes are read-only or writable to match.
template <class Base>
class yc_3PlanePelBufferOf : public Base {
public:
    using ColorSpace = ycColorSpaceDefs::ColorSpace;
    using PlaneBuffer = std::conditional_t<std::is_base_of_v<ycPelBuffer<yc3PlanePel>, Base>,
                                           ycPelBuffer<unsigned char>, ycPelBuffer_const<unsigned char>>;

    using Base::Base;
    ~yc_3PlanePelBufferOf() override;

    PlaneBuffer plane0() const { return plane(0); }
    PlaneBuffer plane1() const { return plane(1); }
    PlaneBuffer plane2() const { return plane(2); }

    ColorSpace colorSpace() const { return colorSpace_; }
    void colorSpace(ColorSpace c);

protected:
    yc_3PlanePelBufferOf() = default;
    yc_3PlanePelBufferOf(const yc_3PlanePelBufferOf&) = default;
    yc_3PlanePelBufferOf& operator=(const yc_3PlanePelBufferOf&) = default;
    yc_3PlanePelBufferOf(const Base& pels, ColorSpace c) : Base(pels), colorSpace_(c) {}

    void dispatchSerialize(ycArchive& ar) override;

private:
    PlaneBuffer plane(int i) const;

    ColorSpace colorSpace_ = ycColorSpaceDefs::RGB;
};

extern template class TLVSTD_API yc_3PlanePelBufferOf<ycPelBuffer_const<yc3PlanePel>>;
extern template class TLVSTD_API yc_3PlanePelBufferOf<ycPelBuffer<yc3PlanePel>>;

class TLVSTD_API yc3PlanePelBuffer_const : public yc_3PlanePelBufferOf<ycPelBuffer_const<yc3PlanePel>> {
public:
    // Over a root: the forms of ycPelBuffer_const (pelbuf.h).
    using yc_3PlanePelBufferOf::yc_3PlanePelBufferOf;
    yc3PlanePelBuffer_const() = default;
    yc3PlanePelBuffer_const(const yc3PlanePelBuffer& other);
    yc3PlanePelBuffer_const(const yc3PlanePelBuffer_const&) = default;
    yc3PlanePelBuffer_const& operator=(const yc3PlanePelBuffer_const&) = default;
    ~yc3PlanePelBuffer_const() override;
};

class TLVSTD_API yc3PlanePelBuffer : public yc_3PlanePelBufferOf<ycPelBuffer<yc3PlanePel>> {
public:
    // New planes, and the forms over a root, of ycPelBuffer (pelbuf.h).
    using yc_3PlanePelBufferOf::yc_3PlanePelBufferOf;
    yc3PlanePelBuffer() = default;
    yc3PlanePelBuffer(const ycPelBuffer<unsigned char>& p0, const ycPelBuffer<unsigned char>& p1,
                      const ycPelBuffer<unsigned char>& p2);
    yc3PlanePelBuffer(const yc3PlanePelBuffer&) = default;
    yc3PlanePelBuffer& operator=(const yc3PlanePelBuffer&) = default;
    ~yc3PlanePelBuffer() override;
};

#endif
