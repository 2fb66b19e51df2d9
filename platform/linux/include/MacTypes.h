#pragma once

// The elementary types that every framework header builds on. Widths follow macOS's headers: a UInt32 is an
// unsigned long where long has 32 bits, so that a wrong printf format is wrong on both hosts.

#include <cstddef>
#include <cstdint>

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

typedef float Float32;
typedef double Float64;

typedef unsigned char Boolean;
typedef UInt8 Byte;

typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OptionBits;
typedef unsigned long ByteCount;
typedef unsigned long ItemCount;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

typedef char* Ptr;
typedef Ptr* Handle;
typedef long Size;

typedef UInt16 UniChar;
typedef unsigned long UniCharCount;
typedef unsigned char Str255[256];
typedef unsigned char* StringPtr;
typedef const unsigned char* ConstStringPtr;
typedef const unsigned char* ConstStr255Param;

/// Identifies a running process until it ends. {0, 0} is no process.
struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
};
typedef struct ProcessSerialNumber ProcessSerialNumber;
typedef ProcessSerialNumber* ProcessSerialNumberPtr;

enum { noErr = 0 };
