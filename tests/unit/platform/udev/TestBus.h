#pragma once

#include <map>
#include <memory>
#include <string>

typedef struct _UMockdevTestbed UMockdevTestbed;

/// A virtual bus, which this process and its libudev see in place of the machine's. Events wait in the
/// monitor's socket, which holds ten.
class TestBus {
public:
    using Texts = std::map<std::string, std::string>;

    TestBus();
    ~TestBus();
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

    /// Adds a device below `parent` (a path of sysfs; empty for none) and announces it. Returns its path.
    std::string add(const std::string& subsystem, const std::string& name, const std::string& parent,
                    const Texts& attributes, const Texts& properties);

    std::string AddUsbDevice(const std::string& name, const std::string& vendor, const std::string& product,
                             const Texts& moreProperties = {}, const Texts& moreAttributes = {});
    std::string AddInterface(const std::string& device, const std::string& name);
    std::string AddPort(const std::string& interface, const std::string& name);
    std::string AddNetworkCard(const std::string& interface, const std::string& name);

    void SetAttribute(const std::string& path, const std::string& name, const std::string& value);
    void SetProperty(const std::string& path, const std::string& name, const std::string& value);
    void Announce(const std::string& path, const std::string& action);
    /// Puts a message of these bytes into every monitor's socket.
    void Send(const std::string& message);
    /// Removes a device from sysfs without an event.
    void forget(const std::string& path);
    /// Removes a device as the kernel does: announces it, then takes it out of sysfs.
    void remove(const std::string& path);

    /// The folder of the bus; its device files are in the subfolder "dev".
    std::string Folder() const;

private:
    struct Release {
        void operator()(UMockdevTestbed* testbed) const;
    };

    std::unique_ptr<UMockdevTestbed, Release> m_testbed;
};
