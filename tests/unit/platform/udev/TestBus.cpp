#include "TestBus.h"

#include <glob.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <umockdev.h>
#include <unistd.h>
#include <vector>

namespace {

/// The names and values in turn, terminated by a nullptr, as umockdev requires.
std::vector<char*> ArgumentsOf(const TestBus::Texts& texts) {
    std::vector<char*> arguments;
    for (const auto& [name, value] : texts) {
        // umockdev's signature lacks the const; it only reads.
        arguments.push_back(const_cast<char*>(name.c_str()));
        arguments.push_back(const_cast<char*>(value.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

} // namespace

void TestBus::Release::operator()(UMockdevTestbed* testbed) const {
    g_object_unref(testbed);
}

TestBus::TestBus() : m_testbed(umockdev_testbed_new()) {
    if (!umockdev_in_mock_environment())
        throw std::runtime_error("this test runs under umockdev-wrapper only");
}

TestBus::~TestBus() = default;

std::string TestBus::add(const std::string& subsystem, const std::string& name, const std::string& parent,
                         const Texts& attributes, const Texts& properties) {
    char* path = umockdev_testbed_add_devicev(m_testbed.get(), subsystem.c_str(), name.c_str(),
                                              parent.empty() ? nullptr : parent.c_str(),
                                              ArgumentsOf(attributes).data(), ArgumentsOf(properties).data());
    if (!path)
        throw std::runtime_error("cannot add " + name);
    std::string result = path;
    g_free(path);
    return result;
}

std::string TestBus::AddUsbDevice(const std::string& name, const std::string& vendor,
                                  const std::string& product, const Texts& moreProperties,
                                  const Texts& moreAttributes) {
    Texts attributes{{"idVendor", vendor}, {"idProduct", product}, {"product", "Modem"}};
    for (const auto& [attribute, value] : moreAttributes)
        attributes[attribute] = value;
    Texts properties{{"DEVTYPE", "usb_device"}};
    properties.insert(moreProperties.begin(), moreProperties.end());
    return add("usb", name, "", attributes, properties);
}

std::string TestBus::AddInterface(const std::string& device, const std::string& name) {
    return add("usb", name, device, {}, {{"DEVTYPE", "usb_interface"}});
}

std::string TestBus::AddPort(const std::string& interface, const std::string& name) {
    return add("tty", name, interface, {{"dev", "188:0"}}, {{"DEVNAME", "/dev/" + name}});
}

std::string TestBus::AddNetworkCard(const std::string& interface, const std::string& name) {
    return add("net", name, interface, {}, {{"INTERFACE", name}});
}

void TestBus::SetAttribute(const std::string& path, const std::string& name, const std::string& value) {
    umockdev_testbed_set_attribute(m_testbed.get(), path.c_str(), name.c_str(), value.c_str());
}

void TestBus::SetProperty(const std::string& path, const std::string& name, const std::string& value) {
    umockdev_testbed_set_property(m_testbed.get(), path.c_str(), name.c_str(), value.c_str());
}

void TestBus::Announce(const std::string& path, const std::string& action) {
    umockdev_testbed_uevent(m_testbed.get(), path.c_str(), action.c_str());
}

void TestBus::Send(const std::string& message) {
    const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    glob_t found;
    glob((Folder() + "/event*").c_str(), 0, nullptr, &found); // umockdev puts each monitor's socket there
    bool isSent = found.gl_pathc > 0;
    for (std::size_t index = 0; index < found.gl_pathc; ++index) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = found.gl_pathv[index];
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        isSent =
            sendto(sender, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                   sizeof(address)) == static_cast<ssize_t>(message.size()) &&
            isSent;
    }
    globfree(&found);
    close(sender);
    if (!isSent)
        throw std::runtime_error("no monitor took the message");
}

void TestBus::forget(const std::string& path) {
    umockdev_testbed_remove_device(m_testbed.get(), path.c_str());
}

void TestBus::remove(const std::string& path) {
    Announce(path, "remove");
    forget(path);
}

std::string TestBus::Folder() const {
    char* folder = umockdev_testbed_get_root_dir(m_testbed.get());
    std::string result = folder;
    g_free(folder);
    return result;
}
