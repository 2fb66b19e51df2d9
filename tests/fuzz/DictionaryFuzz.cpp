#include "Dictionary.h"
#include "KFDictionaryException.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstddef>
#include <cstdint>

// A dictionary that was read can be used, copied and written, and the written text can be read.
static void exercise(Dictionary& dictionary) {
    Dictionary copy(dictionary);
    require(copy.equals(dictionary));
    dictionary.mergeDictionary(copy);
    require(dictionary.equals(copy));
    dictionary.findItems("a");
    dictionary.findValues("a.b");
    dictionary.contains("a.b");
    dictionary.getItem("a.b.c");
    if (Item* const first = dictionary.getFirstItem()) {
        require(dictionary.contains(*first) || first->getName().empty());
        copy.setItem("a.b", *first);
        copy.removeAllItems(*first);
    }
    const std::string text = dictionary.marshall("");
    dictionary.toString("");
    std::stringstream in(text);
    Dictionary reread;
    reread.unMarshall(in);
    reread.addDictionary("a", dictionary);
}

static void readStream(const std::string& text) {
    std::stringstream in(text);
    Dictionary dictionary;
    dictionary.unMarshall(in);
    require(in.good() && in.tellg() >= 0 && static_cast<std::size_t>(in.tellg()) <= text.size());
    exercise(dictionary);
}

static void readFileOf(const std::string& bytes) {
    static const TemporaryFolder folder;
    writeFile(folder / "list", bytes);
    Dictionary dictionary;
    try {
        dictionary.loadFromFile(folder / "list");
    } catch (const KFDictionaryException&) {
        require(dictionary.getFirstItem() == nullptr);
    }
    exercise(dictionary);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    readFileOf(bytes);
    // A text ends at its first zero byte, as in a file.
    readStream(bytes.substr(0, bytes.find('\0')));
    return 0;
}
