#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <string>

namespace kf::detail {

// Reading the device registry. Absent is told from zero and from empty, and a value's type is checked first:
// what a driver publishes under a key is not ours to trust.

/// Stores a number; false, with `value` as it was, when `object` is null or no number.
bool readNumber(CFTypeRef object, SInt32& value);
/// Stores a text as UTF-8, cut after the last character that fits into 255 bytes; false, with `value` as it
/// was, when `object` is null, no text, or one that UTF-8 cannot hold.
bool readText(CFTypeRef object, std::string& value);

/// The name of an entry; empty when it cannot be read.
std::string readName(io_registry_entry_t entry);
/// Stores the path of an entry in the "IOService" plane, an empty one when that fails (there is none longer
/// than 511 bytes); returns IOKit's result.
kern_return_t readPath(io_registry_entry_t entry, std::string& path);

/// Whether an entry lies below a device, by their paths: the device's stands anywhere in the entry's. A path
/// that could not be read is empty; it contains nothing and is contained in nothing.
bool isBelow(const std::string& path, const std::string& devicePath);

/// Adds a 32-bit number to a matching dictionary.
void setNumber(CFMutableDictionaryRef matching, CFStringRef key, SInt32 value);

} // namespace kf::detail
