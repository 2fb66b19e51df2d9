#include "detail/PathBeside.h"

#include "TemporaryFolder.h"

#include <climits>
#include <gmock/gmock.h>

using namespace kf::detail;

using testing::MatchesRegex;
using testing::StartsWith;

namespace {

const std::string LONGEST_NAME(NAME_MAX, 'n');

TEST(PathBesideTest, HasTheSuffixBehindTheName) {
    EXPECT_EQ(pathBeside("/tmp/file", ".lock"), "/tmp/file.lock");
    EXPECT_EQ(pathBeside("file", ".lock"), "file.lock");
    EXPECT_EQ(pathBeside("/tmp/" + LONGEST_NAME.substr(5), ".lock"),
              "/tmp/" + LONGEST_NAME.substr(5) + ".lock");
}

TEST(PathBesideTest, AnotherNameStandsInPlaceOfOneThatWouldBeTooLong) {
    EXPECT_THAT(pathBeside("/tmp/" + LONGEST_NAME, ".lock"), MatchesRegex("/tmp/\\.[0-9a-f]{16}\\.lock"));
    EXPECT_THAT(pathBeside(LONGEST_NAME, ".new"), MatchesRegex("\\.[0-9a-f]{16}\\.new"));
    EXPECT_THAT(pathBeside("/tmp/" + LONGEST_NAME.substr(4), ".lock"), StartsWith("/tmp/."));
}

TEST(PathBesideTest, LongNamesDoNotShareIt) {
    const std::string path = pathBeside("/tmp/" + LONGEST_NAME, ".lock");
    EXPECT_EQ(pathBeside("/tmp/" + LONGEST_NAME, ".lock"), path);
    EXPECT_NE(path, pathBeside("/tmp/" + LONGEST_NAME.substr(1) + "m", ".lock"));
    EXPECT_NE(path, pathBeside("/tmp/m" + LONGEST_NAME.substr(1), ".lock"));
}

TEST(PathBesideTest, InAFolderThatIsNotThereTheNameIsKept) {
    const TemporaryFolder folder;
    const std::string path = folder / "missing/" + LONGEST_NAME;
    EXPECT_EQ(pathBeside(path, ".lock"), path + ".lock");
}

} // namespace
