#include "DictionaryModel.h"
#include "Dictionary.h"
#include "KFDictionaryParsingException.h"
#include "RandomRuns.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include "BasicItem.h"
#include "IntBasicItem.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <regex>
#include <string>
#include <vector>

// Random sequences of operations on the framework's Dictionary and on its model: after each operation both
// hold the same items, give the same answers and save the same bytes.

namespace {

// ---- operations

/// A leaf of a tree that is passed to an operation.
struct Leaf {
    std::string path;
    std::string text;
    int number = 0;
    bool isNumber = false;
};

enum class Operation {
    AddText,
    AddNumber,
    SetLeaf, // a leaf whose own name is not its key
    SetTree,
    AddDictionary,
    Merge,
    Remove,
    RemoveLeaf,
    RemoveLeafEverywhere,
    Load,
    CopyAndAssign,
    AssignToItself,
    Clear,
};

struct Step {
    Operation operation = Operation::Clear;
    std::string path;
    Leaf leaf;
    std::vector<Leaf> tree;
    std::string file;
};

const char* nameOf(Operation operation) {
    constexpr const char* NAMES[] = {"AddText", "AddNumber",     "SetLeaf",
                                     "SetTree", "AddDictionary", "Merge",
                                     "Remove",  "RemoveLeaf",    "RemoveLeafEverywhere",
                                     "Load",    "CopyAndAssign", "AssignToItself",
                                     "Clear"};
    return NAMES[static_cast<int>(operation)];
}

void showValue(const Leaf& leaf, std::ostream& out) {
    out << "{\"" << leaf.path << "\", ";
    if (leaf.isNumber)
        out << leaf.number << "}";
    else
        out << "\"" << leaf.text << "\"}";
}

void showValue(const Step& step, std::ostream& out) {
    out << nameOf(step.operation) << "(\"" << step.path << "\", ";
    showValue(step.leaf, out);
    out << ", {";
    for (const Leaf& leaf : step.tree) {
        showValue(leaf, out);
        out << " ";
    }
    out << "}, \"" << step.file << "\")\n";
}

// ---- generators

rc::Gen<std::string> someKey() {
    // Few, so that operations often use the same keys.
    return rc::gen::elementOf(std::vector<std::string>{"a", "b", "c", "ab", "d", ""});
}

rc::Gen<std::string> somePath() {
    return rc::gen::map(
        rc::gen::resize(4, rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(someKey()))),
        [](const std::vector<std::string>& keys) { return joined(keys, "."); });
}

rc::Gen<std::string> someText() {
    return rc::gen::elementOf(std::vector<std::string>{"", "x", "y", " spaced ", "a.b", "&<>", "12", "\r"});
}

rc::Gen<int> someNumber() {
    return rc::gen::oneOf(rc::gen::arbitrary<int>(),
                          rc::gen::elementOf(std::vector<int>{0, 1, -1, INT_MAX, INT_MIN}));
}

rc::Gen<Leaf> someLeaf() {
    return rc::gen::build<Leaf>(rc::gen::set(&Leaf::path, somePath()), rc::gen::set(&Leaf::text, someText()),
                                rc::gen::set(&Leaf::number, someNumber()), rc::gen::set(&Leaf::isNumber));
}

rc::Gen<std::string> someLine() {
    // The key "a.b" looks like a path; only a file can contain such a key.
    return rc::gen::elementOf(std::vector<std::string>{"<key>a</key>",
                                                       "\t<key>b</key>",
                                                       "<key> c </key>",
                                                       "<key></key>",
                                                       "<key>a.b</key>",
                                                       "<key>open",
                                                       "</key><key>d",
                                                       "<string>x</string>",
                                                       "\t\t<string> y </string>\r",
                                                       "<string></string>",
                                                       "<string>1</string></key>",
                                                       "</string><string>late",
                                                       "<int>12</int>",
                                                       "<int> -7 </int>",
                                                       "<int>99999999999</int>",
                                                       "<int>-99999999999</int>",
                                                       "<int>+5x</int>",
                                                       "<int>x</int>",
                                                       "<int></int>",
                                                       "<dict>",
                                                       "\t<dict> ",
                                                       "</dict>",
                                                       "</dict>",
                                                       "<true/>",
                                                       "",
                                                       "junk",
                                                       "<string>x</string><int>1</int>",
                                                       "<int>1</int><dict>",
                                                       "<key>a</key><string>same line</string>"});
}

