// Packing and unpacking of colour pels.
#include "std/pelbuf/pelcolor.h"

#include "core/yconvert.h"

#include <array>
#include <cstdint>

namespace {

using Planes_const = ycPelBuffer_const<unsigned char>;
using Packed32_const = ycPelBuffer_const<ycPackedRGB32Pel>;
using Channel = unsigned char ycPackedRGB32Pel::*;

// Channel numbers count from red.
constexpr std::array<Channel, 4> kChannels = {&ycPackedRGB32Pel::red, &ycPackedRGB32Pel::green,
                                              &ycPackedRGB32Pel::blue, &ycPackedRGB32Pel::fourth};

void channelRow(const ycPackedRGB32Pel* s, unsigned char* d, std::int32_t n, Channel c)
{
    for (std::int32_t i = 0; i < n; ++i) d[i] = s[i].*c;
}

void splitRow(const ycPackedRGB32Pel* s, unsigned char* p0, unsigned char* p1, unsigned char* p2, std::int32_t n)
{
    channelRow(s, p0, n, kChannels[0]);
    channelRow(s, p1, n, kChannels[1]);
    channelRow(s, p2, n, kChannels[2]);
}

// Packs three planes of one window into `dst` with `pel(r, g, b)`.
template <ycPelType D, class Pel>
void pack(const Planes_const& r, const Planes_const& g, const Planes_const& b, ycPelBuffer<D>& dst, Pel pel)
{
    for (const Planes_const* p : {&r, &g, &b}) {
        if (!p->isBound()) throw ycPel::UnboundWindow();
    }
    const ycPelRect w = r.window();
    if (g.window() != w || b.window() != w) throw ycPel::BadWindow();
    if (w.isEmpty()) {
        if (dst.isBound()) dst.subWindow(0, 0, 0, 0);
        return;
    }
    if (!dst.isBound() || dst.window() != w) dst = ycPelBuffer<D>(w, 32);
    for (std::int32_t y = w.y(); y < w.y() + w.height(); ++y) {
        const unsigned char* pr = r.pointToRow(y);
        const unsigned char* pg = g.pointToRow(y);
        const unsigned char* pb = b.pointToRow(y);
        D* d = dst.pointToRow(y);
        for (std::int32_t i = 0; i < w.width(); ++i) d[i] = pel(pr[i], pg[i], pb[i]);
    }
    dst.copyXforms(r);
}

class ChannelKernel : public yc_Kernel_1s1d<ycPackedRGB32Pel, unsigned char> {
public:
    explicit ChannelKernel(Channel c) : channel_(c) {}
    void process(const ycPackedRGB32Pel* s, unsigned char* d, std::int32_t n) override
    {
        channelRow(s, d, n, channel_);
    }

private:
    Channel channel_;
};

// Products are tabled per channel: the same doubles the formula gives, added
// in the same order.
class ByteOf16Kernel : public yc_Kernel_1s1d<unsigned short, unsigned char> {
public:
    explicit ByteOf16Kernel(int shift) : shift_(shift) {}
    void process(const unsigned short* s, unsigned char* d, std::int32_t n) override
    {
        for (std::int32_t i = 0; i < n; ++i) d[i] = static_cast<unsigned char>((s[i] >> shift_) & 0xFF);
    }

private:
    int shift_;
};

} // namespace

void yfRGBPack(const ycPelBuffer_const<unsigned char>& r, const ycPelBuffer_const<unsigned char>& g,
               const ycPelBuffer_const<unsigned char>& b, ycPelBuffer<ycPackedRGB32Pel>& dst, unsigned char fourth)
{
    pack(r, g, b, dst, [=](unsigned char pr, unsigned char pg, unsigned char pb) {
        return ycPackedRGB32Pel(pr, pg, pb, fourth);
    });
}

void yfRGBPack(const ycPelBuffer_const<unsigned char>& r, const ycPelBuffer_const<unsigned char>& g,
               const ycPelBuffer_const<unsigned char>& b, ycPelBuffer<ycPackedRGB16Pel>& dst)
{
    pack(r, g, b, dst, [](unsigned char pr, unsigned char pg, unsigned char pb) {
        return ycPackedRGB16Pel(static_cast<std::uint16_t>((pr >> 3) << 11 | (pg >> 2) << 5 | pb >> 3));
    });
}

void yfRGBPack(const yc3PlanePelBuffer_const& src, ycPelBuffer<ycPackedRGB32Pel>& dst, unsigned char fourth)
{
    if (!src.isBound()) throw ycPel::UnboundWindow();
    yfRGBPack(src.plane0(), src.plane1(), src.plane2(), dst, fourth);
}

void yfRGBSeparateColorPlanes(const ycPelBuffer_const<ycPackedRGB32Pel>& src, ycPelBuffer<unsigned char>& plane0,
                              ycPelBuffer<unsigned char>& plane1, ycPelBuffer<unsigned char>& plane2)
{
    Packed32_const s = src;
    const ycPelRect c = yf_PelPrepare({&s}, {&plane0, &plane1, &plane2});
    if (c.isEmpty()) return;
    for (ycPelBuffer<unsigned char>* p : {&plane0, &plane1, &plane2}) yf_PelAllocAt(*p, c);
    for (std::int32_t y = c.y(); y < c.y() + c.height(); ++y) {
        splitRow(s.pointToRow(y), plane0.pointToRow(y), plane1.pointToRow(y), plane2.pointToRow(y), c.width());
    }
    for (ycPelBuffer<unsigned char>* p : {&plane0, &plane1, &plane2}) p->copyXforms(s);
}

void yfRGBSeparateColorPlanes(const ycPelBuffer_const<ycPackedRGB32Pel>& src, yc3PlanePelBuffer& dst)
{
    Packed32_const s = src;
    const ycPelRect c = yf_PelPrepare({&s}, {&dst});
    if (c.isEmpty()) return;
    if (!dst.isBound()) dst = yc3PlanePelBuffer(c, 32);
    for (std::int32_t y = c.y(); y < c.y() + c.height(); ++y) {
        const yc3PlanePelPtr d = dst.pointToRow(y);
        splitRow(s.pointToRow(y), d.plane0, d.plane1, d.plane2, c.width());
    }
    dst.copyXforms(s);
}

void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, std::int32_t channel,
                  ycPelBuffer<unsigned char>& dst)
{
    if (channel < 0 || channel > 3) throw ycPelFunc::BadParams();
    Packed32_const s = src;
    ChannelKernel kernel(kChannels[static_cast<std::size_t>(channel)]);
    yf_PelApply_1s1d(s, dst, kernel);
}

void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, double cr, double cg, double cb,
                  ycPelBuffer<unsigned char>& dst)
{
    // c4 * X is +0.0 whatever X, which changes no rounded sum.
    yfRGBExtract(src, cr, cg, cb, 0.0, dst);
}

void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, double cr, double cg, double cb, double c4,
                  ycPelBuffer<unsigned char>& dst)
{
    Packed32_const s = src;
    yf_PelApplyCore_1s1d(s, dst, [=](const yimg_image* x, yimg_image* d) {
        return yip_pelAdd3Weighted8(x, d, cr, cg, cb, c4);
    });
}

ycPelBuffer<unsigned char> yf_extract8BitImage(const ycPelBuffer_const<unsigned short>& src, std::int32_t k)
{
    if (k < 0 || k > 8) throw ycPelFunc::BadParams();
    ycPelBuffer_const<unsigned short> s = src;
    ycPelBuffer<unsigned char> out;
    ByteOf16Kernel kernel(k);
    yf_PelApply_1s1d(s, out, kernel);
    return out;
}
