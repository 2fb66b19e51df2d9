#include <cstdlib>
#include <gtest/gtest.h>

// The same inputs in every run, unless the caller wants others: a test must not fail for a change that has nothing to do with
// it. What a run of other inputs finds becomes an ordinary test.
int main(int argumentCount, char** arguments) {
    setenv("RC_PARAMS", "max_success=500 seed=20261122", 0);
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
