// A store's content must survive writers that are killed at any moment, and concurrent writers.

#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "Dictionary.h"
#include "OtherProcess.h"
#include "StoreTest.h"

#include <csignal>
#include <random>
#include <vector>

namespace {

// A sanitizer needs only a few rounds to see all that it can see, and each takes it many times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const int KILLS = 50;
const int WRITES = 100;
#else
const int KILLS = 500;
const int WRITES = 1000;
#endif
const int WRITERS = 4;

// The two kinds of stores, and saved dictionaries, with the same interface.
struct TextStore {
    AppDataPersistence store{"Zevo", "Domain", PERSISTENCE_CURRENT_USER};
    static constexpr const char* FILE = "Domain.dat";

    bool write(const std::string& name, const std::string& value) { return store.writeParam(name, value); }
    static std::string line(const std::string& name, const std::string& value) {
        return name + "=" + value + "\n";
    }
    static std::string file(const std::string& lines) { return lines; }
};

struct BinaryStore {
    BinaryAppDataPersistence store{"Zevo", "Domain", PERSISTENCE_CURRENT_USER};
    static constexpr const char* FILE = "Domain_binary.dat";

    bool write(const std::string& name, const std::string& value) {
        return store.writeUnformattedParam(name, value.data(), static_cast<int>(value.size()));
    }
    static std::string line(const std::string& name, const std::string& value) { return record(name, value); }
    static std::string file(const std::string& lines) { return lines; }
};

struct SavedDictionary {
    const std::string path =
        AppDataPersistence::getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    static constexpr const char* FILE = "Domain.dat";

    bool write(const std::string& name, const std::string& value) {
        Dictionary dictionary;
        dictionary.addValue("kept", "k");
        dictionary.addValue(name, value);
        dictionary.saveToFile(path);
        return true;
    }
    static std::string line(const std::string& name, const std::string& value) {
        return "\t<key>" + name + "</key>\n\t<string>" + value + "</string>\n";
    }
    static std::string file(const std::string& lines) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n" + lines +
               "</dict>\n</plist>";
    }
};

template <typename Store>
class StoreDurabilityTest : public StoreTest {
protected:
    /// Starts a process that writes the two values in turn without a pause, and waits for its first write.
    pid_t startWriter(const std::string (&values)[2]) {
        int ready[2];
        if (pipe(ready) != 0)
            return -1;
        const pid_t writer = fork();
        if (writer == 0) {
            Store store;
            for (size_t i = 0;; ++i) {
                store.write("changing", values[i % 2]);
                if (i == 0 && write(ready[1], "1", 1) != 1)
                    _exit(1);
            }
        }
        char byte = 0;
        const bool started = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
        close(ready[1]);
        return started ? writer : -1;
    }
};

template <typename Store>
class KilledWriterTest : public StoreDurabilityTest<Store> {};

using Written = testing::Types<TextStore, BinaryStore, SavedDictionary>;
TYPED_TEST_SUITE(KilledWriterTest, Written);

TYPED_TEST(KilledWriterTest, AKillLeavesTheOldOrTheNewFileWhole) {
    const std::string values[] = {std::string(20000, 'o'), std::string(30000, 'n')};
    const std::string kept = TypeParam::line("kept", "k");
    const std::string before = TypeParam::file(TypeParam::line("changing", values[0]) + kept);
    const std::string after = TypeParam::file(TypeParam::line("changing", values[1]) + kept);
    TypeParam().write("kept", "k");

    std::mt19937 random(1); // a fixed seed: the moments differ from run to run anyway
    std::uniform_int_distribution<useconds_t> moment(0, 2000);
    int seen[2] = {0, 0};
    const auto isOneMissing = [&seen] { return seen[0] == 0 || seen[1] == 0; };
    // If a write takes long, few of the moments come after one.
    for (int i = 0; i < KILLS || (isOneMissing() && i < 20 * KILLS); ++i) {
        const pid_t writer = this->startWriter(values);
        ASSERT_GT(writer, 0);
        usleep(moment(random)); // the test needs a random moment, not a condition
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);

        const std::string content = readFile(this->m_folder / "user/Ferrow/Zevo/" + TypeParam::FILE);
        ASSERT_TRUE(content == before || content == after) << content.size() << " bytes after kill " << i;
        ++seen[content == after];
    }
    EXPECT_GT(seen[0], 0);
    EXPECT_GT(seen[1], 0);
    EXPECT_TRUE(TypeParam().write("changing", "done")) << "a killed writer must not leave its lock behind";
}

using Stores = testing::Types<TextStore, BinaryStore>;
TYPED_TEST_SUITE(StoreDurabilityTest, Stores);

TYPED_TEST(StoreDurabilityTest, ProcessesThatWriteAtTheSameTimeLoseNothing) {
    std::vector<pid_t> writers;
    for (int writer = 0; writer < WRITERS; ++writer) {
        writers.push_back(fork());
        if (writers.back() == 0) {
            TypeParam store;
            bool written = true;
            for (int i = 0; i < WRITES && written; ++i)
                written = store.write("p" + std::to_string(10000 * (writer + 1) + i), std::to_string(i));
            _exit(written ? 0 : 1);
        }
    }
    for (const pid_t writer : writers) {
        int status = -1;
        waitpid(writer, &status, 0);
        EXPECT_EQ(status, 0);
    }
    std::string expected;
    for (int writer = 0; writer < WRITERS; ++writer)
        for (int i = 0; i < WRITES; ++i)
            expected += TypeParam::line("p" + std::to_string(10000 * (writer + 1) + i), std::to_string(i));
    EXPECT_TRUE(expected == readFile(this->m_folder / "user/Ferrow/Zevo/" + TypeParam::FILE));
}

} // namespace
