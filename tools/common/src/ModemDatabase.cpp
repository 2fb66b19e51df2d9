#include "ModemDatabase.h"

#include "Suggestion.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace Zevo {
namespace {

using Texts = std::map<std::string, std::string>; // by the files' names

constexpr std::size_t LARGEST_FILE = 65536; // real ones have some hundred bytes

void readPacked(const std::string& path, Texts& texts) {
    const std::unique_ptr<archive, int (*)(archive*)> packed(archive_read_new(), &archive_read_free);
    archive_read_support_format_tar(packed.get());
    archive_read_support_filter_gzip(packed.get());
    int result = archive_read_open_filename(packed.get(), path.c_str(), 65536);
    archive_entry* entry = nullptr;
    while (result >= ARCHIVE_WARN &&
           (result = archive_read_next_header(packed.get(), &entry)) >= ARCHIVE_WARN &&
           result != ARCHIVE_EOF) {
        std::string text(LARGEST_FILE, '\0');
        const la_ssize_t length = archive_read_data(packed.get(), text.data(), text.size());
        if (length < 0) {
            result = ARCHIVE_FATAL;
            break;
        }
        text.resize(static_cast<std::size_t>(length));
        const std::string name =
            archive_entry_pathname(entry) != nullptr ? archive_entry_pathname(entry) : "";
        texts[name.substr(name.rfind('/') + 1)] = text;
    }
    if (result != ARCHIVE_EOF)
        throw std::runtime_error(
            fmt::format("{} cannot be read: {}", path, archive_error_string(packed.get())));
}

void readLoose(const std::string& folder, Texts& texts) {
    std::error_code noFolder;
    for (const auto& entry : std::filesystem::directory_iterator(folder, noFolder)) {
        if (!entry.is_regular_file() || entry.file_size() > LARGEST_FILE)
            continue;
        std::ostringstream text;
        text << std::ifstream(entry.path()).rdbuf();
        texts[entry.path().filename().string()] = text.str();
    }
}

// "TargetProductList" of a file: the text between the quotes, or a single number as it stands.
std::string settingIn(const std::string& text, const std::string& name) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, name.size(), name) != 0)
            continue;
        std::string value = line.substr(name.size());
        value.erase(0, std::min(value.size(), value.find_first_not_of(" \t=\"")));
        return value.substr(0, value.find_first_of("\" \t\r"));
    }
    return {};
}

int hexadecimal(const std::string& text) {
    try {
        const int number = std::stoi(text, nullptr, 16);
        return number >= 0 && number <= 0xFFFF ? number : -1;
    } catch (const std::exception&) {
        return -1;
    }
}

// The comments above the settings name the modems.
std::string namesIn(const std::string& text) {
    std::istringstream lines(text);
    std::string names;
    for (std::string line; std::getline(lines, line) && (line.empty() || line.front() == '#');) {
        const std::size_t start = line.find_first_not_of("# \t");
        if (start != std::string::npos)
            names += (names.empty() ? "" : "; ") + line.substr(start);
    }
    return names;
}

std::vector<UsbIds> targetsIn(const std::string& text, const UsbIds& cdRom) {
    const int vendor = hexadecimal(settingIn(text, "TargetVendor"));
    std::vector<UsbIds> targets;
    std::istringstream products(settingIn(text, "TargetProductList") + "," +
                                settingIn(text, "TargetProduct="));
    for (std::string product; std::getline(products, product, ',');) {
        const int number = hexadecimal(product);
        if (number >= 0)
            targets.push_back({vendor >= 0 ? vendor : cdRom.vendor, number});
    }
    if (targets.empty())
        targets.push_back(cdRom); // it keeps its ids when switched
    return targets;
}

} // namespace

std::vector<KnownModem> readModemDatabase(const std::string& folder) {
    static const std::regex form("([0-9a-f]{4}):([0-9a-f]{4})(?::.*)?");
    Texts texts;
    const std::string packed = folder + "/configPack.tar.gz";
    if (std::filesystem::exists(packed))
        readPacked(packed, texts);
    readLoose(folder, texts);
    std::vector<KnownModem> modems;
    for (const auto& [name, text] : texts) {
        std::smatch ids;
        if (!std::regex_match(name, ids, form))
            continue;
        KnownModem modem;
        modem.cdRom = {hexadecimal(ids[1]), hexadecimal(ids[2])};
        modem.modems = targetsIn(text, modem.cdRom);
        modem.names = namesIn(text);
        modems.push_back(modem);
    }
    return modems;
}

std::vector<KnownModem> modemsNamed(const std::string& words, const std::vector<KnownModem>& database) {
    std::vector<KnownModem> found;
    std::copy_if(database.begin(), database.end(), std::back_inserter(found),
                 [&words](const KnownModem& modem) {
                     const std::string names = smallLetters(modem.names);
                     std::istringstream each(smallLetters(words));
                     bool isAny = false;
                     for (std::string word; each >> word; isAny = true)
                         if (names.find(word) == std::string::npos)
                             return false;
                     return isAny;
                 });
    return found;
}

std::string shownIds(const UsbIds& ids) {
    return fmt::format("{:04x}:{:04x}", ids.vendor, ids.product);
}

std::string hardwareIdOf(const UsbIds& ids) {
    return fmt::format("USB#Vid_{:04x}&Pid_{:04x}", ids.vendor, ids.product);
}

} // namespace Zevo
