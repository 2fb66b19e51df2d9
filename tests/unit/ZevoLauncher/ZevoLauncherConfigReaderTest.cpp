#include "ZevoLauncherConfigReader.h"

#include "ExecutableFolder.h"
#include "KFConfigurationReaderFileNotFoundException.h"
#include "OtherProcess.h"
#include "TextFile.h"
#include "TextOrder.h"
#include "TraceCapture.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using testing::HasSubstr;

namespace {

const char HEADER[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";

std::string entry(const std::string& key, const std::string& value) {
    return "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
}

std::string propertyList(const std::string& entries) {
    return HEADER + ("<dict>\n" + entries) + "</dict>\n</plist>";
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

/// There is one reader per process, and it is never deleted: each test uses that of a child process.
class ZevoLauncherConfigReaderTest : public testing::Test {
protected:
    void configure(const std::string& content) { writeFile(m_folder / "Launcher.cfg", content); }

    template <typename Action>
    void inFreshProcess(Action action) {
        EXPECT_TRUE(inAnotherProcess([&] {
            action(*ZevoLauncherConfigReader::getInstance());
            return !HasFailure();
        }));
    }

    ExecutableFolder m_folder;
};

TEST_F(ZevoLauncherConfigReaderTest, TheInstanceIsAlwaysTheSame) {
    inFreshProcess([](ZevoLauncherConfigReader& reader) {
        EXPECT_EQ(ZevoLauncherConfigReader::getInstance(), &reader);
    });
}

TEST_F(ZevoLauncherConfigReaderTest, TheThreeIdsAreReadAndOtherKeysIgnored) {
    configure(propertyList(entry("Another", "x") + entry("MacCdRomHIdToDetect", "cdrom") +
                           entry("MacHardwareIdToDetect", "modem") + entry("MacHardwareIdToFind", "find")));
    inFreshProcess([](ZevoLauncherConfigReader& reader) {
        EXPECT_EQ(reader.getModemHIdToDetect(), "modem");
        EXPECT_EQ(reader.getModemHIdToFind(), "find");
        EXPECT_EQ(reader.getCdRomHIdToDetect(), "cdrom");
    });
}

TEST_F(ZevoLauncherConfigReaderTest, AFileWithOnlyTheIdToFindLeavesTheOthersEmptyAndCountsAsLoaded) {
    configure(propertyList(entry("MacHardwareIdToFind", "USB#Vid_12d1&Pid_1001")));
    inFreshProcess([&](ZevoLauncherConfigReader& reader) {
        EXPECT_EQ(reader.getModemHIdToFind(), "USB#Vid_12d1&Pid_1001");
        // Once loaded, the file is not read again, and may even be removed.
        std::remove((m_folder / "Launcher.cfg").c_str());
        EXPECT_EQ(reader.getModemHIdToDetect(), "");
        EXPECT_EQ(reader.getCdRomHIdToDetect(), "");
    });
}

TEST_F(ZevoLauncherConfigReaderTest, TheCdRomKeyHasACapitalHAndI) {
    configure(propertyList(entry("MacCdRomHidToDetect", "wrong case")));
    inFreshProcess([](ZevoLauncherConfigReader& reader) { EXPECT_EQ(reader.getCdRomHIdToDetect(), ""); });
}

TEST_F(ZevoLauncherConfigReaderTest, AValueThatIsNoTextLeavesTheIdEmpty) {
    configure(propertyList("<key>MacHardwareIdToFind</key>\n<int>3</int>\n"));
    inFreshProcess([](ZevoLauncherConfigReader& reader) { EXPECT_EQ(reader.getModemHIdToFind(), ""); });
}

TEST_F(ZevoLauncherConfigReaderTest, TheFormOfTheIdsIsNotChecked) {
    configure(propertyList(entry("MacHardwareIdToFind", "anything at all")));
    inFreshProcess(
        [](ZevoLauncherConfigReader& reader) { EXPECT_EQ(reader.getModemHIdToFind(), "anything at all"); });
}

TEST_F(ZevoLauncherConfigReaderTest, OnceLoadedTheFileIsNeverReadAgain) {
    configure(propertyList(entry("MacHardwareIdToFind", "first")));
    inFreshProcess([&](ZevoLauncherConfigReader& reader) {
        EXPECT_EQ(reader.getModemHIdToFind(), "first");
        configure(propertyList(entry("MacHardwareIdToFind", "second")));
        reader.loadConfiguration();
        EXPECT_EQ(reader.getModemHIdToFind(), "first");
    });
}

TEST_F(ZevoLauncherConfigReaderTest, WithoutAFileEveryGetterThrowsAndWritesTheTwoTraceLines) {
    TraceCapture trace;
    inFreshProcess([](ZevoLauncherConfigReader& reader) {
        EXPECT_THROW(reader.getModemHIdToDetect(), KFConfigurationReaderFileNotFoundException);
        EXPECT_THROW(reader.getModemHIdToFind(), KFConfigurationReaderFileNotFoundException);
        EXPECT_THROW(reader.getCdRomHIdToDetect(), KFConfigurationReaderFileNotFoundException);
        EXPECT_THROW(reader.loadConfiguration(), KFConfigurationReaderFileNotFoundException);
    });
    EXPECT_EQ(
        count(trace.text(), ">> [E] Could not load operator file : " + m_folder.path() + "Launcher.cfg.\n"),
        4u);
    EXPECT_TRUE(
        standInOrder(trace.text(), {">> [E] Could not load operator file : ", ">> [E] Exception : "}));
    EXPECT_EQ(count(trace.text(), ">> [E] Exception : Can't open file on file product/Infrastructure/"
                                  "ProgrammingServices/Dictionary/src/Dictionary line 882.\n"),
              4u);
}

TEST_F(ZevoLauncherConfigReaderTest, TheExceptionCarriesItsStablePosition) {
    inFreshProcess([](ZevoLauncherConfigReader& reader) {
        try {
            reader.loadConfiguration();
            ADD_FAILURE() << "nothing thrown";
        } catch (const KFConfigurationReaderFileNotFoundException& e) {
            EXPECT_EQ(
                e.toString(),
                "Configuration File Manager Exception : CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND on file "
                "product/Application/ZevoLauncher/src/ZevoLauncherConfigReader at line 133");
        }
    });
}

TEST_F(ZevoLauncherConfigReaderTest, AFailedLoadIsTriedAgainUntilItSucceeds) {
    inFreshProcess([&](ZevoLauncherConfigReader& reader) {
        EXPECT_THROW(reader.getModemHIdToFind(), KFConfigurationReaderFileNotFoundException);
        configure("no property list");
        EXPECT_THROW(reader.getModemHIdToFind(), KFConfigurationReaderFileNotFoundException);
        configure(propertyList(entry("MacHardwareIdToFind", "at last")));
        EXPECT_EQ(reader.getModemHIdToFind(), "at last");
    });
}

TEST_F(ZevoLauncherConfigReaderTest, AFileThatIsNoPropertyListEndsInTheSameTwoLinesAndTheSameException) {
    for (const char* content :
         {"", "no property list\n", "<?xml?>\n<plist version=\"2.0\">\n<dict>\n</dict>\n"}) {
        configure(content);
        TraceCapture trace;
        inFreshProcess([](ZevoLauncherConfigReader& reader) {
            EXPECT_THROW(reader.loadConfiguration(), KFConfigurationReaderFileNotFoundException);
        });
        EXPECT_EQ(count(trace.text(), ">> [E] Could not load operator file : "), 1u);
        EXPECT_EQ(count(trace.text(), ">> [E] Exception : "), 1u);
    }
}

TEST_F(ZevoLauncherConfigReaderTest, AnEmptyDictionaryLoadsAndGivesEmptyIds) {
    configure(propertyList(""));
    inFreshProcess([](ZevoLauncherConfigReader& reader) {
        EXPECT_EQ(reader.getModemHIdToDetect(), "");
        EXPECT_EQ(reader.getModemHIdToFind(), "");
        EXPECT_EQ(reader.getCdRomHIdToDetect(), "");
    });
}

TEST_F(ZevoLauncherConfigReaderTest, CallsAreTraced) {
    configure(propertyList(""));
    TraceCapture trace;
    inFreshProcess([](ZevoLauncherConfigReader& reader) { reader.loadConfiguration(); });
    EXPECT_THAT(trace.text(), HasSubstr("ZevoLauncherConfigReader::constructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("ZevoLauncherConfigReader::loadConfiguration\n"));
}

} // namespace
