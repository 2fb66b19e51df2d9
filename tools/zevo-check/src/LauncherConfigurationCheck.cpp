#include "LauncherConfigurationCheck.h"

#include "SourceText.h"
#include "Suggestion.h"

#include "Dictionary.h"
#include "HardwareId.h"
#include "KFDictionaryException.h"
#include "KFDictionaryFileException.h"
#include "ZevoLauncherConfigReader.h"
#include "detail/DictionaryReadingObserver.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <regex>
#include <vector>

namespace Zevo {
namespace {

using kf::detail::DictionaryReadingObserver;

const char NOTHING_MATCHES[] = "the launcher runs, and no device matches";

/// A key as the reader interpreted it.
struct ReadKey {
    std::string key;
    int line;
    int valueLine;
    DictionaryReadingObserver::Kind kind;
};

const std::vector<std::string_view>& knownKeys() {
    static const std::vector<std::string_view> keys = {ZevoLauncherConfigReader::ms_FileKeyHardwareIdToDetect,
                                                       ZevoLauncherConfigReader::ms_FileKeyHardwareIdToFind,
                                                       ZevoLauncherConfigReader::ms_FileKeyCdRomHidToDetect};
    return keys;
}

bool isKnown(std::string_view key) {
    for (const std::string_view known : knownKeys())
        if (key == known)
            return true;
    return false;
}

class LauncherConfigurationCheck : public DictionaryReadingObserver {
public:
    LauncherConfigurationCheck(const SourceText& file, Findings& findings)
        : m_file(file), m_findings(findings) {}

    void onBegin(std::size_t position) override;
    void onKey(std::size_t position, std::string_view key, std::size_t valuePosition, Kind kind) override;
    void onEnd(std::size_t position, std::string_view line) override;
    void onTooDeep(std::size_t position) override;

    void checkHeader(const std::string& reason);
    void checkBegin();
    HardwareIds checkIds(const Dictionary& dictionary);

private:
    void add(const char* id, Place place, std::string wrong, std::string expected = {},
             std::string meant = {}) {
        m_findings.push_back({id, std::move(place), std::move(wrong), std::move(expected), std::move(meant)});
    }
    void checkKey(const ReadKey& read, bool isOutermost);
    void tellSkippedValue(const ReadKey& read);
    int keysBelow(int line) const;
    std::string take(const Dictionary& dictionary, const std::string& key, const char* ifMissing);
    void checkForm(const std::string& key, const std::string& id, bool isToFind);

