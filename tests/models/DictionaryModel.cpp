#include "DictionaryModel.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace model {
namespace {

struct SplitPath {
    std::string_view head;
    std::string_view rest;
    bool isKey;
};

SplitPath split(std::string_view path) {
    const std::size_t stop = path.find('.');
    if (stop == std::string_view::npos)
        return {path, "", true};
    return {path.substr(0, stop), path.substr(stop + 1), false};
}

Node* childOf(Node& tree, std::string_view key) {
    return const_cast<Node*>(childOf(const_cast<const Node&>(tree), key));
}

bool isTree(const Node* node) {
    return node != nullptr && node->kind == Node::Kind::Tree;
}

void erase(Node& tree, std::string_view key) {
    for (auto child = tree.children.begin(); child != tree.children.end(); ++child) {
        if (child->key == key) {
            tree.children.erase(child);
            return;
        }
    }
}

Node& store(Node& tree, std::string_view key, Node node) {
    erase(tree, key);
    node.key = key;
    const auto behind = std::find_if(tree.children.begin(), tree.children.end(),
                                     [&](const Node& child) { return child.key > node.key; });
    return *tree.children.insert(behind, std::move(node));
}

std::string itemPathBelow(const Node& tree, const Node& item, const std::string& prefix) {
    if (const Node* const child = childOf(tree, item.name); child != nullptr)
        return equals(item, *child) ? prefix + "." + item.name : "";
    for (const Node& child : tree.children) {
        const std::string path =
            child.kind == Node::Kind::Tree ? itemPathBelow(child, item, prefix + "." + child.key) : "";
        if (!path.empty())
            return path;
    }
    return "";
}

// ---- reading

/// A text that is read line by line, like a stream: after its end every line is empty.
struct Lines {
    std::string text;
    std::size_t position = 0;

    std::string next() {
        const std::size_t begin = std::min(position, text.size());
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        position = end + 1;
        return text.substr(begin, end - begin);
    }
};

bool has(const std::string& line, const char* tag) {
    return line.find(tag) != std::string::npos;
}

std::string trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\n");
    const std::size_t last = text.find_last_not_of(" \t\n");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

/// False if the line lacks the tag.
bool xmlValue(const std::string& tag, const std::string& line, std::string& value) {
    const std::size_t begin = line.find(tag);
    if (begin == std::string::npos)
        return false;
    const std::size_t behindTag = begin + tag.size();
    const std::size_t end = line.find("</");
    // Only the first "</" of the line counts. If it precedes the value, the value is not cut.
    const bool cuts = end != std::string::npos && end >= behindTag;
    value = trim(line.substr(behindTag, cuts ? end - behindTag : std::string::npos));
    return true;
}

std::int32_t number(const std::string& text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string::npos)
        return 0;
    const bool isNegative = text[at] == '-';
    if (text[at] == '-' || text[at] == '+')
        ++at;
    std::int64_t value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        value = std::min<std::int64_t>(value * 10 + (text[at] - '0'), std::int64_t{1} << 40);
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(isNegative ? -value : value, INT32_MIN, INT32_MAX));
}

void unMarshall(Node& tree, Lines& lines) {
    if (!has(lines.next(), "<dict>"))
        return;
    for (;;) {
        std::string key;
        if (!xmlValue("<key>", lines.next(), key))
            return;
        const std::size_t valueLine = lines.position;
        const std::string line = lines.next();
        std::string text;
        if (xmlValue("<string>", line, text)) {
            store(tree, key, textLeaf(key, text));
        } else if (xmlValue("<int>", line, text)) {
            store(tree, key, numberLeaf(key, number(text)));
        } else if (has(line, "<dict>")) {
            lines.position = valueLine;
            unMarshall(store(tree, key, emptyTree(key)), lines);
        }
    }
}

} // namespace

Node emptyTree(std::string name) {
    Node node;
    node.name = std::move(name);
    return node;
}

Node textLeaf(std::string name, std::string text) {
    Node node = emptyTree(std::move(name));
    node.kind = Node::Kind::Text;
    node.text = std::move(text);
    return node;
}

Node numberLeaf(std::string name, std::int32_t number) {
    Node node = emptyTree(std::move(name));
    node.kind = Node::Kind::Number;
    node.number = number;
    return node;
}

const Node* childOf(const Node& tree, std::string_view key) {
    for (const Node& child : tree.children)
        if (child.key == key)
            return &child;
    return nullptr;
}

const Node* getItem(const Node& tree, std::string_view path) {
    const SplitPath parts = split(path);
    const Node* const child = childOf(tree, parts.head);
    if (parts.isKey)
        return child;
    return isTree(child) ? getItem(*child, parts.rest) : nullptr;
}

bool contains(const Node& node, std::string_view path) {
    const SplitPath parts = split(path);
    if (childOf(node, parts.head) == nullptr)
        return false;
    if (parts.isKey)
        return true;
    // Any child that contains the rest will do, not only the one whose key is the head.
    return std::any_of(node.children.begin(), node.children.end(),
                       [&](const Node& child) { return contains(child, parts.rest); });
}

bool equals(const Node& one, const Node& other) {
    if (one.kind != other.kind)
        return false;
    if (one.kind != Node::Kind::Tree)
        return one.name == other.name && one.text == other.text && one.number == other.number;
    if (one.children.size() != other.children.size())
        return false;
    return std::all_of(other.children.begin(), other.children.end(), [&](const Node& others) {
        const Node* const mine = childOf(one, others.key);
        return mine != nullptr && equals(*mine, others);
    });
}

