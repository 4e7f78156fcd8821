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
// Archive form (below the yc2XformBase level): version byte 0, a 32-bit
// member count, then each member as an object reference, so a member held
// twice is stored once and reloads as one shared object. A null member, or
// one that leads back to the sequence being read, is ycArchive::BadContent.
// Canonical name "yc2XformComposed".
#ifndef TLVSTD_MATH_XFCOMP_H
#define TLVSTD_MATH_XFCOMP_H

#include "std/math/xfbase.h"

#include <vector>

class TLVSTD_API yc2XformComposed : public yc2XformBase {
public:
    yc2XformComposed() = default;
    yc2XformComposed(const yc2XformBase& x, bool clone);
    // The list (left, right): right is applied first.
    yc2XformComposed(const yc2XformBase& left, const yc2XformBase& right, bool cloneLeft, bool cloneRight);
    yc2XformComposed(const yc2XformComposed&) = default;
    yc2XformComposed& operator=(const yc2XformComposed&) = default;
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

    void serialize_(ycArchive& ar, std::uint8_t version) override;
    // False (after the assertion) when there is nothing to apply.
    bool checkNotEmpty() const;

    std::vector<ycPtrHandle_const<yc2XformBase>> members_;
};

#endif
