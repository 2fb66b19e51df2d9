#include "TextFile.h"

#include <cstdint>
#include <dirent.h>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

// Runs a fuzz program's corpus, the hostile files that it begins with and those that it found, through the
// same code in every build.

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
        // A vector, which has no zero byte behind its end: a sanitizer notices a read past it.
        const std::vector<std::uint8_t> bytes(content.begin(), content.end());
        EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0);
        ++files;
    }
    EXPECT_GE(files, LEAST_FILES);
}
