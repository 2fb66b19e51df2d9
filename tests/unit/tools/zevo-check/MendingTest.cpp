#include "Mending.h"

#include "Installation.h"
#include "TextFile.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Zevo::MendedFile;

namespace fs = std::filesystem;

namespace {

/// Mends everything; returns the number of files that were mended.
std::size_t mend(const Installation& installation) {
    const std::vector<MendedFile> files = Zevo::planMending(installation.folder());
    for (const MendedFile& file : files)
        writeMended(installation.folder(), file);
    return files.size();
}

std::string difference(const Installation& installation) {
    std::string text;
    for (const MendedFile& file : Zevo::planMending(installation.folder()))
        text += differenceText(file, Zevo::Colours(false));
    return text;
}

class MendedMistake : public testing::TestWithParam<const char*> {};

} // namespace

TEST_P(MendedMistake, IsGoneAndTheOldFileKept) {
    const Installation installation(GetParam());
    ASSERT_THAT(installation.check().findings, Not(IsEmpty()));
    EXPECT_EQ(mend(installation), 1u);
    EXPECT_THAT(installation.report(), HasSubstr("nothing wrong"));
    EXPECT_THAT(Zevo::planMending(installation.folder()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, MendedMistake,
                         testing::Values("card-byte-order-mark", "card-key-letter-case", "card-old-line-ends",
                                         "launcher-byte-order-mark", "launcher-key-letter-case",
                                         "launcher-id-markers", "trace-byte-order-mark",
                                         "trace-last-line-without-line-feed", "trace-old-line-ends",
                                         "log-byte-order-mark", "log-last-line-without-line-feed"));

TEST(Mending, LeavesWhatHasSeveralAnswersAlone) {
    for (const char* const mistake :
         {"card-key-misspelt", "launcher-key-misspelt", "trace-statement-misspelt", "trace-on-stands-last",
          "card-ampersand", "launcher-utf-16"}) {
        const Installation installation(mistake);
        EXPECT_THAT(Zevo::planMending(installation.folder()), IsEmpty()) << mistake;
    }
}

TEST(Mending, AKeyThatIsThereTwiceInDifferentLettersIsLeftAlone) {
    const Installation installation;
    writeFile(installation / "ID.txt", readFile(installation / "ID.txt") + "Product_Name=Other\n");
    ASSERT_THAT(installation.report(), HasSubstr("Product_Name"));
    EXPECT_THAT(Zevo::planMending(installation.folder()), IsEmpty());
    writeFile(installation / "ID.txt", "Product_Name=Other\n" + readFile(installation / "ID.txt"));
    EXPECT_THAT(Zevo::planMending(installation.folder()), IsEmpty());
}

TEST(Mending, ACommentThatHoldsTheRightKeyDoesNotHinder) {
    const Installation installation("launcher-key-letter-case");
    writeFile(installation / "Launcher.cfg",
              readFile(installation / "Launcher.cfg") + "\n<!-- MacCdRomHIdToDetect -->\n");
    EXPECT_EQ(mend(installation), 1u);
    EXPECT_THAT(installation.report(), HasSubstr("nothing wrong"));
}

TEST(Mending, PlanningChangesNothing) {
    const Installation installation("trace-byte-order-mark");
    const std::string before = readFile(installation / "tracer_zevolauncher.cfg");
    EXPECT_THAT(Zevo::planMending(installation.folder()), SizeIs(1));
    EXPECT_EQ(readFile(installation / "tracer_zevolauncher.cfg"), before);
    EXPECT_FALSE(fs::exists(installation / "tracer_zevolauncher.cfg.bak"));
}

TEST(Mending, SeveralMistakesOfAFileAreMendedTogether) {
    const Installation installation;
    const std::string text = "\xEF\xBB\xBF" + readFile(installation / "Launcher.cfg");
    std::string wrong = text;
    wrong.replace(wrong.find("MacCdRomHIdToDetect"), 19, "maccdromhidtodetect");
    wrong.replace(wrong.find("MacHardwareIdToFind"), 19, "MACHARDWAREIDTOFIND");
    writeFile(installation / "Launcher.cfg", wrong);
    EXPECT_EQ(mend(installation), 1u);
    EXPECT_EQ(readFile(installation / "Launcher.cfg"), text.substr(3));
    EXPECT_EQ(readFile(installation / "Launcher.cfg.bak"), wrong);
}

TEST(Mending, TheDifferenceNamesWhatIsInvisible) {
    EXPECT_EQ(difference(Installation("trace-byte-order-mark")),
              "--- tracer_zevolauncher.cfg\n+++ tracer_zevolauncher.cfg\nline 1\n-<byte order "
              "mark>TRACE_ON\n+TRACE_ON\n");
    EXPECT_EQ(
        difference(Installation("trace-last-line-without-line-feed")),
        "--- tracer_zevolauncher.cfg\n+++ tracer_zevolauncher.cfg\nline 8\n-TRACE_THE_CALL *<no line feed>\n"
        "+TRACE_THE_CALL *\n");
    EXPECT_THAT(difference(Installation("trace-old-line-ends")),
                AllOf(HasSubstr("-TRACE_ON<carriage return>TRACE_SET_MAX_LINES 50000<carriage return>"),
                      HasSubstr("+TRACE_ON\n+TRACE_SET_MAX_LINES 50000\n")));
}

TEST(Mending, AnEarlierCopyIsKeptToo) {
    const Installation installation("trace-byte-order-mark");
    writeFile(installation / "tracer_zevolauncher.cfg.bak", "earlier");
    mend(installation);
    EXPECT_EQ(readFile(installation / "tracer_zevolauncher.cfg.bak"), "earlier");
    EXPECT_EQ(readFile(installation / "tracer_zevolauncher.cfg.bak2").substr(0, 3), "\xEF\xBB\xBF");
}

TEST(Mending, FollowsALinkAndKeepsTheMode) {
    const Installation installation("card-key-letter-case");
    fs::create_directory(installation / "etc");
    fs::rename(installation / "ID.txt", installation / "etc/ID.txt");
    chmod((installation / "etc/ID.txt").c_str(), 0640);
    fs::create_symlink("etc/ID.txt", installation / "ID.txt");
    mend(installation);
    EXPECT_TRUE(fs::is_symlink(installation / "ID.txt"));
    EXPECT_THAT(readFile(installation / "etc/ID.txt"), HasSubstr("PRODUCT_NAME="));
    EXPECT_TRUE(fs::exists(installation / "etc/ID.txt.bak"));
    EXPECT_EQ(fs::status(installation / "etc/ID.txt").permissions(), fs::perms(0640));
}

TEST(Mending, AFileThatHasChangedMeanwhileIsLeftAlone) {
    const Installation installation("trace-byte-order-mark");
    const std::vector<MendedFile> files = Zevo::planMending(installation.folder());
    ASSERT_THAT(files, SizeIs(1));
    writeFile(installation / "tracer_zevolauncher.cfg", "TRACE_OFF\n");
    EXPECT_THROW(writeMended(installation.folder(), files[0]), std::runtime_error);
    EXPECT_EQ(readFile(installation / "tracer_zevolauncher.cfg"), "TRACE_OFF\n");
}
