#include "Bundle.h"

#include "LiveReport.h"
#include "NewFile.h"
#include "ProgressBar.h"
#include "Pseudonyms.h"
#include "Report.h"
#include "SourceText.h"
#include "Tool.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <pwd.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace Zevo {
namespace {

const char* const CONFIGURATION[] = {"ID.txt", "Launcher.cfg", "tracer_zevolauncher.cfg",
                                     "logger_launcher.cfg"};

// A ticket has room for this much of the rings; the newest part is kept.
constexpr std::uint64_t MOST_BYTES_OF_RINGS = 64'000'000;

void addWhoThisIs(Pseudonyms& pseudonyms) {
    if (const passwd* const user = getpwuid(getuid())) {
        pseudonyms.addName(user->pw_name, "user");
        pseudonyms.addName(user->pw_gecos, "user");
    }
    for (const char* const variable : {"USER", "LOGNAME"})
        if (const char* const name = std::getenv(variable))
            pseudonyms.addName(name, "user");
    if (const char* const home = std::getenv("HOME")) {
        const std::string folder = home;
        pseudonyms.addName(folder.substr(folder.rfind('/') + 1), "user");
    }
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0)
        pseudonyms.addName(host.data(), "host");
}

std::string versions() {
    utsname system{};
    std::string text = versionText("zevo-check") + "\n";
    if (uname(&system) == 0)
        text += fmt::format("{} {} {}\n", system.sysname, system.release, system.machine);
    std::ifstream release("/etc/os-release");
    for (std::string line; std::getline(release, line);)
        if (line.compare(0, 12, "PRETTY_NAME=") == 0)
            text += line + "\n";
    return text;
}

struct RingFile {
    std::string path;
    std::time_t time;
    std::uint64_t size;
};

// Newest first.
std::vector<RingFile> filesOf(const std::vector<const LiveRing*>& rings) {
    std::vector<RingFile> files;
    for (const LiveRing* const ring : rings) {
        for (const std::string& path : ring->paths) {
            struct stat file;
            if (stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode))
                files.push_back({path, file.st_mtime, static_cast<std::uint64_t>(file.st_size)});
        }
    }
    std::stable_sort(files.begin(), files.end(),
                     [](const RingFile& left, const RingFile& right) { return left.time > right.time; });
    return files;
}

std::string endOf(const RingFile& file, std::uint64_t most) {
    std::ifstream text(file.path, std::ios::binary);
    const std::uint64_t length = std::min(file.size, most);
    text.seekg(static_cast<std::streamoff>(file.size - length));
    std::string end(length, '\0');
    text.read(end.data(), static_cast<std::streamsize>(end.size()));
    end.resize(static_cast<std::size_t>(text.gcount()));
    if (length < file.size)
        end.erase(0, std::min(end.size(), end.find('\n') + 1)); // an incomplete line
    return end;
}

void addRings(const Live& live, Pseudonyms& pseudonyms, std::vector<BundleEntry>& entries,
              std::string& notes) {
    const std::vector<RingFile> files = filesOf({&live.trace, &live.log});
    std::uint64_t total = 0;
    for (const RingFile& file : files)
        total += file.size;
    ProgressBar progress("gathering traces and logs", std::min(total, MOST_BYTES_OF_RINGS));
    std::uint64_t done = 0;
    for (const RingFile& file : files) {
        const std::uint64_t room = MOST_BYTES_OF_RINGS - done;
        const std::string name = "logs/" + file.path.substr(file.path.rfind('/') + 1);
        if (room == 0) {
            notes += fmt::format("{} was left out: it is older, and there is enough without it\n", name);
            continue;
        }
        if (file.size > room)
            notes += fmt::format("{} holds its last {} bytes\n", name, room);
        entries.push_back({name, pseudonyms.replaceIn(endOf(file, room)), file.time});
        done += std::min(room, file.size);
        progress.at(done);
    }
}

std::string manifest(const std::vector<BundleEntry>& entries, const std::string& notes,
                     std::size_t replaced) {
    std::string text = "What is in this bundle, and nothing else:\n\n";
    for (const BundleEntry& entry : entries)
        text += fmt::format("{:>10} bytes  {}\n", entry.text.size(), entry.name);
    text += fmt::format("\n{} names, serial numbers, addresses and long numbers have been replaced (user-1, "
                        "host-1, serial-1,\n"
                        "address-1, number-1); the same one is called the same everywhere in this bundle.\n",
                        replaced);
    return notes.empty() ? text : text + "\n" + notes;
}

struct FreeArchive {
    void operator()(archive* packed) const { archive_write_free(packed); }
};

void require(archive* packed, int result) {
    if (result < ARCHIVE_WARN)
        throw std::runtime_error(archive_error_string(packed));
}

void writeEntries(int file, const std::vector<BundleEntry>& entries) {
    const std::unique_ptr<archive, FreeArchive> packed(archive_write_new());
    require(packed.get(), archive_write_set_format_pax_restricted(packed.get()));
    require(packed.get(), archive_write_add_filter_gzip(packed.get()));
    require(packed.get(), archive_write_open_fd(packed.get(), file));
    for (const BundleEntry& entry : entries) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> head(archive_entry_new(),
                                                                            &archive_entry_free);
        archive_entry_set_pathname(head.get(), entry.name.c_str());
        archive_entry_set_size(head.get(), static_cast<la_int64_t>(entry.text.size()));
        archive_entry_set_filetype(head.get(), AE_IFREG);
        archive_entry_set_perm(head.get(), 0644);
        archive_entry_set_mtime(head.get(), entry.time, 0);
        require(packed.get(), archive_write_header(packed.get(), head.get()));
        if (archive_write_data(packed.get(), entry.text.data(), entry.text.size()) < 0)
            throw std::runtime_error(archive_error_string(packed.get()));
    }
    require(packed.get(), archive_write_close(packed.get()));
}

} // namespace

std::vector<BundleEntry> gatherBundle(const CheckOptions& options, const CheckResult& result,
                                      const Live& live) {
    const std::time_t now = std::time(nullptr);
    Pseudonyms pseudonyms;
    addWhoThisIs(pseudonyms);
    const Colours plain(false);
    nlohmann::ordered_json json = asJson(result, options);
    json["live"] = asJson(live);
    std::vector<BundleEntry> entries = {
        {"report.txt", pseudonyms.replaceIn(asText(live, plain) + asText(result, options, plain)), now},
        {"report.json",
         pseudonyms.replaceIn(json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n"),
         now},
        {"versions.txt", pseudonyms.replaceIn(versions()), now},
    };
    std::string notes;
    for (const char* const name : CONFIGURATION) {
        const SourceText text(options.folder + name, name);
        if (text.whyUnreadable().empty())
            entries.push_back(
                {std::string("configuration/") + name, pseudonyms.replaceIn(text.bytes()), now});
        else
            notes += fmt::format("configuration/{} is missing: {}\n", name, text.whyUnreadable());
    }
    addRings(live, pseudonyms, entries, notes);
    entries.insert(entries.begin(), {"manifest.txt", manifest(entries, notes, pseudonyms.count()), now});
    return entries;
}

void writeBundle(const std::string& path, const std::vector<BundleEntry>& entries) {
    NewFile file(path);
    try {
        writeEntries(file.descriptor(), entries);
    } catch (const std::runtime_error& problem) {
        throw std::runtime_error(fmt::format("{} cannot be written: {}", path, problem.what()));
    }
    file.keep();
}

} // namespace Zevo
