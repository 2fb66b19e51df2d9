#include "detail/FileSearch.h"

#include "MAC/AutoreleaseScope.h"

namespace kf::detail {

namespace {

class EnumeratorSearch : public FileSearch {
public:
    /// Keeps the manager and its enumerator for as long as the search lasts.
    EnumeratorSearch(NSFileManager* manager, const std::string& folder, const std::string& pattern)
        : m_manager([manager retain]), m_pattern([[NSString alloc] initWithBytes:pattern.data()
                                                                          length:pattern.size()
                                                                        encoding:NSUTF8StringEncoding]) {
        const AutoreleaseScope pool;
        NSString* path = [NSString stringWithUTF8String:folder.c_str()];
        if (path != nil && m_pattern != nil)
            m_enumerator = [[m_manager enumeratorAtPath:path] retain];
    }

    ~EnumeratorSearch() override {
        [m_enumerator release];
        [m_pattern release];
        [m_manager release];
    }

    bool next(std::string& name) override {
        for (;;) {
            const AutoreleaseScope pool; // one per entry: otherwise a large folder would accumulate them
            NSString* entry = [m_enumerator nextObject];
            if (entry == nil)
                return false;
            const char* path = [entry UTF8String];
            if (path != nullptr && [entry isLike:m_pattern]) {
                name = path;
                return true;
            }
        }
    }

private:
    NSFileManager* m_manager;
    NSString* m_pattern;                       // nil: not valid UTF-8, matches nothing
    NSDirectoryEnumerator* m_enumerator = nil; // nil: no entries
};

} // namespace

std::unique_ptr<FileSearch> FileSearch::begin(const std::string& folder, const std::string& pattern,
                                              Manager manager) {
    const AutoreleaseScope pool;
    NSFileManager* asked =
        manager == Manager::Own ? [[[NSFileManager alloc] init] autorelease] : [NSFileManager defaultManager];
    return std::make_unique<EnumeratorSearch>(asked, folder, pattern);
}

} // namespace kf::detail
