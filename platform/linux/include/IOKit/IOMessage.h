#pragma once

#include <IOKit/IOTypes.h>

#define iokit_common_msg(code) (static_cast<UInt32>(0xe0000000u | (code)))

/// The service has left the registry, after everything below it.
#define kIOMessageServiceIsTerminated iokit_common_msg(0x010u)
#define kIOMessageServiceIsSuspended iokit_common_msg(0x020u)
#define kIOMessageServiceIsResumed iokit_common_msg(0x030u)
#define kIOMessageServicePropertyChange iokit_common_msg(0x130u)
