#include "std/math/xfcomp.h"

#include <algorithm>
#include <unordered_map>

namespace {
using Handle = ycPtrHandle_const<yc2XformBase>;

// The bits of ycXform<2>::mapPoint, on the coordinates apart: a member hands
// its point back in two registers, and reading the two stores back as one
// 16-byte vector stalls.
void affine(const ycXform<2>& f, double& x, double& y)
{
    const ycMatrix<2>& m = f.matrix();
    const double nx = m.element(0, 0) * x + m.element(0, 1) * y + f.trans().x();
    const double ny = m.element(1, 0) * x + m.element(1, 1) * y + f.trans().y();
    x = nx;
    y = ny;
}
} // namespace

yc2XformComposed::yc2XformComposed(const yc2XformBase& x, bool clone)
{
    setMembers({yfShareOrClone(x, !clone)}, Refusal::Compose);
}

yc2XformComposed::yc2XformComposed(const yc2XformBase& left, const yc2XformBase& right, bool cloneLeft,
                                   bool cloneRight)
{
    setMembers({yfShareOrClone(left, !cloneLeft), yfShareOrClone(right, !cloneRight)}, Refusal::Compose);
}

yc2XformComposed::yc2XformComposed(const yc2XformComposed& other)
    : yc2XformBase(other), members_(other.members_), steps_(other.steps_), depth_(other.depth_),
      work_(other.work_), linear_(other.linear_)
{
    countHolders(members_, 1);
}

yc2XformComposed& yc2XformComposed::operator=(const yc2XformComposed& other)
{
    if (this == &other || !checkChangeable()) return *this;
    Plan plan{other.steps_, other.depth_, other.work_, other.linear_};
    adopt(other.members_, std::move(plan));
    return *this;
}

yc2XformComposed::~yc2XformComposed()
{
    countHolders(members_, -1);
}

void yc2XformComposed::countHolders(const Members& members, int delta) noexcept
{
    for (const Handle& m : members) {
        if (const auto* seq = dynamic_cast<const yc2XformComposed*>(m.get()))
            seq->holders_.fetch_add(delta, std::memory_order_relaxed);
    }
}

yc2XformComposed::Plan yc2XformComposed::planFor(const Members& members, Refusal refusal)
{
    Plan plan;
    auto refuse = [refusal] {
        if (refusal == Refusal::Archive) throw ycArchive::BadContent(kSourceName, __LINE__);
        throw yc2XformDefs::NotImplemented();
    };
    for (auto it = members.rbegin(); it != members.rend(); ++it) {
        const yc2XformBase& m = **it;
        std::uint32_t work = 1;
        const auto* seq = dynamic_cast<const yc2XformComposed*>(&m);
        if (seq) {
            plan.depth = std::max(plan.depth, seq->depth_ + 1);
            if (plan.depth > kMaxDepth) refuse();
            work = seq->work_;
        }
        // Only the sequence's own flag: asking its members again is what grows exponentially.
        const bool linear = seq ? seq->linear_ : m.isLinear();
        if (linear) {
            // An empty member sequence applies nothing.
            if (seq && seq->steps_.empty()) continue;
            ycXform<2> form = seq ? seq->steps_.front().linear : m.linearXform(ycVector<2>()).xform();
            if (!plan.steps.empty() && !plan.steps.back().member) {
                plan.steps.back().linear = form * plan.steps.back().linear;
                continue;
            }
            plan.steps.push_back(Step{form, nullptr});
            work = 1;
        } else {
            plan.steps.push_back(Step{ycXform<2>(), &m});
            plan.linear = false;
        }
        if (work > kMaxWork - plan.work) refuse();
        plan.work += work;
    }
    return plan;
}

void yc2XformComposed::adopt(Members members, Plan plan)
{
    countHolders(members, 1);
    mutating();
    members_.swap(members);
    countHolders(members, -1);
    steps_ = std::move(plan.steps);
    depth_ = plan.depth;
    work_ = plan.work;
    linear_ = plan.linear;
}

void yc2XformComposed::setMembers(Members members, Refusal refusal)
{
    Plan plan = planFor(members, refusal);
    adopt(std::move(members), std::move(plan));
}

bool yc2XformComposed::checkChangeable(const yc2XformBase* m) const
{
    const bool ok = holders_.load(std::memory_order_relaxed) == 0 && m != this;
    ymAssert(ok);
    return ok;
}

void yc2XformComposed::insert(const yc2XformBase& x, bool copy, bool front)
{
    if (!checkChangeable()) return;
    Handle m = yfShareOrClone(x, !copy);
    if (!checkChangeable(m.get())) return;
    Members next;
    next.reserve(members_.size() + 1);
    if (front) next.push_back(m);
    next.insert(next.end(), members_.begin(), members_.end());
    if (!front) next.push_back(m);
    setMembers(std::move(next), Refusal::Compose);
}

