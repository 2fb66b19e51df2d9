#include "TextFile.h"

#include <cstdint>
#include <dirent.h>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

// The hostile files that a fuzz program begins with, and what it found, run through the same code on every build.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(Corpus, EveryHostileFileIsTakenWithoutHarm) {
    const std::string folder = CORPUS;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    ASSERT_NE(entries, nullptr);
    int files = 0;
    while (const dirent* const entry = readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name[0] == '.')
            continue;
        SCOPED_TRACE(name);
        const std::string content = readFile(folder + "/" + name);
        const std::vector<std::uint8_t> bytes(content.begin(), content.end()); // no more room than that
        EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0);
        ++files;
    }
    EXPECT_GE(files, LEAST_FILES);
}
