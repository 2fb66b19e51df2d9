#pragma once

#include "UnfinishedFile.h"

#include <optional>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace Zevo {

/// A Parquet file of a journal's JSON lines, written by DuckDB's own writer in a process beside this one. Under its name
/// stands a whole file or none, and beside it nothing, also when Ctrl-C ends this program.
class ParquetFile {
public:
    /// Starts the writer. Throws UsageError when the file is there already, std::runtime_error when Node.js or what
    /// belongs to this program is missing.
    explicit ParquetFile(const std::string& path);
    ParquetFile(const ParquetFile&) = delete;
    ParquetFile& operator=(const ParquetFile&) = delete;
    /// Ends the writer and removes what it has written, unless finish() was called.
    ~ParquetFile();

    /// Parts of lines, one behind the other. Throws std::runtime_error when the writer has ended; it has told the reason
    /// on standard error, a missing DuckDB and what to install for instance.
    void write(std::string_view jsonLines);
    /// Behind the last line; to be called once. Throws as write() does.
    void finish();

private:
    int start(const char* program, const posix_spawn_file_actions_t& actions, char* const* arguments);
    int waitForWriter();

    std::string m_path;
    std::string m_unfinishedPath;
    std::optional<UnfinishedFile> m_unfinished; // while the writer runs, and until the file has its name
    pid_t m_writer = -1;
    int m_input = -1; // of the writer
};

} // namespace Zevo
