// One parameter read from, and one written to, a store that holds N: our text and binary files, GLib's
// GKeyFile, and SQLite with a durable write. Every iteration opens the store anew, as the callers of ours do.
//
// Floor: reading the file's bytes, or replacing the file by the same bytes, without looking at them.

#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "FileReplacement.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <memory>
#include <sqlite3.h>

namespace {

const char VALUE[] = "a value of the usual length";

std::string nameOf(int64_t index) {
    char name[32];
    snprintf(name, sizeof(name), "parameter_%08ld", static_cast<long>(index));
    return name;
}

/// A folder of its own and stores with N parameters in each of the forms.
class Stores {
public:
    explicit Stores(int64_t count) {
        setenv("XDG_DATA_HOME", m_folder.path().c_str(), 1);
        t_paramMap texts;
        BinaryAppDataPersistence::ParamMap blocks;
        std::string keyFile = "[parameters]\n";
        sqlite3* const database = openDatabase();
        sqlite3_exec(database,
                     "CREATE TABLE parameters (name TEXT PRIMARY KEY, value BLOB) WITHOUT ROWID; BEGIN",
                     nullptr, nullptr, nullptr);
        for (int64_t i = 0; i < count; ++i) {
            texts[nameOf(i)] = VALUE;
            blocks[nameOf(i)] = t_Param(nameOf(i), VALUE, sizeof(VALUE) - 1);
            keyFile += nameOf(i) + "=" + VALUE + "\n";
            upsert(database, nameOf(i), VALUE);
        }
        sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(database);
        writeFile(keyFilePath(), keyFile);
        AppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER).writePersistenceFile(texts);
        BinaryAppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER).writePersistenceFile(blocks);
    }

    std::string keyFilePath() const { return m_folder / "parameters.ini"; }
    std::string textPath() const { return m_folder / "Ferrow/Bench/Domain.dat"; }

    sqlite3* openDatabase() const {
        sqlite3* database = nullptr;
        if (sqlite3_open((m_folder / "parameters.db").c_str(), &database) != SQLITE_OK) {
            abort();
        }
        sqlite3_exec(database, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
        return database;
    }

    static void upsert(sqlite3* database, const std::string& name, const char* value) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(database, "INSERT OR REPLACE INTO parameters VALUES (?, ?)", -1, &statement,
                           nullptr);
        sqlite3_bind_text(statement, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob(statement, 2, value, static_cast<int>(strlen(value)), SQLITE_TRANSIENT);
        if (sqlite3_step(statement) != SQLITE_DONE) {
            abort();
        }
        sqlite3_finalize(statement);
    }

private:
    TemporaryFolder m_folder;
};

struct KeyFileFreer {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFreer>;

KeyFile loadKeyFile(const Stores& stores) {
    KeyFile file(g_key_file_new());
    if (!g_key_file_load_from_file(file.get(), stores.keyFilePath().c_str(), G_KEY_FILE_KEEP_COMMENTS,
                                   nullptr)) {
        abort();
    }
    return file;
}

void readFloor(benchmark::State& state) {
    const Stores stores(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(readFile(stores.textPath()));
    }
}

void readText(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        std::string value;
        if (!AppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER).readParam(name, value)) {
            abort();
        }
    }
}

void readBinary(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        int size = 0;
        BinaryAppDataPersistence store("Bench", "Domain", PERSISTENCE_CURRENT_USER);
        const std::unique_ptr<char[]> data(store.readUnformattedParam(name, size));
        if (data == nullptr) {
            abort();
        }
    }
}

void readKeyFile(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        g_free(g_key_file_get_string(loadKeyFile(stores).get(), "parameters", name.c_str(), nullptr));
    }
}

void readSqlite(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        sqlite3* const database = stores.openDatabase();
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(database, "SELECT value FROM parameters WHERE name = ?", -1, &statement, nullptr);
        sqlite3_bind_text(statement, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(statement) != SQLITE_ROW) {
            abort();
        }
        sqlite3_finalize(statement);
        sqlite3_close(database);
    }
}

void writeFloor(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string content = readFile(stores.textPath());
    for (auto _ : state) {
        FileReplacement::replace(stores.textPath(), content);
    }
}

void writeText(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        if (!AppDataPersistence("Bench", "Domain", PERSISTENCE_CURRENT_USER).writeParam(name, VALUE)) {
            abort();
        }
    }
}

void writeBinary(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        BinaryAppDataPersistence store("Bench", "Domain", PERSISTENCE_CURRENT_USER);
        if (!store.writeUnformattedParam(name, VALUE, sizeof(VALUE) - 1)) {
            abort();
        }
    }
}

/// GLib writes beside and renames, too, but does not flush the folder and takes no lock.
void writeKeyFile(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        const KeyFile file = loadKeyFile(stores);
        g_key_file_set_string(file.get(), "parameters", name.c_str(), VALUE);
        if (!g_key_file_save_to_file(file.get(), stores.keyFilePath().c_str(), nullptr)) {
            abort();
        }
    }
}

void writeSqlite(benchmark::State& state) {
    const Stores stores(state.range(0));
    const std::string name = nameOf(state.range(0) / 2);
    for (auto _ : state) {
        sqlite3* const database = stores.openDatabase();
        Stores::upsert(database, name, VALUE);
        sqlite3_close(database);
    }
}

#define FOR_EACH_SIZE(function) BENCHMARK(function)->RangeMultiplier(10)->Range(10, 100000)->UseRealTime()

FOR_EACH_SIZE(readFloor);
FOR_EACH_SIZE(readText);
FOR_EACH_SIZE(readBinary);
FOR_EACH_SIZE(readKeyFile);
FOR_EACH_SIZE(readSqlite);
FOR_EACH_SIZE(writeFloor);
FOR_EACH_SIZE(writeText);
FOR_EACH_SIZE(writeBinary);
FOR_EACH_SIZE(writeKeyFile);
FOR_EACH_SIZE(writeSqlite);

} // namespace
