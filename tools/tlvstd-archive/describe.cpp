#include "describe.h"

#include "std/archive/archive.h"
#include "std/except/except.h"
#include "std/except/registry.h"
#include "std/math/matrix.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/imagefile.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/pelbuf/pelroot.h"
#include "std/pelbuf/xfcache.h"
#include "std/util/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

constexpr std::size_t kMaxListItems = 64;

// The nodes of a value not spent yet: objects were spent when they were made,
// and their fields when they were added.
std::uint64_t nodeCount(const Node& value)
{
    if (value.isObject()) return 0;
    std::uint64_t n = 1;
    if (value.isList())
        for (const Node& item : value.items()) n += nodeCount(item);
    return n;
}

// Builds the tree, spending from the budget as it goes, so that a graph that
// expands past the budget stops before it is built.
class Describer {
public:
    explicit Describer(Budget& fields) : fields_(fields) {}

    Node object()
    {
        fields_.spend();
        return Node::object();
    }
    void put(Node& object, std::string name, Node value)
    {
        fields_.spend(nodeCount(value));
        object.add(std::move(name), std::move(value));
    }
    Node describe(const ycPersistent& object);

private:
    void exception(Node& out, const ycException& e);
    void transform(Node& out, const yc2XformBase& x);
    void cache(Node& out, const yc2XformCache& c);
    // Null for a null handle, which no loaded object should hold.
    Node described(const ycPtrHandle_const<yc2XformBase>& x) { return x ? describe(*x) : Node(); }
    // Up to kMaxListItems of `values`, and how many more there were.
    void putList(Node& out, const std::string& name, const std::vector<double>& values);
    template <ycPelType T>
    void rootGeometry(Node& out, const ycPelRoot<T>& r);
    template <ycPelType T>
    void root(Node& out, const ycPelRoot<T>& r);
    template <ycPelType T>
    void buffer(Node& out, const ycPelBuffer_const<T>& b);
    template <ycPelType T>
    Node stats(const ycPelBuffer_const<T>& b, std::span<const char* const> names);

    Budget& fields_;
};

// --- pels ------------------------------------------------------------------------

// How a pel splits into channels for statistics.
template <class T>
struct PelChannels {
    using Value = T;
    static std::array<T, 1> of(T p) { return {p}; }
};
template <>
struct PelChannels<ycPackedRGB16Pel> {
    using Value = std::uint16_t;
    static std::array<Value, 1> of(ycPackedRGB16Pel p) { return {p.value()}; }
};
template <>
struct PelChannels<ycPackedRGB32Pel> {
    using Value = unsigned char;
    static std::array<Value, 4> of(ycPackedRGB32Pel p) { return {p.red, p.green, p.blue, p.fourth}; }
};
template <class U>
struct PelChannels<ycPair<U>> {
    using Value = U;
    static std::array<U, 2> of(ycPair<U> p) { return {p.first, p.second}; }
};
template <>
struct PelChannels<yc3PlanePel> {
    using Value = unsigned char;
    static std::array<Value, 3> of(yc3PlanePel p) { return {p.plane0, p.plane1, p.plane2}; }
};

constexpr const char* kRGB32Names[] = {"red", "green", "blue", "fourth"};
constexpr const char* kPairNames[] = {"x", "y"};

std::span<const char* const> planeNames(ycColorSpaceDefs::ColorSpace c)
{
    static constexpr const char* kRGB[] = {"red", "green", "blue"};
    static constexpr const char* kHSI[] = {"hue", "saturation", "intensity"};
    static constexpr const char* kYUV[] = {"y", "u", "v"};
    if (c == ycColorSpaceDefs::HSI) return kHSI;
    if (c == ycColorSpaceDefs::YUV) return kYUV;
    return kRGB;
}

