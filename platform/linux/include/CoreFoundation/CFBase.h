#pragma once

#include <MacTypes.h>

#define CF_EXPORT extern "C"

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef signed long CFIndex;

/// Any object of this framework.
typedef const void* CFTypeRef;

namespace LinuxPlatform {
class BooleanValue;
class Dictionary;
class Number;
class RunLoop;
class RunLoopSource;
class String;
} // namespace LinuxPlatform

typedef const LinuxPlatform::String* CFStringRef;

/// Only a parameter of the signatures: memory always comes from the C++ heap, and the argument is ignored.
typedef const struct CFAllocator* CFAllocatorRef;

enum CFComparisonResult : CFIndex {
    kCFCompareLessThan = -1L,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
};

static const CFIndex kCFNotFound = -1;

struct CFRange {
    CFIndex location;
    CFIndex length;
};
typedef struct CFRange CFRange;

inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return CFRange{location, length};
}

CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorSystemDefault;

/// Adds a reference, and returns its argument.
CF_EXPORT CFTypeRef CFRetain(CFTypeRef cf);
/// Removes a reference; without one left, the object is destroyed.
CF_EXPORT void CFRelease(CFTypeRef cf);
/// The reference count. For a constant, the largest number.
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef cf);

CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);
/// Same type and same content; numbers compare by value, whatever their width.
CF_EXPORT Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
/// Equal objects have equal hashes.
CF_EXPORT CFHashCode CFHash(CFTypeRef cf);
