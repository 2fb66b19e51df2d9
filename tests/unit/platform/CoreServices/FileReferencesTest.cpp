#include "BundleTest.h"

#include "OtherProcess.h"

#include <cstring>
#include <unistd.h>

class FileReferences : public BundleTest {
protected:
    FileReferences() { writeFile(inRoot("/file"), "content"); }
};

TEST_F(FileReferences, LeadBackToThePath) {
    FSRef reference;
    Boolean isDirectory = 1;
    const std::string path = inRoot("/file");
    ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &reference, &isDirectory), noErr);
    EXPECT_EQ(pathOf(reference), path);
    EXPECT_FALSE(isDirectory);
    ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(root().c_str()), &reference, &isDirectory), noErr);
    EXPECT_EQ(pathOf(reference), root());
    EXPECT_TRUE(isDirectory);
}

TEST_F(FileReferences, FollowLinksAndDropWhatIsTooMuch) {
    ASSERT_EQ(symlink("file", inRoot("/link").c_str()), 0);
    FSRef reference;
    for (const char* path : {"/link", "//file", "/./file", "/../root/file"}) {
        ASSERT_EQ(makeReference(inRoot(path), reference), noErr) << path;
        EXPECT_EQ(pathOf(reference), inRoot("/file")) << path;
    }
    ASSERT_EQ(makeReference(root() + "//", reference), noErr);
    EXPECT_EQ(pathOf(reference), root());
    ASSERT_EQ(makeReference("/", reference), noErr);
    EXPECT_EQ(pathOf(reference), "/");
}

TEST_F(FileReferences, ARelativePathCountsFromTheCurrentFolder) {
    char before[4096];
    ASSERT_NE(nullptr, getcwd(before, sizeof before));
    ASSERT_EQ(chdir(root().c_str()), 0);
    FSRef reference;
    EXPECT_EQ(makeReference("file", reference), noErr);
    ASSERT_EQ(chdir(before), 0);
    EXPECT_EQ(pathOf(reference), inRoot("/file"));
}

TEST_F(FileReferences, MissingPathIsNotFound) {
    FSRef reference;
    EXPECT_EQ(makeReference(inRoot("/missing"), reference), fnfErr);
    EXPECT_EQ(makeReference(inRoot("/file/below-a-file"), reference), fnfErr);
    EXPECT_EQ(makeReference("", reference), fnfErr);
    ASSERT_EQ(symlink("nowhere", inRoot("/dangling").c_str()), 0);
    EXPECT_EQ(makeReference(inRoot("/dangling"), reference), fnfErr);
}

TEST_F(FileReferences, OtherReasonsHaveResultsOfTheirOwn) {
    FSRef reference;
    EXPECT_EQ(makeReference(inRoot("/" + std::string(300, 'n')), reference), bdNamErr);
    ASSERT_EQ(symlink("circle", inRoot("/circle").c_str()), 0);
    EXPECT_EQ(makeReference(inRoot("/circle"), reference), ioErr);
}

TEST_F(FileReferences, AClosedFolderRefuses) {
    makeFolders(inRoot("/closed"));
    writeFile(inRoot("/closed/file"), "");
    ASSERT_EQ(chmod(inRoot("/closed").c_str(), 0), 0);
    EXPECT_TRUE(asOrdinaryUser(root(), [] {
        FSRef reference;
        return makeReference("closed/file", reference) == afpAccessDenied;
    }));
    ASSERT_EQ(chmod(inRoot("/closed").c_str(), 0700), 0);
}

TEST_F(FileReferences, MissingArgumentsAreRefused) {
    FSRef reference;
    UInt8 path[10];
    EXPECT_EQ(FSPathMakeRef(nullptr, &reference, nullptr), paramErr);
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr), paramErr);
    EXPECT_EQ(FSRefMakePath(nullptr, path, sizeof path), paramErr);
    EXPECT_EQ(FSRefMakePath(&reference, nullptr, 0), paramErr);
}

