#include "ProgressBar.h"

#include "Terminal.h"

#include <gmock/gmock.h>
#include <optional>

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Zevo::ProgressBar;

namespace {

const ProgressBar::Clock::time_point START = ProgressBar::Clock::now();

} // namespace

TEST(ProgressBarTest, SaysNothingOfWorkThatTakesASecond) {
    Terminal terminal;
    {
        ProgressBar bar("reading", 100, terminal.stream());
        bar.at(50, START);
    }
    EXPECT_EQ(terminal.written(), "");
}

TEST(ProgressBarTest, TellsThePartThatIsDone) {
    Terminal terminal;
    ProgressBar bar("reading", 300, terminal.stream());
    bar.at(150, START + seconds(20));
    EXPECT_THAT(terminal.written(), EndsWith("reading [###############...............] 50%"));
}

TEST(ProgressBarTest, DrawsTenTimesASecondAtMost) {
    Terminal terminal;
    ProgressBar bar("reading", 300, terminal.stream());
    bar.at(100, START + seconds(20));
    terminal.written();
    bar.at(110, START + seconds(20) + milliseconds(99));
    EXPECT_EQ(terminal.written(), "");
    bar.at(300, START + seconds(20) + milliseconds(100));
    EXPECT_THAT(terminal.written(), HasSubstr(" 100%"));
}

TEST(ProgressBarTest, MoreThanAllIsAll) {
    Terminal terminal;
    ProgressBar bar("reading", 300, terminal.stream());
    bar.at(900, START + seconds(20));
    EXPECT_THAT(terminal.written(), HasSubstr(" 100%"));
}

TEST(ProgressBarTest, WithoutAKnownEndNamesTheWorkOnly) {
    Terminal terminal;
    ProgressBar bar("reading", 0, terminal.stream());
    bar.at(150, START + seconds(20));
    EXPECT_THAT(terminal.written(), EndsWith("reading ..."));
}

TEST(ProgressBarTest, IsWipedOutAtTheEnd) {
    Terminal terminal;
    std::optional<ProgressBar> bar;
    bar.emplace("reading", 300, terminal.stream());
    bar->at(150, START + seconds(20));
    terminal.written();
    bar.reset();
    EXPECT_EQ(terminal.written(), "\r\033[K");
}

TEST(ProgressBarTest, LeavesAFileAlone) {
    std::FILE* const file = std::tmpfile();
    {
        ProgressBar bar("reading", 300, file);
        bar.at(150, START + seconds(20));
    }
    EXPECT_EQ(std::ftell(file), 0);
    std::fclose(file);
}
