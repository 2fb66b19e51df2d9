// Reads one parameter from a store that holds N, and writes one: our text and binary files beside GLib's
// GKeyFile and SQLite with durable writes, with the same names and values. Every iteration opens the store
// again, as the callers of our stores do.
//
// Floor: read() of the file's bytes, or the durable replacement of the file with the same bytes, both without
// parsing. cost_ns is one read or write.

#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Works.h"
#include "detail/FileDescriptor.h"
#include "detail/FileReplacement.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <map>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace kf::detail;

namespace {

const char VALUE[] = "a value of the usual length";
const char SCOPE[] = "Bench";
const char DOMAIN_NAME[] = "Domain";

std::string nameOf(int64_t index) {
    char name[32];
    snprintf(name, sizeof(name), "parameter_%08ld", static_cast<long>(index));
    return name;
}

void require(bool isDone, const char* what) {
    if (!isDone)
        throw std::runtime_error(what);
}

struct DatabaseCloser {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;

struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

struct KeyFileFreer {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFreer>;

/// A temporary folder with stores of N parameters, one in each format.
class Stores {
public:
    explicit Stores(int64_t count) {
        setenv("XDG_DATA_HOME", m_folder.path().c_str(), 1);
        t_paramMap texts;
        BinaryAppDataPersistence::ParamMap blocks;
        std::string keyFile = "[parameters]\n";
        const Database database = openDatabase();
        run(*database, "CREATE TABLE parameters (name TEXT PRIMARY KEY, value BLOB) WITHOUT ROWID");
        run(*database, "BEGIN");
        for (int64_t i = 0; i < count; ++i) {
            texts[nameOf(i)] = VALUE;
            blocks[nameOf(i)] = t_Param(nameOf(i), VALUE, sizeof(VALUE) - 1);
            keyFile += nameOf(i) + "=" + VALUE + "\n";
            upsert(*database, nameOf(i));
        }
        run(*database, "COMMIT");
        writeFile(keyFilePath(), keyFile);
        require(
            AppDataPersistence(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER).writePersistenceFile(texts) &&
                BinaryAppDataPersistence(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER)
                    .writePersistenceFile(blocks),
            "the stores cannot be made");
    }

    /// The stores with `count` parameters, which the first call creates. Makes their folder the data folder.
    static const Stores& of(int64_t count) {
        static std::map<int64_t, std::unique_ptr<Stores>> all;
        std::unique_ptr<Stores>& stores = all[count];
        if (stores == nullptr)
            stores = std::make_unique<Stores>(count);
        setenv("XDG_DATA_HOME", stores->m_folder.path().c_str(), 1);
        return *stores;
    }

    std::string keyFilePath() const { return m_folder / "parameters.ini"; }
    std::string textPath() const { return m_folder / "Ferrow/Bench/Domain.dat"; }
    std::string binaryPath() const { return m_folder / "Ferrow/Bench/Domain_binary.dat"; }

    Database openDatabase() const {
        sqlite3* database = nullptr;
        require(sqlite3_open((m_folder / "parameters.db").c_str(), &database) == SQLITE_OK, "sqlite3_open");
        run(*database, "PRAGMA synchronous = FULL");
        return Database(database);
    }

    static Statement prepare(sqlite3& database, const char* text, const std::string& name) {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(&database, text, -1, &statement, nullptr) == SQLITE_OK, text);
        sqlite3_bind_text(statement, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        return Statement(statement);
    }

    static void upsert(sqlite3& database, const std::string& name) {
        const Statement statement =
            prepare(database, "INSERT OR REPLACE INTO parameters VALUES (?, ?)", name);
        sqlite3_bind_blob(statement.get(), 2, VALUE, sizeof(VALUE) - 1, SQLITE_STATIC);
        require(sqlite3_step(statement.get()) == SQLITE_DONE, "INSERT");
    }

private:
    static void run(sqlite3& database, const char* text) {
        require(sqlite3_exec(&database, text, nullptr, nullptr, nullptr) == SQLITE_OK, text);
    }

