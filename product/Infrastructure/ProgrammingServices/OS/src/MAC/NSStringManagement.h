#pragma once

#import <Foundation/Foundation.h>

#include <string>

// The conversions of wide text that only Objective-C++ sources need. Thread: any.
namespace StringManagement {

/// One unit per code point. Empty for nil, and for a text that is not valid Unicode.
std::wstring NSStringToWString(NSString* s);

/// A new string, which the caller owns and releases; nil if a unit is not a code point. The attribute tells
/// compilers with automatic reference counting.
NSString* WStringToNSString(const std::wstring& w) NS_RETURNS_RETAINED;

} // namespace StringManagement
