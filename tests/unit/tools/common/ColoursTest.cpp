#include "Colours.h"

#include "Terminal.h"

#include <cstdlib>
#include <gtest/gtest.h>

using Zevo::Colours;
using Zevo::takesColours;

namespace {

class ColoursTest : public ::testing::Test {
protected:
    ColoursTest() {
        unsetenv("NO_COLOR");
        setenv("TERM", "xterm", 1);
    }
    ~ColoursTest() override {
        unsetenv("NO_COLOR");
        unsetenv("TERM");
    }
    Terminal m_terminal;
};

} // namespace

TEST_F(ColoursTest, ATerminalTakesThem) {
    EXPECT_TRUE(takesColours(m_terminal.stream()));
}

TEST_F(ColoursTest, AFileDoesNot) {
    std::FILE* const file = std::tmpfile();
    EXPECT_FALSE(takesColours(file));
    std::fclose(file);
}

TEST_F(ColoursTest, NoneOnATerminalWhoseUserObjects) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(takesColours(m_terminal.stream()));
}

TEST_F(ColoursTest, AnEmptyObjectionIsNone) {
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(takesColours(m_terminal.stream()));
}

TEST_F(ColoursTest, NoneOnADumbTerminal) {
    setenv("TERM", "dumb", 1);
    EXPECT_FALSE(takesColours(m_terminal.stream()));
}

TEST_F(ColoursTest, StandAroundATextAndEndBehindIt) {
    EXPECT_EQ(Colours(true).error("bad"), "\033[1;31mbad\033[0m");
    EXPECT_EQ(Colours(false).error("bad"), "bad");
    EXPECT_EQ(Colours(true).error(""), "");
}