rc::Gen<std::string> someFile() {
    const auto header = rc::gen::weightedElement<std::string>({
        {8, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"},
        {1, "  <?xml?>\r\n<plist version=\"1.0\" more>\r\n<dict>\r\n"},
        {1, "<?xml?>\n<plist version=\"2.0\">\n<dict>\n"},
        {1, "<xml?>\n<plist version=\"1.0\">\n<dict>\n"},
        {1, "<?xml?>\n<plist version=\"1.0\">\n"},
        {1, "<?xml?>"},
        {1, ""},
    });
    const auto lines = rc::gen::container<std::vector<std::string>>(someLine());
    const auto end = rc::gen::elementOf(
        std::vector<std::string>{"\n", "", std::string("\0<key>a</key>\n<int>1</int>\n", 27), "\n</plist>"});
    return rc::gen::map(rc::gen::tuple(header, lines, end), [](const auto& parts) {
        return std::get<0>(parts) + joined(std::get<1>(parts), "\n") + std::get<2>(parts);
    });
}

} // namespace

template <>
struct rc::Arbitrary<Leaf> {
    static Gen<Leaf> arbitrary() { return someLeaf(); }
};

template <>
struct rc::Arbitrary<Step> {
    static Gen<Step> arbitrary() {
        const auto operation = gen::map(gen::inRange(0, static_cast<int>(Operation::Clear) + 1),
                                        [](int number) { return static_cast<Operation>(number); });
        return gen::build<Step>(
            gen::set(&Step::operation, operation), gen::set(&Step::path, somePath()),
            gen::set(&Step::leaf, someLeaf()),
            gen::set(&Step::tree, gen::resize(6, gen::container<std::vector<Leaf>>(someLeaf()))),
            gen::set(&Step::file, someFile()));
    }
};

namespace {

// ---- operations on both

std::unique_ptr<Item> itemOf(const Leaf& leaf) {
    if (leaf.isNumber)
        return std::make_unique<IntBasicItem>(leaf.path, leaf.number);
    return std::make_unique<BasicItem>(leaf.path, leaf.text);
}

model::Node nodeOf(const Leaf& leaf) {
    return leaf.isNumber ? model::numberLeaf(leaf.path, leaf.number) : model::textLeaf(leaf.path, leaf.text);
}

/// A tree of the framework and its model.
struct Both {
    Dictionary tree;
    model::Node model = model::emptyTree();

