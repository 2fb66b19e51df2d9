#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

// Constructors and destructors of static objects run before and after main, in an order that a program can
// hardly control: the parts of the framework that they use must exist by then.

class StaticLife : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(StaticLife, IsLongerThanThatOfAnyStaticObject) {
    const std::string command = std::string("VICTIM_MOMENT=") + GetParam().first +
                                " VICTIM_DEED=" + GetParam().second + " exec " STATIC_LIFE_VICTIM;
    const int status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

INSTANTIATE_TEST_SUITE_P(
    KFExceptionHandler, StaticLife,
    testing::Values(std::pair("constructor", "instance"), std::pair("constructor", "check"),
                    std::pair("destructor", "instance"), std::pair("destructor", "check")),
    [](const auto& tested) { return std::string(tested.param.second) + "_in_" + tested.param.first; });