// Channel names of a pel type; three-plane pels as RGB, the library's default.
template <ycPelType T>
std::span<const char* const> channelNames()
{
    if constexpr (std::is_same_v<T, ycPackedRGB32Pel>) return kRGB32Names;
    else if constexpr (std::is_same_v<T, yc3PlanePel>) return planeNames(ycColorSpaceDefs::RGB);
    else if constexpr (yc_OneOf<T, ycPair<std::int32_t>, ycPair<float>>) return kPairNames;
    else return {};
}

template <class V>
class ChannelStats {
    static constexpr bool kReal = std::is_floating_point_v<V>;
    // A row of at most 2^31 pels sums exactly in 64 bits.
    using Whole = std::conditional_t<std::is_signed_v<V>, std::int64_t, std::uint64_t>;
    using RowSum = std::conditional_t<kReal, double, Whole>;

public:
    void add(V v)
    {
        if constexpr (kReal) {
            if (std::isnan(v)) {
                ++nans_;
                return;
            }
        }
        if (count_ == 0 || v < min_) min_ = v;
        if (count_ == 0 || v > max_) max_ = v;
        ++count_;
        row_ += v;
    }
    void endRow()
    {
        total_ += static_cast<double>(row_);
        row_ = 0;
    }
    Node node(Describer& d) const
    {
        Node out = d.object();
        d.put(out, "min", count_ ? Node(min_) : Node());
        d.put(out, "max", count_ ? Node(max_) : Node());
        d.put(out, "mean", count_ ? Node(total_ / static_cast<double>(count_)) : Node());
        if constexpr (kReal) d.put(out, "nanCount", nans_);
        return out;
    }

private:
    V min_{};
    V max_{};
    RowSum row_ = 0;
    double total_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t nans_ = 0;
};

template <class T>
T pelAt(const T* row, std::int32_t c)
{
    return row[c];
}
yc3PlanePel pelAt(const yc3PlanePelPtr_const& row, std::int32_t c)
{
    return {row.plane0[c], row.plane1[c], row.plane2[c]};
}

// A view of the whole of `root`, which no handle need hold: a second root
// wraps its pels (alignment 1 accepts any address), so the view must not
// outlive `root`.
template <ycPelType T>
ycPelBuffer_const<T> viewOf(const ycPelRoot<T>& root)
{
    return ycPelBuffer_const<T>(
        ycPtrHandle<ycPelRoot<T>>(new ycPelRoot<T>(root.width(), root.height(), root.rowUpdate(), root.pels(), 1)));
}

// Calls onRoot(r) for a ycPelRoot<T>, onBuffer(b) for a ycPelBuffer_const<T>
// or a class derived from it; false for anything else.
template <class OnRoot, class OnBuffer>
bool visitPels(const ycPersistent& object, OnRoot&& onRoot, OnBuffer&& onBuffer)
{
    bool found = false;
    ycPelTypes::forEach([&]<class T>(std::type_identity<T>) {
        if (found) return;
        if (const auto* r = dynamic_cast<const ycPelRoot<T>*>(&object)) {
            found = true;
            onRoot(*r);
        } else if (const auto* b = dynamic_cast<const ycPelBuffer_const<T>*>(&object)) {
            found = true;
            onBuffer(*b);
        }
    });
    return found;
}

std::string className(const ycPersistent& object)
{
    return yfTypeName(typeid(object));
}

// --- description -----------------------------------------------------------------

Node Describer::describe(const ycPersistent& object)
{
    Node out = this->object();
    put(out, "class", className(object));
    if (const auto* e = dynamic_cast<const ycException*>(&object)) {
        exception(out, *e);
    } else if (const auto* x = dynamic_cast<const yc2XformBase*>(&object)) {
        transform(out, *x);
    } else if (const auto* c = dynamic_cast<const yc2XformCache*>(&object)) {
        cache(out, *c);
    } else {
        visitPels(object, [&](const auto& r) { root(out, r); }, [&](const auto& b) { buffer(out, b); });
    }
    return out;
}

