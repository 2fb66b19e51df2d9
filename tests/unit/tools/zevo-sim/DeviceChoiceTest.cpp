#include "DeviceChoice.h"

#include "Modems.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::HasSubstr;
using namespace Zevo;

namespace {

std::string refusal(const std::string& text, const std::vector<KnownModem>& database = someModems()) {
    try {
        chooseDevice(text, database);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "none";
}

std::string both(const Modem& modem) {
    return (modem.cdRom.isKnown() ? shortIdentifier(modem.cdRom) : "-") + " " +
           (modem.modem.isKnown() ? shortIdentifier(modem.modem) : "-");
}

} // namespace

TEST(DeviceChoice, IdsThatAreKnownBringTheOtherPersonality) {
    const Modem modem = chooseDevice("12d1:1446", someModems());
    EXPECT_EQ(both(modem), "12d1:1446 12d1:1001");
    EXPECT_EQ(modem.cdRom.interfaces[0].usbClass, 8u);
    EXPECT_EQ(modem.modem.interfaces[0].functions[0].prefix, "ttyUSB");
}

TEST(DeviceChoice, IdsOfASwitchedModemAreTheModemAlone) {
    const Modem modem = chooseDevice("12D1:1406", someModems());
    EXPECT_EQ(both(modem), "- 12d1:1406");
    EXPECT_EQ(modem.modem.interfaces.size(), 2u);
}

TEST(DeviceChoice, OtherIdsAreADeviceOfNoSpecialKind) {
    const Modem modem = chooseDevice("feed:0001", someModems());
    EXPECT_EQ(both(modem), "- feed:0001");
    EXPECT_TRUE(modem.modem.interfaces[0].driver.empty());
}

TEST(DeviceChoice, ANameIsItsWordsInAnyLetterCase) {
    EXPECT_EQ(both(chooseDevice("huawei-e220", someModems())), "12d1:1003 12d1:1003");
    EXPECT_EQ(both(chooseDevice("E230 Huawei", someModems())), "12d1:1003 12d1:1003");
    EXPECT_EQ(both(chooseDevice("mf-110", someModems())), "19d2:2000 19d2:0002");
}

TEST(DeviceChoice, WhatIsNoDeviceIsRefusedWithTheReason) {
    EXPECT_THAT(refusal("huawei"), AllOf(HasSubstr("may be several modems"),
                                         HasSubstr("12d1:1003  Huawei E220"), HasSubstr("12d1:1446")));
    EXPECT_THAT(refusal("nobody-1"), HasSubstr("no modem is known as \"nobody-1\""));
    EXPECT_THAT(refusal("12d1:14466"), HasSubstr("are no ids"));
    EXPECT_THAT(refusal("0000:0001"), HasSubstr("no vendor has the number 0000"));
    EXPECT_THAT(refusal("huawei-e220", {}), HasSubstr("usb-modeswitch-data"));
}

TEST(DeviceChoice, AFileIsKnownByItsPathOrItsEnding) {
    const TemporaryFolder folder;
    writeFile(folder / "stick", "[modem]\nvendor = 1\nproduct = 2\n");
    EXPECT_EQ(both(chooseDevice(folder / "stick", someModems())), "- 0001:0002");
    EXPECT_THROW(chooseDevice("no-such.modem", someModems()), std::runtime_error);
}

TEST(DeviceChoice, APersonalityIsTheOneOfTheseIdsAndOfANameTheModem) {
    const std::vector<KnownModem> known = someModems();
    EXPECT_TRUE(choosePersonality("12d1:1001", known) == makeModem(0x12d1, 0x1001));
    EXPECT_TRUE(choosePersonality("12d1:1446", known) == makeCdRom(0x12d1, 0x1446));
    EXPECT_TRUE(choosePersonality("12d1:1003", known) == makeModem(0x12d1, 0x1003));
    EXPECT_TRUE(choosePersonality("huawei-e220", known) == makeModem(0x12d1, 0x1003));
}
