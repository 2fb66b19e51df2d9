#include "BundleTest.h"

#include <cstdio>
#include <mach-o/dyld.h>
#include <unistd.h>

static std::string ownPath() {
    char target[4096];
    const ssize_t length = readlink("/proc/self/exe", target, sizeof target);
    return std::string(target, static_cast<size_t>(length));
}

TEST(ExecutablePath, FitsABufferOfItsSizeWithTheZeroByte) {
    const std::string expected = ownPath();
    std::string buffer(expected.size() + 1, 'x');
    auto size = static_cast<uint32_t>(buffer.size());
    EXPECT_EQ(_NSGetExecutablePath(&buffer[0], &size), 0);
    EXPECT_STREQ(expected.c_str(), buffer.c_str());
    EXPECT_EQ(size, expected.size() + 1) << "the size is left alone";
    char large[4096];
    size = sizeof large;
    EXPECT_EQ(_NSGetExecutablePath(large, &size), 0);
    EXPECT_EQ(size, sizeof large);
}

TEST(ExecutablePath, ABufferTooSmallIsToldTheSizeAndLeftAlone) {
    const std::string expected = ownPath();
    std::string buffer(expected.size(), 'x');
    auto size = static_cast<uint32_t>(buffer.size());
    EXPECT_EQ(_NSGetExecutablePath(&buffer[0], &size), -1);
    EXPECT_EQ(size, expected.size() + 1);
    EXPECT_EQ(buffer, std::string(expected.size(), 'x'));
}

TEST(ExecutablePath, TellsItsSizeWithoutABuffer) {
    uint32_t size = 0;
    EXPECT_EQ(_NSGetExecutablePath(nullptr, &size), -1);
    EXPECT_EQ(size, ownPath().size() + 1);
}

class ExecutablePathOfAFile : public BundleTest {
protected:
    static std::string outputOf(const std::string& command) {
        std::string output;
        FILE* pipe = popen(command.c_str(), "r");
        for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe))
            output += static_cast<char>(byte);
        EXPECT_EQ(pclose(pipe), 0);
        return output;
    }
};

TEST_F(ExecutablePathOfAFile, IsKnownAfterTheFileIsGone) {
    const std::string file = inRoot("/program");
    copyExecutable(file);
    EXPECT_EQ(outputOf(file + " --delete-yourself"), file + "\n" + file + "\n");
}

TEST_F(ExecutablePathOfAFile, MayEndLikeTheMarkOfADeletedOne) {
    const std::string file = inRoot("/program (deleted)");
    copyExecutable(file);
    EXPECT_EQ(outputOf("'" + file + "' --delete-yourself"), file + "\n" + file + "\n");
}
