#include "TextFile.h"

#include <cstdint>
#include <dirent.h>
#include <gtest/gtest.h>
#include <memory>

// The fuzz program's entry; the build gives it a name of its own here.
extern "C" int readTrace(const std::uint8_t* data, std::size_t size);

TEST(TraceCorpusTest, EveryHostileTraceIsReadSafely) {
    const std::string folder = CORPUS_FOLDER;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    ASSERT_TRUE(listing);
    int files = 0;
    while (const dirent* const entry = readdir(listing.get())) {
        if (entry->d_name[0] == '.')
            continue;
        SCOPED_TRACE(entry->d_name);
        const std::string bytes = readFile(folder + "/" + entry->d_name);
        EXPECT_EQ(0, readTrace(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
        ++files;
    }
    EXPECT_GT(files, 15);
}