    TemporaryFolder m_folder;
};

KeyFile loadKeyFile(const Stores& stores) {
    KeyFile file(g_key_file_new());
    require(g_key_file_load_from_file(file.get(), stores.keyFilePath().c_str(), G_KEY_FILE_KEEP_COMMENTS,
                                      nullptr) != FALSE,
            "g_key_file_load_from_file");
    return file;
}

// ---- The operations, each on one parameter

void readBytes(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    require(file.isOpen() && fstat(file.get(), &status) == 0, "open");
    const std::unique_ptr<char[]> bytes(new char[static_cast<size_t>(status.st_size)]);
    require(read(file.get(), bytes.get(), static_cast<size_t>(status.st_size)) == status.st_size, "read");
    benchmark::DoNotOptimize(bytes.get());
}

void readTextFloor(const Stores& stores, const std::string&) {
    readBytes(stores.textPath());
}

void readBinaryFloor(const Stores& stores, const std::string&) {
    readBytes(stores.binaryPath());
}

void readText(const Stores&, const std::string& name) {
    std::string value;
    require(AppDataPersistence(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER).readParam(name, value),
            "readParam");
}

void readBinary(const Stores&, const std::string& name) {
    int size = 0;
    BinaryAppDataPersistence store(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER);
    const std::unique_ptr<char[]> data(store.readUnformattedParam(name, size));
    require(data != nullptr, "readUnformattedParam");
}

void readKeyFile(const Stores& stores, const std::string& name) {
    char* const value = g_key_file_get_string(loadKeyFile(stores).get(), "parameters", name.c_str(), nullptr);
    require(value != nullptr, "g_key_file_get_string");
    g_free(value);
}

void readSqlite(const Stores& stores, const std::string& name) {
    const Database database = stores.openDatabase();
    const Statement statement =
        Stores::prepare(*database, "SELECT value FROM parameters WHERE name = ?", name);
    require(sqlite3_step(statement.get()) == SQLITE_ROW, "SELECT");
}

void writeTextFloor(const Stores& stores, const std::string& content) {
    require(FileReplacement::replace(stores.textPath(), content), "replace");
}

void writeBinaryFloor(const Stores& stores, const std::string& content) {
    require(FileReplacement::replace(stores.binaryPath(), content), "replace");
}

void writeText(const Stores&, const std::string& name) {
    require(AppDataPersistence(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER).writeParam(name, VALUE),
            "writeParam");
}

void writeBinary(const Stores&, const std::string& name) {
    BinaryAppDataPersistence store(SCOPE, DOMAIN_NAME, PERSISTENCE_CURRENT_USER);
    require(store.writeUnformattedParam(name, VALUE, sizeof(VALUE) - 1), "writeUnformattedParam");
}

/// GLib writes a temporary file and renames it, too, but does not flush the folder and takes no lock.
void writeKeyFile(const Stores& stores, const std::string& name) {
    const KeyFile file = loadKeyFile(stores);
    g_key_file_set_string(file.get(), "parameters", name.c_str(), VALUE);
    require(g_key_file_save_to_file(file.get(), stores.keyFilePath().c_str(), nullptr) != FALSE,
            "g_key_file_save_to_file");
}

void writeSqlite(const Stores& stores, const std::string& name) {
    Stores::upsert(*stores.openDatabase(), name);
}

// ---- Works

using Operation = void (*)(const Stores&, const std::string&);

void measure(benchmark::State& state, const Stores& stores, Operation operation,
             const std::string& argument) {
    for (auto _ : state)
        operation(stores, argument);
    state.counters["cost_ns"] = works::nanosecondsPer(1);
}

template <typename Function>
void addFunction(const std::string& name, const Function& function) {
    auto* const added = benchmark::RegisterBenchmark(name.c_str(), function);
    for (const int64_t size : works::decades(100, 100000))
        added->Arg(size);
    added->Unit(benchmark::kMicrosecond)->UseRealTime(); // writing waits for the disk
}

/// `operation` gets the name of a parameter in the middle of the store.
void add(const std::string& name, Operation operation) {
    addFunction(
        name,
        [operation](benchmark::State& state) {
            measure(state, Stores::of(state.range(0)), operation, nameOf(state.range(0) / 2));
        });
}

/// `operation` gets the content of the file at `path`.
void addReplacement(const std::string& name, Operation operation, std::string (Stores::*path)() const) {
    addFunction(
        name,
        [operation, path](benchmark::State& state) {
            const Stores& stores = Stores::of(state.range(0));
            measure(state, stores, operation, readFile((stores.*path)()));
        });
}

void addAll() {
    add("parameter-read-text/zevo", readText);
    add("parameter-read-text/glib-keyfile", readKeyFile);
    add("parameter-read-text/sqlite", readSqlite);
    add("parameter-read-text/floor", readTextFloor);
    add("parameter-read-binary/zevo", readBinary);
    add("parameter-read-binary/sqlite", readSqlite);
    add("parameter-read-binary/floor", readBinaryFloor);
    add("parameter-write-text/zevo", writeText);
    add("parameter-write-text/glib-keyfile", writeKeyFile);
    add("parameter-write-text/sqlite", writeSqlite);
    addReplacement("parameter-write-text/floor", writeTextFloor, &Stores::textPath);
    add("parameter-write-binary/zevo", writeBinary);
    add("parameter-write-binary/sqlite", writeSqlite);
    addReplacement("parameter-write-binary/floor", writeBinaryFloor, &Stores::binaryPath);
}

} // namespace

int main(int argumentCount, char** arguments) {
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 1;
    addAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
