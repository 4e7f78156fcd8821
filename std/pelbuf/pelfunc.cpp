// Window preparation of the pixel operations.
#include "std/pelbuf/pelfunc.h"

#include <cstdint>

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

    // On the views as given, before any window moves: a sub-window of a
    // source would become the very same view once both are narrowed.
    if (!empty) {
        for (const yc_PelBuffer* d : destinations) {
            if (!d->isBound()) continue;
            for (const yc_PelBuffer* s : sources) {
                if (*s != *d && s->sharesPels(*d)) throw ycPelFunc::Overlap();
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
