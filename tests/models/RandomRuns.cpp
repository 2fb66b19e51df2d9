#include <cstdlib>
#include <gtest/gtest.h>

// The inputs are the same in every run, unless the caller sets RC_PARAMS: a test must not fail because of an
// unrelated change. A failure that other inputs find becomes an ordinary test.
int main(int argumentCount, char** arguments) {
    setenv("RC_PARAMS", "max_success=500 seed=20261122", 0);
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