TEST_F(FileReferences, AFailureLeavesTheReferenceAlone) {
    FSRef reference;
    std::memset(&reference, 0x5A, sizeof reference);
    const FSRef before = reference;
    Boolean isDirectory = 7;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>("/missing"), &reference, &isDirectory), fnfErr);
    EXPECT_EQ(std::memcmp(&before, &reference, sizeof reference), 0);
    EXPECT_EQ(isDirectory, 7);
}

TEST_F(FileReferences, AnUnfilledRecordIsBad) {
    UInt8 path[4096];
    FSRef reference;
    for (const int fill : {0x00, 0x5A, 0xFF}) {
        std::memset(&reference, fill, sizeof reference);
        EXPECT_EQ(FSRefMakePath(&reference, path, sizeof path), errFSBadFSRef);
    }
    ASSERT_EQ(makeReference(inRoot("/file"), reference), noErr);
    std::memset(reference.hidden + 8, 0x7F, 8);
    EXPECT_EQ(FSRefMakePath(&reference, path, sizeof path), errFSBadFSRef) << "a path number never given out";
}

TEST_F(FileReferences, ABufferTooSmallIsLeftAlone) {
    FSRef reference;
    const std::string path = inRoot("/file");
    ASSERT_EQ(makeReference(path, reference), noErr);
    std::string buffer(path.size() + 1, 'x');
    auto* bytes = reinterpret_cast<UInt8*>(&buffer[0]);
    EXPECT_EQ(FSRefMakePath(&reference, bytes, 0), pathTooLongErr);
    EXPECT_EQ(FSRefMakePath(&reference, bytes, static_cast<UInt32>(path.size())), pathTooLongErr);
    EXPECT_EQ(buffer, std::string(path.size() + 1, 'x'));
    EXPECT_EQ(FSRefMakePath(&reference, bytes, static_cast<UInt32>(path.size() + 1)), noErr);
    EXPECT_STREQ(path.c_str(), buffer.c_str());
}

TEST_F(FileReferences, HoldAPathOfAnyLength) {
    // As long as a path may be: no system call accepts more than 4 KB.
    std::string path = root();
    while (path.size() + 201 < 4096)
        path += "/" + std::string(200, 'd');
    makeFolders(path);
    FSRef reference;
    ASSERT_EQ(makeReference(path, reference), noErr);
    EXPECT_EQ(pathOf(reference), path);
}

TEST_F(FileReferences, AnObjectThatIsGoneOrReplacedIsNotFound) {
    FSRef reference;
    UInt8 path[4096];
    ASSERT_EQ(makeReference(inRoot("/file"), reference), noErr);
    ASSERT_EQ(rename(inRoot("/file").c_str(), inRoot("/moved").c_str()), 0);
    EXPECT_EQ(FSRefMakePath(&reference, path, sizeof path), fnfErr);
    writeFile(inRoot("/file"), "another one");
    EXPECT_EQ(FSRefMakePath(&reference, path, sizeof path), fnfErr) << "another object under the old name";
    ASSERT_EQ(rename(inRoot("/moved").c_str(), inRoot("/file").c_str()), 0);
    EXPECT_EQ(FSRefMakePath(&reference, path, sizeof path), noErr) << "the object is back";
}

TEST_F(FileReferences, ACopyIsAsGood) {
    FSRef reference;
    ASSERT_EQ(makeReference(inRoot("/file"), reference), noErr);
    const FSRef copy = reference;
    std::memset(&reference, 0, sizeof reference);
    EXPECT_EQ(pathOf(copy), inRoot("/file"));
}

TEST_F(FileReferences, BundlePathsAreTakenFromTheRoot) {
    makeFolders(inRoot("/Applications/A.app"));
    FSRef reference;
    ASSERT_EQ(makeReference("/Applications/A.app", reference), noErr);
    EXPECT_EQ(pathOf(reference), inRoot("/Applications/A.app"));
    EXPECT_EQ(makeReference("/etc/passwd", reference), noErr);
    EXPECT_EQ(pathOf(reference), "/etc/passwd");
}
