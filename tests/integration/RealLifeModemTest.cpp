#include "LauncherTest.h"
#include "ModemDatabase.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <ostream>
#include <set>

using namespace Zevo;

namespace Zevo {

void PrintTo(const Modem& modem, std::ostream* stream) {
    *stream << modem.name;
}

} // namespace Zevo

namespace {

const std::size_t MODEM_COUNT = 75; // one modem of every vendor in the data, a second of some

unsigned idOf(int number) {
    return static_cast<unsigned>(number);
}

/// The modems whose switching changes their identifiers, each with the first personality that it may switch
/// to.
std::vector<Modem> switchedModems() {
    std::vector<Modem> result;
    for (const KnownModem& known : readModemDatabase(ZEVO_SWITCHING_DATA)) {
        const UsbIds& next = known.modems.front();
        if (next == known.cdRom)
            continue;
        Modem modem;
        modem.name = known.names;
        modem.cdRom = makeCdRom(idOf(known.cdRom.vendor), idOf(known.cdRom.product));
        modem.modem = makeModem(idOf(next.vendor), idOf(next.product));
        result.push_back(modem);
    }
    return result;
}

/// MODEM_COUNT modems of as many vendors as possible: the first one of every vendor, then the second ones,
/// and so on.
std::vector<Modem> chosenModems() {
    const std::vector<Modem> modems = switchedModems();
    std::map<unsigned, std::size_t> seen;
    std::vector<std::pair<std::size_t, std::size_t>> order; // round, then place in the list
    for (std::size_t index = 0; index < modems.size(); ++index)
        order.emplace_back(seen[modems[index].cdRom.vendor]++, index);
    std::sort(order.begin(), order.end());
    std::vector<Modem> result;
    for (std::size_t index = 0; index < std::min(MODEM_COUNT, order.size()); ++index)
        result.push_back(modems[order[index].second]);
    return result;
}

std::string identifiersOf(const Modem& modem) {
    return hardwareIdentifier(modem.cdRom) + " " + hardwareIdentifier(modem.modem);
}

/// A real modem, used as its owner would: configured, plugged in with its first personality, switched.
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
