// What pel buffers keep of their arguments: transforms given by reference
// are cloned unless a handle holds them and sharing is asked; roots given by
// handle or owner are held, a root given by pointer only when a handle
// already holds it. Stack objects and temporaries are used throughout, so a
// kept address would be read after its scope, or freed, under
// AddressSanitizer.
#include "pelvalues.h"

#include "std/math/xfpersp.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using Const = ycPtrHandle_const<yc2XformBase>;

template <class B>
class PelBufferKeeping : public ::testing::Test {};
using Buffers = ::testing::Types<ycPelBuffer<unsigned char>, ycPelBuffer_const<unsigned char>, yc3PlanePelBuffer,
                                 yc3PlanePelBuffer_const, ycPelBuffer<float>>;
TYPED_TEST_SUITE(PelBufferKeeping, Buffers);

const ycMatrix<2> kM(2, 1, 0, 3);
const ycVector<2> kT(5, -1);
const ycMatrix<3> kH(1, 0.2, 3, 0, 1, -2, 0.01, 0.02, 1);

// The setters that take a reference, and which way each sets.
struct Setter {
    const char* name;
    bool imageFromClient;
    std::function<void(yc_PelBuffer&, const yc2XformBase&)> set;
};
const Setter kSetters[] = {
    {"clientFromImage(x)", false, [](yc_PelBuffer& b, const yc2XformBase& x) { b.clientFromImageXformBase(x); }},
    {"imageFromClient(x)", true, [](yc_PelBuffer& b, const yc2XformBase& x) { b.imageFromClientXformBase(x); }},
};

// After the argument is gone the buffer maps both ways as x did.
void expectMapsLike(const yc_PelBuffer& b, const yc2XformBase& x, bool imageFromClient, const std::string& what)
{
    const yc2XformBase& forward = imageFromClient ? *b.imageFromClientXformBase() : *b.clientFromImageXformBase();
    const yc2XformBase& back = imageFromClient ? *b.clientFromImageXformBase() : *b.imageFromClientXformBase();
    for (const ycVector<2>& p : {ycVector<2>(0, 0), ycVector<2>(1, 2), ycVector<2>(-3, 4)}) {
        EXPECT_TRUE(yfRealEq(forward.mapPoint(p), x.mapPoint(p), 1e-12)) << what;
        EXPECT_TRUE(yfRealEq(back.mapPoint(forward.mapPoint(p)), p, 1e-9)) << what;
    }
}

TYPED_TEST(PelBufferKeeping, TransformSettersCloneWhatNoHandleHolds)
{
    using B = TypeParam;
    const yc2XformLinear linear(kM, kT);
    const yc2XformPerspective persp(kH);
    for (const Setter& s : kSetters) {
        B b;
        {
            const yc2XformPerspective onStack(kH);
            s.set(b, onStack);
        }
        expectMapsLike(b, persp, s.imageFromClient, std::string(s.name) + ", stack");
        s.set(b, yc2XformLinear(kM, kT));
        expectMapsLike(b, linear, s.imageFromClient, std::string(s.name) + ", temporary");
        // A copy made after the argument died holds the same kept transform.
        const B copy = b;
        expectMapsLike(copy, linear, s.imageFromClient, std::string(s.name) + ", copy");
    }

    // The handle forms share when asked and clone otherwise.
    for (bool copy : {false, true}) {
        B b;
        Const held(new yc2XformPerspective(kH));
        b.clientFromImageXformBase(held, copy);
        EXPECT_EQ(b.clientFromImageXformBase() == held, !copy);
        b.imageFromClientXformBase(held, copy);
        EXPECT_EQ(b.imageFromClientXformBase() == held, !copy);
        held = nullptr;
        expectMapsLike(b, persp, true, copy ? "handle, copied" : "handle, shared");
    }
}

// Every root form reads the same pels after the caller's handle is gone; a
// root that nothing holds, given by pointer, is refused and left alone.
TYPED_TEST(PelBufferKeeping, RootFormsHoldOrRefuseButNeverAdoptByPointer)
{
    using B = TypeParam;
    using Root = typename B::RootType;
    using T = typename B::value_type;
    const T value = pelValues<T>(1, 7)[0];
    const auto makeRoot = [&] {
        ycPtrHandle<Root> root(new Root(3, 2, 4));
        ycPelBuffer<T>(root).put(2, 1, value);
        return root;
    };

    const std::function<B(ycPtrHandle<Root>)> forms[] = {
        [](ycPtrHandle<Root> r) { return B(r); },
        [](ycPtrHandle<Root> r) { return B(r.get()); }, // a handle holds it: shared
        [](ycPtrHandle<Root> r) {
            ycPelBuffer<T> only(r);
            r = nullptr;
            return B(only.disconnectRoot()); // adopted from its owner
        },
    };
    for (const auto& form : forms) {
        ycPtrHandle<Root> root = makeRoot();
        const Root* at = root.get();
        B b = form(std::move(root));
        EXPECT_EQ(b.root(), at);
        EXPECT_EQ(b.refc(), 1);
        EXPECT_EQ(b.windowRoot(), ycPelRect(0, 0, 3, 2));
        EXPECT_TRUE(b.get(2, 1) == value);
        b.repInvariant();
    }

    // Nothing holds it: no adoption, the maker still owns it.
    Root* loose = new Root(3, 2, 4);
    EXPECT_THROW(B{loose}, ycAssertFailure);
    EXPECT_EQ(loose->refCount(), 0);
    ycPtrHandle<Root> cleanup(loose);

    EXPECT_FALSE(B(static_cast<Root*>(nullptr)).isBound());
    EXPECT_FALSE(B(ycPtrHandle<Root>()).isBound());
}

} // namespace
