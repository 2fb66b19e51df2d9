#include "BundleTest.h"

#include "CoreServices/InfoPlist.h"

#include <sys/stat.h>
#include <unistd.h>

using LinuxPlatform::executableNameFromInfoPlist;
using LinuxPlatform::INFO_PLIST_LIMIT;

class InfoPlist : public BundleTest {
protected:
    std::string read(const std::string& content) {
        writeFile(inRoot("/Info.plist"), content);
        return executableNameFromInfoPlist(inRoot("/Info.plist"));
    }

    static std::string plist(const std::string& inside) {
        return "<?xml version=\"1.0\"?><plist version=\"1.0\">" + inside + "</plist>";
    }
};

TEST_F(InfoPlist, TextFormNamesTheExecutable) {
    EXPECT_EQ(read(infoPlist("Quillmarsh")), "Quillmarsh");
}

TEST_F(InfoPlist, BinaryFormNamesTheExecutable) {
    static const unsigned char BINARY[] = {
        'b',  'p',  'l',  'i',  's',  't', '0', '0',                          //
        0xD2, 0x01, 0x02, 0x03, 0x04,                                         // two keys, two values
        0x5F, 0x10, 0x12, 'C',  'F',  'B', 'u', 'n', 'd', 'l', 'e', 'E', 'x', //
        'e',  'c',  'u',  't',  'a',  'b', 'l', 'e',                          //
        0x5C, 'C',  'F',  'B',  'u',  'n', 'd', 'l', 'e', 'N', 'a', 'm', 'e', //
        0x56, 'B',  'i',  'n',  'a',  'r', 'y',                               //
        0x51, 'x',                                                            //
        0x08, 0x0D, 0x22, 0x2F, 0x36,                                         // offsets of the five objects
        0,    0,    0,    0,    0,    0,   1,   1,                            // their widths
        0,    0,    0,    0,    0,    0,   0,   5,   0,   0,   0,   0,   0,   //
        0,    0,    0,    0,    0,    0,   0,   0,   0,   0,   0x38};
    EXPECT_EQ(read(std::string(reinterpret_cast<const char*>(BINARY), sizeof BINARY)), "Binary");
}

TEST_F(InfoPlist, WithoutTheKeyOrATextForItThereIsNone) {
    EXPECT_EQ(read(plist("<dict><key>CFBundleName</key><string>x</string></dict>")), "");
    EXPECT_EQ(read(plist("<dict><key>CFBundleExecutable</key><integer>3</integer></dict>")), "");
    EXPECT_EQ(read(plist("<dict><key>CFBundleExecutable</key><string></string></dict>")), "");
    EXPECT_EQ(read(plist("<array><string>CFBundleExecutable</string></array>")), "");
    EXPECT_EQ(read(plist("<string>CFBundleExecutable</string>")), "");
}

TEST_F(InfoPlist, TheTextIsHandedOnAsItStands) {
    EXPECT_EQ(read(infoPlist("../../sh")), "../../sh");
}

TEST_F(InfoPlist, GarbageHasNone) {
    EXPECT_EQ(read(""), "");
    EXPECT_EQ(read("not a property list"), "");
    EXPECT_EQ(read("bplist00"), "");
    EXPECT_EQ(read("bplist00" + std::string(100, '\xFF')), "");
    EXPECT_EQ(read("<?xml version=\"1.0\"?><plist><dict><key>CFBundleExecutable</key><string>Q"), "");
    EXPECT_EQ(read(std::string(1000, '\0')), "");
}

TEST_F(InfoPlist, AFileBeyondTheLimitIsNotRead) {
    EXPECT_EQ(INFO_PLIST_LIMIT, 64u * 1024) << "docs/platforms.md and docs/security.md tell it";
    std::string text = infoPlist("Quillmarsh");
    text.resize(INFO_PLIST_LIMIT, ' ');
    EXPECT_EQ(read(text), "Quillmarsh");
    EXPECT_EQ(read(text + ' '), "");
    EXPECT_EQ(read(text + std::string(10 * 1024 * 1024, ' ')), "");
}

// ---- the deepest files that are read

TEST_F(InfoPlist, DeepNestingDoesNotExhaustTheStack) {
    std::string text = "<?xml version=\"1.0\"?><plist>";
    while (text.size() + 7 <= INFO_PLIST_LIMIT)
        text += "<array>";
    EXPECT_EQ(read(text), "");
    std::string closed = "<plist><dict><key>k</key>";
    std::string end = "<key>CFBundleExecutable</key><string>Q</string></dict></plist>";
    while (closed.size() + end.size() + 15 <= INFO_PLIST_LIMIT) {
        closed += "<array>";
        end.insert(0, "</array>");
    }
    EXPECT_EQ(read(closed + end), "Q");
}

TEST_F(InfoPlist, DeepNestingInBinaryFormDoesNotExhaustTheStack) {
    // Object n is an array whose only element is object n + 1. Each takes a byte, a reference and an offset.
    const int reference = INFO_PLIST_LIMIT <= 64 * 1024 ? 2 : 4;
    const int count = static_cast<int>(INFO_PLIST_LIMIT - 40) / (1 + 2 * reference);
    std::string binary = "bplist00";
    std::string offsets;
    const auto append = [](std::string& to, unsigned long number, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            to += static_cast<char>(number >> shift & 0xFF);
    };
    for (int i = 0; i < count; ++i) {
        append(offsets, binary.size(), reference);
        binary += '\xA1';
        append(binary, static_cast<unsigned long>(i + 1 < count ? i + 1 : 0), reference);
    }
    const unsigned long table = binary.size();
    binary += offsets;
    binary.append(6, '\0');
    binary.append(2, static_cast<char>(reference));
    append(binary, 0, 4);
    append(binary, static_cast<unsigned long>(count), 4);
    binary.append(8, '\0');
    append(binary, 0, 4);
    append(binary, table, 4);
    EXPECT_EQ(read(binary), "");
}

TEST_F(InfoPlist, OtherThingsUnderItsNameAreNotWaitedFor) {
    EXPECT_EQ(executableNameFromInfoPlist(inRoot("/missing")), "");
    makeFolders(inRoot("/folder"));
    EXPECT_EQ(executableNameFromInfoPlist(inRoot("/folder")), "");
    ASSERT_EQ(mkfifo(inRoot("/pipe").c_str(), 0600), 0);
    EXPECT_EQ(executableNameFromInfoPlist(inRoot("/pipe")), "");
    EXPECT_EQ(executableNameFromInfoPlist("/dev/zero"), "");
    ASSERT_EQ(symlink("circle", inRoot("/circle").c_str()), 0);
    EXPECT_EQ(executableNameFromInfoPlist(inRoot("/circle")), "");
}

TEST_F(InfoPlist, ALinkToOneIsFollowed) {
    writeFile(inRoot("/elsewhere"), infoPlist("Quillmarsh"));
    ASSERT_EQ(symlink("elsewhere", inRoot("/link").c_str()), 0);
    EXPECT_EQ(executableNameFromInfoPlist(inRoot("/link")), "Quillmarsh");
}
