#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "DataFolders.h"
#include "RandomRuns.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <map>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

// Parameter stores with random names and values: an accepted value is read back equal, by the same store
// object and by a new one, and the file holds it in the documented form; a refused one changes nothing.

namespace {

using Parameters = std::vector<std::pair<std::string, std::string>>;

/// Any bytes; those that have a meaning in the formats are frequent.
rc::Gen<std::string> someBytes() {
    const auto character =
        rc::gen::oneOf(rc::gen::elementOf(std::string("ab=\n\r \t\0%", 9)), rc::gen::arbitrary<char>());
    return rc::gen::container<std::string>(character);
}

Parameters someParameters() {
    const auto name =
        rc::gen::oneOf(rc::gen::elementOf(std::vector<std::string>{"a", "b", "name", ""}), someBytes());
    // Few, because each is flushed to the disk.
    return *rc::gen::resize(10, rc::gen::container<Parameters>(rc::gen::pair(name, someBytes())));
}

class StorePropertiesTest : public testing::Test {
protected:
    std::string file(const std::string& suffix) const {
        return m_folder / ("user/Ferrow/Zevo/Domain" + suffix);
    }
    static std::string contentOf(const std::string& path) {
        return access(path.c_str(), F_OK) == 0 ? readFile(path) : "";
    }

    TemporaryFolder m_folder;
    DataFolders m_dataFolders{m_folder.path()};
};

// ---- texts

using TextParametersTest = StorePropertiesTest;

RC_GTEST_FIXTURE_PROP(TextParametersTest, WhatIsAcceptedIsReadBackEqual, ()) {
    AppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    std::map<std::string, std::string> accepted;
    for (const auto& [name, value] : someParameters()) {
        const bool isStorable = !name.empty() && name.find_first_of("=\n") == std::string::npos &&
                                value.find('\n') == std::string::npos;
        RC_ASSERT(store.writeParam(name, value) == isStorable);
        if (isStorable)
            accepted[name] = value;
    }
    std::string content;
    AppDataPersistence another("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    for (const auto& [name, value] : accepted) {
        std::string read;
        RC_ASSERT(store.readParam(name, read));
        RC_ASSERT(read == value);
        RC_ASSERT(another.readParam(name, read));
        RC_ASSERT(read == value);
        content += name + "=" + value + "\n";
    }
    RC_ASSERT(contentOf(file(".dat")) == content);
}

// ---- blocks of bytes

using BinaryParametersTest = StorePropertiesTest;

bool write(BinaryAppDataPersistence& store, const std::string& name, const std::string& data) {
    return store.writeUnformattedParam(name, data.data(), static_cast<int>(data.size()));
}

std::string read(BinaryAppDataPersistence& store, const std::string& name) {
    int size = -1;
    const std::unique_ptr<char[]> data(store.readUnformattedParam(name, size));
    return data != nullptr ? std::string(data.get(), static_cast<std::size_t>(size)) : "(none)";
}

/// The length as the file has it before a name or a block.
std::string lengthOf(std::size_t length) {
    std::string text;
    for (int byte = 0; byte < 4; ++byte)
        text += static_cast<char>(length >> 8 * byte & 0xFF);
    return text;
}

RC_GTEST_FIXTURE_PROP(BinaryParametersTest, WhatIsAcceptedIsReadBackEqual, ()) {
    BinaryAppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    std::map<std::string, std::string> accepted;
    for (const auto& [name, data] : someParameters()) {
        const std::string before = contentOf(file("_binary.dat"));
        RC_ASSERT(write(store, name, data) == !name.empty());
        if (!name.empty())
            accepted[name] = data;
        else
            RC_ASSERT(contentOf(file("_binary.dat")) == before);
    }
    std::string content;
    BinaryAppDataPersistence another("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    for (const auto& [name, data] : accepted) {
        RC_ASSERT(read(store, name) == data);
        RC_ASSERT(read(another, name) == data);
        content += lengthOf(name.size() + 1) + name + '\0' + lengthOf(data.size()) + data;
    }
    RC_ASSERT(contentOf(file("_binary.dat")) == content);
}

} // namespace
