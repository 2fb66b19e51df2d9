// Loads and saves property lists of string leaves, and looks up leaves: our dictionary beside libplist,
// pugixml, tinyxml2 and expat, on the same document. A flat document is one dictionary with all leaves; a
// nested one has three levels of dictionaries with the same number of entries each.
//
// Loading turns a file into a tree for look-ups: with pugixml and expat the benchmark builds one of std::map,
// with tinyxml2 it keeps only the parser's document. Saving makes the text and writes it to /dev/null with
// one write; "durable" replaces a file and flushes it to the disk, for all of them with the function that
// saveToFile calls. Floors: read() of the text alone; one copy of it, written; its durable replacement alone;
// for look-ups a tree of std::map and paths that are split already.
//
// peak_bytes: a new process (this program with --peak) loads the document once; its highest resident size
// minus the size before loading. allocations: calls of operator new per look-up.

#include "CountedAllocations.h"
#include "Dictionary.h"
#include "PropertyListText.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Works.h"
#include "detail/FileDescriptor.h"
#include "detail/FileReplacement.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <expat.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <plist/plist.h>
#include <pugixml.hpp>
#include <random>
#include <stdexcept>
#include <sys/stat.h>
#include <tinyxml2.h>
#include <unistd.h>
#include <vector>

using namespace kf::detail;

namespace {

// ---- Documents

/// The path of the document's file, which the first call writes.
const std::string& fileOf(Shape shape, std::int64_t leaves) {
    static const TemporaryFolder folder;
    static std::map<std::pair<Shape, std::int64_t>, std::string> files;
    std::string& path = files[{shape, leaves}];
    if (path.empty()) {
        path = folder / ((shape == Shape::FLAT ? "flat" : "nested") + std::to_string(leaves));
        writeFile(path, document(shape, leaves));
    }
    return path;
}

/// A buffer without the initialisation that a std::string or std::vector would do before it is filled.
struct Bytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
};

Bytes readAll(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        throw std::runtime_error("cannot read " + path);
    Bytes bytes{std::unique_ptr<char[]>(new char[static_cast<std::size_t>(status.st_size)]),
                static_cast<std::size_t>(status.st_size)};
    if (read(file.get(), bytes.data.get(), bytes.size) != status.st_size)
        throw std::runtime_error("cannot read " + path);
    return bytes;
}

/// Writes `text` in the same way as Dictionary::saveToFile().
void save(const std::string& path, std::string_view text) {
    if (!FileReplacement::replace(path, text))
        throw std::runtime_error("cannot write " + path);
}

// ---- The rivals. Each has load(path), leaves() to check the result, and save(path) if it can write.

/// The tree that a program builds from a parsed document before it discards the document.
struct Tree {
    std::string value;
    std::map<std::string, Tree, std::less<>> children;

    std::int64_t leaves() const {
        std::int64_t count = children.empty() ? 1 : 0;
        for (const auto& child : children)
            count += child.second.leaves();
        return count;
    }
};

struct Zevo {
    Dictionary tree;

    void load(const std::string& path) { tree.loadFromFile(path); }
    std::int64_t leaves() const {
        const std::string text = const_cast<Dictionary&>(tree).marshall("");
        std::int64_t count = 0;
        for (std::size_t at = 0; (at = text.find("<string>", at)) != std::string::npos; ++at)
            ++count;
        return count;
    }
    void save(const std::string& path) { tree.saveToFile(path); }
};

struct Libplist {
    plist_t tree = nullptr;

    Libplist() = default;
    Libplist(const Libplist&) = delete;
    Libplist& operator=(const Libplist&) = delete;
    ~Libplist() { plist_free(tree); }
    void load(const std::string& path) {
        const Bytes text = readAll(path);
        plist_from_xml(text.data.get(), static_cast<std::uint32_t>(text.size), &tree);
    }
    static std::int64_t leavesOf(plist_t node) {
        if (plist_get_node_type(node) != PLIST_DICT)
            return 1;
        std::int64_t count = 0;
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        for (;;) {
            plist_t child = nullptr;
            plist_dict_next_item(node, iterator, nullptr, &child);
            if (child == nullptr)
                break;
            count += leavesOf(child);
        }
        std::free(iterator);
        return count;
    }
    std::int64_t leaves() const { return leavesOf(tree); }

    void save(const std::string& path) {
        char* text = nullptr;
        std::uint32_t size = 0;
        plist_to_xml(tree, &text, &size);
        ::save(path, {text, size});
        std::free(text);
    }
};

struct Pugixml {
    pugi::xml_document document;
    Tree tree;