void Describer::exception(Node& out, const ycException& e)
{
    put(out, "errorNumber", e.errorNumber());
    put(out, "message", yfToUtf8(e.message(true)));
    if (const auto* s = dynamic_cast<const ycExceptionWithString*>(&e)) put(out, "info", yfToUtf8(s->info()));
    if (const auto* a = dynamic_cast<const ycArchive::Errors*>(&e)) {
        put(out, "file", yfToUtf8(a->file()));
        put(out, "line", a->line());
    }
    if (const auto* u = dynamic_cast<const ycArchive::UnknownType*>(&e)) put(out, "typeName", u->name());
}

template <int N>
Node rows(const yc_SquareMatrix<N>& m)
{
    Node out = Node::list();
    for (int r = 0; r < N; ++r) {
        Node& row = out.push(Node::list());
        for (int c = 0; c < N; ++c) row.push(m.element(r, c));
    }
    return out;
}

void Describer::transform(Node& out, const yc2XformBase& x)
{
    if (const auto* comp = dynamic_cast<const yc2XformComposed*>(&x)) {
        // isLinear of an empty sequence is an assertion; it stands for the identity.
        put(out, "isLinear", comp->size() == 0 || comp->isLinear());
        std::vector<ycPtrHandle_const<yc2XformBase>> members;
        comp->decompose(members);
        Node list = Node::list();
        for (const auto& m : members) list.push(described(m));
        put(out, "members", std::move(list));
        return;
    }
    put(out, "isLinear", x.isLinear());
    if (const auto* lin = dynamic_cast<const yc2XformLinear*>(&x)) {
        put(out, "matrix", rows(lin->matrix()));
        put(out, "vector", Node::List{lin->trans().x(), lin->trans().y()});
    } else if (const auto* persp = dynamic_cast<const yc2XformPerspective*>(&x)) {
        put(out, "matrix", rows(persp->matrix()));
    } else if (const auto* poly = dynamic_cast<const yc2XformPoly*>(&x)) {
        put(out, "degree", poly->degree());
        putList(out, "xCoefficients", poly->xCoefficients());
        putList(out, "yCoefficients", poly->yCoefficients());
    }
}

void Describer::putList(Node& out, const std::string& name, const std::vector<double>& values)
{
    const std::size_t shown = std::min(values.size(), kMaxListItems);
    put(out, name, Node::List(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(shown)));
    if (shown < values.size()) put(out, name + "Omitted", values.size() - shown);
}

void Describer::cache(Node& out, const yc2XformCache& c)
{
    put(out, "isLinear", c.isLinear());
    put(out, "clientFromImage", described(c.xform()));
    put(out, "imageFromClient", c.hasInverse() ? described(c.xformInverse()) : Node());
}

// What a buffer's nested root shows: all but the statistics, which the
// buffer gives for its window.
template <ycPelType T>
void Describer::rootGeometry(Node& out, const ycPelRoot<T>& r)
{
    put(out, "pelType", yfPelTypeName<T>());
    put(out, "width", r.width());
    put(out, "height", r.height());
    put(out, "rowUpdate", r.rowUpdate());
    put(out, "alignModulus", r.alignModulus());
}

template <ycPelType T>
void Describer::root(Node& out, const ycPelRoot<T>& r)
{
    rootGeometry(out, r);
    put(out, "stats", r.width() > 0 ? stats(viewOf(r), channelNames<T>()) : Node());
}

