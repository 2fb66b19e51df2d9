#include "BasicItem.h"
#include "CallMarker.h"
#include "Dictionary.h"
#include "DictionaryReadingObserver.h"
#include "FileDescriptor.h"
#include "FileReplacement.h"
#include "IntBasicItem.h"
#include "KFDictionaryFileException.h"
#include "KFDictionaryParsingException.h"
#include "LineCursor.h"
#include "MessageType.h"
#include "SmallFile.h"
#include "TextBuffer.h"

#include <cstdint>
#include <typeinfo>
#include <unistd.h>
#include <utility>

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
    // What is no subclass appends its lines; a subclass that writes lines of its own is asked for them.
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

// A walk through a large tree waits for memory at every step: the processor cannot guess the next child. A
// tree that was read from a file, though, stands in memory in the order of its keys, so what will be needed
// is some way behind this child. To ask for it does no harm where that is wrong; with it, saving 100,000
// leaves takes a third of the time.
static void askForNextChildren(const void* child) {
    static constexpr std::uintptr_t DISTANCE = 2048; // about ten children
    static constexpr std::uintptr_t CHILD_SIZE = 192;
    static constexpr std::uintptr_t CACHE_LINE = 64;
    const std::uintptr_t next = reinterpret_cast<std::uintptr_t>(child) + DISTANCE;
    for (std::uintptr_t line = next; line < next + CHILD_SIZE; line += CACHE_LINE)
        __builtin_prefetch(reinterpret_cast<const void*>(line));
}

