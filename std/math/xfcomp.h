// A sequence of transforms applied one after another.
//
// yc2XformComposed holds members T0, T1, ..., Tk-1 and stands for
// T0 o T1 o ... o Tk-1: the last member is applied first. Members are shared
// read-only transforms; a member given by reference is cloned, or shared when
// the caller's flag asks it and a handle already holds the argument (a
// transform on the stack, or a temporary, is cloned: see xfbase.h).
//
// isLinear() is true only when every member is linear. linearXform(at) chains
// the members' own approximations along the path of `at`, so it is the
// first-order expansion of the whole sequence there. inverseBase() inverts
// every member and reverses the order; composeBase(rhs) appends a clone of rhs
// (rhs applied first). clone() copies the list: the members stay shared.
// Mapping, isLinear and linearXform of an empty sequence are assertions, after
// which it behaves as the identity.
//
// Members may be shared, so a sequence is a graph, not a tree: a chain whose
// every level holds the level below twice is small to store yet names 2^n
// applications. So that no archive and no chain of calls can make the work
// exponential, the stack deep or the graph cyclic:
//   - When the list changes, runs of adjacent linear members are folded into
//     one affine map, and the depth and the work are counted once per
//     member. A linear sequence maps a point with one affine map whatever its
//     graph, and isLinear() and the linear form are kept, not recomputed.
//   - Depth: a sequence is one level deeper than its deepest member sequence
//     (other members count 0). At most kMaxDepth (128).
//   - Work: the transforms applied to map one point, a folded linear run
//     counting one. At most kMaxWork (65536).
//   - invert() and inverseBase() invert each shared member once, so the
//     inverse shares as the original does.
//   A construction, postCompose, preCompose, composeBase or assignment whose
//   result would pass a bound throws yc2XformDefs::NotImplemented and leaves
//   the sequence as it was; loading one throws ycArchive::BadContent. So the
//   writer never meets what a reader refuses: a sequence at the bounds is
//   129 nested records, and readers take up to 1000.
//   - A sequence held as a member of another is read-only: changing it
//     (postCompose, preCompose, invert, assignment, loading) is an assertion
//     failure and leaves it as it was, so no member can be deepened behind
//     its container's count. A sequence made a member of itself is the same
//     assertion; with the rule before it, no sequence can contain itself.
//   Folding fixes the linear members as they are when the list changes: a
//   linear member changed after it was shared (which the family forbids) is
//   not seen.
//
// Archive form (below the yc2XformBase level): version byte 0, a 32-bit
// member count, then each member as an object reference, so a member held
// twice is stored once and reloads as one shared object. A null member, or
// one that leads back to the sequence being read, is ycArchive::BadContent.
// Canonical name "yc2XformComposed".
#ifndef TLVSTD_MATH_XFCOMP_H
#define TLVSTD_MATH_XFCOMP_H

#include "std/math/xfbase.h"

#include <atomic>
#include <cstdint>
#include <vector>

class TLVSTD_API yc2XformComposed : public yc2XformBase {
public:
    static constexpr int kMaxDepth = 128;
    static constexpr std::uint32_t kMaxWork = 65536;

    yc2XformComposed() = default;
    yc2XformComposed(const yc2XformBase& x, bool clone);
    // The list (left, right): right is applied first.
    yc2XformComposed(const yc2XformBase& left, const yc2XformBase& right, bool cloneLeft, bool cloneRight);
    yc2XformComposed(const yc2XformComposed& other);
    yc2XformComposed& operator=(const yc2XformComposed& other);
    ~yc2XformComposed() override;

    // Appends x at the end of the list, so it is applied before all others.
    // With copy false, x is shared if a handle holds it.
    void postCompose(const yc2XformBase& x, bool copy);
    // Puts x at the front, so it is applied after all others.
    void preCompose(const yc2XformBase& x, bool copy);
    // Reverses the list and replaces every member by its inverse.
    void invert();
    void decompose(std::vector<ycPtrHandle_const<yc2XformBase>>& members) const { members = members_; }
    std::size_t size() const { return members_.size(); }
    // The bounded measures above: 1 for a sequence of plain members.
    int depth() const { return depth_; }
    std::uint32_t work() const { return work_; }

    ycVector<2> mapPoint(const ycVector<2>& p) const override;
    bool isLinear() const override;
    yc2XformLinear linearXform(const ycVector<2>& at) const override;
    ycPtrHandle<yc2XformBase> composeBase(const yc2XformBase& rhs) const override;
    ycPtrHandle<yc2XformBase> inverseBase() const override;
    ycPtrHandle<yc2XformBase> clone() const override;

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    static constexpr const char* kSourceName = ycSource::xfcomp;
    using Members = std::vector<ycPtrHandle_const<yc2XformBase>>;

    // What mapping applies, first to last: a folded linear run (member null)
    // or one member that is not linear.
    struct Step {
        ycXform<2> linear;
        const yc2XformBase* member;
    };
    // Everything derived from the list, built aside before the list changes.
    struct Plan {
        std::vector<Step> steps;
        int depth = 1;
        std::uint32_t work = 0;
        bool linear = true;
    };
    enum class Refusal { Compose, Archive };

    static Plan planFor(const Members& members, Refusal refusal);
    // Takes the list and its plan; members that are sequences learn that they are held.
    void adopt(Members members, Plan plan);
    static void countHolders(const Members& members, int delta) noexcept;
    void setMembers(Members members, Refusal refusal);
    // False (after the assertion) when this may not change, or `m` is this.
    bool checkChangeable(const yc2XformBase* m = nullptr) const;
    // x at the front (applied last) or the end (applied first).
    void insert(const yc2XformBase& x, bool copy, bool front);
    struct Inverses;
    // The inverses of `members` in reverse order.
    static Members invertedList(const Members& members, Inverses& done);

    void serialize_(ycArchive& ar, std::uint8_t version) override;
    // False (after the assertion) when there is nothing to apply.
    bool checkNotEmpty() const;

    Members members_;
    std::vector<Step> steps_;
    int depth_ = 1;
    std::uint32_t work_ = 0;
    bool linear_ = true;
    // How many sequences hold this one as a member.
    mutable std::atomic<std::int32_t> holders_{0};
};

#endif