template <ycPelType T>
void Describer::buffer(Node& out, const ycPelBuffer_const<T>& b)
{
    const ycPelRect& w = b.windowRoot();
    put(out, "pelType", yfPelTypeName<T>());
    put(out, "bound", b.isBound());
    put(out, "size", Node::List{b.width(), b.height()});
    put(out, "windowRoot", Node::List{w.x(), w.y(), w.width(), w.height()});
    put(out, "offset", Node::List{b.offset().x(), b.offset().y()});
    put(out, "rowUpdate", b.isBound() ? Node(b.rowUpdate()) : Node());
    std::span<const char* const> names = channelNames<T>();
    if constexpr (std::is_same_v<T, yc3PlanePel>) {
        using Const = yc_3PlanePelBufferOf<ycPelBuffer_const<yc3PlanePel>>;
        using Writable = yc_3PlanePelBufferOf<ycPelBuffer<yc3PlanePel>>;
        ycColorSpaceDefs::ColorSpace space = ycColorSpaceDefs::RGB;
        if (const auto* c = dynamic_cast<const Const*>(&b)) space = c->colorSpace();
        if (const auto* c = dynamic_cast<const Writable*>(&b)) space = c->colorSpace();
        put(out, "colorSpace", yfToUtf8(ycColorSpaceDefs::name(space)));
        names = planeNames(space);
    }
    put(out, "clientFromImage", described(b.clientFromImageXformBase()));
    Node root;
    if (b.isBound()) {
        root = object();
        put(root, "class", className(*b.root()));
        rootGeometry(root, *b.root());
    }
    put(out, "root", std::move(root));
    put(out, "stats", stats(b, names));
}

// Statistics of the window in one pass; null when it holds no pels. A plain
// loop: the library's minimum and maximum serve four pel types, a pass each.
template <ycPelType T>
Node Describer::stats(const ycPelBuffer_const<T>& b, std::span<const char* const> names)
{
    if (!b.isBound() || b.windowRoot().isEmpty()) return Node();
    using Channels = PelChannels<T>;
    using Values = decltype(Channels::of(T{}));
    std::array<ChannelStats<typename Channels::Value>, std::tuple_size_v<Values>> channels;
    for (std::int32_t r = 0; r < b.height(); ++r) {
        const auto row = b.pointToRow(b.offset().y() + r);
        for (std::int32_t c = 0; c < b.width(); ++c) {
            const Values v = Channels::of(pelAt(row, c));
            for (std::size_t k = 0; k < v.size(); ++k) channels[k].add(v[k]);
        }
        for (auto& s : channels) s.endRow();
    }
    if (channels.size() == 1) return channels[0].node(*this);
    Node out = object();
    for (std::size_t k = 0; k < channels.size(); ++k) put(out, names[k], channels[k].node(*this));
    return out;
}

// --- PNG -------------------------------------------------------------------------

template <class T>
constexpr bool kPngPel = yc_OneOf<T, unsigned char, unsigned short, ycPackedRGB32Pel, yc3PlanePel>;

[[noreturn]] void refuse(const ycPersistent& object, const char* why)
{
    throw std::invalid_argument(className(object) + why);
}

} // namespace

Node describe(const ycPersistent& object, Budget& fields)
{
    return Describer(fields).describe(object);
}

void writePng(const ycPersistent& object, const std::filesystem::path& path)
{
    constexpr const char* kKinds = " has no PNG form: a PNG holds 8 or 16-bit grey, RGB32 or three-plane pels";
    const bool pels = visitPels(
        object,
        [&]<class T>(const ycPelRoot<T>& r) {
            if constexpr (!kPngPel<T>) {
                refuse(object, kKinds);
            } else {
                if (r.width() == 0) refuse(object, " is empty: it has no pels to write");
                yfWriteImage(path, viewOf(r), ycImageFileFormat::png);
            }
        },
        [&]<class T>(const ycPelBuffer_const<T>& b) {
            if constexpr (!kPngPel<T>) {
                refuse(object, kKinds);
            } else {
                if (!b.isBound()) refuse(object, " is unbound: it has no pels to write");
                if (b.windowRoot().isEmpty()) refuse(object, " has an empty window: it has no pels to write");
                yfWriteImage(path, b, ycImageFileFormat::png);
            }
        });
    if (!pels) refuse(object, " is not an image: only pel buffers and pel roots go to a PNG");
}
