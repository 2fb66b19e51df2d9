#include "Follower.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class FollowerTest : public ::testing::Test {
protected:
    void write(int index, const std::string& text, double time, std::ios::openmode mode = std::ios::trunc) {
        const std::string name = "trace_" + std::to_string(index) + ".txt";
        if (mode == std::ios::app) {
            std::ofstream(m_files / name, std::ios::binary | std::ios::app) << text;
            m_files.touch(name, time);
        } else {
            m_files.write(name, text, time);
        }
    }
    std::vector<std::string> news() {
        std::vector<std::string> result;
        m_follower.poll([&](std::string_view line) { result.emplace_back(line); });
        return result;
    }
    TraceFiles m_files;
    bool m_begun = (m_files.write("trace_0.txt", "one\ntwo\n", 0), true);
    Zevo::Follower m_follower{m_files / "trace", m_files / "trace_0.txt", 8};
};

} // namespace

TEST_F(FollowerTest, BeginsBehindWhatIsKnown) {
    EXPECT_THAT(news(), IsEmpty());
}

TEST_F(FollowerTest, WhatWasWrittenBeforeItBeganIsNotLost) {
    Zevo::Follower follower(m_files / "trace", m_files / "trace_0.txt", 4);
    std::vector<std::string> lines;
    follower.poll([&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_THAT(lines, ElementsAre("two"));
}

TEST_F(FollowerTest, HandsOverWhatIsAppendedOnceItIsWhole) {
    write(0, "three\nfo", 1, std::ios::app);
    EXPECT_THAT(news(), ElementsAre("three"));
    write(0, "ur\n", 2, std::ios::app);
    EXPECT_THAT(news(), ElementsAre("four"));
    EXPECT_THAT(news(), IsEmpty());
}

TEST_F(FollowerTest, GoesOnInTheNextFileBehindTheRestOfTheOld) {
    write(0, "three\n", 1, std::ios::app);
    write(1, "four\n", 1.1);
    EXPECT_THAT(news(), ElementsAre("three", "four"));
    write(2, "five\n", 2);
    EXPECT_THAT(news(), ElementsAre("five"));
}

TEST_F(FollowerTest, AFileThatIsEmptiedAndBegunAgainIsReadAgain) {
    write(0, "ten\n", 1);
    EXPECT_THAT(news(), ElementsAre("ten"));
    write(0, "this one is longer\nthan before\n", 2);
    EXPECT_THAT(news(), ElementsAre("this one is longer", "than before"));
}

TEST_F(FollowerTest, AnewStartGoesBackToFileZero) {
    write(1, "three\n", 1);
    EXPECT_THAT(news(), ElementsAre("three"));
    write(0, "anew\n", 2);
    EXPECT_THAT(news(), ElementsAre("anew"));
}

TEST_F(FollowerTest, WaitsForARingThatIsNotThereYet) {
    Zevo::Follower follower(m_files / "other");
    std::vector<std::string> lines;
    const auto take = [&](std::string_view line) { lines.emplace_back(line); };
    follower.poll(take);
    m_files.write("other_0.txt", "first\n", 1);
    m_files.write("other_x.txt", "not of it\n", 2);
    follower.poll(take);
    EXPECT_THAT(lines, ElementsAre("first"));
}
