#include "HandleTable.h"

#include <gtest/gtest.h>

using LinuxPlatform::HandleTable;
using LinuxPlatform::RegistryObject;

namespace {

class Thing final : public RegistryObject {
public:
    std::string_view className() const override { return "Thing"; }
};

} // namespace

TEST(HandleTable, AValueIsNotUsedAgain) {
    HandleTable table;
    const io_object_t first = table.add(std::make_shared<Thing>());
    std::shared_ptr<RegistryObject> last;
    EXPECT_TRUE(table.release(first, last));
    EXPECT_NE(table.add(std::make_shared<Thing>()), first);
    EXPECT_FALSE(table.release(first, last));
}

TEST(HandleTable, TheLastReleaseHandsTheObjectBack) {
    HandleTable table;
    const auto thing = std::make_shared<Thing>();
    const io_object_t handle = table.add(thing);
    EXPECT_EQ(table.add(thing), handle);
    EXPECT_EQ(table.count(handle), 2U);
    EXPECT_EQ(table.total(), 2U);
    std::shared_ptr<RegistryObject> last;
    EXPECT_TRUE(table.release(handle, last));
    EXPECT_EQ(last, nullptr);
    EXPECT_EQ(table.find(handle), thing);
    EXPECT_TRUE(table.release(handle, last));
    EXPECT_EQ(last, thing);
    EXPECT_EQ(table.find(handle), nullptr);
    EXPECT_EQ(table.total(), 0U);
}

TEST(HandleTable, AfterTheLargestValueTheSmallestUnusedOneFollows) {
    HandleTable table(0xFFFFFFFEU);
    std::shared_ptr<RegistryObject> last;
    EXPECT_EQ(table.add(std::make_shared<Thing>()), 0xFFFFFFFFU);
    EXPECT_EQ(table.add(std::make_shared<Thing>()), 1U) << "0 means nothing";
    EXPECT_EQ(table.add(std::make_shared<Thing>()), 2U);
}
