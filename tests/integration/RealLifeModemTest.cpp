#include "LauncherTest.h"
#include "SwitchingData.h"

#include <cctype>
#include <ostream>
#include <set>

using namespace Zevo;

namespace Zevo {

void PrintTo(const Modem& modem, std::ostream* stream) {
    *stream << modem.name;
}

} // namespace Zevo

namespace {

const std::size_t MODEM_COUNT = 75; // every vendor of the data, and a second one of some

std::vector<Modem> chosenModems() {
    return chooseAcrossVendors(readSwitchingData(ZEVO_SWITCHING_DATA), MODEM_COUNT);
}

std::string identifiersOf(const Modem& modem) {
    return hardwareIdentifier(modem.cdRom) + " " + hardwareIdentifier(modem.modem);
}

/** Configured, plugged in as what it shows first, switched: as its owner would. */
class RealLifeModem : public LauncherTest, public testing::WithParamInterface<Modem> {};

TEST_P(RealLifeModem, StartsEachApplicationOnceWhilePluggedInAndSwitched) {
    configureFor(GetParam().modem, GetParam().cdRom);
    startLauncher();
    m_bus.plug("1-1", GetParam().cdRom);
    expectStarts(1, 1);
    m_bus.switchMode("1-1", GetParam().modem);
    plugMarker();
    expectStarts(1, 1);
    EXPECT_GE(arrivalsOf(GetParam().cdRom), 1);
    EXPECT_GE(arrivalsOf(GetParam().modem), 1);
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), 1);
}

std::string nameOf(const testing::TestParamInfo<Modem>& info) {
    std::string result = std::to_string(info.index) + "_" + identifiersOf(info.param);
    for (char& character : result)
        character = std::isalnum(static_cast<unsigned char>(character)) ? character : '_';
    return result;
}

INSTANTIATE_TEST_SUITE_P(, RealLifeModem, testing::ValuesIn(chosenModems()), nameOf);

TEST(SwitchingData, HoldsModemsOfManyVendorsWithBothPersonalities) {
    const std::vector<Modem> modems = chosenModems();
    std::set<unsigned> vendors;
    for (const Modem& modem : modems) {
        EXPECT_NE(modem.cdRom.vendor, 0u);
        EXPECT_NE(modem.modem.product, 0u);
        vendors.insert(modem.cdRom.vendor);
    }
    EXPECT_EQ(modems.size(), MODEM_COUNT);
    EXPECT_GE(vendors.size(), 40u);
}

} // namespace
