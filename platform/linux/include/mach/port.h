#pragma once

#include <mach/boolean.h>
#include <mach/kern_return.h>

typedef unsigned int natural_t;
typedef int integer_t;
typedef natural_t mach_port_name_t;

/// A 32-bit name of an object on the other side of a call. 0 names nothing.
typedef mach_port_name_t mach_port_t;

#define MACH_PORT_NULL 0
