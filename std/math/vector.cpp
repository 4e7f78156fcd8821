#include "std/math/vector.h"

namespace {
constexpr const char* kSourceName = ycSource::vector;

// Reads into a copy, so a load cut short leaves the vector as it was.
template <int N>
ycArchive& transfer(ycArchive& ar, ycVector<N>& v, int line)
{
    std::uint8_t version = 0;
    ar || version;
    if (ar.isLoading() && version != 0) throw ycArchive::UnknownVersion(kSourceName, line);
    ycVector<N> w = v;
    for (int i = 0; i < N; ++i) ar || w[i];
    v = w;
    return ar;
}
} // namespace

ycArchive& operator||(ycArchive& ar, ycVector<2>& v)
{
    return transfer(ar, v, __LINE__);
}

ycArchive& operator||(ycArchive& ar, ycVector<3>& v)
{
    return transfer(ar, v, __LINE__);
}
