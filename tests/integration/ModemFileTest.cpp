#include "ModemFile.h"

#include "ThrowAwayFolder.h"

#include <dirent.h>
#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>

using namespace Zevo;
using testing::HasSubstr;

namespace {

std::string messageFor(const std::string& text) {
    const ThrowAwayFolder folder("modem-file");
    const std::string path = folder.path() + "/a.modem";
    std::ofstream(path) << text;
    try {
        readModemFile(path);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "accepted";
}

TEST(ModemFile, HoldsBothPersonalitiesWithTheirInterfaces) {
    const Modem modem = readModemFile(ZEVO_MODEMS "/composite.modem");
    EXPECT_EQ(modem.name, "Composite stick");
    EXPECT_EQ(hardwareIdentifier(modem.cdRom), "USB#Vid_19d2&Pid_2000");
    EXPECT_EQ(hardwareIdentifier(modem.modem), "USB#Vid_19d2&Pid_0167");
    ASSERT_EQ(modem.modem.interfaces.size(), 5u);
    EXPECT_EQ(modem.modem.interfaces[0].driver, "option");
    ASSERT_EQ(modem.modem.interfaces[0].functions.size(), 1u);
    EXPECT_EQ(modem.modem.interfaces[0].functions[0].subsystem, "tty");
    EXPECT_EQ(modem.modem.interfaces[3].usbClass, 2u);
    EXPECT_EQ(modem.modem.interfaces[3].functions[0].prefix, "usb");
}

TEST(ModemFile, EveryFileOfTheFolderCanBeRead) {
    int count = 0;
    DIR* folder = opendir(ZEVO_MODEMS);
    while (const dirent* entry = readdir(folder))
        if (entry->d_name[0] != '.') {
            EXPECT_NO_THROW(readModemFile(std::string(ZEVO_MODEMS "/") + entry->d_name)) << entry->d_name;
            ++count;
        }
    closedir(folder);
    EXPECT_GE(count, 3);
}

TEST(ModemFile, NamesTheLineThatIsWrong) {
    EXPECT_THAT(messageFor("name = x\n\nrubbish\n"), HasSubstr("a.modem:3: neither a section nor"));
    EXPECT_THAT(messageFor("vendor = 1\n"), HasSubstr("a.modem:1: \"vendor\" stands before a section"));
    EXPECT_THAT(messageFor("[modem]\nvendor = 12d1f\n"),
                HasSubstr("a.modem:2: \"12d1f\" is not a hexadecimal"));
    EXPECT_THAT(messageFor("[modem]\ncolour = 1\n"), HasSubstr("a.modem:2: unknown name \"colour\""));
    EXPECT_THAT(messageFor("[modem]\ninterface = 08 06\n"),
                HasSubstr("a.modem:2: \"\" is not a hexadecimal"));
    EXPECT_THAT(messageFor("[modem]\ninterface = 8 6 50 x, disk sda\n"),
                HasSubstr("\"disk sda\" is no \"tty\""));
}

TEST(ModemFile, NothingIsLostWithoutAWord) {
    EXPECT_THAT(messageFor("name = x\nname = y\n"),
                HasSubstr("a.modem:2: name stands here for the second time"));
    EXPECT_THAT(messageFor("[modem]\nvendor = 1\n[cdrom]\nvendor = 1\nvendor = 2\n"),
                HasSubstr("a.modem:5: \"vendor\" of [cdrom] stands here for the second time"));
    EXPECT_THAT(messageFor("[modem]\nvendor = 1\n[modem]\n"),
                HasSubstr("a.modem:3: [modem] stands here for the second time"));
    EXPECT_THAT(messageFor("[modem]\ninterface = 08 06 50 usb-storage option\n"),
                HasSubstr("a.modem:2: \"option\" follows where a comma or the end of the line is expected"));
    EXPECT_THAT(messageFor("[modem]\ninterface = ff ff ff option, tty ttyUSB 0\n"),
                HasSubstr("a.modem:2: \"0\" follows"));
}

TEST(ModemFile, RefusesWhatNoDeviceCanBe) {
    EXPECT_THAT(messageFor("[modem]\ninterface = 108 06 50\n"),
                HasSubstr("a.modem:2: \"108\" is not a hexadecimal number of up to two digits"));
    EXPECT_THAT(messageFor("[modem]\ninterface = ff ff ff ../option\n"),
                HasSubstr("\"../option\" is no name"));
    EXPECT_THAT(messageFor("[modem]\ninterface = ff ff ff option, tty ../ttyUSB\n"),
                HasSubstr("\"../ttyUSB\" is no name"));
    EXPECT_THAT(messageFor(std::string("[modem]\ntext = a\0b\n", 19)),
                HasSubstr("a.modem:2: a control character"));
}

TEST(ModemFile, WhatIsNoSmallFileIsNotRead) {
    EXPECT_THAT(messageFor(std::string(65537, '\n')), HasSubstr("a.modem: is larger than any modem's file"));
    const auto messageOf = [](const char* path) -> std::string {
        try {
            readModemFile(path);
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
        return "accepted";
    };
    EXPECT_EQ(messageOf("/dev/zero"), "/dev/zero: is no ordinary file");
    EXPECT_EQ(messageOf("/proc"), "/proc: is a folder, not a file");
}

TEST(ModemFile, NeedsAPersonality) {
    EXPECT_THAT(messageFor("name = x\n"), HasSubstr("a personality is missing"));
    EXPECT_THAT(messageFor("[cdrom]\nproduct = 1\n[modem]\nvendor = 1\nproduct = 2\n"),
                HasSubstr("a section without its vendor"));
}

TEST(ModemFile, MayLeaveOnePersonalityOut) {
    const ThrowAwayFolder folder("modem-file");
    const std::string path = folder.path() + "/a.modem";
    std::ofstream(path) << "[modem]\nvendor = 1\nproduct = 2\n";
    const Modem modem = readModemFile(path);
    EXPECT_FALSE(modem.cdRom.isKnown());
    EXPECT_EQ(shortIdentifier(modem.first()), "0001:0002");
}

TEST(ModemFile, WhatIsWrittenIsReadAgain) {
    Modem modem = readModemFile(ZEVO_MODEMS "/composite.modem");
    modem.modem.manufacturer = "Somebody & Sons";
    modem.modem.serial = "serial-1";
    modem.modem.release = "0102";
    const ThrowAwayFolder folder("modem-file");
    const std::string path = folder.path() + "/a.modem";
    std::ofstream(path) << modemFileText(modem);
    const Modem again = readModemFile(path);
    EXPECT_EQ(again.name, modem.name);
    EXPECT_TRUE(again.cdRom == modem.cdRom) << modemFileText(again);
    EXPECT_TRUE(again.modem == modem.modem) << modemFileText(again);
}

TEST(ModemFile, MissingFileIsAnErrorThatNamesIt) {
    EXPECT_THROW(readModemFile("/nowhere/a.modem"), std::runtime_error);
}

} // namespace
