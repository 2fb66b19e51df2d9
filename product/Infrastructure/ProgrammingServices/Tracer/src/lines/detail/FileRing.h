#pragma once

#include "detail/EventCount.h"
#include "detail/FileDescriptor.h"
#include "detail/LineQueue.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kf::detail {

/// Where finished lines go: a ring of numbered text files, "<base>_<index>.txt", each with a limited number
/// of lines, and the queue of the lines that wait for it. The tracer and the logger each have one. Two names select
/// another output, without a queue: "console" is standard output, "msvc" drops the lines.
///
/// DELIBERATE: the tracer and the logger differ in three points:
///  - Where a run begins. The tracer always begins with file 0 and empties it (Tracer::SetFileName). The
///    logger continues the newest file of the ring (Logger::SetFileName, FindLastUsedFile here).
///  - Who asks for a file to be emptied. The tracer does whenever it names one (Tracer::UpdateFileName); for
///    the logger it is the drain alone, at a rotation, so that a continued file keeps its lines.
///  - What a failed open does to the caller's lock: see Tracer::WriteOnFile and Logger::WriteOnFile.
///
/// Thread: the owner's lock guards it, except for reserve().
class FileRing {
public:
    /// @param owner  "Tracer" or "Logger", named in diagnostics; a literal
    /// @param work   notified when a drain may have become needed, except for queued lines: their owner knows whether it
    ///               drains at once. Borrowed
    FileRing(const char* owner, bool truncateOnNextOpen, EventCount& work)
        : m_owner(owner), m_truncateOnNextOpen(truncateOnNextOpen), m_work(work) {}

    /// The folder of bare names, with its own trailing separator: nothing is put between it and the name.
    void setFolderName(std::string folder) { m_folderName = std::move(folder); }
    void setMaximumFiles(std::int32_t files) { m_maximumFiles = files; }
    void setMaximumLinesPerFile(std::int32_t lines) { m_maximumLinesPerFile = lines; }

    /// Sets the base name: a special name or a name with "/" or "\\" as it stands, any other behind the
    /// folder (the executable's when none is set). A special name becomes the current name as well. Returns
    /// false for a special name: there is no file to choose then.
    bool setBaseName(const std::string& name);
    /// Makes the current name of the base name and the index, which first wraps to 0 at the maximum.
    /// Never asks for memory, as long as the base name stays.
    void nameCurrentFile();
    /// Begins with file 0, which the next drain empties.
    void beginAnew();
    /// The next open of the current file empties it.
    void truncateOnNextOpen() {
        m_truncateOnNextOpen = true;
        m_work.notify();
    }
    /// Goes on behind the last line of this file of the ring.
    void continueFile(std::int32_t index);
    /// The newest file of the ring: walks the indices upwards and stops at the first file that is absent or
    /// older than its predecessor; -1 when there is no file 0, -2 when the maximum number of files is
    /// negative.
    int findLastUsedFile() const;

    /// Routes one finished line, which brings its "\n". On the console an empty line follows it. Returns true
    /// when the line was queued.
    bool put(std::string_view line);
    /// The same for a line that is built in the queue: see LineQueue::beginLine.
    char* beginLine(std::size_t room) { return m_queue.beginLine(room); }
    bool endLine(const char* end) {
        if (m_output != Output::File)
            return put(m_queue.lineInProgress(end));
        m_queue.endLine(end);
        return true;
    }
    /// Whether lines are queued, for a file.
    bool isQueueing() const { return m_output == Output::File; }
    /// See LineQueue::reserve. Any thread, without the lock, while isQueueing().
    LineQueue::Slot reserve(std::size_t length) { return m_queue.reserve(length); }
    /// See LineQueue::makeSlot. Never fails.
    LineQueue::Slot makeSlot(std::size_t length) { return m_queue.makeSlot(length); }
    /// For an owner that has queued a line and does not drain at once.
    void notifyFlushThread() { m_work.notify(); }
    /// The number of queued lines.
    std::size_t waiting() const { return m_queue.size(); }
    /// The memory that is kept for queued lines, in bytes.
    std::size_t queueMemory() const { return m_queue.bytes(); }