    static void build(pugi::xml_node dict, Tree& tree) {
        for (pugi::xml_node key = dict.first_child(); key;) {
            const pugi::xml_node value = key.next_sibling();
            Tree& child = tree.children.emplace_hint(tree.children.end(), key.child_value(), Tree())->second;
            if (std::strcmp(value.name(), "dict") == 0)
                build(value, child);
            else
                child.value = value.child_value();
            key = value.next_sibling();
        }
    }
    void load(const std::string& path) {
        if (!document.load_file(path.c_str()))
            throw std::runtime_error("pugixml");
        build(document.child("plist").child("dict"), tree);
        document.reset(); // only the tree is needed
    }
    void loadDocument(const std::string& path) { document.load_file(path.c_str()); }
    std::int64_t leaves() const { return tree.leaves(); }

    struct Writer : pugi::xml_writer {
        void write(const void* data, std::size_t size) override {
            text.append(static_cast<const char*>(data), size);
        }
        std::string text;
    };
    void save(const std::string& path) {
        Writer writer;
        document.save(writer);
        ::save(path, writer.text);
    }
};

struct Tinyxml2 {
    tinyxml2::XMLDocument document;

    void load(const std::string& path) {
        if (document.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS)
            throw std::runtime_error("tinyxml2");
    }
    static std::int64_t leavesOf(const tinyxml2::XMLElement& dict) {
        std::int64_t count = 0;
        for (auto child = dict.FirstChildElement(); child != nullptr; child = child->NextSiblingElement())
            if (std::strcmp(child->Name(), "dict") == 0)
                count += leavesOf(*child);
            else if (std::strcmp(child->Name(), "string") == 0)
                ++count;
        return count;
    }
    std::int64_t leaves() const { return leavesOf(*document.RootElement()); }

    void save(const std::string& path) {
        tinyxml2::XMLPrinter printer;
        document.Accept(&printer);
        ::save(path, {printer.CStr(), static_cast<std::size_t>(printer.CStrSize() - 1)});
    }
};

struct Expat {
    Tree tree;

    struct Builder {
        std::vector<Tree*> open;
        std::string text;
        Tree* value = nullptr;
    };
    static void XMLCALL start(void* user, const char* name, const char**) {
        auto& builder = *static_cast<Builder*>(user);
        builder.text.clear();
        if (std::strcmp(name, "dict") == 0 && builder.value != nullptr)
            builder.open.push_back(builder.value);
    }
    static void XMLCALL end(void* user, const char* name) {
        auto& builder = *static_cast<Builder*>(user);
        if (std::strcmp(name, "key") == 0) {
            auto& children = builder.open.back()->children;
            builder.value = &children.emplace_hint(children.end(), builder.text, Tree())->second;
        } else if (std::strcmp(name, "string") == 0) {
            builder.value->value = builder.text;
        } else if (std::strcmp(name, "dict") == 0) {
            builder.open.pop_back();
        }
    }
    static void XMLCALL characters(void* user, const char* text, int length) {
        static_cast<Builder*>(user)->text.append(text, static_cast<std::size_t>(length));
    }
    void load(const std::string& path) {
        Builder builder;
        builder.value = &tree;
        const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                             XML_ParserFree);
        XML_SetUserData(parser.get(), &builder);
        XML_SetElementHandler(parser.get(), start, end);
        XML_SetCharacterDataHandler(parser.get(), characters);
        const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        static constexpr int BLOCK = 65536;
        for (;;) {
            void* const buffer = XML_GetBuffer(parser.get(), BLOCK);
            const ssize_t count = read(file.get(), buffer, BLOCK);
            if (count < 0 || XML_ParseBuffer(parser.get(), static_cast<int>(count), count == 0) == 0)
                throw std::runtime_error("expat");
            if (count == 0)
                return;
        }
    }
    std::int64_t leaves() const { return tree.leaves(); }
};

struct Floor {
    Bytes text;

    void load(const std::string& path) {
        text = readAll(path);
        benchmark::DoNotOptimize(text.data.get());
    }
    void save(const std::string& path) {
        const std::string copy(text.data.get(), text.size);
        ::save(path, copy);
    }
};

template <typename Rival>
void checkLeaves(const Rival& rival, std::int64_t leaves) {
    if (rival.leaves() != leaves)
        throw std::runtime_error("a reader lost leaves: " + std::to_string(rival.leaves()));
}
void checkLeaves(const Floor&, std::int64_t) {}

// ---- Peak memory

std::int64_t statusLine(const char* name) {
    const std::string status = readFile("/proc/self/status");
    const std::size_t at = status.find(name);
    return at != std::string::npos ? 1024 * std::atoll(status.c_str() + at + std::strlen(name)) : 0;
}

template <typename Rival>
std::int64_t peakOfLoading(const std::string& path) {
    Rival rival;
    const std::int64_t before = statusLine("VmRSS:");
    rival.load(path);
    return statusLine("VmHWM:") - before;
}

