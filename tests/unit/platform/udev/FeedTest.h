#pragma once

#include "LiveObjects.h"
#include "MockedUdev.h"
#include "TestBus.h"
#include "UdevFeed.h"

#include <string>
#include <utility>
#include <vector>

/// A feed of its own, on a bus of its own; notes what the registry publishes and terminates, as "+name" and
/// "-name".
class FeedTest : public LiveObjectsTest, private LinuxPlatform::RegistryObserver {
protected:
    FeedTest() {
        MockedUdev::Get() = MockedUdev();
        m_registry.AddObserver(*this);
    }
    ~FeedTest() override { m_registry.RemoveObserver(*this); }

    void Start() {
        m_feed.Start(m_devices);
        m_feed.Pump(m_devices);
    }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }
    /// What a Pump brings.
    std::vector<std::string> Pumped() {
        TakeEvents();
        m_feed.Pump(m_devices);
        return TakeEvents();
    }

    /// "(vendor)/(product)" in hexadecimal of the services of that name, "-" for what one has not.
    std::vector<std::string> IdsOf(const std::string& name) const;
    LinuxPlatform::EntryPointer Service(const std::string& name) const;
    static std::string TextOf(const LinuxPlatform::EntryPointer& entry, const char* key);

    TestBus m_bus;
    LinuxPlatform::Registry m_registry;
    LinuxPlatform::DeviceTree m_devices{m_registry};
    LinuxPlatform::UdevFeed m_feed;

private:
    void ServicePublished(const LinuxPlatform::EntryPointer& service) override {
        m_events.push_back("+" + service->Name());
    }
    void ServiceTerminated(const LinuxPlatform::EntryPointer& service) override {
        m_events.push_back("-" + service->Name());
    }

    std::vector<std::string> m_events;
};
