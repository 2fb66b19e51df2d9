#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <string>

namespace kf::detail {

// Reading the device registry. An absent value is distinguished from zero and from empty, and the type of a
// value is checked first: what a driver publishes under a key cannot be trusted.

/// Stores a number; false, with `value` unchanged, if `object` is null or no number.
bool readNumber(CFTypeRef object, SInt32& value);
/// Stores a text as UTF-8, cut after the last character that fits into 255 bytes; false, with `value`
/// unchanged, if `object` is null, no text, or one that UTF-8 cannot represent.
bool readText(CFTypeRef object, std::string& value);

/// The name of an entry; empty if it cannot be read.
std::string readName(io_registry_entry_t entry);
/// Stores the path of an entry in the "IOService" plane, or an empty text if that fails (no path is longer
/// than 511 bytes); returns IOKit's result.
kern_return_t readPath(io_registry_entry_t entry, std::string& path);

/// Whether an entry is below a device, by their paths: the entry's contains the device's, anywhere. A path
/// that could not be read is empty; it contains nothing and is contained in nothing.
bool isBelow(const std::string& path, const std::string& devicePath);

/// Adds a 32-bit number to a matching dictionary.
void setNumber(CFMutableDictionaryRef matching, CFStringRef key, SInt32 value);

} // namespace kf::detail
