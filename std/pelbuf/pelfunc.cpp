// Window preparation of the pixel operations.
#include "std/pelbuf/pelfunc.h"

#include <cstdint>

namespace {

// The rectangle of `b`'s root that image rectangle `r` covers.
ycPelRect rootRect(const yc_PelBuffer& b, const ycPelRect& r)
{
    const std::int64_t dx = std::int64_t{b.offsetRoot().x()} - b.offset().x();
    const std::int64_t dy = std::int64_t{b.offsetRoot().y()} - b.offset().y();
    return ycPelRect(static_cast<std::int32_t>(r.x() + dx), static_cast<std::int32_t>(r.y() + dy), r.width(),
                     r.height());
}

} // namespace

ycPelRect yf_PelPrepare(std::initializer_list<yc_PelBuffer*> sources, std::initializer_list<yc_PelBuffer*> destinations)
{
    for (const yc_PelBuffer* s : sources) {
        if (!s->isBound()) throw ycPel::UnboundWindow();
    }
    ycPelRect common = (*sources.begin())->window();
    for (const yc_PelBuffer* s : sources) common = common.intersect(s->window());
    for (const yc_PelBuffer* d : destinations) {
        if (d->isBound()) common = common.intersect(d->window());
    }
    const bool empty = common.isEmpty();

    // Checked on the windows the operands are about to get, before any moves.
    if (!empty) {
        for (const yc_PelBuffer* d : destinations) {
            if (!d->isBound()) continue;
            const ycPelRect dr = rootRect(*d, common);
            for (const yc_PelBuffer* s : sources) {
                if (s->root() != d->root()) continue;
                const ycPelRect sr = rootRect(*s, common);
                if (sr != dr && sr.overlaps(dr)) throw ycPelFunc::Overlap();
            }
        }
    }

    auto narrow = [&](yc_PelBuffer& b) {
        if (empty) {
            b.subWindow(0, 0, 0, 0);
        } else {
            b.window(common, false);
        }
    };
    for (yc_PelBuffer* s : sources) narrow(*s);
    for (yc_PelBuffer* d : destinations) {
        if (d->isBound()) narrow(*d);
    }
    return empty ? ycPelRect() : common;
}
