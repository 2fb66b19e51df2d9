#include "String.h"

#include "TextCodec.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace LinuxPlatform {
namespace {

std::u16string fromNarrow(std::string_view text) {
    std::optional<std::u16string> units = decodeText(text, kCFStringEncodingUTF8, false);
    if (!units)
        units = decodeText(text, kCFStringEncodingISOLatin1, false);
    return units.value_or(std::u16string());
}

/// A va_list in a struct: a bare one may be an array, which changes its type when it is passed on.
struct Arguments {
    va_list list;
};

/// One conversion of the format, with each '*' replaced by its argument.
struct Conversion {
    std::string flagsWidthPrecision;
    std::string length;
    char16_t letter = 0;

    std::string printf() const { return "%" + flagsWidthPrecision + length + static_cast<char>(letter); }
    std::string printfWithLength(const char* other) const {
        return "%" + flagsWidthPrecision + other + static_cast<char>(letter);
    }
};

/// A negative width means left alignment, which its minus sign expresses; a negative precision counts as
/// none.
void appendStar(int number, std::string& flagsWidthPrecision) {
    const bool isPrecision = !flagsWidthPrecision.empty() && flagsWidthPrecision.back() == '.';
    if (isPrecision && number < 0)
        flagsWidthPrecision.pop_back();
    else
        flagsWidthPrecision += std::to_string(number);
}

Conversion readConversion(std::u16string_view format, std::size_t& position, Arguments& arguments) {
    Conversion conversion;
    const std::u16string_view flags = u"-+ #0.123456789*";
    for (; position < format.size() && flags.find(format[position]) != flags.npos; ++position)
        if (format[position] == u'*')
            appendStar(va_arg(arguments.list, int), conversion.flagsWidthPrecision);
        else
            conversion.flagsWidthPrecision += static_cast<char>(format[position]);
    const std::u16string_view lengths = u"hlqLjzt";
    for (; position < format.size() && lengths.find(format[position]) != lengths.npos; ++position)
        conversion.length += static_cast<char>(format[position]);
    if (position < format.size())
        conversion.letter = format[position++];
    return conversion;
}

/// The format was composed above from a conversion that fits the argument.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <class T>
std::u16string print(const std::string& format, T argument) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), argument);
    if (length < 0)
        return {};
    std::vector<char> text(static_cast<std::size_t>(length) + 1);
    std::snprintf(text.data(), text.size(), format.c_str(), argument);
    return fromNarrow(std::string_view(text.data(), static_cast<std::size_t>(length)));
}
#pragma GCC diagnostic pop

std::u16string printInteger(const Conversion& conversion, Arguments& arguments) {
    const std::string& length = conversion.length;
    if (length == "ll" || length == "q" || length == "L")
        return print(conversion.printfWithLength("ll"), va_arg(arguments.list, long long));
    if (length == "l")
        return print(conversion.printf(), va_arg(arguments.list, long));
    if (length == "j")
        return print(conversion.printf(), va_arg(arguments.list, intmax_t));
    if (length == "z")
        return print(conversion.printf(), va_arg(arguments.list, std::size_t));
    if (length == "t")
        return print(conversion.printf(), va_arg(arguments.list, std::ptrdiff_t));
    return print(conversion.printf(), va_arg(arguments.list, int));
}

std::u16string printReal(const Conversion& conversion, Arguments& arguments) {
    if (conversion.length == "L")
        return print(conversion.printf(), va_arg(arguments.list, long double));
    return print(conversion.printfWithLength(""), va_arg(arguments.list, double));
}

std::u16string printObject(Arguments& arguments) {
    const CFTypeRef object = va_arg(arguments.list, CFTypeRef);
    return object ? objectOf(object).description() : std::u16string(u"(null)");
}

std::u16string printText(const Conversion& conversion, Arguments& arguments) {
    const char* text = va_arg(arguments.list, const char*);
    return print(conversion.printfWithLength(""), text ? text : "(null)");
}

std::u16string printConversion(const Conversion& conversion, Arguments& arguments) {
    switch (conversion.letter) {
    case u'@':
        return printObject(arguments);
    case u'd':
    case u'i':
    case u'u':
    case u'o':
    case u'x':
    case u'X':
        return printInteger(conversion, arguments);
    case u'f':
    case u'F':
    case u'e':
    case u'E':
    case u'g':
    case u'G':
    case u'a':
    case u'A':
        return printReal(conversion, arguments);
    case u'c':
        return std::u16string(1, static_cast<unsigned char>(va_arg(arguments.list, int)));
    case u'C':
        return std::u16string(1, static_cast<char16_t>(va_arg(arguments.list, int)));
    case u's':
        return printText(conversion, arguments);
    case u'p':
        return print(conversion.printfWithLength(""), va_arg(arguments.list, void*));
    case u'n':
        static_cast<void>(va_arg(arguments.list, void*));
        return {};
    case u'%':
        return u"%";
    default:
        return {};
    }
}

} // namespace

std::u16string formatText(std::u16string_view format, va_list arguments) {
    Arguments copy;
    va_copy(copy.list, arguments);
    std::u16string text;
    for (std::size_t position = 0; position < format.size();) {
        if (format[position] != u'%') {
            text += format[position++];
            continue;
        }
        ++position;
        const Conversion conversion = readConversion(format, position, copy);
        text += printConversion(conversion, copy);
    }
    va_end(copy.list);
    return text;
}

} // namespace LinuxPlatform
