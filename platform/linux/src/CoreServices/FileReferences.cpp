#include "FileReferences.h"

#include "Bundles.h"
#include "HangingCall.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <vector>

namespace LinuxPlatform {

namespace {

const UInt32 RECORD_MARK = 0x46535246;

enum RecordKind : UInt32 { OBJECT = 1, PLACE = 2 };

struct Record {
    UInt32 mark;
    UInt32 kind;
    UInt64 pathNumber;
    UInt64 device;
    UInt64 inode;
};
static_assert(sizeof(Record) <= sizeof(FSRef), "the record must fit its opaque shell");

class PathTable {
public:
    UInt64 numberOf(const ReferencedPath& path) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto entry = m_numbers.emplace(std::make_pair(path.real, path.named), m_numbers.size()).first;
        if (entry->second == m_paths.size())
            m_paths.push_back(path);
        return entry->second;
    }

    bool find(UInt64 number, ReferencedPath& path) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (number >= m_paths.size())
            return false;
        path = m_paths[static_cast<std::size_t>(number)];
        return true;
    }

private:
    std::mutex m_mutex;
    std::map<std::pair<std::string, std::string>, UInt64> m_numbers;
    std::vector<ReferencedPath> m_paths;
};

PathTable& pathTable() {
    // Never destroyed: a reference may be used until the process ends.
    static PathTable& table = *new PathTable;
    return table;
}

FSRef pack(const Record& record) {
    FSRef ref;
    std::memset(&ref, 0, sizeof ref);
    std::memcpy(ref.hidden, &record, sizeof record);
    return ref;
}

/// The path in the form in which bundle paths are reported and compared. "." and ".." cannot be removed
/// without knowing which components are links, so a path with such components is replaced by its real path.
std::string tidyPath(const std::string& path, const std::string& real) {
    if (path[0] != '/')
        return real;
    std::string tidy;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string component = path.substr(begin, end - begin);
        if (component == "." || component == "..")
            return real;
        if (!component.empty())
            tidy += "/" + component;
        begin = end + 1;
    }
    return tidy.empty() ? "/" : tidy;
}

} // namespace

OSStatus statusOfErrno(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return fnfErr;
    case EACCES:
    case EPERM:
    case EROFS:
        return afpAccessDenied;
    case ENAMETOOLONG:
        return bdNamErr;
    case EMFILE:
    case ENFILE:
        return tmfoErr;
    case ENOMEM:
        return memFullErr;
    default:
        return ioErr;
    }
}

FSRef referenceToPlace(const std::string& path) {
    return pack({RECORD_MARK, PLACE, pathTable().numberOf({path, path}), 0, 0});
}

OSStatus resolveReference(const FSRef& ref, ReferencedPath& path) {
    Record record;
    std::memcpy(&record, ref.hidden, sizeof record);
    const bool isKnownKind = record.kind == OBJECT || record.kind == PLACE;
    if (record.mark != RECORD_MARK || !isKnownKind || !pathTable().find(record.pathNumber, path))
        return errFSBadFSRef;
    if (record.kind == PLACE)
        return noErr;
    struct stat found;
    if (::stat(path.real.c_str(), &found) != 0)
        return statusOfErrno(errno);
    if (found.st_dev != record.device || found.st_ino != record.inode)
        return fnfErr;
    return noErr;
}

} // namespace LinuxPlatform

using namespace LinuxPlatform;

namespace {

OSStatus makeReference(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
    const std::string inRoot = intoRoot(reinterpret_cast<const char*>(path));
    const std::string real = realPath(inRoot);
    struct stat found;
    if (real.empty() || ::stat(real.c_str(), &found) != 0)
        return statusOfErrno(errno);
    const UInt64 number = pathTable().numberOf({real, tidyPath(inRoot, real)});
    *ref = pack({RECORD_MARK, OBJECT, number, found.st_dev, found.st_ino});
    if (isDirectory != nullptr)
        *isDirectory = S_ISDIR(found.st_mode);
    return noErr;
}

} // namespace

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
    if (path == nullptr || ref == nullptr)
        return paramErr;
    return makeHangingCall([=] { return makeReference(path, ref, isDirectory); });
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathBufferSize) {
    if (ref == nullptr || path == nullptr)
        return paramErr;
    ReferencedPath found;
    const OSStatus status = resolveReference(*ref, found);
    if (status != noErr)
        return status;
    if (found.real.size() >= pathBufferSize)
        return pathTooLongErr;
    std::memcpy(path, found.real.c_str(), found.real.size() + 1);
    return noErr;
}
