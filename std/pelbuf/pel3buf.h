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
// A writable colour buffer converts to the read-only one, keeping its tag.
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

class yc3PlanePelBuffer;

class TLVSTD_API yc3PlanePelBuffer_const : public ycPelBuffer_const<yc3PlanePel> {
public:
    using ColorSpace = ycColorSpaceDefs::ColorSpace;

    yc3PlanePelBuffer_const() = default;
    explicit yc3PlanePelBuffer_const(RootType* root) : ycPelBuffer_const(root) {}
    yc3PlanePelBuffer_const(const yc3PlanePelBuffer& other);
    yc3PlanePelBuffer_const(const yc3PlanePelBuffer_const&) = default;
    yc3PlanePelBuffer_const& operator=(const yc3PlanePelBuffer_const&) = default;
    ~yc3PlanePelBuffer_const() override;

    ycPelBuffer_const<unsigned char> plane0() const;
    ycPelBuffer_const<unsigned char> plane1() const;
    ycPelBuffer_const<unsigned char> plane2() const;

    ColorSpace colorSpace() const { return colorSpace_; }
    void colorSpace(ColorSpace c);

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    ColorSpace colorSpace_ = ycColorSpaceDefs::RGB;
};

class TLVSTD_API yc3PlanePelBuffer : public ycPelBuffer<yc3PlanePel> {
public:
    using ColorSpace = ycColorSpaceDefs::ColorSpace;

    yc3PlanePelBuffer() = default;
    yc3PlanePelBuffer(std::int32_t width, std::int32_t height, std::int32_t alignModulus = kDefaultAlign)
        : ycPelBuffer(width, height, alignModulus)
    {
    }
    explicit yc3PlanePelBuffer(RootType* root) : ycPelBuffer(root) {}
    yc3PlanePelBuffer(const ycPelBuffer<unsigned char>& p0, const ycPelBuffer<unsigned char>& p1,
                      const ycPelBuffer<unsigned char>& p2);
    yc3PlanePelBuffer(const yc3PlanePelBuffer&) = default;
    yc3PlanePelBuffer& operator=(const yc3PlanePelBuffer&) = default;
    ~yc3PlanePelBuffer() override;

    ycPelBuffer<unsigned char> plane0() const;
    ycPelBuffer<unsigned char> plane1() const;
    ycPelBuffer<unsigned char> plane2() const;

    ColorSpace colorSpace() const { return colorSpace_; }
    void colorSpace(ColorSpace c);

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    ColorSpace colorSpace_ = ycColorSpaceDefs::RGB;
};

#endif
