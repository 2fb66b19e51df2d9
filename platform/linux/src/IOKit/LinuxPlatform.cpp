#include <LinuxPlatform.h>

#include "Diagnostics.h"
#include "Object.h"
#include "RegistryServer.h"

#include <ostream>

namespace LinuxPlatform {

LiveObjects countLiveObjects() {
    LiveObjects counts{};
    counts.coreFoundationObjects = liveObjectCount();
    counts.complaints = complaintCount();
    const auto server = RegistryServer::enter();
    counts.registryReferences = server->handles().total();
    counts.notificationPorts = server->ports().size();
    return counts;
}

bool operator==(const LiveObjects& left, const LiveObjects& right) {
    return left.coreFoundationObjects == right.coreFoundationObjects &&
           left.registryReferences == right.registryReferences &&
           left.notificationPorts == right.notificationPorts && left.complaints == right.complaints;
}

bool operator!=(const LiveObjects& left, const LiveObjects& right) {
    return !(left == right);
}

std::ostream& operator<<(std::ostream& stream, const LiveObjects& counts) {
    return stream << counts.coreFoundationObjects << " CoreFoundation objects, " << counts.registryReferences
                  << " registry references, " << counts.notificationPorts << " notification ports, "
                  << counts.complaints << " complaints";
}

void useDevicesByHand() {
    RegistryServer::enter()->dropFeed();
}

void deviceArrived(const Device& device) {
    RegistryServer::enter()->devices().arrive(device);
}

void deviceChanged(const Device& device) {
    RegistryServer::enter()->devices().change(device);
}

void deviceLeft(const std::string& path) {
    RegistryServer::enter()->devices().leave(path);
}

void allDevicesLeft() {
    RegistryServer::enter()->devices().leaveAll();
}

void deviceMatchedAgain(const std::string& path) {
    RegistryServer::enter()->devices().matchAgain(path);
}

void adoptHabits(const KernelHabits& habits) {
    RegistryServer::enter()->entries().adoptHabits(habits);
}

} // namespace LinuxPlatform
