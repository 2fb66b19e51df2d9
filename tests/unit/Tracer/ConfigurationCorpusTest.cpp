#include "TextFile.h"

#include <cstddef>
#include <cstdint>
#include <dirent.h>
#include <gtest/gtest.h>
#include <string>

// The fuzz programs' entries; the build gives each a name of its own here.
extern "C" int readTracerConfiguration(const std::uint8_t* data, std::size_t size);
extern "C" int readLoggerConfiguration(const std::uint8_t* data, std::size_t size);

namespace {

using Reader = int (*)(const std::uint8_t*, std::size_t);

// Hands every file of the folder to the reader, which ends the process when something is wrong.
int readAll(const std::string& folder, Reader reader) {
    DIR* const directory = opendir(folder.c_str());
    if (directory == nullptr)
        return 0;
    int files = 0;
    while (const dirent* const entry = readdir(directory)) {
        if (entry->d_name[0] == '.')
            continue;
        SCOPED_TRACE(entry->d_name);
        const std::string bytes = readFile(folder + "/" + entry->d_name);
        EXPECT_EQ(reader(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
        ++files;
    }
    closedir(directory);
    return files;
}

} // namespace

TEST(ConfigurationCorpus, EveryHostileTraceConfigurationIsReadSafely) {
    EXPECT_GT(readAll(CORPUS_FOLDER "/tracer-configuration", readTracerConfiguration), 50);
}

TEST(ConfigurationCorpus, EveryHostileLogConfigurationIsReadSafely) {
    EXPECT_GT(readAll(CORPUS_FOLDER "/logger-configuration", readLoggerConfiguration), 50);
}
