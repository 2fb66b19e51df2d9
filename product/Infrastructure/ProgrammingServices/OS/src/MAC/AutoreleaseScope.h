#pragma once

#import <Foundation/Foundation.h>

/// An autorelease pool for a C++ scope: callers of the C++ interfaces need not have one.
class AutoreleaseScope {
public:
    AutoreleaseScope() : m_pool([[NSAutoreleasePool alloc] init]) {}
    ~AutoreleaseScope() { [m_pool drain]; }

    AutoreleaseScope(const AutoreleaseScope&) = delete;
    AutoreleaseScope& operator=(const AutoreleaseScope&) = delete;

private:
    NSAutoreleasePool* m_pool;
};
