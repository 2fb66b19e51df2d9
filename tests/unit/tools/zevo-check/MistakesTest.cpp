#include "Installation.h"
#include "TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using testing::Ge;

namespace {

class Mistake : public testing::TestWithParam<std::string> {};

std::string nameOf(const testing::TestParamInfo<std::string>& mistake) {
    std::string name = mistake.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

// Each folder of mistakes/ holds the files with the mistake, and in "expected" the whole report.
TEST_P(Mistake, IsToldWithItsPlace) {
    const Installation installation(GetParam());
    EXPECT_EQ(installation.report(), readFile(CHECK_TESTS_FOLDER "/mistakes/" + GetParam() + "/expected"));
}

INSTANTIATE_TEST_SUITE_P(All, Mistake, testing::ValuesIn(allMistakes()), nameOf);

TEST(Mistakes, AreManyAndOfManyKinds) {
    const std::vector<std::string> mistakes = allMistakes();
    EXPECT_THAT(mistakes.size(), Ge(60u));
    std::set<std::string> kinds;
    for (const std::string& mistake : mistakes)
        for (const Zevo::Finding& finding : Installation(mistake).check().findings)
            kinds.insert(finding.id);
    EXPECT_THAT(kinds.size(), Ge(60u));
}

TEST(Mistakes, ACorrectFolderGetsOneLine) {
    EXPECT_EQ(Installation().report(), ": nothing wrong with the four files and both applications\n");
}