const Node* findItem(const Node& tree, const std::string& key) {
    if (const Node* const item = getItem(tree, key); item != nullptr)
        return item;
    for (const Node& child : tree.children) {
        const Node* const item = child.kind == Node::Kind::Tree ? findItem(child, key) : nullptr;
        if (item != nullptr)
            return item;
    }
    return nullptr;
}

const std::string* findValue(const Node& tree, const std::string& key) {
    if (const Node* const item = getItem(tree, key); item != nullptr)
        return item->kind == Node::Kind::Text ? &item->text : nullptr;
    for (const Node& child : tree.children) {
        const std::string* const value = child.kind == Node::Kind::Tree ? findValue(child, key) : nullptr;
        if (value != nullptr)
            return value;
    }
    return nullptr;
}

std::vector<const Node*> findItems(const Node& tree, const std::string& key) {
    if (const Node* const item = getItem(tree, key); item != nullptr)
        return {item};
    std::vector<const Node*> items;
    for (const Node& child : tree.children) {
        if (child.kind != Node::Kind::Tree)
            continue;
        for (const Node* const item : findItems(child, key))
            items.push_back(item);
    }
    return items;
}

std::string getItemPath(const Node& tree, const Node& item) {
    if (const Node* const child = childOf(tree, item.name); child != nullptr)
        return equals(item, *child) ? item.name : "";
    for (const Node& child : tree.children) {
        const std::string path = child.kind == Node::Kind::Tree ? itemPathBelow(child, item, child.key) : "";
        if (!path.empty())
            return path;
    }
    return "";
}

void setItem(Node& tree, std::string_view path, const Node& item) {
    const SplitPath parts = split(path);
    if (parts.isKey) {
        store(tree, parts.head, item);
        return;
    }
    Node* child = childOf(tree, parts.head);
    if (child == nullptr)
        child = &store(tree, parts.head, emptyTree(std::string(parts.head)));
    if (isTree(child))
        setItem(*child, parts.rest, item);
}

void addValue(Node& tree, std::string_view path, Node leaf) {
    leaf.name = path.substr(path.rfind('.') + 1);
    setItem(tree, path, leaf);
}

void addDictionary(Node& tree, std::string_view path, const Node& source) {
    Node* const target = const_cast<Node*>(getItem(tree, path));
    if (!isTree(target))
        return;
    for (const Node& child : source.children)
        setItem(*target, child.key, child);
}

void mergeDictionary(Node& tree, const Node& other) {
    for (const Node& theirs : other.children) {
        Node* const mine = childOf(tree, theirs.key);
        if (mine == nullptr)
            store(tree, theirs.key, theirs);
        else if (isTree(mine) && theirs.kind == Node::Kind::Tree)
            mergeDictionary(*mine, theirs);
    }
}

void removeItem(Node& tree, std::string_view path) {
    const SplitPath parts = split(path);
    if (parts.isKey)
        erase(tree, parts.head);
    else if (Node* const child = childOf(tree, parts.head); isTree(child))
        removeItem(*child, parts.rest);
}

void removeItem(Node& tree, const Node& item) {
    const Node* const child = childOf(std::as_const(tree), item.name);
    if (child != nullptr && equals(*child, item))
        erase(tree, item.name);
}

void removeAllItems(Node& tree, const Node& item) {
    removeItem(tree, item);
    for (Node& child : tree.children)
        if (child.kind == Node::Kind::Tree)
            removeAllItems(child, item);
}

std::string marshall(const Node& node, const std::string& indent) {
    if (node.kind == Node::Kind::Text)
        return indent + "<string>" + node.text + "</string>\n";
    if (node.kind == Node::Kind::Number)
        return "<int>" + std::to_string(node.number) + "</int>\n";
    std::string text = indent + "<dict>\n";
    for (const Node& child : node.children)
        text += indent + "\t<key>" + child.key + "</key>\n" + marshall(child, indent + "\t");
    return text + indent + "</dict>\n";
}

std::string toString(const Node& node, const std::string& indent) {
    if (node.kind == Node::Kind::Text)
        return indent + "BasicItem [@] name : '" + node.name + "' value : '" + node.text + "'\n";
    if (node.kind == Node::Kind::Number) {
        char hexadecimal[16];
        std::snprintf(hexadecimal, sizeof hexadecimal, "%x", static_cast<std::uint32_t>(node.number));
        return indent + "IntBasicItem [@] name : '" + node.name + "' value : '" + hexadecimal + "'\n";
    }
    std::string text = indent + "Dictionary [@] '" + node.name + "' items :";
    for (const Node& child : node.children)
        text += toString(child, indent + "\t");
    return text;
}

std::string saved(const Node& tree) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + marshall(tree, "") +
           "</plist>";
}

std::string load(Node& tree, const std::string& content) {
    Lines lines{content.substr(0, content.find('\0'))};
    if (!has(lines.next(), "<?xml"))
        return "No XML header found";
    if (!has(lines.next(), "<plist version=\"1.0\""))
        return "Incorrect plist or bad version";
    unMarshall(tree, lines);
    return "";
}

} // namespace model
