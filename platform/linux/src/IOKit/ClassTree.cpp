#include "ClassTree.h"

#include <algorithm>
#include <iterator>

namespace LinuxPlatform {
namespace {

struct Derivation {
    std::string_view className;
    std::string_view base;
};

const Derivation DERIVATIONS[] = {
    {ClassName::REGISTRY_ENTRY, "OSObject"},
    {ClassName::SERVICE, ClassName::REGISTRY_ENTRY},
    {"IOUSBNub", ClassName::SERVICE},
    {ClassName::USB_DEVICE, "IOUSBNub"},
    {ClassName::USB_INTERFACE, "IOUSBNub"},
    {ClassName::SERIAL_CLIENT, ClassName::SERVICE},
    {"IONetworkInterface", ClassName::SERVICE},
    {ClassName::NETWORK_INTERFACE, "IONetworkInterface"},
    {ClassName::NETWORK_STACK, ClassName::SERVICE},
    {"OSIterator", "OSObject"},
    {ClassName::ITERATOR, "OSIterator"},
    {"IOUserNotification", "OSIterator"},
    {ClassName::MATCHING_NOTIFICATION, "IOUserNotification"},
    {ClassName::INTEREST_NOTIFICATION, "IOUserNotification"},
};

std::string_view baseOf(std::string_view className) {
    const auto* found =
        std::find_if(std::begin(DERIVATIONS), std::end(DERIVATIONS),
                     [className](const Derivation& row) { return row.className == className; });
    return found == std::end(DERIVATIONS) ? std::string_view() : found->base;
}

} // namespace

bool classConformsTo(std::string_view className, std::string_view ancestor) {
    for (; !className.empty(); className = baseOf(className))
        if (className == ancestor)
            return true;
    return false;
}

} // namespace LinuxPlatform
