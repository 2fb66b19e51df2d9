#include "BundledFiles.h"

#include "Bundle.h"
#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

/// Writes bundles as zevo-check does.
class BundledFilesTest : public ::testing::Test {
protected:
    /// @param time  when the file was written, in seconds of 2026-01-15, local time
    void add(const std::string& name, const std::string& text, double time) {
        m_files.write("dated", "", time);
        struct stat status = {};
        stat((m_files / "dated").c_str(), &status);
        m_entries.push_back({name, text, status.st_mtim.tv_sec});
    }
    std::string write(const std::string& name = "ticket.tar.gz") {
        Zevo::writeBundle(m_files / name, m_entries);
        return m_files / name;
    }
    std::string cutTo(const std::string& path, double share) {
        struct stat status = {};
        stat(path.c_str(), &status);
        EXPECT_EQ(truncate(path.c_str(), static_cast<off_t>(static_cast<double>(status.st_size) * share)), 0);
        return path;
    }
    TraceFiles m_files;
    std::vector<Zevo::BundleEntry> m_entries;
};

const std::string FIRST = traceLine("10:00:00-000", "a") + traceLine("10:00:01-000", "b");
const std::string SECOND = traceLine("10:00:02-000", "c");
const std::string LOG = "[10:00:01-500][LEVEL_0] Starting\n";

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

TEST_F(BundledFilesTest, TracesAndLogsOfABundleAreMergedInTheirOrder) {
    add("manifest.txt", "What is in this bundle\n", at(10, 1, 0));
    add("report_1.txt", "no ring\n", at(10, 1, 0));
    // The ring has wrapped around: file 0 is the newer one.
    add("logs/trace_0.txt", SECOND, at(10, 0, 2));
    add("logs/trace_1.txt", FIRST, at(10, 0, 1));
    add("logs/log_0.txt", LOG, at(10, 0, 1.5));
    const std::string path = write();
    const ReadJournal journal({path});
    EXPECT_EQ(journal.lines, linesOf(FIRST + LOG + SECOND));
    EXPECT_THAT(journal.notes, ElementsAre(path + "/report_1.txt: holds neither a trace nor a log"));
    EXPECT_THAT(journal.damages, IsEmpty());
}

TEST_F(BundledFilesTest, TheirTimesTellTheDay) {
    add("logs/trace_0.txt", SECOND, at(10, 0, 2));
    const ReadJournal journal({write()});
    m_files.write("trace_0.txt", SECOND, at(10, 0, 2));
    EXPECT_EQ(journal.times, ReadJournal({m_files / "trace_0.txt"}).times);
}

TEST_F(BundledFilesTest, APlaceNamesTheBundleAndTheFile) {
    add("logs/trace_0.txt", FIRST + "???\n", at(10, 0, 1));
    const std::string path = write();
    EXPECT_THAT(ReadJournal({path}).damages, ElementsAre(StartsWith(path + "/logs/trace_0.txt:3: ")));
}

TEST_F(BundledFilesTest, TwoBundlesAreTwoRings) {
    add("logs/trace_0.txt", FIRST, at(10, 0, 1));
    const std::string first = write("one.tar.gz");
    m_entries.clear();
    add("logs/trace_0.txt", SECOND, at(10, 0, 2));
    EXPECT_EQ(ReadJournal({first, write("two.tar.gz")}).lines, linesOf(FIRST + SECOND));
}

TEST_F(BundledFilesTest, OfACutBundleIsReadWhatIsThere) {
    std::string noise;
    for (unsigned i = 1, state = 1; i < 20'000; ++i)
        noise += traceLine("10:00:03-000", "| " + std::to_string(state = state * 1664525U + 1013904223U));
    add("logs/trace_0.txt", FIRST, at(10, 0, 1));
    add("logs/trace_1.txt", SECOND + noise, at(10, 0, 3));
    const std::string path = cutTo(write(), 0.5);
    const ReadJournal journal({path});
    ASSERT_LT(1000u, journal.lines.size());
    EXPECT_EQ(std::vector<std::string>(journal.lines.begin(), journal.lines.begin() + 3),
              linesOf(FIRST + SECOND));
    ASSERT_FALSE(journal.notes.empty());
    EXPECT_THAT(journal.notes[0],
                StartsWith(path + ": is cut short or damaged, what stands before that is read: "));
}

TEST_F(BundledFilesTest, WhatIsPackedAndNoBundleIsRefused) {
    std::vector<std::string> notes;
    const std::string path = m_files.write("x.gz", "\x1f\x8b that is all", 0);
    try {
        Zevo::findRings({path}, notes);
        FAIL();
    } catch (const std::runtime_error& problem) {
        EXPECT_THAT(problem.what(),
                    StartsWith(path + ": is packed, but no bundle as zevo-check writes it: "));
    }
    EXPECT_FALSE(Zevo::isBundle(m_files.write("empty", "", 0)));
    EXPECT_FALSE(Zevo::isBundle(m_files.path()));
    EXPECT_FALSE(Zevo::isBundle(m_files / "nowhere"));
}

TEST_F(BundledFilesTest, WhatUnpacksToMoreThanIsAllowedIsRefused) {
    constexpr std::size_t MUCH = 50'000'000;
    add("logs/trace_0.txt", FIRST, at(10, 0, 1));
    add("unwanted", std::string(MUCH, '\0'), at(10, 0, 1));
    const std::string path = write();
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_LT(status.st_size, 100'000); // a decompression bomb

    const auto isRing = [](const std::string& name) { return name == "logs/trace_0.txt"; };
    std::vector<std::string> notes;
    const auto unpacked = [&](const Zevo::BundleLimits& limits) -> std::string {
        try {
            return std::to_string(Zevo::unpackBundle(path, isRing, notes, limits).size()) + " files";
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
    };
    EXPECT_EQ(unpacked({40'000'000, 10}),
              path + ": holds more than 40 MB; unpack what is needed of it, and name the folder");
    EXPECT_EQ(unpacked({100'000'000, 1}),
              path + ": holds more than 1 files; unpack what is needed of it, and name the folder");
    EXPECT_EQ(unpacked({MUCH + FIRST.size(), 2}), "1 files");
    EXPECT_THAT(notes, IsEmpty());
}
