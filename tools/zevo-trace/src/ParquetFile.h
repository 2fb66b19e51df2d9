#pragma once

#include "UnfinishedFile.h"

#include <optional>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace Zevo {

/// A Parquet file of a journal's JSON lines, written by DuckDB in another process. Under its name there is a
/// complete file or none, and beside it nothing, even if Ctrl-C ends this program.
class ParquetFile {
public:
    /// Starts the writer. Throws UsageError if the file exists already, std::runtime_error if Node.js or a
    /// part of this program is missing.
    explicit ParquetFile(const std::string& path);
    ParquetFile(const ParquetFile&) = delete;
    ParquetFile& operator=(const ParquetFile&) = delete;
    /// Ends the writer and removes its output, unless finish() was called.
    ~ParquetFile();

    /// Writes a part of the lines. Throws std::runtime_error if the writer has ended; it has reported the
    /// reason on standard error, for instance that DuckDB is missing and what to install.
    void write(std::string_view jsonLines);
    /// After the last line; call it once. Throws as write() does.
    void finish();

private:
    int start(const char* program, const posix_spawn_file_actions_t& actions, char* const* arguments);
    int waitForWriter();

    std::string m_path;
    std::string m_unfinishedPath;
    std::optional<UnfinishedFile> m_unfinished; // while the writer runs, and until the file is renamed
    pid_t m_writer = -1;
    int m_input = -1; // of the writer
};

} // namespace Zevo
