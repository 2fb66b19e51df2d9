#include "FileFinder.h"
#include "FileSystemManagement.h"
#include "PatternFileFinder.h"

#include "MAC/AutoreleaseScope.h"
#include "MAC/NSStringManagement.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#import <Foundation/NSDebug.h>

#include <gtest/gtest.h>

#include <functional>

// The macOS sources count references by hand, so a test checks that no object is left.

namespace {

/// How many more objects, of any class, exist after 100 runs of the action.
int objectsLeftBy(const std::function<void()>& action) {
    const auto count = [] {
        int objects = 0;
        for (const Class* type = GSDebugAllocationClassList(); *type != Nil; ++type)
            objects += GSDebugAllocationCount(*type);
        return objects;
    };
    action(); // creates the objects that are created once and kept
    GSDebugAllocationActive(YES);
    action();
    const int before = count();
    for (int i = 0; i < 100; ++i)
        action();
    const int after = count();
    GSDebugAllocationActive(NO);
    return after - before;
}

} // namespace

TEST(FoundationObjectsTest, TheCounterSeesAnObjectThatStays) {
    EXPECT_EQ(objectsLeftBy([] { [[NSObject alloc] init]; }), 100);
}

TEST(FoundationObjectsTest, AFinderLeavesNothingBehind) {
    const TemporaryFolder folder;
    writeFile(folder / "a.txt", "");
    writeFile(folder / "b.txt", "");
    EXPECT_EQ(objectsLeftBy([&folder] {
                  FileFinder all(folder.path(), "*");
                  PatternFileFinder none(folder.path(), "none");
                  FileFinder notStarted(folder.path(), "*");
                  FileFinder missing(folder / "missing", "*");
                  for (std::string name; all.findNextFile(name) || none.findNextFile(name);) {
                  }
              }),
              0);
}

TEST(FoundationObjectsTest, ConversionsLeaveNothingBehind) {
    EXPECT_EQ(objectsLeftBy([] {
                  NSString* string = StringManagement::WStringToNSString(L"a text of some length \u20AC");
                  EXPECT_FALSE(StringManagement::NSStringToWString(string).empty());
                  [string release];
                  EXPECT_TRUE(StringManagement::WStringToNSString(std::wstring(1, 0xD800)) == nil);
              }),
              0);
}

TEST(FoundationObjectsTest, TheDesktopFolderLeavesNothingBehind) {
    EXPECT_EQ(objectsLeftBy([] { FileSystemManagement::getUserDesktopFolder(); }), 0);
}