    enum class Drain {
        Done,        // every line that waited is in a file, or the output is none
        CannotOpen,  // the current file could not be opened; nothing was written
        Interrupted, // a later open or a write failed; the rest of the lines waits
    };
    /// Writes the queued lines, going on to the next file whenever one is full. The file is open only while
    /// this runs. Failures to open are told on standard error.
    ///
    /// Only a regular file is opened, and where other users may write its folder only one that is this user's or
    /// the superuser's, under no second name and behind no link. Anything else counts as a failure to open, told
    /// once.
    ///
    /// DELIBERATE: the file that a drain went on to is still marked to be emptied, so the next drain discards
    /// what this one put there.
    Drain drain();
    /// Whether another drain has something to do: lines wait, the current file is to be emptied, the last drain failed, or
    /// memory of a burst is to be given back.
    bool needsDrain() const;
    /// Whether some thread is in drain(). Any thread, without the lock.
    bool isDraining() const { return m_isDraining.load(std::memory_order_acquire); }

    /// For the crash handler: drains the queue, and lets writeNow() write behind its lines. From now on nothing here
    /// allocates or frees memory, and a drain waits for an unfinished line only as long as LineQueue::limitWaits says.
    ///
    /// The drain and the lines of writeNow() count as one drain: a file that it has begun is not emptied. Where the current
    /// file has reached its limit (RLIMIT_FSIZE), they go on in the next one.
    void beginReport();
    /// Writes one line at once, past the queue. Only behind beginReport().
    void writeNow(std::string_view line);

    /// Calls `writeOnFile`, which drains, until the lines that wait now are written. Lines that come meanwhile are not
    /// waited for: one more drain could empty the file that the last one began. Gives up when a drain has written nothing,
    /// since a file that cannot be opened or a full disk would keep the caller here for ever.
    template <typename WriteOnFile>
    void drainAll(WriteOnFile writeOnFile) const {
        std::uint64_t before = m_queue.removedCount();
        const std::uint64_t wanted = before + waiting();
        while (m_queue.removedCount() < wanted) {
            writeOnFile();
            if (m_queue.removedCount() == before)
                return;
            before = m_queue.removedCount();
        }
    }

    const std::string& getBaseFileName() const { return m_baseFileName; }
    const std::string& getCurrentFileName() const { return m_currentFileName; }
    std::int32_t getFileIndex() const { return m_fileIndex; }
    std::int32_t getLineCount() const { return m_lineCount; }
    std::int32_t getMaximumFiles() const { return m_maximumFiles; }
    std::int32_t getMaximumLinesPerFile() const { return m_maximumLinesPerFile; }

    /// The modification time of a file as "YYYYMMDD" and "HHMMSS", local time; both empty when it cannot be
    /// read.
    static void retrieveModificationInfo(const std::string& fileName, std::string& date, std::string& time);

private:
    enum class Output { File, Console, Nowhere };

    std::string fileName(std::int32_t index) const;
    Drain drainToFile();
    FileDescriptor openCurrentFile();
    FileDescriptor openNextFile();
    FileDescriptor openEmptyNextFile();
    FileDescriptor open(int flags);
    bool writeLines(int file, std::size_t& lines);
    void tellCannotOpen() const;
    static void putOnConsole(std::string_view line);

    const char* m_owner;
    std::int32_t m_maximumFiles = 10;
    std::int32_t m_maximumLinesPerFile = 100000;
    std::string m_baseFileName;
    std::string m_currentFileName;
    std::string m_folderName;
    Output m_output = Output::File;
    std::int32_t m_fileIndex = 0;
    std::int32_t m_lineCount = 0;
    bool m_truncateOnNextOpen;
    EventCount& m_work;
    bool m_hasFailed = false; // the last drain
    bool m_isReporting = false;
    bool m_hasToldRefusal = false;
    std::atomic<bool> m_isDraining{false};
    LineQueue m_queue;
};

} // namespace kf::detail