void Dictionary::marshall(std::string& indent, TextBuffer& text) const {
    TRACE_METHOD();
    text.append(indent, "<dict>\n");
    indent += '\t';
    for (const auto& [key, item] : m_children) {
        askForNextChildren(&key);
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
    // Silent in failure, deliberately: the caller learns nothing, and an existing file stays as it is.
    static_cast<void>(FileReplacement::replace(path, text.view(), &lacks));
    for (const char* const lack : FileReplacement::takeUntold(lacks))
        TRACE_MESSAGE(MSG_WARNING, "File %s : %s", path.c_str(), lack);
}

// ---- Reading

static bool holds(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

using ValueKind = DictionaryReadingObserver::Kind;

/// What a value line holds, and its tag.
struct Dictionary::ValueLine {
    explicit ValueLine(std::string_view line) : text(line) {
        if (has("<string>"))
            kind = ValueKind::String;
        else if (has("<int>"))
            kind = ValueKind::Integer;
        else if (has("<dict>"))
            kind = ValueKind::Dictionary;
    }
    bool has(std::string_view name) {
        tag = findPlainTag(name, text);
        return tag.isThere();
    }

    const std::string_view text;
    Tag tag;
    ValueKind kind = ValueKind::Skipped;
};

void Dictionary::unMarshall(std::stringstream& in) {
    const std::stringstream::pos_type start = in.tellg();
    if (start == std::stringstream::pos_type(-1)) // the stream is at its end already, or broken
        return;
    const std::string text = in.str();
    LineCursor lines(std::string_view(text).substr(static_cast<std::size_t>(start)));
    unMarshall(lines.next(), lines);
    in.seekg(start + static_cast<std::stringstream::off_type>(lines.getPosition()));
}

void Dictionary::unMarshall(std::string_view openingLine, LineCursor& lines) {
    TRACE_METHOD();
    if (!holds(openingLine, "<dict>"))
        return;
    DictionaryReadingObserver* const observer = lines.getObserver();
    if (isTooDeep()) {
        TRACE_MESSAGE(MSG_ERROR, "Dictionary %s is too deep, it stays empty", name().c_str());
        if (observer != nullptr)
            observer->onTooDeep(lines.getLinePosition());
        skipBody(lines);
        return;
    }
    if (observer != nullptr)
        observer->onBegin(lines.getLinePosition());
    // Any line without a key ends the dictionary, deliberately; </dict> is just one of them.
    for (;;) {
        const std::string_view line = lines.next();
        std::string_view key;
        if (!findXmlVal(line, findPlainTag("<key>", line), key)) {
            if (observer != nullptr)
                observer->onEnd(lines.getLinePosition(), line);
            break;
        }
        readChild(key, lines);
    }
}

// No part of those that call each other for each level: what it needs is not on the stack 512 times.
void Dictionary::readLeaf(std::string_view key, const ValueLine& value) {
    if (value.kind == ValueKind::String) {
        place(m_children, key, BasicItem::read(value.text, value.tag));
    } else if (value.kind == ValueKind::Integer) {
        std::unique_ptr<IntBasicItem> leaf(new IntBasicItem(Unnamed()));
        leaf->unMarshall(value.text, value.tag);
        place(m_children, key, std::move(leaf));
    } // else the key is dropped with its value line
}

void Dictionary::readChild(std::string_view key, LineCursor& lines) {
    TRACE_METHOD();
    std::string room;
    const std::size_t position = lines.getLinePosition();
    const ValueLine value(lines.next(key, room));
    if (DictionaryReadingObserver* const observer = lines.getObserver())
        observer->onKey(position, key, lines.getLinePosition(), value.kind);
    if (value.kind != ValueKind::Dictionary) {
        readLeaf(key, value);
        return;
    }
    std::unique_ptr<Dictionary> stored(new Dictionary(Unnamed()));
    Dictionary& dictionary = *stored;
    store(key, std::move(stored)); // first, so that it knows how deep it is
    dictionary.unMarshall(value.text, lines);
}

/// Passes over the rest of a dictionary's body as reading it would, without recursion.
void Dictionary::skipBody(LineCursor& lines) {
    TRACE_FUNCTION("Dictionary::skipBody");
    for (std::size_t open = 1; open > 0;) {
        if (!holds(lines.next(), "<key>"))
            --open;
        else if (ValueLine(lines.next()).kind == ValueKind::Dictionary)
            ++open;
    }
}

/// Takes a dictionary's children away. They come back in place of those that have come meanwhile, unless both are
/// joined. (The oldest libc++ that this is built with has no map::merge, which could not fail.)
class Dictionary::ChildrenPutAside {
public:
    explicit ChildrenPutAside(Children& children) : m_children(children) { m_former.swap(children); }
    ~ChildrenPutAside() {
        if (!m_areBack)
            m_children.swap(m_former);
    }
    ChildrenPutAside(const ChildrenPutAside&) = delete;
    ChildrenPutAside& operator=(const ChildrenPutAside&) = delete;

    /// One that has come meanwhile replaces one with the same key.
    void join() {
        m_areBack = true;
        if (m_former.empty())
            return;
        m_children.swap(m_former);
        for (auto& [key, child] : m_former)
            place(m_children, key, std::move(child));
    }

private:
    Children& m_children;
    Children m_former;
    bool m_areBack = false;
};

void Dictionary::loadFromFile(const std::string& path, DictionaryReadingObserver* observer) {
    TRACE_METHOD();
    std::string refusal;
    FileDescriptor file = SmallFile::open(path, SmallFile::PROPERTY_LIST_LIMIT, refusal);
    if (!file.isOpen() && access(path.c_str(), F_OK) == 0)
        TRACE_MESSAGE(MSG_ERROR, "Property list '%s' is not read : %s", path.c_str(), refusal.c_str());
    if (file.isOpen() && !FileReplacement::waitUntilWhole(file.get()))
        file = FileDescriptor();
    LineCursor lines(std::move(file));
    lines.setObserver(observer);
    const bool hasHeader = holds(lines.next(), "<?xml");
    const bool hasVersion = holds(lines.next(), "<plist version=\"1.0\"");
    std::string body; // of a subclass, which reads it out of a stream
    {
        ChildrenPutAside before(m_children); // the file can fail to the end
        if (hasHeader && hasVersion && isPlain())
            unMarshall(lines.next(), lines);
        else if (hasHeader && hasVersion)
            body = lines.takeRest();
        if (!lines.finish()) {
            TRACE_MESSAGE(MSG_ERROR, "Can't open file %s", path.c_str());
            throw KFDictionaryFileException("Can't open file", KF_SOURCE, NO_FILE_LINE);
        }
        before.join();
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
