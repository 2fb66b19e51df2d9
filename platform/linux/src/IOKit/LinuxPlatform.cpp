#include <LinuxPlatform.h>

#include "Diagnostics.h"
#include "Object.h"
#include "RegistryServer.h"

#include <ostream>

namespace LinuxPlatform {

LiveObjects CountLiveObjects() {
    LiveObjects counts{};
    counts.coreFoundationObjects = LiveObjectCount();
    counts.complaints = ComplaintCount();
    const auto server = RegistryServer::Enter();
    counts.registryReferences = server->Handles().Total();
    counts.notificationPorts = server->Ports().size();
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

void UseDevicesByHand() {
    RegistryServer::Enter()->DropFeed();
}

void DeviceArrived(const Device& device) {
    RegistryServer::Enter()->Devices().Arrive(device);
}

void DeviceChanged(const Device& device) {
    RegistryServer::Enter()->Devices().Change(device);
}

void DeviceLeft(const std::string& path) {
    RegistryServer::Enter()->Devices().Leave(path);
}

void AllDevicesLeft() {
    RegistryServer::Enter()->Devices().LeaveAll();
}

void DeviceMatchedAgain(const std::string& path) {
    RegistryServer::Enter()->Devices().MatchAgain(path);
}

void AdoptHabits(const KernelHabits& habits) {
    RegistryServer::Enter()->Entries().AdoptHabits(habits);
}

} // namespace LinuxPlatform
