// Test entry: every broken precondition throws ycAssertFailure, so no test
// runs past one and each assertion point can be checked with EXPECT_THROW.
#include "std/except/except.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    yfSetAssertHandler(&yfThrowingAssertHandler);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
