#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <plist/plist.h>

/// A property list that macOS reads; on Linux nothing else reads it.
class MacPropertyList {
public:
    explicit MacPropertyList(const std::string& name) {
        std::ifstream file(MAC_FOLDER + name);
        const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &m_root);
    }
    ~MacPropertyList() { plist_free(m_root); }
    MacPropertyList(const MacPropertyList&) = delete;
    MacPropertyList& operator=(const MacPropertyList&) = delete;

    plist_t item(const char* key) const { return plist_dict_get_item(m_root, key); }

    static std::string text(plist_t node) {
        char* value = nullptr;
        if (node != nullptr && plist_get_node_type(node) == PLIST_STRING)
            plist_get_string_val(node, &value);
        const std::unique_ptr<char, decltype(&free)> owned(value, &free);
        return owned ? owned.get() : "(none)";
    }

    static bool isTrue(plist_t node) {
        uint8_t value = 0;
        if (node != nullptr && plist_get_node_type(node) == PLIST_BOOLEAN)
            plist_get_bool_val(node, &value);
        return value != 0;
    }

private:
    plist_t m_root = nullptr;
};

TEST(MacPropertyLists, TheBundleHasNoWindowAndNamesItsExecutable) {
    const MacPropertyList bundle("Info.plist.in");
    EXPECT_TRUE(MacPropertyList::isTrue(bundle.item("LSBackgroundOnly")));
    EXPECT_TRUE(MacPropertyList::isTrue(bundle.item("LSUIElement")));
    EXPECT_EQ(MacPropertyList::text(bundle.item("CFBundleExecutable")), "${MACOSX_BUNDLE_EXECUTABLE_NAME}");
    EXPECT_EQ(MacPropertyList::text(bundle.item("CFBundlePackageType")), "APPL");
}

TEST(MacPropertyLists, TheBundleNeedsTheMacOSThatItIsBuiltFor) {
    const MacPropertyList bundle("Info.plist.in");
    EXPECT_EQ(MacPropertyList::text(bundle.item("LSMinimumSystemVersion")), "${CMAKE_OSX_DEPLOYMENT_TARGET}");
}

TEST(MacPropertyLists, TheAgentStartsTheLauncherAgainAfterACrash) {
    const MacPropertyList agent("zevo.ZevoLauncher.plist.in");
    EXPECT_EQ(MacPropertyList::text(agent.item("Label")), "zevo.ZevoLauncher");
    EXPECT_EQ(MacPropertyList::text(plist_array_get_item(agent.item("ProgramArguments"), 0)), "@LAUNCHER@");
    EXPECT_TRUE(MacPropertyList::isTrue(agent.item("RunAtLoad")));
    EXPECT_TRUE(MacPropertyList::isTrue(plist_dict_get_item(agent.item("KeepAlive"), "SuccessfulExit")));
    EXPECT_TRUE(MacPropertyList::isTrue(plist_dict_get_item(agent.item("KeepAlive"), "Crashed")));
}

TEST(MacPropertyLists, TheAgentKeepsTheLineOfASyntaxError) {
    const MacPropertyList agent("zevo.ZevoLauncher.plist.in");
    EXPECT_EQ(MacPropertyList::text(agent.item("StandardErrorPath")), "@LOG@");
}

// An agent's session is Aqua by default, and the default time between two starts is 10 seconds.
TEST(MacPropertyLists, TheAgentRepeatsNoDefault) {
    const MacPropertyList agent("zevo.ZevoLauncher.plist.in");
    EXPECT_EQ(agent.item("LimitLoadToSessionType"), nullptr);
    EXPECT_EQ(agent.item("ThrottleInterval"), nullptr);
}
