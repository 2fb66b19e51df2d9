#pragma once

#include <mach/kern_return.h>

typedef kern_return_t IOReturn;

#define iokit_common_err(code) (static_cast<IOReturn>(0xe0000000u | (code)))

#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError iokit_common_err(0x2bcu)
#define kIOReturnNoMemory iokit_common_err(0x2bdu)
#define kIOReturnNoResources iokit_common_err(0x2beu)
#define kIOReturnNoDevice iokit_common_err(0x2c0u)
#define kIOReturnBadArgument iokit_common_err(0x2c2u)
#define kIOReturnUnsupported iokit_common_err(0x2c7u)
#define kIOReturnNotAttached iokit_common_err(0x2d9u)
#define kIOReturnNoSpace iokit_common_err(0x2dbu)
#define kIOReturnNotFound iokit_common_err(0x2f0u)
