#pragma once

#include "LineQueue.h"

#include <cstdint>
#include <cstdio>
#include <string>

/// A ring of numbered text files, "<base>_<index>.txt", each with a limited number of lines; the tracer and
/// the logger each write to one. Two names stand for other outputs: "console" is standard output, "msvc" is
/// nowhere.
///
/// The tracer and the logger differ in three points, and on purpose:
///  - Where a run begins. The tracer always begins with file 0 and empties it (Tracer::SetFileName). The
///  logger
///    continues the newest file of the ring (Logger::SetFileName, FindLastUsedFile here).
///  - Who asks for a file to be emptied. The tracer does whenever it names one (Tracer::UpdateFileName); for
///    the logger it is the drain alone, at a rotation, so that a continued file keeps its lines.
///  - What a failed open does to the caller's lock: see Tracer::WriteOnFile and Logger::WriteOnFile.
///
/// Not thread-safe: the owner's lock guards it.
class FileRing {
public:
    /// @param owner  "Tracer" or "Logger", named in diagnostics; a literal
    FileRing(const char* owner, bool truncateOnNextOpen)
        : m_owner(owner), m_truncateOnNextOpen(truncateOnNextOpen) {}

    /// The folder of bare names, with its own trailing separator: nothing is put between it and the name.
    void setFolderName(std::string folder) { m_folderName = std::move(folder); }
    void setMaximumFiles(std::int32_t files) { m_maximumFiles = files; }
    void setMaximumLinesPerFile(std::int32_t lines) { m_maximumLinesPerFile = lines; }

    /// Sets the base name: a special name or a name with "/" or "\\" as it stands, any other behind the
    /// folder (the executable's when none is set). A special name becomes the current name as well. Returns
    /// false for a special name: there is no file to choose then.
    bool setBaseName(const std::string& name);
    /// Makes the current name of the base name and the index, which first wraps to 0 at the maximum.
    void nameCurrentFile();
    /// The next open of the current file empties it.
    void truncateOnNextOpen() { m_truncateOnNextOpen = true; }
    /// Goes on behind the last line of this file of the ring.
    void continueFile(std::int32_t index);
    /// The newest file of the ring: walks the indices upwards and stops at the first file that is absent or
    /// older than its predecessor; -1 when there is no file 0, -2 when the maximum number of files is
    /// negative.
    int findLastUsedFile() const;

    enum class Drain {
        Done,        // every line is in a file, or there was nothing to do
        CannotOpen,  // the current file could not be opened; nothing was written
        Interrupted, // a later open or a write failed; the rest of the lines waits
    };
    /// Writes the waiting lines, going on to the next file whenever one is full. The file is open only while
    /// this runs. Failures to open are told on standard error.
    ///
    /// DELIBERATE: the file that a drain went on to is still marked to be emptied, so the next drain discards
    /// what this one put there.
    Drain drain(LineQueue& queue);

    bool isConsole() const { return m_currentFileName == "console"; }
    bool isNowhere() const { return m_currentFileName == "msvc"; }
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
    std::string fileName(std::int32_t index) const;
    std::FILE* open(const char* mode) const;
    std::FILE* openNextFile();
    bool writeLines(std::FILE* file, LineQueue& queue);

    const char* m_owner;
    std::int32_t m_maximumFiles = 10;
    std::int32_t m_maximumLinesPerFile = 100000;
    std::string m_baseFileName;
    std::string m_currentFileName;
    std::string m_folderName;
    std::int32_t m_fileIndex = 0;
    std::int32_t m_lineCount = 0;
    bool m_truncateOnNextOpen;
};
