#include "BasicItem.h"
#include "CallMarker.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "KFDictionaryFileException.h"
#include "KFDictionaryParsingException.h"
#include "MessageType.h"
#include "detail/FileDescriptor.h"
#include "detail/FileReplacement.h"
#include "detail/PropertyListReader.h"
#include "detail/SmallFile.h"
#include "detail/TextBuffer.h"

#include <typeinfo>
#include <unistd.h>
#include <utility>

using namespace kf::detail;

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
    TextBuffer text;
    std::string lineStart = indent;
    marshall(lineStart, text);
    return std::string(text.view());
}

void Dictionary::askToMarshall(Item& item, std::string& indent, TextBuffer& text) {
    // Our own classes append their lines; a subclass may have its own marshall(), so that is called.
    const std::type_info& type = typeid(item);
    if (type == typeid(BasicItem))
        static_cast<const BasicItem&>(item).marshall(indent, text);
    else if (type == typeid(IntBasicItem))
        static_cast<const IntBasicItem&>(item).marshall(indent, text);
    else if (const Dictionary* const dictionary = asPlain(item))
        dictionary->marshall(indent, text);
    else
        text.append(item.marshall(indent));
}

void Dictionary::marshall(std::string& indent, TextBuffer& text) const {
    TRACE_METHOD();
    text.append(indent, "<dict>\n");
    indent += '\t';
    for (const auto& [key, item] : m_children) {
        text.append(indent, "<key>", key, "</key>\n");
        askToMarshall(*item, indent, text);
    }
    indent.pop_back();
    text.append(indent, "</dict>\n");
}

void Dictionary::saveToFile(const std::string& path) {
    TRACE_METHOD();
    TextBuffer text;
    text.append(XML_HEADER, PLIST_HEADER);
    std::string indent;
    askToMarshall(*this, indent, text);
    text.append(PLIST_END);
    unsigned lacks = 0;
    // DELIBERATE: a failure is silent. The caller does not learn of it, and an existing file stays as it is.
    static_cast<void>(FileReplacement::replace(path, text.view(), &lacks));
    for (const char* const lack : FileReplacement::takeUntold(lacks))
        TRACE_MESSAGE(MSG_WARNING, "File %s : %s", path.c_str(), lack);
}

// ---- Reading

void Dictionary::unMarshall(std::stringstream& in) {
    const std::stringstream::pos_type start = in.tellg();
    if (start == std::stringstream::pos_type(-1)) // the stream is at its end, or has failed
        return;
    const std::string text = in.str();
    LineCursor lines(std::string_view(text).substr(static_cast<std::size_t>(start)));
    PropertyListReader reader(lines);
    reader.readLine();
    unMarshall(reader);
    in.seekg(start + static_cast<std::stringstream::off_type>(lines.getPosition()));
}

/// Recurses once per level, up to MAXIMUM_DEPTH times, so its stack frame stays small: what leaves and new
/// children need of the stack is in functions of their own.
void Dictionary::unMarshall(PropertyListReader& reader) {
    TRACE_METHOD();
    if (!reader.isAtDictionary())
        return;
    if (isTooDeep()) {
        reader.skip();
        return;
    }
    reader.begin();
    while (reader.next())
        if (reader.getKind() == PropertyListReader::Kind::Dictionary)
            addChild(reader.getKey()).unMarshall(reader);
        else
            readLeaf(reader);
}

void Dictionary::readLeaf(const PropertyListReader& reader) {
    const std::string& key = reader.getKey();
    if (reader.getKind() == PropertyListReader::Kind::String) {
        insertOrReplace(m_children, key, BasicItem::read(key, reader.getValueLine()));
    } else if (reader.getKind() == PropertyListReader::Kind::Integer) {
        auto leaf = std::make_unique<IntBasicItem>(key);
        leaf->unMarshall(reader.getValueLine());
        insertOrReplace(m_children, key, std::move(leaf));
    } // else the key is dropped with its value line
}

/// Stored before it is filled, so that it has its level.
Dictionary& Dictionary::addChild(const std::string& key) {
    auto made = std::make_unique<Dictionary>(key);
    Dictionary& child = *made;
    store(key, std::move(made));
    return child;
}

void Dictionary::loadFromFile(const std::string& path, DictionaryReadingObserver* observer) {
    TRACE_METHOD();
    std::string refusal;
    FileDescriptor file = SmallFile::open(path, SmallFile::PROPERTY_LIST_LIMIT, refusal);
    if (!file.isOpen() && access(path.c_str(), F_OK) == 0)
        TRACE_MESSAGE(MSG_ERROR, "Property list '%s' is not read : %s", path.c_str(), refusal.c_str());
    if (file.isOpen() && !FileReplacement::waitUntilWhole(file.get()))
        file = FileDescriptor();
    LineCursor lines(std::move(file));
    const bool hasHeader = holds(lines.next(), "<?xml");
    const bool hasVersion = holds(lines.next(), "<plist version=\"1.0\"");
    std::string body; // of a subclass, which reads it from a stream
    Children former;
    former.swap(m_children);
    try {
        if (hasHeader && hasVersion && isPlain()) {
            PropertyListReader reader(lines, observer);
            reader.readLine();
            unMarshall(reader);
        } else if (hasHeader && hasVersion) {
            body = lines.takeRest();
        }
        if (!lines.finish()) {
            TRACE_MESSAGE(MSG_ERROR, "Can't open file %s", path.c_str());
            throw KFDictionaryFileException("Can't open file", KF_SOURCE, NO_FILE_LINE);
        }
    } catch (...) {
        m_children.swap(former); // a read can still fail at the end of the file
        throw;
    }
    if (!former.empty()) {
        m_children.swap(former);
        for (auto& [key, child] : former)
            insertOrReplace(m_children, key, std::move(child));
    }
    if (!hasHeader) {
        TRACE_MESSAGE(MSG_ERROR, "No XML header found");
        throw KFDictionaryParsingException("No XML header found", KF_SOURCE, NO_HEADER_LINE);
    }
    if (!hasVersion) {
        TRACE_MESSAGE(MSG_ERROR, "Incorrect plist or bad version");
        throw KFDictionaryParsingException("Incorrect plist or bad version", KF_SOURCE, BAD_VERSION_LINE);
    }
    if (!isPlain()) {
        std::stringstream in(body);
        unMarshall(in);
    }
}
