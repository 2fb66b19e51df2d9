#include "Bundle.h"

#include "Installation.h"
#include "Pseudonyms.h"
#include "TextFile.h"
#include "Tool.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;
using Zevo::BundleEntry;

namespace {

std::string replaced(const std::string& text) {
    Zevo::Pseudonyms pseudonyms;
    pseudonyms.addName("marie", "user");
    return pseudonyms.replaceIn(text);
}

std::vector<std::string> namesOf(const std::vector<BundleEntry>& entries) {
    std::vector<std::string> names;
    for (const BundleEntry& entry : entries)
        names.push_back(entry.name);
    return names;
}

std::string textOf(const std::vector<BundleEntry>& entries, const std::string& name) {
    for (const BundleEntry& entry : entries)
        if (entry.name == name)
            return entry.text;
    return "there is no " + name;
}

class Bundle : public testing::Test {
protected:
    Bundle() {
        setenv("USER", "marie", 1);
        const std::string logs = m_installation / "data/Ferrow/Quillmarsh-1/Logs";
        std::filesystem::create_directories(logs);
        writeFile(logs + "/tracer_zevolauncher_0.txt", "of marie, IMEI 490154203237518\n");
        writeFile(logs + "/logger_launcher_0.txt", "490154203237518 again\n");
        writeFile(logs + "/secret.txt", "nobody's business\n");
        writeFile(logs + "/tracer_zevolauncher_0.txt.bak", "nobody's business\n");
    }
    ~Bundle() override { unsetenv("USER"); }

    std::vector<BundleEntry> gather() {
        Zevo::CheckResult result = m_installation.check();
        const Zevo::Live live = lookAtMachine(m_installation.options(), result);
        return gatherBundle(m_installation.options(), result, live);
    }

    Installation m_installation;
};

} // namespace

TEST(Pseudonyms, NamesAreReplacedAsWords) {
    EXPECT_EQ(replaced("/home/marie/x, marie: marieclaire"), "/home/user-1/x, user-1: marieclaire");
}

TEST(Pseudonyms, LongNumbersAreReplacedAndOthersNot) {
    EXPECT_EQ(replaced("490154203237518 [th_-1688032320] 20210401123456789012345"),
              "number-1 [th_-1688032320] 20210401123456789012345");
    EXPECT_EQ(replaced("1234567890123,12345678901234"), "1234567890123,number-1");
    EXPECT_EQ(replaced("0x49015420323751 a490154203237518"), "0x49015420323751 a490154203237518");
}

TEST(Pseudonyms, SerialNumbersAndAddressesAreReplaced) {
    EXPECT_EQ(replaced("SerialNumber = \"MV2-77\", serial:MV2-77"),
              "SerialNumber = \"serial-1\", serial:serial-1");
    EXPECT_EQ(replaced("IOSerialBSDClient begins"), "IOSerialBSDClient begins");
    EXPECT_EQ(replaced("wwan0 0c:5b:8f:27:9a:64 up"), "wwan0 address-1 up");
    EXPECT_EQ(replaced("12:34:56"), "12:34:56");
}

TEST(Pseudonyms, TheSameTextHasTheSameOneAndAnotherTextAnother) {
    EXPECT_EQ(replaced("490154203237518 490154203237519 490154203237518"), "number-1 number-2 number-1");
}

TEST_F(Bundle, HoldsWhatIsOnTheListAndNothingElseTheManifestFirst) {
    const std::vector<BundleEntry> entries = gather();
    EXPECT_EQ(entries.front().name, "manifest.txt");
    EXPECT_THAT(namesOf(entries),
                UnorderedElementsAre("manifest.txt", "report.txt", "report.json", "versions.txt",
                                     "configuration/ID.txt", "configuration/Launcher.cfg",
                                     "configuration/tracer_zevolauncher.cfg",
                                     "configuration/logger_launcher.cfg", "logs/tracer_zevolauncher_0.txt",
                                     "logs/logger_launcher_0.txt"));
    const std::string& manifest = entries.front().text;
    for (const std::string& name : namesOf(entries))
        EXPECT_TRUE(name == "manifest.txt" || manifest.find("bytes  " + name + "\n") != std::string::npos)
            << name;
}

TEST_F(Bundle, TellsNoPersonsAndNoDevicesNames) {
    const std::vector<BundleEntry> entries = gather();
    for (const BundleEntry& entry : entries)
        EXPECT_THAT(entry.text, AllOf(Not(HasSubstr("marie")), Not(HasSubstr("490154203237518"))))
            << entry.name;
    const std::string inTrace = textOf(entries, "logs/tracer_zevolauncher_0.txt");
    EXPECT_THAT(inTrace, HasSubstr("IMEI number-"));
    const std::string number = inTrace.substr(inTrace.find("number-"));
    EXPECT_EQ(textOf(entries, "logs/logger_launcher_0.txt"),
              number.substr(0, number.size() - 1) + " again\n");
}

TEST_F(Bundle, IsGatheredFromABrokenInstallationToo) {
    std::filesystem::remove(m_installation / "ID.txt");
    writeFile(m_installation / "Launcher.cfg", "");
    const std::vector<BundleEntry> entries = gather();
    EXPECT_THAT(textOf(entries, "manifest.txt"),
                HasSubstr("configuration/ID.txt is missing: there is no such file"));
    EXPECT_THAT(textOf(entries, "report.txt"), HasSubstr("no XML header"));
}

TEST_F(Bundle, IsAnArchiveThatTarReads) {
    const std::string file = m_installation / "ticket.tar.gz";
    Zevo::writeBundle(file, {{"manifest.txt", "first\n", 0}, {"logs/a", "second\n", 0}});
    const std::string command = "tar -tzf '" + file + "' > '" + (m_installation / "names") +
                                "' && tar -xzOf '" + file + "' logs/a > '" + (m_installation / "text") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(readFile(m_installation / "names"), "manifest.txt\nlogs/a\n");
    EXPECT_EQ(readFile(m_installation / "text"), "second\n");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST_F(Bundle, DoesNotReplaceAFile) {
    writeFile(m_installation / "mine", "mine");
    EXPECT_THROW(Zevo::writeBundle(m_installation / "mine", {}), Zevo::UsageError);
    EXPECT_EQ(readFile(m_installation / "mine"), "mine");
    EXPECT_THROW(Zevo::writeBundle("/no/such/folder/x", {}), std::runtime_error);
    EXPECT_THROW(Zevo::writeBundle("/dev/full/x", {}), std::runtime_error);
}
