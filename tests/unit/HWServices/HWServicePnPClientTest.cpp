#include "HWServicePnPClient.h"

#include <gtest/gtest.h>

namespace {

class Client : public HWServicePnPClient {
public:
    void onResumeStandbyMode() override {}
    void onDeviceArrival(std::string&) override {}
    void onDeviceRemoval(std::string&) override {}
};

TEST(HWServicePnPClientTest, VolumeNotificationsDoNothingUnlessOverridden) {
    Client client;
    HWServicePnPClient& base = client;
    std::string volume = "/Volumes/Modem";
    base.onVolumeArrival(volume);
    base.onVolumeRemoval(volume);
    EXPECT_EQ(volume, "/Volumes/Modem");
}

} // namespace
