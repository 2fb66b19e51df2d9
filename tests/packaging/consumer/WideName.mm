#include "MAC/NSStringManagement.h"

// Converts a text to Foundation's and back.
int main() {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSString* name = StringManagement::WStringToNSString(L"Quillmarsh \u20AC");
    const std::wstring text = StringManagement::NSStringToWString(name);
    [name release];
    [pool drain];
    return text == L"Quillmarsh \u20AC" ? 0 : 1;
}
