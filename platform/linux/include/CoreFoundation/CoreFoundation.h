#pragma once

// The part of CoreFoundation that the product uses, for Linux. Names, types, values and results are the
// documented ones; each header says what it adds.
//
// Ownership: the caller releases what a function with Create or Copy in its name returns; what any other
// function returns is borrowed. Every function may be called from any thread; two threads must not change one
// object at once.
//
// Releasing too often, or passing something that is not a live object, is reported on standard error and
// otherwise ignored; LinuxPlatform.h counts these reports, and the live objects.

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFRunLoop.h>
#include <CoreFoundation/CFString.h>
