#include "BasicItem.h"
#include "CallMarker.h"
#include "Dictionary.h"
#include "FileDescriptor.h"
#include "FileReplacement.h"
#include "IntBasicItem.h"
#include "KFDictionaryFileException.h"
#include "KFDictionaryParsingException.h"
#include "LineCursor.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <typeinfo>

// The text form: the line-oriented reader and writer, and the files.

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Dictionary";
static constexpr int BAD_VERSION_LINE = 870;
static constexpr int NO_HEADER_LINE = 876;
static constexpr int NO_FILE_LINE = 882;

static const char XML_HEADER[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
static const char PLIST_HEADER[] = "<plist version=\"1.0\">\n";
static const char PLIST_END[] = "</plist>"; // no line feed behind it

// ---- Writing

std::string Dictionary::marshall(const std::string& indent) {
    std::string text;
    std::string lineStart = indent;
    marshall(lineStart, text);
    return text;
}

static void marshallLeaf(Item& leaf, const std::string& indent, std::string& text) {
    // The two leaves that there are append their line; a subclass that writes one of its own is asked for it.
    const std::type_info& type = typeid(leaf);
    if (type == typeid(BasicItem))
        static_cast<const BasicItem&>(leaf).marshall(indent, text);
    else if (type == typeid(IntBasicItem))
        static_cast<const IntBasicItem&>(leaf).marshall(indent, text);
    else
        text += leaf.marshall(indent);
}

void Dictionary::marshall(std::string& indent, std::string& text) const {
    TRACE_METHOD();
    text.append(indent).append("<dict>\n");
    indent += '\t';
    for (const auto& [key, item] : m_children) {
        text.append(indent).append("<key>").append(key).append("</key>\n");
        if (const Dictionary* const dictionary = item->getAsDictionary())
            dictionary->marshall(indent, text);
        else
            marshallLeaf(*item, indent, text);
    }
    indent.pop_back();
    text.append(indent).append("</dict>\n");
}

void Dictionary::saveToFile(const std::string& path) {
    TRACE_METHOD();
    std::string text = XML_HEADER;
    text += PLIST_HEADER;
    std::string indent;
    marshall(indent, text);
    text += PLIST_END;
    // Silent in failure, deliberately: the caller learns nothing, and an existing file stays as it is.
    static_cast<void>(FileReplacement::replace(path, text));
}

// ---- Reading

static bool holds(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

enum class ValueKind { STRING, INTEGER, DICTIONARY, UNKNOWN };

static ValueKind kindOf(std::string_view valueLine) {
    if (holds(valueLine, "<string>"))
        return ValueKind::STRING;
    if (holds(valueLine, "<int>"))
        return ValueKind::INTEGER;
    return holds(valueLine, "<dict>") ? ValueKind::DICTIONARY : ValueKind::UNKNOWN;
}

void Dictionary::unMarshall(std::stringstream& in) {
    const std::stringstream::pos_type start = in.tellg();
    if (start == std::stringstream::pos_type(-1)) // the stream is at its end already, or broken
        return;
    const std::string text = in.str();
    LineCursor lines(std::string_view(text).substr(static_cast<std::size_t>(start)));
    unMarshall(lines);
    in.seekg(start + static_cast<std::stringstream::off_type>(lines.getPosition()));
}

void Dictionary::unMarshall(LineCursor& lines) {
    TRACE_METHOD();
    if (!holds(lines.next(), "<dict>"))
        return;
    if (isTooDeep()) {
        TRACE_MESSAGE(MSG_ERROR, "Dictionary %s is too deep, it stays empty", m_name.c_str());
        skipBody(lines);
        return;
    }
    // Any line without a key ends the dictionary, deliberately; </dict> is just one of them.
    std::string_view key;
    while (findXmlVal("<key>", lines.next(), key))
        readChild(key, lines);
}

void Dictionary::readChild(std::string_view key, LineCursor& lines) {
    TRACE_METHOD();
    const std::size_t valueStart = lines.getPosition();
    const std::string_view valueLine = lines.next();
    switch (kindOf(valueLine)) {
    case ValueKind::STRING: {
        auto leaf = std::make_unique<BasicItem>(std::string(key));
        leaf->unMarshall(valueLine);
        store(key, std::move(leaf));
        break;
    }
    case ValueKind::INTEGER: {
        auto leaf = std::make_unique<IntBasicItem>(std::string(key));
        leaf->unMarshall(valueLine);
        store(key, std::move(leaf));
        break;
    }
    case ValueKind::DICTIONARY: {
        auto stored = std::make_unique<Dictionary>(std::string(key));
        Dictionary& dictionary = *stored;
        store(key, std::move(stored)); // first, so that it knows how deep it is
        lines.setPosition(valueStart); // the value line is its own opening line
        dictionary.unMarshall(lines);
        break;
    }
    case ValueKind::UNKNOWN: // the key is dropped with its value line
        break;
    }
}

/// Passes over the rest of a dictionary's body as reading it would, without recursion.
void Dictionary::skipBody(LineCursor& lines) {
    TRACE_FUNCTION("Dictionary::skipBody");
    for (std::size_t open = 1; open > 0;) {
        if (!holds(lines.next(), "<key>"))
            --open;
        else if (kindOf(lines.next()) == ValueKind::DICTIONARY)
            ++open;
    }
}

/// Reads a file's text up to its first zero byte. False when the file cannot be opened or read; a folder,
/// say, can be opened only.
static bool readText(const std::string& path, std::string& text) {
    TRACE_FUNCTION("readText");
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        return false;
    // The size is a hint: it saves growing the buffer. A huge one is not trusted, because the text may end
    // early.
    static constexpr off_t LARGEST_HINT = 256 << 20;
    static constexpr off_t SMALLEST_HINT = 4096;
    text.resize(static_cast<std::size_t>(std::clamp<off_t>(status.st_size + 1, SMALLEST_HINT, LARGEST_HINT)));
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = read(file.get(), &text[length], text.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        const void* const zero = std::memchr(&text[length], '\0', static_cast<std::size_t>(count));
        if (zero != nullptr || count == 0) {
            if (zero != nullptr)
                length = static_cast<std::size_t>(static_cast<const char*>(zero) - text.data());
            text.resize(length);
            return true;
        }
        length += static_cast<std::size_t>(count);
        if (length == text.size())
            text.resize(2 * length);
    }
}

void Dictionary::loadFromFile(const std::string& path) {
    TRACE_METHOD();
    std::string text;
    if (!readText(path, text)) {
        TRACE_MESSAGE(MSG_ERROR, "Can't open file %s", path.c_str());
        throw KFDictionaryFileException("Can't open file", KF_SOURCE, NO_FILE_LINE);
    }
    LineCursor lines(text);
    if (!holds(lines.next(), "<?xml")) {
        TRACE_MESSAGE(MSG_ERROR, "No XML header found");
        throw KFDictionaryParsingException("No XML header found", KF_SOURCE, NO_HEADER_LINE);
    }
    if (!holds(lines.next(), "<plist version=\"1.0\"")) {
        TRACE_MESSAGE(MSG_ERROR, "Incorrect plist or bad version");
        throw KFDictionaryParsingException("Incorrect plist or bad version", KF_SOURCE, BAD_VERSION_LINE);
    }
    unMarshall(lines);
}
