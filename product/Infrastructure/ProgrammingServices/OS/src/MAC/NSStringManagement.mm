#include "MAC/NSStringManagement.h"

#include "MAC/AutoreleaseScope.h"

namespace StringManagement {

static_assert(sizeof(wchar_t) == 4, "wide text holds UTF-32");

/// UTF-32, little endian, by its number: the oldest macOS headers have no name for it.
static const NSStringEncoding WIDE_ENCODING = static_cast<NSStringEncoding>(0x9C000100);

std::wstring NSStringToWString(NSString* s) {
    const AutoreleaseScope pool;
    NSData* bytes = [s dataUsingEncoding:WIDE_ENCODING allowLossyConversion:NO];
    std::wstring text([bytes length] / sizeof(wchar_t), L'\0');
    [bytes getBytes:&text[0] length:text.size() * sizeof(wchar_t)];
    return text;
}

NSString* WStringToNSString(const std::wstring& w) {
    const AutoreleaseScope pool;
    return [[NSString alloc] initWithBytes:w.data() length:w.size() * sizeof(wchar_t) encoding:WIDE_ENCODING];
}

} // namespace StringManagement
