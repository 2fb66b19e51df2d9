#pragma once

#include "LiveObjects.h"
#include "MockedUdev.h"
#include "TestBus.h"
#include "UdevFeed.h"

#include <string>
#include <utility>
#include <vector>

/// A feed and a virtual bus for the test; records what the registry publishes and terminates, as "+name" and
/// "-name".
class FeedTest : public LiveObjectsTest, private LinuxPlatform::RegistryObserver {
protected:
    FeedTest() {
        MockedUdev::get() = MockedUdev();
        m_registry.addObserver(*this);
    }
    ~FeedTest() override { m_registry.removeObserver(*this); }

    void start() {
        m_feed.start(m_devices);
        m_feed.pump(m_devices);
    }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }
    /// Pumps; returns the events of that.
    std::vector<std::string> Pumped() {
        TakeEvents();
        m_feed.pump(m_devices);
        return TakeEvents();
    }

    /// "(vendor)/(product)" in hexadecimal of each service of that name, with "-" for an id that it lacks.
    std::vector<std::string> IdsOf(const std::string& name) const;
    LinuxPlatform::EntryPointer Service(const std::string& name) const;
    static std::string textOf(const LinuxPlatform::EntryPointer& entry, const char* key);

    TestBus m_bus;
    LinuxPlatform::Registry m_registry;
    LinuxPlatform::DeviceTree m_devices{m_registry};
    LinuxPlatform::UdevFeed m_feed;

private:
    void servicePublished(const LinuxPlatform::EntryPointer& service) override {
        m_events.push_back("+" + service->name());
    }
    void serviceTerminated(const LinuxPlatform::EntryPointer& service) override {
        m_events.push_back("-" + service->name());
    }

    std::vector<std::string> m_events;
};
