// The works of the dictionary and of the parameter stores whose instructions tools/instruction-counts counts:
// our part of the benchmarks with the same names.

#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "Dictionary.h"
#include "InstructionWorks.h"
#include "PropertyListText.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <memory>
#include <stdexcept>

namespace {

const std::int64_t LEAVES = 1000;
const std::int64_t PARAMETERS = 100;

void require(bool isDone, const char* what) {
    if (!isDone)
        throw std::runtime_error(what);
}

// One operation is one leaf; whole documents are loaded or saved until `count` leaves are reached. The
// destruction of a loaded document is part of the count.

template <Shape SHAPE>
void load(std::int64_t count) {
    const TemporaryFolder folder;
    writeFile(folder / "document", document(SHAPE, LEAVES));
    for (std::int64_t done = 0; done < count; done += LEAVES)
        Dictionary().loadFromFile(folder / "document");
}

template <Shape SHAPE>
void save(std::int64_t count) {
    const TemporaryFolder folder;
    writeFile(folder / "document", document(SHAPE, LEAVES));
    Dictionary tree;
    tree.loadFromFile(folder / "document");
    for (std::int64_t done = 0; done < count; done += LEAVES)
        tree.saveToFile("/dev/null");
}

void lookUp(std::int64_t count) {
    std::vector<std::string> paths;
    Dictionary tree;
    forEachLeaf(LEAVES, 4, [&](const std::vector<std::int64_t>& digits) {
        paths.push_back(keyOf(digits[0]) + "." + keyOf(digits[1]) + "." + keyOf(digits[2]) + "." +
                        keyOf(digits[3]));
        tree.addValue(paths.back(), "value of " + keyOf(digits[3]));
    });
    for (std::int64_t done = 0; done < count; ++done)
        require(tree.getValue(paths[static_cast<std::size_t>(done % LEAVES)]) != nullptr, "getValue");
}

// One operation opens the store and reads one parameter.

std::string nameOf(std::int64_t index) {
    return "parameter_" + std::to_string(10000000 + index);
}

void readText(std::int64_t count) {
    const TemporaryFolder folder;
    setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
    t_paramMap parameters;
    for (std::int64_t i = 0; i < PARAMETERS; ++i)
        parameters[nameOf(i)] = "a value of the usual length";
    require(AppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER).writePersistenceFile(parameters),
            "writePersistenceFile");
    for (std::int64_t done = 0; done < count; ++done) {
        std::string value;
        require(AppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER)
                    .readParam(nameOf(PARAMETERS / 2), value),
                "readParam");
    }
}

void readBinary(std::int64_t count) {
    const TemporaryFolder folder;
    setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
    BinaryAppDataPersistence::ParamMap parameters;
    for (std::int64_t i = 0; i < PARAMETERS; ++i)
        parameters[nameOf(i)] = t_Param(nameOf(i), "a value of the usual length", 27);
    require(BinaryAppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER)
                .writePersistenceFile(parameters),
            "writePersistenceFile");
    for (std::int64_t done = 0; done < count; ++done) {
        int size = 0;
        const std::unique_ptr<char[]> value(
            BinaryAppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER)
                .readUnformattedParam(nameOf(PARAMETERS / 2), size));
        require(value != nullptr, "readUnformattedParam");
    }
}

const InstructionWorks WORKS = {
    {"dictionary-load-flat/1000", load<Shape::FLAT>},
    {"dictionary-load-nested/1000", load<Shape::NESTED>},
    {"dictionary-save-flat/1000", save<Shape::FLAT>},
    {"dictionary-save-nested/1000", save<Shape::NESTED>},
    {"dictionary-lookup/1000", lookUp},
    {"parameter-read-text/100", readText},
    {"parameter-read-binary/100", readBinary},
};

} // namespace

int main(int argumentCount, char** arguments) {
    return runInstructionWorks(WORKS, argumentCount, arguments);
}
