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

/// The output of the tracer or the logger: a ring of numbered text files, "<base>_<index>.txt", each with a
/// limited number of lines, and the queue of lines that wait to be written. Two special names select another
/// output, without a queue: "console" is standard output, "msvc" discards the lines.
///
/// DELIBERATE: the tracer and the logger differ in three points:
/// - Where a run begins. The tracer always starts with file 0 and empties it (Tracer::SetFileName). The
///   logger continues the newest file of the ring (Logger::SetFileName, findLastUsedFile() here).
/// - Who marks a file to be emptied. The tracer marks each file that it names (Tracer::UpdateFileName).
///   For the logger only the drain does, at a rotation, so that a continued file keeps its lines.
/// - What a failed open does to the caller's lock: see Tracer::WriteOnFile and Logger::WriteOnFile.
///
/// Thread: guarded by the owner's lock, except where a function says otherwise.
class FileRing {
public:
    /// @param owner  "Tracer" or "Logger", for diagnostics; a literal
    /// @param work   borrowed. Notified when a drain may have become necessary, except after a line was
    ///              queued: the owner knows whether it drains at once
    FileRing(const char* owner, bool truncateOnNextOpen, EventCount& work)
        : m_owner(owner), m_truncateOnNextOpen(truncateOnNextOpen), m_work(work) {}

    /// The folder for bare file names. It ends with a separator, since names are appended as they are.
    void setFolderName(std::string folder) { m_folderName = std::move(folder); }
    void setMaximumFiles(std::int32_t files) { m_maximumFiles = files; }
    void setMaximumLinesPerFile(std::int32_t lines) { m_maximumLinesPerFile = lines; }

    /// Sets the base name. A special name, or a name with "/" or "\\", is taken as it is; the folder (the
    /// executable's if none is set) is put in front of any other. Returns false for a special name, which
    /// also becomes the current name: there is no file to choose.
    bool setBaseName(const std::string& name);
    /// Forms the current file's name from the base name and the index, which wraps to 0 at the maximum. Does
    /// not allocate while the base name stays the same.
    void nameCurrentFile();
    /// Starts over with file 0, which the next drain empties.
    void beginAnew();
    /// The next open of the current file empties it.
    void truncateOnNextOpen() {
        m_truncateOnNextOpen = true;
        m_work.notify();
    }
    /// Continues this file of the ring: lines are appended, and its present lines count towards its limit.
    void continueFile(std::int32_t index);
    /// The index of the ring's newest file: walks the indices upwards, up to the first file that is missing
    /// or older than its predecessor. -1 if there is no file 0, -2 if the maximum number of files is
    /// negative.
    int findLastUsedFile() const;

    /// Queues or outputs one finished line, which ends in "\n". On the console an empty line follows it.
    /// Returns true if the line was queued.
    bool put(std::string_view line);
    /// As put(), for a line that is built in the queue: see LineQueue::beginLine.
    char* beginLine(std::size_t room) { return m_queue.beginLine(room); }
    bool endLine(const char* end) {
        if (m_output != Output::File)
            return put(m_queue.lineInProgress(end));
        m_queue.endLine(end);
        return true;
    }
    /// Whether the output is a file, so that lines are queued.
    bool isQueueing() const { return m_output == Output::File; }
    /// See LineQueue::reserve. Any thread, without the lock, while isQueueing().
    LineQueue::Slot reserve(std::size_t length) { return m_queue.reserve(length); }
    /// See LineQueue::makeSlot. Never fails.
    LineQueue::Slot makeSlot(std::size_t length) { return m_queue.makeSlot(length); }
    /// For an owner that has queued a line and does not drain at once. Any thread, without the lock.
    void notifyFlushThread() { m_work.notify(); }
    /// The number of queued lines.
    std::size_t waiting() const { return m_queue.size(); }
    /// The memory held for queued lines, in bytes.
    std::size_t queueMemory() const { return m_queue.bytes(); }

    enum class Drain {
        Done,        // every line that waited is in a file, or the output is not a file
        CannotOpen,  // the current file could not be opened; nothing was written
        Interrupted, // a later open or a write failed; the remaining lines stay queued
    };
    /// Writes the queued lines, and continues with the next file whenever one is full. The file is open only
    /// during the call. A failed open is reported on standard error.
    ///
    /// Opens only regular files. In a folder that other users may write, the file must also belong to this
    /// user or the superuser, and have no second hard link; and symbolic links are not followed. Anything
    /// else counts as a failed open, which is reported once.
    ///
    /// DELIBERATE: a file that a drain rotates to stays marked to be emptied, so the next drain discards what
    /// this one wrote to it.
    Drain drain();
    /// Whether there is work for a drain: lines wait, the current file is to be emptied, the last drain
    /// failed, or spare memory is to be freed.
    bool needsDrain() const;
    /// Whether a thread is in drain(). Any thread, without the lock.
    bool isDraining() const { return m_isDraining.load(std::memory_order_acquire); }

    /// For the crash handler: drains the queue and enables writeNow(). From then on this object neither
    /// allocates nor frees memory, and a drain waits for unfinished lines only as long as
    /// LineQueue::limitWaits() says.
    ///
    /// The drain and all lines of writeNow() count as one drain: a file that they began is not emptied. If
    /// the current file has reached the size limit (RLIMIT_FSIZE), they go on in the next one.
    void beginReport();
    /// Writes one line at once, bypassing the queue. Only after beginReport().
    void writeNow(std::string_view line);

    /// Calls `writeOnFile`, which drains, until the lines that wait now are written. Does not wait for lines
    /// that are queued meanwhile: one more drain could empty the file that the last one began. Gives up when
    /// a drain wrote nothing, because a file that cannot be opened or a full disk would make this loop
    /// endless.
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
    void reportCannotOpen() const;
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
    bool m_hasFailed = false; // the last drain did not finish
    bool m_isReporting = false;
    bool m_hasReportedRefusal = false;
    std::atomic<bool> m_isDraining{false};
    LineQueue m_queue;
};

} // namespace kf::detail