    const SourceText& m_file;
    Findings& m_findings;
    std::vector<std::map<std::string, int>> m_open; // the keys of each open dictionary, and their lines
    std::map<std::string, ReadKey> m_outermost;
    std::map<std::string, std::string> m_misspelt; // the correct key, and the one in the file
    int m_endOfAll = 0;
};

void LauncherConfigurationCheck::onBegin(std::size_t /*position*/) {
    m_open.emplace_back();
}

void LauncherConfigurationCheck::onKey(std::size_t position, std::string_view key, std::size_t valuePosition,
                                       Kind kind) {
    const ReadKey read = {std::string(key), m_file.lineOf(position), m_file.lineOf(valuePosition), kind};
    const bool isOutermost = m_open.size() == 1;
    const auto first = m_open.back().emplace(read.key, read.line);
    if (!first.second)
        add("launcher-key-twice", m_file.atText(read.line, key),
            fmt::format("{} stands in line {} already: this one wins", key, first.first->second),
            "one of them");
    checkKey(read, isOutermost);
    if (isOutermost)
        m_outermost[read.key] = read;
}

void LauncherConfigurationCheck::checkKey(const ReadKey& read, bool isOutermost) {
    if (!isOutermost && isKnown(read.key))
        add("launcher-key-in-inner-dictionary", m_file.atText(read.line, read.key),
            fmt::format("{} stands in an inner dictionary, where it is not looked for", read.key),
            "its place in the outermost dictionary");
    const std::string meant = meantBy(read.key, knownKeys());
    if (isOutermost && !meant.empty() && meant != read.key) {
        const bool isCase = smallLetters(meant) == smallLetters(read.key);
        m_misspelt[meant] = read.key;
        add(isCase ? "launcher-key-letter-case" : "launcher-key-misspelt", m_file.atText(read.line, read.key),
            fmt::format("a key that the launcher does not look for: {}{}", read.key,
                        meant == ZevoLauncherConfigReader::ms_FileKeyHardwareIdToFind
                            ? "; without the right one it ends at its start"
                            : ""),
            "the key written exactly so", meant);
    }
    if (read.kind == Kind::Skipped)
        tellSkippedValue(read);
    else if (read.kind == Kind::Integer && isKnown(read.key))
        add("launcher-value-no-text", m_file.atLine(read.valueLine),
            fmt::format("a number, so {} counts as missing", read.key), "<string>...</string>");
    else if (read.kind == Kind::Dictionary && isKnown(read.key))
        add("launcher-value-no-text", m_file.atLine(read.valueLine),
            fmt::format("a dictionary, so {} counts as missing", read.key), "<string>...</string>");
}

// The reader expects a value on the line below the key, and nowhere else.
void LauncherConfigurationCheck::tellSkippedValue(const ReadKey& read) {
    const std::string_view keyLine = m_file.line(read.line);
    const std::string_view value = m_file.line(read.valueLine);
    if (keyLine.find("<string>") != std::string_view::npos ||
        keyLine.find("<int>") != std::string_view::npos) {
        add("launcher-value-on-key-line", m_file.atLine(read.line),
            fmt::format("the value stands on the key's line, where it is not looked for: {} is lost",
                        read.key),
            "the value on a line of its own, below the key");
        return;
    }
    const char* meant = value.find("<integer>") != std::string_view::npos  ? "<int>"
                        : value.find("<String>") != std::string_view::npos ? "<string>"
                                                                           : "";
    add("launcher-value-skipped", m_file.atLine(read.valueLine),
        fmt::format("no value that is read, so the key above it is dropped: {}", read.key),
        "<string>...</string>, <int>...</int> or <dict>", meant);
}

int LauncherConfigurationCheck::keysBelow(int line) const {
    int keys = 0;
    for (int below = line + 1; below <= m_file.lineCount(); ++below)
        if (m_file.line(below).find("<key>") != std::string_view::npos)
            ++keys;
    return keys;
}

void LauncherConfigurationCheck::onEnd(std::size_t position, std::string_view line) {
    m_open.pop_back();
    const int number = m_file.lineOf(position);
    const int lost = m_open.empty() ? keysBelow(number) : 0;
    const bool isClosed = line.find("</dict>") != std::string_view::npos;
    if (m_open.empty())
        m_endOfAll = number;
    if (position >= m_file.bytes().size()) {
        add("launcher-dictionary-open", m_file.atLine(m_file.lineCount()),
            "the file ends inside a dictionary", "</dict>");
        return;
    }
    if (isClosed) {
        if (lost > 0)
            add("launcher-keys-below-the-end", m_file.atLine(number),
                fmt::format("the dictionary ends here: {} below {} not read", lost == 1 ? "a key" : "keys",
                            lost == 1 ? "is" : "are"),
                "all keys above </dict>");
        return;
    }
    const bool isEmpty = line.find_first_not_of(" \t\r") == std::string_view::npos;
    const bool isComment = line.find("<!--") != std::string_view::npos;
    add(isEmpty     ? "launcher-empty-line"
        : isComment ? "launcher-comment"
                    : "launcher-no-key",
        m_file.atLine(number),
        fmt::format("{} where a key is due ends the dictionary: nothing below is read",
                    isEmpty     ? "an empty line"
                    : isComment ? "a comment"
                                : "a line without <key>"),
        "<key>...</key> or </dict>");
}

void LauncherConfigurationCheck::onTooDeep(std::size_t position) {
    add("launcher-too-deep", m_file.atLine(m_file.lineOf(position)),
        "too many dictionaries in one another: this one is passed over",
        fmt::format("at most {}", Dictionary::MAXIMUM_DEPTH));
}

void LauncherConfigurationCheck::checkHeader(const std::string& reason) {
    const bool isVersion = reason.find("plist") != std::string::npos;
    if (isVersion)
        add("launcher-wrong-version", m_file.atLine(2),
            fmt::format("no property list of version 1.0: {}", NOTHING_MATCHES), "<plist version=\"1.0\">");
    else
        add("launcher-no-header", m_file.lineCount() > 0 ? m_file.atLine(1) : m_file.wholeFile(),
            fmt::format("no XML header in the first line: {}", NOTHING_MATCHES),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
}

void LauncherConfigurationCheck::checkBegin() {
    if (m_endOfAll == 0)
        add("launcher-no-dictionary", m_file.atLine(3),
            "no dictionary in the third line, so nothing is read: the launcher ends at its start", "<dict>");
}

std::string LauncherConfigurationCheck::take(const Dictionary& dictionary, const std::string& key,
                                             const char* ifMissing) {
    if (const char* const value = dictionary.getValue(key))
        return value;
    // Reported already: it is misspelt, or its value is not valid.
    if (m_endOfAll == 0 || m_misspelt.count(key) != 0 || m_outermost.count(key) != 0)
        return {};
    add("launcher-key-missing", m_file.atLine(m_endOfAll),
        fmt::format("no {} above this line: {}", key, ifMissing),
        fmt::format("<key>{}</key> and its <string>", key));
    return {};
}

void LauncherConfigurationCheck::checkForm(const std::string& key, const std::string& id, bool isToFind) {
    const auto read = m_outermost.find(key);
    if (read == m_outermost.end() || read->second.kind != Kind::String)
        return;
    const Place place =
        id.empty() ? m_file.atLine(read->second.valueLine) : m_file.atText(read->second.valueLine, id);
    const std::string meant = hardwareIdMeantBy(id);
    const bool isReported = smallLetters(id) == smallLetters(meant) && !id.empty();
    const char* const form = "USB#Vid_ and &Pid_, each with four hexadecimal digits";
    if (isToFind) {
        std::string sought;
        try {
            sought = HardwareId::toDecimalPair(id);
        } catch (const std::out_of_range&) {
            add("launcher-id-ends-the-launcher", place,
                fmt::format("{} is too short: the launcher ends at its start (SIGNAL_ABORT in the trace)",
                            id.empty() ? "an empty identifier" : "\"" + id + "\""),
                form, meant);
            return;
        }
        if (isReported && sought != HardwareId::toDecimalPair(meant)) {
            add("launcher-id-markers", place,
                fmt::format(
                    "\"Vid_\" and \"Pid_\" in other letters are not found here: devices {} are looked for",
                    sought),
                form, meant);
            return;
        }
    }
    if (!isReported)
        add("launcher-id-form", place, fmt::format("no device is ever reported as \"{}\"", id), form, meant);
}

HardwareIds LauncherConfigurationCheck::checkIds(const Dictionary& dictionary) {
    const std::string& modem = ZevoLauncherConfigReader::ms_FileKeyHardwareIdToDetect;
    const std::string& cdRom = ZevoLauncherConfigReader::ms_FileKeyCdRomHidToDetect;
    const std::string& toFind = ZevoLauncherConfigReader::ms_FileKeyHardwareIdToFind;
    HardwareIds ids;
    ids.modem = take(dictionary, modem, "nothing starts when the modem arrives");
    ids.cdRom = take(dictionary, cdRom, "nothing starts when the modem arrives as a CD-ROM drive");
    ids.modemToFind = take(dictionary, toFind, "the launcher ends at its start (SIGNAL_ABORT in the trace)");
    checkForm(modem, ids.modem, false);
    checkForm(cdRom, ids.cdRom, false);
    checkForm(toFind, ids.modemToFind, true);
    return ids;
}

} // namespace

std::string hardwareIdMeantBy(const std::string& text) {
    static const std::regex hexadecimal(
        "(?:usb#)?(?:vid_?)?(?:0x)?([0-9a-f]{1,4})(?:[:/]|&amp;|&)(?:pid_?)?(?:0x)?([0-9a-f]{1,4})",
        std::regex::icase);
    static const std::regex decimal("([0-9]{1,5})\\|([0-9]{1,5})"); // as in the list of connected devices
    std::string plain = text.substr(0, 100);
    plain.erase(std::remove(plain.begin(), plain.end(), ' '), plain.end());
    std::smatch numbers;
    int base = 16;
    if (!std::regex_match(plain, numbers, hexadecimal)) {
        if (!std::regex_match(plain, numbers, decimal))
            return {};
        base = 10;
    }
    const int vendor = std::stoi(numbers[1].str(), nullptr, base);
    const int product = std::stoi(numbers[2].str(), nullptr, base);
    return vendor > 0xFFFF || product > 0xFFFF ? ""
                                               : fmt::format("USB#Vid_{:04x}&Pid_{:04x}", vendor, product);
}

HardwareIds checkLauncherConfiguration(const std::string& folder, Findings& findings) {
    const std::string path = folder + ZevoLauncherConfigReader::ms_configurationFile;
    const SourceText file(path, path);
    if (!file.whyUnreadable().empty()) {
        findings.push_back({"launcher-missing", file.wholeFile(),
                            file.whyUnreadable() + ": " + NOTHING_MATCHES,
                            "the property list with the modem's identifiers", ""});
        return {};
    }
    if (file.hasByteOrderMark())
        findings.push_back({"launcher-byte-order-mark", file.at(1, 1, 3),
                            "a byte order mark, which this form does not have", "no byte order mark", ""});
    const std::size_t zero = file.bytes().find('\0');
    if (zero != std::string::npos)
        findings.push_back({"launcher-zero-byte", file.atOffset(zero),
                            "a zero byte (as in UTF-16 text) ends the file: nothing behind it is read",
                            "8-bit text, UTF-8 for instance", ""});
    LauncherConfigurationCheck check(file, findings);
    Dictionary dictionary;
    try {
        dictionary.loadFromFile(path, &check);
    } catch (const KFDictionaryFileException&) {
        findings.push_back({"launcher-missing", file.wholeFile(),
                            std::string("cannot be read: ") + NOTHING_MATCHES,
                            "the property list with the modem's identifiers", ""});
        return {};
    } catch (const KFDictionaryException& problem) {
        check.checkHeader(problem.what());
        return {};
    }
    check.checkBegin();
    return check.checkIds(dictionary);
}

} // namespace Zevo
