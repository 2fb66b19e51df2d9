#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A model of the property-list tree, as simple as its rules: trees are values, every query walks them anew,
/// nothing is cached. The framework's Dictionary is compared with it, so it uses no code of the framework.
namespace model {

struct Node {
    enum class Kind { Text, Number, Tree };

    Kind kind = Kind::Tree;
    std::string key;  // the key under which its parent holds it
    std::string name; // its own name; a stored copy keeps the original's
    std::string text;
    std::int32_t number = 0;
    std::vector<Node> children; // in byte-wise order of their keys
};

Node emptyTree(std::string name = "root");
Node textLeaf(std::string name, std::string text);
Node numberLeaf(std::string name, std::int32_t number);

// ---- queries

const Node* childOf(const Node& tree, std::string_view key);
const Node* getItem(const Node& tree, std::string_view path);
bool contains(const Node& node, std::string_view path);
bool equals(const Node& one, const Node& other);
/// The first hit of a search in the whole tree. For findValue, an item that is not a text leaf is a hit
/// without a value: it ends the search in its dictionary, but the search in the parent continues.
const Node* findItem(const Node& tree, const std::string& key);
const std::string* findValue(const Node& tree, const std::string& key);
std::vector<const Node*> findItems(const Node& tree, const std::string& key);
std::string getItemPath(const Node& tree, const Node& item);

// ---- changes

void setItem(Node& tree, std::string_view path, const Node& item);
/// Adds the leaf, named after the last key of the path.
void addValue(Node& tree, std::string_view path, Node leaf);
void addDictionary(Node& tree, std::string_view path, const Node& source);
void mergeDictionary(Node& tree, const Node& other);
void removeItem(Node& tree, std::string_view path);
void removeItem(Node& tree, const Node& item);
void removeAllItems(Node& tree, const Node& item);

// ---- texts

std::string marshall(const Node& node, const std::string& indent);
/// Like the framework's toString, with "@" in place of each address.
std::string toString(const Node& node, const std::string& indent);
/// The whole file.
std::string saved(const Node& tree);
/// Reads a file's content into the tree. Returns the text of the exception that the framework throws, empty
/// if none.
std::string load(Node& tree, const std::string& content);

} // namespace model
