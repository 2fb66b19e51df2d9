#pragma once

// The base types that every framework of this layer shares, with the widths and the underlying types they
// have on macOS: a printf format that is right on Linux is right on a Mac of the same word size.

typedef unsigned char UInt8;
typedef signed char SInt8;
typedef unsigned short UInt16;
typedef signed short SInt16;
#if defined(__LP64__)
typedef unsigned int UInt32;
typedef signed int SInt32;
#else
typedef unsigned long UInt32;
typedef signed long SInt32;
#endif
typedef unsigned long long UInt64;
typedef signed long long SInt64;

/// 0 is false, anything else is true.
typedef unsigned char Boolean;

typedef float Float32;
typedef double Float64;

/// Results: 0 (noErr) is success, a negative number says what failed.
typedef SInt16 OSErr;
typedef SInt32 OSStatus;

typedef UInt32 OptionBits;

/// Four characters as one number, the first in the highest byte.
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

enum { noErr = 0 };

/// Names a running application for as long as it runs; see <ApplicationServices/ApplicationServices.h>.
/// The two words are opaque. {0, kNoProcess} names no process.
struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
};
typedef struct ProcessSerialNumber ProcessSerialNumber;