void yc2XformComposed::postCompose(const yc2XformBase& x, bool copy)
{
    insert(x, copy, false);
}

void yc2XformComposed::preCompose(const yc2XformBase& x, bool copy)
{
    insert(x, copy, true);
}

struct yc2XformComposed::Inverses {
    std::unordered_map<const yc2XformBase*, Handle> of;
};

// Each shared sequence is inverted once, so the result shares as the
// original does and costs what its graph holds, not what its paths number.
yc2XformComposed::Members yc2XformComposed::invertedList(const Members& members, Inverses& done)
{
    Members inverted;
    inverted.reserve(members.size());
    for (auto it = members.rbegin(); it != members.rend(); ++it) {
        const Handle& m = *it;
        const yc2XformBase& member = *m;
        if (typeid(member) != typeid(yc2XformComposed)) {
            inverted.push_back(m->inverseBase());
            continue;
        }
        auto found = done.of.find(m.get());
        if (found == done.of.end()) {
            ycPtrHandle<yc2XformComposed> seq(ymNew yc2XformComposed);
            seq->setMembers(invertedList(static_cast<const yc2XformComposed&>(*m).members_, done), Refusal::Compose);
            found = done.of.emplace(m.get(), std::move(seq)).first;
        }
        inverted.push_back(found->second);
    }
    return inverted;
}

void yc2XformComposed::invert()
{
    if (!checkChangeable()) return;
    // Into a new list, so a member that cannot be inverted leaves this as it was.
    Inverses done;
    setMembers(invertedList(members_, done), Refusal::Compose);
}

bool yc2XformComposed::checkNotEmpty() const
{
    ymAssert(!members_.empty());
    return !members_.empty();
}

ycVector<2> yc2XformComposed::mapPoint(const ycVector<2>& p) const
{
    double x = p.x();
    double y = p.y();
    if (linear_ && steps_.size() == 1) {
        affine(steps_.front().linear, x, y);
        return ycVector<2>(x, y);
    }
    checkNotEmpty();
    for (const Step& s : steps_) {
        if (!s.member) {
            affine(s.linear, x, y);
            continue;
        }
        const ycVector<2> q = s.member->mapPoint(ycVector<2>(x, y));
        x = q.x();
        y = q.y();
    }
    return ycVector<2>(x, y);
}

bool yc2XformComposed::isLinear() const
{
    checkNotEmpty();
    return linear_;
}

yc2XformLinear yc2XformComposed::linearXform(const ycVector<2>& at) const
{
    checkNotEmpty();
    if (linear_) return steps_.empty() ? yc2XformLinear() : yc2XformLinear(steps_.front().linear);
    ycXform<2> product;
    ycVector<2> q = at;
    for (const Step& s : steps_) {
        const ycXform<2> local = s.member ? s.member->linearXform(q).xform() : s.linear;
        q = local.mapPoint(q);
        product = local * product;
    }
    return yc2XformLinear(product);
}

ycPtrHandle<yc2XformBase> yc2XformComposed::composeBase(const yc2XformBase& rhs) const
{
    ycPtrHandle<yc2XformComposed> copy(ymNew yc2XformComposed(*this));
    copy->postCompose(rhs, true);
    return copy;
}

ycPtrHandle<yc2XformBase> yc2XformComposed::inverseBase() const
{
    ycPtrHandle<yc2XformComposed> copy(ymNew yc2XformComposed);
    Inverses done;
    copy->setMembers(invertedList(members_, done), Refusal::Compose);
    return copy;
}

ycPtrHandle<yc2XformBase> yc2XformComposed::clone() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformComposed(*this));
}

void yc2XformComposed::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformComposed::serialize_(ar, version); });
}

void yc2XformComposed::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    yc2XformBase::dispatchSerialize(ar);
    if (ar.isStoring()) {
        std::uint32_t count = static_cast<std::uint32_t>(members_.size());
        ar || count;
        for (auto& m : members_) yfSerializeHandle(ar, m);
        return;
    }
    if (!checkChangeable()) throw ycArchive::BadContent(kSourceName, __LINE__);
    std::uint32_t count = 0;
    std::size_t room = ar.readCount(count, sizeof(std::int32_t));
    Members loaded;
    loaded.reserve(room);
    for (std::uint32_t i = 0; i < count; ++i) {
        yfSerializeHandle(ar, loaded.emplace_back());
        if (!loaded.back()) throw ycArchive::BadContent(kSourceName, __LINE__);
    }
    setMembers(std::move(loaded), Refusal::Archive);
}