    Both() = default;
    explicit Both(const std::vector<Leaf>& leaves) {
        for (const Leaf& leaf : leaves) {
            if (leaf.isNumber)
                tree.addValue(leaf.path, leaf.number);
            else
                tree.addValue(leaf.path, leaf.text);
            model::addValue(model, leaf.path, nodeOf(leaf));
        }
    }
};

std::string loaded(Dictionary& tree, const std::string& path) {
    try {
        tree.loadFromFile(path);
        return "";
    } catch (const KFDictionaryParsingException& failure) {
        return failure.what();
    }
}

void perform(const Step& step, Both& both, const TemporaryFolder& folder) {
    const Both argument(step.tree);
    Dictionary given(argument.tree);
    const std::unique_ptr<Item> item = itemOf(step.leaf);
    const model::Node node = nodeOf(step.leaf);
    switch (step.operation) {
    case Operation::AddText:
        both.tree.addValue(step.path, step.leaf.text);
        model::addValue(both.model, step.path, model::textLeaf("", step.leaf.text));
        break;
    case Operation::AddNumber:
        both.tree.addValue(step.path, step.leaf.number);
        model::addValue(both.model, step.path, model::numberLeaf("", step.leaf.number));
        break;
    case Operation::SetLeaf:
        both.tree.setItem(step.path, *item);
        model::setItem(both.model, step.path, node);
        break;
    case Operation::SetTree:
        both.tree.setItem(step.path, given);
        model::setItem(both.model, step.path, argument.model);
        break;
    case Operation::AddDictionary:
        both.tree.addDictionary(step.path, given);
        model::addDictionary(both.model, step.path, argument.model);
        break;
    case Operation::Merge:
        both.tree.mergeDictionary(given);
        model::mergeDictionary(both.model, argument.model);
        break;
    case Operation::Remove:
        both.tree.removeItem(step.path);
        model::removeItem(both.model, step.path);
        break;
    case Operation::RemoveLeaf:
        both.tree.removeItem(*item);
        model::removeItem(both.model, node);
        break;
    case Operation::RemoveLeafEverywhere:
        both.tree.removeAllItems(*item);
        model::removeAllItems(both.model, node);
        break;
    case Operation::Load:
        writeFile(folder / "in.plist", step.file);
        RC_ASSERT(loaded(both.tree, folder / "in.plist") == model::load(both.model, step.file));
        break;
    case Operation::CopyAndAssign: {
        const std::unique_ptr<Item> copy(both.tree.clone());
        RC_ASSERT(copy->equals(both.tree));
        both.tree.clear();
        both.tree = *copy->getAsDictionary();
        break;
    }
    case Operation::AssignToItself: {
        Dictionary& itself = both.tree;
        both.tree = itself;
        both.model.children.clear();
        break;
    }
    case Operation::Clear:
        both.tree.removeAllItems();
        both.model.children.clear();
        break;
    }
}

// ---- answers of both, as texts

std::string shown(Item* item) {
    static const std::regex ADDRESS("\\[0x[0-9a-f]+\\]");
    return item == nullptr ? "null" : std::regex_replace(item->toString(""), ADDRESS, "[@]");
}
std::string shown(const model::Node* node) {
    return node == nullptr ? "null" : model::toString(*node, "");
}

std::string shown(const char* text) {
    return text == nullptr ? "null" : std::string("'") + text + "'";
}
std::string shown(const std::string* text) {
    return shown(text == nullptr ? nullptr : text->c_str());
}

const std::string* textOf(const model::Node* node) {
    return node != nullptr && node->kind == model::Node::Kind::Text ? &node->text : nullptr;
}

std::string answers(Dictionary& tree, const std::string& path, Item& item, Dictionary& other) {
    std::string text = shown(tree.getItem(path)) + "\n" + shown(tree.getItem(path.c_str())) + "\n" +
                       shown(tree.getValue(path)) + "\n";
    int number = 4711;
    const bool isNumber = tree.getValueAs(path, number);
    text += std::to_string(isNumber) + " " + std::to_string(number) + "\n";
    text += std::to_string(tree.contains(path)) + std::to_string(tree.hasKey(path)) + "\n";
    text += shown(tree.findItem(path)) + "\n" + shown(tree.findValue(path)) + "\n";
    for (Item* const found : tree.findItems(path))
        text += shown(found) + "\n";
    for (const char* const found : static_cast<const Dictionary&>(tree).findValues(path))
        text += shown(found) + "\n";
    text += "'" + tree.getItemPath(item) + "' " + std::to_string(tree.contains(item)) + "\n";
    text += std::to_string(tree.equals(other)) + std::to_string(other.equals(tree)) +
            std::to_string(tree.equals(item)) + "\n";
    return text + shown(tree.getFirstItem()) + "\n" + shown(&tree) + "\n" + tree.marshall("\t");
}

std::string answers(const model::Node& tree, const std::string& path, const model::Node& item,
                    const model::Node& other) {
    const model::Node* const found = model::getItem(tree, path);
    std::string text = shown(found) + "\n" + shown(found) + "\n" + shown(textOf(found)) + "\n";
    const bool isNumber = found != nullptr && found->kind == model::Node::Kind::Number;
    text += std::to_string(isNumber) + " " + std::to_string(isNumber ? found->number : 4711) + "\n";
    text += std::to_string(model::contains(tree, path)) +
            std::to_string(model::childOf(tree, path) != nullptr) + "\n";
    text += shown(model::findItem(tree, path)) + "\n" + shown(model::findValue(tree, path)) + "\n";
    const std::vector<const model::Node*> items = model::findItems(tree, path);
    for (const model::Node* const each : items)
        text += shown(each) + "\n";
    for (const model::Node* const each : items)
        text += textOf(each) != nullptr ? shown(textOf(each)) + "\n" : "";
    const std::string itemPath = model::getItemPath(tree, item);
    text += "'" + itemPath + "' " + std::to_string(!itemPath.empty()) + "\n";
    text += std::to_string(model::equals(tree, other)) + std::to_string(model::equals(other, tree)) +
            std::to_string(model::equals(tree, item)) + "\n";
    return text + shown(tree.children.empty() ? nullptr : &tree.children.front()) + "\n" + shown(&tree) +
           "\n" + model::marshall(tree, "\t");
}

RC_GTEST_PROP(DictionaryModelTest, AnswersAsItsModel, (const std::vector<Step>& steps)) {
    const TemporaryFolder folder;
    Both both;
    for (const Step& step : steps) {
        perform(step, both, folder);
        const std::unique_ptr<Item> item = itemOf(step.leaf);
        Both other(step.tree);
        RC_ASSERT(answers(both.tree, step.path, *item, other.tree) ==
                  answers(both.model, step.path, nodeOf(step.leaf), other.model));
    }
    both.tree.saveToFile(folder / "out.plist");
    RC_ASSERT(readFile(folder / "out.plist") == model::saved(both.model));
}

// ---- laws

/// A text that the format can hold: no line feed, no zero, no "<", no blank at either end.
rc::Gen<std::string> someSupportedText() {
    const auto character = rc::gen::suchThat(rc::gen::arbitrary<char>(),
                                             [](char c) { return c != '\n' && c != '\0' && c != '<'; });
    return rc::gen::map(rc::gen::container<std::string>(character), &Item::trim);
}

/// Fills a tree with such texts, to a depth of `levels`. No key contains a full stop, which would make it a
/// path.
void fill(Dictionary& tree, int levels) {
    const auto keys = *rc::gen::resize(6, rc::gen::container<std::vector<std::string>>(someSupportedText()));
    for (std::string key : keys) {
        std::replace(key.begin(), key.end(), '.', ':');
        const int kind = *rc::gen::inRange(0, levels > 0 ? 3 : 2);
        if (kind == 0) {
            tree.addValue(key, *someSupportedText());
        } else if (kind == 1) {
            tree.addValue(key, *someNumber());
        } else {
            Dictionary below(key);
            fill(below, levels - 1);
            tree.setItem(key, below);
        }
    }
}

RC_GTEST_PROP(DictionaryLawsTest, WhatIsSavedIsLoadedEqual, ()) {
    const TemporaryFolder folder;
    Dictionary tree;
    fill(tree, 3);
    tree.saveToFile(folder / "tree.plist");
    Dictionary loadedTree;
    loadedTree.loadFromFile(folder / "tree.plist");
    RC_ASSERT(loadedTree.equals(tree));
    RC_ASSERT(loadedTree.marshall("") == tree.marshall(""));
}

RC_GTEST_PROP(DictionaryLawsTest, MergingAddsWhatIsMissingAndNothingElse,
              (const std::vector<Leaf>& ours, const std::vector<Leaf>& theirs)) {
    Both one(ours);
    Both other(theirs);
    Dictionary merged(one.tree);
    merged.mergeDictionary(other.tree);
    Dictionary again(merged);
    again.mergeDictionary(other.tree);
    RC_ASSERT(again.equals(merged));
    again.mergeDictionary(one.tree);
    RC_ASSERT(again.equals(merged));
    // A merge never changes a leaf that exists.
    for (const Leaf& leaf : ours) {
        Item* const item = one.tree.getItem(leaf.path);
        if (item != nullptr && item->getAsDictionary() == nullptr)
            RC_ASSERT(shown(merged.getItem(leaf.path)) == shown(item));
    }
}

} // namespace
