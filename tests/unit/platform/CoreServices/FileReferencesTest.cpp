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
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &reference, &isDirectory));
    EXPECT_EQ(path, pathOf(reference));
    EXPECT_FALSE(isDirectory);
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(root().c_str()), &reference, &isDirectory));
    EXPECT_EQ(root(), pathOf(reference));
    EXPECT_TRUE(isDirectory);
}

TEST_F(FileReferences, FollowLinksAndDropWhatIsTooMuch) {
    ASSERT_EQ(0, symlink("file", inRoot("/link").c_str()));
    FSRef reference;
    for (const char* path : {"/link", "//file", "/./file", "/../root/file"}) {
        ASSERT_EQ(noErr, makeReference(inRoot(path), reference)) << path;
        EXPECT_EQ(inRoot("/file"), pathOf(reference)) << path;
    }
    ASSERT_EQ(noErr, makeReference(root() + "//", reference));
    EXPECT_EQ(root(), pathOf(reference));
    ASSERT_EQ(noErr, makeReference("/", reference));
    EXPECT_EQ("/", pathOf(reference));
}

TEST_F(FileReferences, ARelativePathCountsFromTheCurrentFolder) {
    char before[4096];
    ASSERT_NE(nullptr, getcwd(before, sizeof before));
    ASSERT_EQ(0, chdir(root().c_str()));
    FSRef reference;
    EXPECT_EQ(noErr, makeReference("file", reference));
    ASSERT_EQ(0, chdir(before));
    EXPECT_EQ(inRoot("/file"), pathOf(reference));
}

TEST_F(FileReferences, MissingPathIsNotFound) {
    FSRef reference;
    EXPECT_EQ(fnfErr, makeReference(inRoot("/missing"), reference));
    EXPECT_EQ(fnfErr, makeReference(inRoot("/file/below-a-file"), reference));
    EXPECT_EQ(fnfErr, makeReference("", reference));
    ASSERT_EQ(0, symlink("nowhere", inRoot("/dangling").c_str()));
    EXPECT_EQ(fnfErr, makeReference(inRoot("/dangling"), reference));
}

TEST_F(FileReferences, OtherReasonsHaveResultsOfTheirOwn) {
    FSRef reference;
    EXPECT_EQ(bdNamErr, makeReference(inRoot("/" + std::string(300, 'n')), reference));
    ASSERT_EQ(0, symlink("circle", inRoot("/circle").c_str()));
    EXPECT_EQ(ioErr, makeReference(inRoot("/circle"), reference));
}

TEST_F(FileReferences, AClosedFolderRefuses) {
    makeFolders(inRoot("/closed"));
    writeFile(inRoot("/closed/file"), "");
    ASSERT_EQ(0, chmod(inRoot("/closed").c_str(), 0));
    EXPECT_TRUE(asOrdinaryUser(root(), [] {
        FSRef reference;
        return makeReference("closed/file", reference) == afpAccessDenied;
    }));
    ASSERT_EQ(0, chmod(inRoot("/closed").c_str(), 0700));
}

TEST_F(FileReferences, MissingArgumentsAreRefused) {
    FSRef reference;
    UInt8 path[10];
    EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &reference, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr));
    EXPECT_EQ(paramErr, FSRefMakePath(nullptr, path, sizeof path));
    EXPECT_EQ(paramErr, FSRefMakePath(&reference, nullptr, 0));
}

TEST_F(FileReferences, AFailureLeavesTheReferenceAlone) {
    FSRef reference;
    std::memset(&reference, 0x5A, sizeof reference);
    const FSRef before = reference;
    Boolean isDirectory = 7;
    EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/missing"), &reference, &isDirectory));
    EXPECT_EQ(0, std::memcmp(&before, &reference, sizeof reference));
    EXPECT_EQ(7, isDirectory);
}

TEST_F(FileReferences, AnUnfilledRecordIsBad) {
    UInt8 path[4096];
    FSRef reference;
    for (const int fill : {0x00, 0x5A, 0xFF}) {
        std::memset(&reference, fill, sizeof reference);
        EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&reference, path, sizeof path));
    }
    ASSERT_EQ(noErr, makeReference(inRoot("/file"), reference));
    std::memset(reference.hidden + 8, 0x7F, 8);
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&reference, path, sizeof path)) << "a path number never given out";
}

TEST_F(FileReferences, ABufferTooSmallIsLeftAlone) {
    FSRef reference;
    const std::string path = inRoot("/file");
    ASSERT_EQ(noErr, makeReference(path, reference));
    std::string buffer(path.size() + 1, 'x');
    auto* bytes = reinterpret_cast<UInt8*>(&buffer[0]);
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&reference, bytes, 0));
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&reference, bytes, static_cast<UInt32>(path.size())));
    EXPECT_EQ(std::string(path.size() + 1, 'x'), buffer);
    EXPECT_EQ(noErr, FSRefMakePath(&reference, bytes, static_cast<UInt32>(path.size() + 1)));
    EXPECT_STREQ(path.c_str(), buffer.c_str());
}

TEST_F(FileReferences, HoldAPathOfAnyLength) {
    // Beyond 4 KB no system call takes a path at once; this is as long as one may be.
    std::string path = root();
    while (path.size() + 201 < 4096)
        path += "/" + std::string(200, 'd');
    makeFolders(path);
    FSRef reference;
    ASSERT_EQ(noErr, makeReference(path, reference));
    EXPECT_EQ(path, pathOf(reference));
}

TEST_F(FileReferences, AnObjectThatIsGoneOrReplacedIsNotFound) {
    FSRef reference;
    UInt8 path[4096];
    ASSERT_EQ(noErr, makeReference(inRoot("/file"), reference));
    ASSERT_EQ(0, rename(inRoot("/file").c_str(), inRoot("/moved").c_str()));
    EXPECT_EQ(fnfErr, FSRefMakePath(&reference, path, sizeof path));
    writeFile(inRoot("/file"), "another one");
    EXPECT_EQ(fnfErr, FSRefMakePath(&reference, path, sizeof path)) << "another object under the old name";
    ASSERT_EQ(0, rename(inRoot("/moved").c_str(), inRoot("/file").c_str()));
    EXPECT_EQ(noErr, FSRefMakePath(&reference, path, sizeof path)) << "the object is back";
}

TEST_F(FileReferences, ACopyIsAsGood) {
    FSRef reference;
    ASSERT_EQ(noErr, makeReference(inRoot("/file"), reference));
    const FSRef copy = reference;
    std::memset(&reference, 0, sizeof reference);
    EXPECT_EQ(inRoot("/file"), pathOf(copy));
}

TEST_F(FileReferences, BundlePathsAreTakenFromTheRoot) {
    makeFolders(inRoot("/Applications/A.app"));
    FSRef reference;
    ASSERT_EQ(noErr, makeReference("/Applications/A.app", reference));
    EXPECT_EQ(inRoot("/Applications/A.app"), pathOf(reference));
    EXPECT_EQ(noErr, makeReference("/etc/passwd", reference));
    EXPECT_EQ("/etc/passwd", pathOf(reference));
}
