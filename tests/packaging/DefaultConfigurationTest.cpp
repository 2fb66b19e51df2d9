#include "Dictionary.h"
#include "IDCardReader.h"

#include <gtest/gtest.h>
#include <regex>

static std::string valueOf(Dictionary& configuration, const char* key) {
    const char* value = configuration.getValue(std::string(key));
    return value != nullptr ? value : "(none)";
}

TEST(DefaultConfiguration, TheIdentityCardIsReadableAndComplete) {
    IDCardReader card(CONFIGURATION_FOLDER);
    ASSERT_TRUE(card.readIDCard());
    for (const char* key :
         {"FLEET_ID", "CUSTOMER_ID", "GENERATION_VERSION", "IT_MANAGER", "BU_NAME", "REFERENCE_VERSION",
          "PRODUCT_NAME", "BUILD_TARGET", "COMMERCIAL_VERSION", "PRODUCT_VERSION", "UPGRADE_CODE"})
        EXPECT_NE("", card.getParam(key)) << key;
    EXPECT_EQ(card.getIDCardParams().size(), 11u);
}

TEST(DefaultConfiguration, TheUpgradeCodeCanNameAFolder) {
    IDCardReader card(CONFIGURATION_FOLDER);
    ASSERT_TRUE(card.readIDCard());
    EXPECT_TRUE(std::regex_match(card.getUpgradeCode(), std::regex("[A-Za-z0-9-]+")))
        << card.getUpgradeCode();
}

TEST(DefaultConfiguration, NamesAModemAndItsCdRomPersonality) {
    Dictionary configuration;
    configuration.loadFromFile(CONFIGURATION_FOLDER "Launcher.cfg");
    const std::regex identifier("USB#Vid_[0-9a-f]{4}&Pid_[0-9a-f]{4}");
    const std::string modem = valueOf(configuration, "MacHardwareIdToDetect");
    const std::string cdRom = valueOf(configuration, "MacCdRomHIdToDetect");
    EXPECT_TRUE(std::regex_match(modem, identifier)) << modem;
    EXPECT_TRUE(std::regex_match(cdRom, identifier)) << cdRom;
    EXPECT_EQ(valueOf(configuration, "MacHardwareIdToFind"), modem);
    EXPECT_NE(modem, cdRom);
}
