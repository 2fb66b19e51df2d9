#pragma once

/// Result of a call into the registry: 0, a small number below, or an IOReturn of <IOKit/IOReturn.h>.
typedef int kern_return_t;

#define KERN_SUCCESS 0
#define KERN_NO_SPACE 3
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5
#define KERN_RESOURCE_SHORTAGE 6
#define KERN_INVALID_NAME 15
