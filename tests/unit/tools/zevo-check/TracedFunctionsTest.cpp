#include "TracedFunctions.h"

#include "Installation.h"
#include "TraceCapture.h"

#include "AppData.h"
#include "IDCardReader.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::IsSupersetOf;

TEST(TracedFunctions, HoldMethodsConstructorsAndFreeFunctions) {
    EXPECT_THAT(Zevo::tracedFunctions(),
                IsSupersetOf({"ZevoLauncher::run", "ZevoLauncher::constructor", "ZevoLauncher::destructor",
                              "ZevoLauncher::Main", "Item::copyconstructor", "Item::operator=",
                              "SIGNAL_FILTER", "HWServicePnPIOKit::registerService", "readCard"}));
    EXPECT_TRUE(std::is_sorted(Zevo::tracedFunctions().begin(), Zevo::tracedFunctions().end()));
}

// Every name in a real trace is in the list.
TEST(TracedFunctions, HoldWhatTheTraceShows) {
    const Installation installation;
    TraceCapture trace;
    {
        IDCardReader card(installation.folder());
        card.readIDCard();
        AppData::setGlobalScope(card.getUpgradeCode());
        AppData("Logs").getPathForFile("Logs");
    }
    installation.check();
    const std::string text = trace.text();
    std::istringstream lines(text);
    int calls = 0;
    for (std::string line; std::getline(lines, line);) {
        std::string name = line.substr(line.rfind(']') + 1);
        name.erase(0, name.find_first_not_of(" |*")); // clang puts the "*" of a result next to the name
        if (name.empty() || name.find(' ') != std::string::npos) // a message or an exit
            continue;
        ++calls;
        EXPECT_THAT(Zevo::tracedFunctions(), Contains(name));
    }
    EXPECT_GT(calls, 20) << text;
}
