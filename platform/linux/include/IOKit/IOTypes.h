#pragma once

#include <MacTypes.h>
#include <mach/port.h>

#include <IOKit/IOReturn.h>

typedef UInt32 IOOptionBits;

/// A reference to an object of the registry. Every one that a call returns is released with IOObjectRelease.
typedef mach_port_t io_object_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;

typedef char io_name_t[128];
typedef char io_string_t[512];

#define IO_OBJECT_NULL (static_cast<io_object_t>(0))
