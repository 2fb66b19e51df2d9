#include "NewFolder.h"

#include "Check.h"
#include "LauncherConfigurationCheck.h"
#include "ModemDatabase.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Zevo::ChosenModem;
using Zevo::UsbIds;

namespace {

/// With a database like that of usb_modeswitch, in separate files.
class NewFolder : public testing::Test {
protected:
    NewFolder() {
        mkdir((m_folder / "data").c_str(), 0777);
        writeFile(m_folder / "data/12d1:1001", "# Huawei E169\nHuaweiMode=1\n");
        writeFile(m_folder / "data/12d1:1003", "# Huawei E220, E230\nTargetClass=0xff\nHuaweiMode=1\n");
        writeFile(m_folder / "data/12d1:1446",
                  "# Huawei, newer modems\nTargetVendor=0x12d1\nTargetProductList=\"1001,1406\"\n");
        writeFile(m_folder / "data/19d2:2000:uMa=ONDA",
                  "# ONDA MT503HS\n\nTargetVendor=0x19d2\nTargetProduct=0x0002\n");
        writeFile(m_folder / "data/README", "TargetVendor=0x0001\n");
        m_database = Zevo::readModemDatabase(m_folder / "data");
    }
    ChosenModem choose(const std::string& text, const std::vector<UsbIds>& connected = {}) {
        return chooseModem(text, m_database, connected);
    }
    std::string refusal(const std::string& text, const std::vector<UsbIds>& connected = {}) {
        try {
            choose(text, connected);
        } catch (const Zevo::UsageError& error) {
            return error.what();
        }
        return "none";
    }

    TemporaryFolder m_folder;
    std::vector<Zevo::KnownModem> m_database;
};

} // namespace

TEST_F(NewFolder, TheDatabaseIsReadWithItsForms) {
    ASSERT_THAT(m_database, SizeIs(4));
    EXPECT_EQ(m_database[1].modems, std::vector<UsbIds>({{0x12d1, 0x1003}})); // keeps its ids
    EXPECT_EQ(m_database[2].modems, std::vector<UsbIds>({{0x12d1, 0x1001}, {0x12d1, 0x1406}}));
    EXPECT_EQ(m_database[3].modems, std::vector<UsbIds>({{0x19d2, 0x0002}}));
    EXPECT_EQ(m_database[3].cdRom, (UsbIds{0x19d2, 0x2000}));
    EXPECT_EQ(m_database[1].names, "Huawei E220, E230");
    EXPECT_THAT(Zevo::readModemDatabase(m_folder / "nothing"), IsEmpty());
}

TEST_F(NewFolder, TheMachinesOwnDatabaseIsRead) {
    const auto modems = Zevo::readModemDatabase(ZEVO_SWITCHING_DATA);
    EXPECT_GT(modems.size(), 300u);
    EXPECT_THAT(modemsNamed("huawei e220", modems), SizeIs(1));
}

TEST_F(NewFolder, ADamagedDatabaseIsTold) {
    writeFile(m_folder / "data/configPack.tar.gz", "nothing of the kind");
    EXPECT_THROW(Zevo::readModemDatabase(m_folder / "data"), std::runtime_error);
}

TEST_F(NewFolder, AModemIsChosenByEitherOfItsIds) {
    for (const char* const text : {"12d1:1001", "12D1:1001", "USB#Vid_12d1&Pid_1001", "12d1:1446"}) {
        const ChosenModem modem = choose(text);
        EXPECT_EQ(modem.modem, (UsbIds{0x12d1, 0x1001})) << text;
        EXPECT_EQ(modem.cdRom, (UsbIds{0x12d1, 0x1446})) << text;
        EXPECT_TRUE(modem.isKnown);
    }
}

TEST_F(NewFolder, OtherModemsThatBecomeTheSameAreNamed) {
    EXPECT_EQ(choose("12d1:1001").otherCdRoms, std::vector<UsbIds>({{0x12d1, 0x1001}}));
    writeNewFolder(m_folder / "new/", choose("12d1:1001"));
    EXPECT_THAT(readFile(m_folder / "new/Launcher.cfg"),
                HasSubstr("Other modems that become 12d1:1001 are plugged in as 12d1:1001.\n"));
}

TEST_F(NewFolder, AModemIsChosenByName) {
    EXPECT_EQ(choose("huawei e220").modem, (UsbIds{0x12d1, 0x1003}));
    EXPECT_EQ(choose("huawei-e220").modem, (UsbIds{0x12d1, 0x1003})); // as given to zevo-sim
    EXPECT_EQ(choose("E220 Huawei").cdRom, (UsbIds{0x12d1, 0x1003}));
    EXPECT_THAT(refusal("huawei"),
                testing::AllOf(HasSubstr("give the ids of one, as in --modem 12d1:1001:\n"),
                               HasSubstr("12d1:1003  Huawei E220")));
    EXPECT_THAT(refusal("nokia"),
                HasSubstr("no modem is known as \"nokia\"; give its ids, as in --modem 12d1:1001"));
    EXPECT_THAT(refusal("12d1:10011"), HasSubstr("\"12d1:10011\" are no ids"));
}

TEST_F(NewFolder, TheModemThatIsPluggedInIsChosen) {
    EXPECT_EQ(choose("", {{0x1d6b, 2}, {0x12d1, 0x1446}}).modem, (UsbIds{0x12d1, 0x1001}));
    EXPECT_THAT(refusal("", {{0x1d6b, 2}}), HasSubstr("--modem is needed"));
    EXPECT_THAT(refusal("", {{0x12d1, 0x1003}, {0x12d1, 0x1001}}),
                HasSubstr("several modems are plugged in"));
}

TEST_F(NewFolder, AnUnknownModemShowsItsOwnIds) {
    const ChosenModem modem = choose("1234:abcd");
    EXPECT_EQ(modem.cdRom, modem.modem);
    EXPECT_FALSE(modem.isKnown);
}

TEST_F(NewFolder, TheFolderIsValid) {
    for (const char* const text : {"12d1:1001", "1234:abcd"}) {
        const std::string folder = m_folder / text + "/below/";
        writeNewFolder(folder, choose(text));
        setenv("XDG_DATA_HOME", (m_folder / "home").c_str(), 1);
        Zevo::CheckOptions options;
        options.folder = folder;
        options.withApplications = false;
        const Zevo::CheckResult result = checkInstallation(options);
        unsetenv("XDG_DATA_HOME");
        EXPECT_THAT(result.findings, IsEmpty());
        EXPECT_EQ(result.ids.modem, hardwareIdOf(choose(text).modem));
        EXPECT_EQ(result.ids.modemToFind, hardwareIdOf(choose(text).modem));
        EXPECT_EQ(result.ids.cdRom, hardwareIdOf(choose(text).cdRom));
        EXPECT_THAT(readFile(folder + "Launcher.cfg"), HasSubstr("<!--\nMade for "));
    }
}

TEST_F(NewFolder, AFileThatIsThereIsNotWrittenOver) {
    writeFile(m_folder / "ID.txt", "mine");
    EXPECT_THROW(Zevo::writeNewFolder(m_folder.path() + "/", choose("12d1:1001")), Zevo::UsageError);
    EXPECT_EQ(readFile(m_folder / "ID.txt"), "mine");
    EXPECT_NE(access((m_folder / "Launcher.cfg").c_str(), F_OK), 0);
}
