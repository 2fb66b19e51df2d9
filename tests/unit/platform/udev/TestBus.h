#pragma once

#include <map>
#include <memory>
#include <string>

typedef struct _UMockdevTestbed UMockdevTestbed;

/// A virtual bus that this process and its libudev see instead of the machine's. The events wait in the
/// monitor's socket, which has room for ten.
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
    /// Takes a device out of sysfs without a word.
    void forget(const std::string& path);
    /// As the kernel does: announced, then out of sysfs.
    void remove(const std::string& path);

    /// Where the bus lies; its device files are in "dev" below.
    std::string Folder() const;

private:
    struct Release {
        void operator()(UMockdevTestbed* testbed) const;
    };

    std::unique_ptr<UMockdevTestbed, Release> m_testbed;
};
