// A real full disk: each test mounts small file systems. The program runs in a mount namespace of its own, so
// no other process sees them, and they vanish with it.

#include "AppDataPersistence.h"
#include "BinaryAppDataPersistence.h"
#include "Dictionary.h"
#include "FilesBeside.h"
#include "OtherProcess.h"
#include "StoreTest.h"
#include "TraceCapture.h"
#include "detail/FileDescriptor.h"
#include "detail/FileReplacement.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace kf::detail;

namespace {

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The user's data is on a disk of 256 kB.
class FullDiskTest : public StoreTest {
protected:
    FullDiskTest() {
        mkdir(m_disk.c_str(), 0777);
        m_mounted = mount("zevo", m_disk.c_str(), "tmpfs", 0, "size=256k") == 0;
    }
    ~FullDiskTest() override {
        if (m_mounted)
            umount2(m_disk.c_str(), MNT_DETACH);
    }
    void SetUp() override { ASSERT_TRUE(m_mounted); }

    /// Fills the disk.
    void fill() const {
        const FileDescriptor file(open(filler().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
        const std::string block(4096, 'f');
        while (write(file.get(), block.data(), block.size()) > 0) {
        }
        ASSERT_EQ(errno, ENOSPC);
    }
    void makeRoom() const { ASSERT_EQ(unlink(filler().c_str()), 0); }
    std::string filler() const { return m_disk + "/filler"; }

    const std::string m_disk = m_folder / "user";
    bool m_mounted = false;
};

TEST_F(FullDiskTest, TextParametersKeepTheirOldContentWhole) {
    AppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    const std::string file = userFile("Domain.dat");
    const std::string old = "a=" + std::string(10000, 'o') + "\n";
    ASSERT_TRUE(store.writeParam("a", std::string(10000, 'o')));
    {
        const TraceCapture trace;
        EXPECT_FALSE(store.writeParam("b", std::string(500000, 'n'))) << "more than the whole disk";
        EXPECT_TRUE(
            contains(trace.text(), "Cannot write parameter file '" + file + "' : No space left on device"));
    }
    EXPECT_EQ(readFile(file), old);
    fill();
    EXPECT_FALSE(store.writeParam("b", "2")) << "not one block left";
    EXPECT_EQ(readFile(file), old);
    EXPECT_EQ(filesBeside(file), std::vector<std::string>());
    makeRoom();
    EXPECT_TRUE(store.writeParam("b", "2"));
    EXPECT_EQ(readFile(file), old + "b=2\n");
}

TEST_F(FullDiskTest, BinaryParametersKeepTheirOldContentWhole) {
    BinaryAppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    const std::string file = userFile("Domain_binary.dat");
    const std::string data(10000, 'o');
    const std::string large(500000, 'n');
    ASSERT_TRUE(store.writeUnformattedParam("a", data.data(), 10000));
    {
        const TraceCapture trace;
        EXPECT_FALSE(store.writeUnformattedParam("b", large.data(), 500000)) << "more than the whole disk";
        EXPECT_TRUE(
            contains(trace.text(), "Cannot write parameter file '" + file + "' : No space left on device"));
    }
    EXPECT_EQ(readFile(file), record("a", data));
    fill();
    EXPECT_FALSE(store.writeUnformattedParam("b", "2", 1)) << "not one block left";
    EXPECT_EQ(readFile(file), record("a", data));
    EXPECT_EQ(filesBeside(file), std::vector<std::string>());
    makeRoom();
    EXPECT_TRUE(store.writeUnformattedParam("b", "2", 1));
    EXPECT_EQ(readFile(file), record("a", data) + record("b", "2"));
}

TEST_F(FullDiskTest, ADamagedBinaryFileThatCannotBeKeptIsNotWrittenOver) {
    BinaryAppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    const std::string file = userFile("Domain_binary.dat");
    const std::string content = record("a", "1") + "damage";
    writeFile(file, content);
    fill();
    EXPECT_FALSE(store.writeUnformattedParam("b", "2", 1));
    EXPECT_EQ(readFile(file), content);
    EXPECT_FALSE(exists(file + ".damaged"));
}

TEST_F(FullDiskTest, ADictionaryKeepsItsOldFileWholeAndIsDeliberatelySilent) {
    const std::string file = m_disk + "/list";
    Dictionary small;
    small.addValue("a", std::string(10000, 'o').c_str());
    small.saveToFile(file);
    const std::string old = readFile(file);
    ASSERT_TRUE(contains(old, "</plist>"));
    Dictionary large;
    large.addValue("a", std::string(500000, 'n').c_str());
    const TraceCapture trace;
    EXPECT_NO_THROW(large.saveToFile(file));
    EXPECT_EQ(readFile(file), old);
    fill();
    EXPECT_NO_THROW(small.saveToFile(file));
    EXPECT_EQ(readFile(file), old);
    EXPECT_EQ(filesBeside(file), std::vector<std::string>());
    EXPECT_FALSE(contains(trace.text(), ">> [E]"));
}

TEST_F(FullDiskTest, AFileWrittenInPlaceKeepsItsOldContentWhole) {
    const std::string file = m_disk + "/file";
    const std::string old(10000, 'o');
    writeFile(file, old);
    fill();
    chmod(m_disk.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes(
        [&] { return !FileReplacement::replace(file, std::string(500000, 'n')) && errno == ENOSPC; }));
    EXPECT_EQ(readFile(file), old);
}

// The file itself must not be locked instead: a second writer, for which there is space again, would lock the
// lock file, and the two locks would not exclude each other.
TEST_F(FullDiskTest, NothingIsWrittenWhereTheLockFileFindsNoRoom) {
    ASSERT_EQ(mount("zevo", m_disk.c_str(), "tmpfs", MS_REMOUNT, "size=256k,nr_inodes=5"), 0);
    AppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    const std::string file = userFile("Domain.dat");
    writeFile(file, "a=1\n");
    for (int i = 0; !exists(m_disk + "/last"); ++i) { // uses up the five inodes
        const FileDescriptor taken(
            open((m_disk + "/" + std::to_string(i)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
        if (!taken.isOpen()) {
            ASSERT_EQ(errno, ENOSPC);
            break;
        }
    }
    const TraceCapture trace;
    EXPECT_FALSE(store.writeParam("b", "2"));
    EXPECT_TRUE(
        contains(trace.text(), "Cannot lock parameter file '" + file + "' : No space left on device"));
    EXPECT_EQ(readFile(file), "a=1\n");
}

// ---- File systems and mounts that do not support every way of writing

TEST_F(FullDiskTest, AFileThatIsAMountPointIsWrittenInPlace) {
    const std::string file = m_disk + "/file";
    writeFile(file, "old and longer");
    writeFile(m_folder / "mounted", "old and longer");
    ASSERT_EQ(mount((m_folder / "mounted").c_str(), file.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_TRUE(FileReplacement::replace(file, "new"));
    EXPECT_EQ(readFile(m_folder / "mounted"), "new");
    EXPECT_EQ(filesBeside(file), std::vector<std::string>());
}

TEST_F(FullDiskTest, AWritableFileInAReadOnlyFileSystemIsWrittenInPlace) {
    const std::string file = m_disk + "/file";
    writeFile(file, "old and longer");
    writeFile(m_folder / "mounted", "old and longer");
    ASSERT_EQ(mount((m_folder / "mounted").c_str(), file.c_str(), nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount("zevo", m_disk.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_TRUE(FileReplacement::replace(file, "new"));
    EXPECT_EQ(readFile(m_folder / "mounted"), "new");
}

TEST_F(FullDiskTest, AFileIsWrittenInPlaceWhereTheFileSystemCannotReserveRoom) {
    ASSERT_EQ(mount("zevo", m_disk.c_str(), "ramfs", 0, nullptr), 0); // the C library emulates fallocate
    const std::string file = m_disk + "/file";
    writeFile(file, std::string(50000, 'o'));
    chmod(m_disk.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes([&] { return FileReplacement::replace(file, std::string(40000, 'n')); }));
    EXPECT_EQ(readFile(file), std::string(40000, 'n'));
    chmod(file.c_str(), 0222);
    EXPECT_TRUE(boundByFileModes([&] { return FileReplacement::replace(file, std::string(30000, 'm')); }))
        << "a file that may be written and not read";
    EXPECT_EQ(readFile(file), std::string(30000, 'm'));
    umount2(m_disk.c_str(), MNT_DETACH);
}

} // namespace