using Peak = std::int64_t (*)(const std::string&);
const std::map<std::string, Peak> PEAKS = {
    {"zevo", peakOfLoading<Zevo>},       {"libplist", peakOfLoading<Libplist>},
    {"pugixml", peakOfLoading<Pugixml>}, {"tinyxml2", peakOfLoading<Tinyxml2>},
    {"expat", peakOfLoading<Expat>},     {"floor", peakOfLoading<Floor>}};

/// Measured in a new process: this one would reuse memory that an earlier work has freed.
double peakBytes(const std::string& who, const std::string& path) {
    return std::atof(works::answerOf("--peak " + who + " '" + path + "'").c_str());
}

// ---- Works

using benchmark::Counter;

void setCosts(benchmark::State& state, std::int64_t leaves, std::size_t bytes) {
    state.counters["cost_ns"] = works::nanosecondsPer(leaves);
    state.counters["mb_per_s"] =
        Counter(1e-6 * static_cast<double>(bytes), Counter::kIsIterationInvariantRate);
}

/// Makes the C library coalesce the small blocks that the last tree freed, which it does when a large block
/// is allocated. Otherwise the next load would pay for that.
void tidyHeap() {
    void* large = std::malloc(100000);
    benchmark::DoNotOptimize(large);
    std::free(large);
}

template <typename Rival>
void load(benchmark::State& state, Shape shape, const std::string& who) {
    const std::int64_t leaves = state.range(0);
    const std::string& path = fileOf(shape, leaves);
    auto rival = std::make_unique<Rival>();
    for (auto _ : state) {
        state.PauseTiming();
        rival.reset();
        tidyHeap();
        rival = std::make_unique<Rival>();
        state.ResumeTiming();
        rival->load(path);
    }
    checkLeaves(*rival, leaves);
    setCosts(state, leaves, readAll(path).size);
    state.counters["peak_bytes"] = peakBytes(who, path);
}

template <typename Rival>
void loadForSaving(Rival& rival, const std::string& path) {
    rival.load(path);
}
void loadForSaving(Pugixml& rival, const std::string& path) {
    rival.loadDocument(path);
}

template <typename Rival>
void saveText(benchmark::State& state, Shape shape) {
    const std::string& path = fileOf(shape, state.range(0));
    tidyHeap();
    Rival rival;
    loadForSaving(rival, path);
    for (auto _ : state)
        rival.save("/dev/null");
    setCosts(state, state.range(0), readAll(path).size);
}

/// Measures real time, because it waits for the disk.
template <typename Rival>
void saveDurably(benchmark::State& state) {
    const TemporaryFolder folder;
    const std::string path = folder / "saved";
    Rival rival;
    loadForSaving(rival, fileOf(Shape::FLAT, state.range(0)));
    std::chrono::steady_clock::duration time{};
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        rival.save(path);
        time += std::chrono::steady_clock::now() - start;
    }
    const double seconds =
        std::chrono::duration<double>(time).count() / static_cast<double>(state.iterations());
    state.counters["cost_ns"] = 1e9 * seconds / static_cast<double>(state.range(0));
    state.counters["mb_per_s"] = 1e-6 * static_cast<double>(readAll(path).size) / seconds;
}

// ---- Look-ups: four levels, 10 keys each at 10,000 leaves, more or fewer at other sizes

const int LOOKUP_LEVELS = 4;
const std::size_t LOOKUPS = 1024; // different paths in turn, which the branch predictor cannot learn

using Keys = std::array<std::string, LOOKUP_LEVELS>;

std::vector<Keys> allKeys(std::int64_t leaves) {
    std::vector<Keys> all;
    forEachLeaf(leaves, LOOKUP_LEVELS, [&all](const std::vector<std::int64_t>& digits) {
        Keys keys;
        std::transform(digits.begin(), digits.end(), keys.begin(), keyOf);
        all.push_back(keys);
    });
    return all;
}

std::vector<Keys> lookUpsIn(const std::vector<Keys>& all) {
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> any(0, all.size() - 1);
    std::vector<Keys> lookUps;
    while (lookUps.size() < LOOKUPS)
        lookUps.push_back(all[any(random)]);
    return lookUps;
}

std::string joined(const Keys& keys) {
    return keys[0] + "." + keys[1] + "." + keys[2] + "." + keys[3];
}

template <typename LookUp>
void lookUp(benchmark::State& state, const LookUp& valueOf) {
    const std::int64_t before = allocations;
    for (std::size_t i = 0; i < LOOKUPS; ++i)
        if (valueOf(i) == nullptr)
            throw std::runtime_error("a look-up failed");
    state.counters["allocations"] = static_cast<double>(allocations - before) / static_cast<double>(LOOKUPS);
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(valueOf(next++ % LOOKUPS));
    state.counters["cost_ns"] = works::nanosecondsPer(1);
}

