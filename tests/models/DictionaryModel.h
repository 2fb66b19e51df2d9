#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What a property-list tree holds and answers, written down as plainly as its rules can be said: trees are values, every
/// question walks them anew, nothing is kept. The framework's Dictionary is compared with it, so no code of the
/// framework is used here.
namespace model {

struct Node {
    enum class Kind { Text, Number, Tree };

    Kind kind = Kind::Tree;
    std::string key;  // under which its parent holds it
    std::string name; // its own; a stored copy keeps the one that it had
    std::string text;
    std::int32_t number = 0;
    std::vector<Node> children; // in byte-wise order of their keys
};

Node emptyTree(std::string name = "root");
Node textLeaf(std::string name, std::string text);
Node numberLeaf(std::string name, std::int32_t number);

// ---- questions

const Node* childOf(const Node& tree, std::string_view key);
const Node* getItem(const Node& tree, std::string_view path);
bool contains(const Node& node, std::string_view path);
bool equals(const Node& one, const Node& other);
/// The first hit of a search in the whole tree. For findValue an item that is no string leaf is a hit without a value:
/// it ends the search in that dictionary, and its parent goes on.
const Node* findItem(const Node& tree, const std::string& key);
const std::string* findValue(const Node& tree, const std::string& key);
std::vector<const Node*> findItems(const Node& tree, const std::string& key);
std::string getItemPath(const Node& tree, const Node& item);

// ---- changes

void setItem(Node& tree, std::string_view path, const Node& item);
/// A leaf that is named after the end of the path.
void addValue(Node& tree, std::string_view path, Node leaf);
void addDictionary(Node& tree, std::string_view path, const Node& source);
void mergeDictionary(Node& tree, const Node& other);
void removeItem(Node& tree, std::string_view path);
void removeItem(Node& tree, const Node& item);
void removeAllItems(Node& tree, const Node& item);

// ---- texts

std::string marshall(const Node& node, const std::string& indent);
/// As the framework's toString, with "@" for every address.
std::string toString(const Node& node, const std::string& indent);
/// The whole file.
std::string saved(const Node& tree);
/// Reads a file's content into the tree. Returns what the framework throws, an empty text where it throws nothing.
std::string load(Node& tree, const std::string& content);

} // namespace model