void lookUpInZevo(benchmark::State& state) {
    const std::vector<Keys> all = allKeys(state.range(0));
    Dictionary tree;
    for (const Keys& keys : all)
        tree.addValue(joined(keys), "value of " + keys.back());
    std::vector<std::string> paths;
    for (const Keys& keys : lookUpsIn(all))
        paths.push_back(joined(keys));
    lookUp(state, [&](std::size_t i) { return tree.getValue(paths[i]); });
}

void lookUpInLibplist(benchmark::State& state) {
    const std::vector<Keys> all = allKeys(state.range(0));
    const std::unique_ptr<void, void (*)(plist_t)> tree(plist_new_dict(), plist_free);
    for (const Keys& keys : all) {
        plist_t node = tree.get();
        for (int level = 0; level + 1 < LOOKUP_LEVELS; ++level) {
            plist_t child = plist_dict_get_item(node, keys[static_cast<std::size_t>(level)].c_str());
            if (child == nullptr) {
                child = plist_new_dict();
                plist_dict_set_item(node, keys[static_cast<std::size_t>(level)].c_str(), child);
            }
            node = child;
        }
        plist_dict_set_item(node, keys.back().c_str(), plist_new_string(("value of " + keys.back()).c_str()));
    }
    const std::vector<Keys> keys = lookUpsIn(all);
    lookUp(state, [&](std::size_t i) {
        plist_t node = plist_access_path(tree.get(), LOOKUP_LEVELS, keys[i][0].c_str(), keys[i][1].c_str(),
                                         keys[i][2].c_str(), keys[i][3].c_str());
        return plist_get_string_ptr(node, nullptr);
    });
}

void lookUpInMaps(benchmark::State& state) {
    const std::vector<Keys> all = allKeys(state.range(0));
    Tree tree;
    for (const Keys& keys : all) {
        Tree* node = &tree;
        for (const std::string& key : keys)
            node = &node->children[key];
        node->value = "value of " + keys.back();
    }
    const std::vector<Keys> lookUps = lookUpsIn(all);
    lookUp(state, [&](std::size_t i) -> const char* {
        const Tree* node = &tree;
        for (const std::string& key : lookUps[i]) {
            const auto found = node->children.find(key);
            if (found == node->children.end())
                return nullptr;
            node = &found->second;
        }
        return node->value.c_str();
    });
}

// ---- Sizes

const std::int64_t LARGEST = 1000000;
const std::int64_t LARGEST_FOR_LIBPLIST = 100000; // flat: its time grows with the square of the keys' number

template <typename Function>
void add(const std::string& work, const std::string& who, std::int64_t largest, const Function& function) {
    auto* const added = benchmark::RegisterBenchmark((work + "/" + who).c_str(), function);
    for (const std::int64_t size : works::decades(1000, largest))
        added->Arg(size);
    added->Unit(benchmark::kMicrosecond);
}

template <typename Rival>
void addLoad(const std::string& who, std::int64_t largestFlat = LARGEST) {
    add(
        "dictionary-load-flat", who, largestFlat,
        [who](benchmark::State& state) { load<Rival>(state, Shape::FLAT, who); });
    add("dictionary-load-nested", who, LARGEST,
        [who](benchmark::State& state) { load<Rival>(state, Shape::NESTED, who); });
}

template <typename Rival>
void addSave(const std::string& who, std::int64_t largestFlat = LARGEST) {
    add(
        "dictionary-save-flat", who, largestFlat,
        [](benchmark::State& state) { saveText<Rival>(state, Shape::FLAT); });
    add("dictionary-save-nested", who, LARGEST,
        [](benchmark::State& state) { saveText<Rival>(state, Shape::NESTED); });
    add("dictionary-save-durable", who, LARGEST_FOR_LIBPLIST, saveDurably<Rival>);
}

void addAll() {
    addLoad<Zevo>("zevo");
    addLoad<Libplist>("libplist", LARGEST_FOR_LIBPLIST);
    addLoad<Pugixml>("pugixml");
    addLoad<Tinyxml2>("tinyxml2");
    addLoad<Expat>("expat");
    addLoad<Floor>("floor");
    addSave<Zevo>("zevo");
    addSave<Libplist>("libplist", LARGEST_FOR_LIBPLIST);
    addSave<Pugixml>("pugixml");
    addSave<Tinyxml2>("tinyxml2");
    addSave<Floor>("floor");
    add("dictionary-lookup", "zevo", LARGEST, lookUpInZevo);
    add("dictionary-lookup", "libplist", LARGEST, lookUpInLibplist);
    add("dictionary-lookup", "floor", LARGEST, lookUpInMaps);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--peak") {
        std::printf("%lld\n", static_cast<long long>(PEAKS.at(argv[2])(argv[3])));
        return 0;
    }
    addAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
