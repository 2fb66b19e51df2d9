#include "CardCheck.h"

#include "SourceText.h"
#include "Suggestion.h"

#include "IDCardObserver.h"
#include "IDCardReader.h"

#include <fmt/format.h>

#include <map>
#include <set>
#include <vector>

namespace Zevo {
namespace {

const char UPGRADE_CODE[] = "UPGRADE_CODE";
const char NO_START[] = "the launcher ends at once, without a word";

// The keys that the log's banner shows.
const std::vector<std::string_view> BANNER_KEYS = {
    "COMMERCIAL_VERSION", "PRODUCT_NAME", "BU_NAME", "BUILD_TARGET", "REFERENCE_VERSION", "PRODUCT_VERSION"};
const std::vector<std::string_view> OTHER_KEYS = {UPGRADE_CODE, "FLEET_ID", "CUSTOMER_ID",
                                                  "GENERATION_VERSION", "IT_MANAGER"};

class CardCheck : public IDCardObserver {
public:
    CardCheck(const SourceText& card, Findings& findings) : m_card(card), m_findings(findings) {
        m_keys = BANNER_KEYS;
        m_keys.insert(m_keys.end(), OTHER_KEYS.begin(), OTHER_KEYS.end());
    }

    void onPair(int line, const std::string& key, const std::string& value) override;
    void onSkipped(int line) override;
    void onRefused(int line) override;
    void checkWhatIsMissing();
    bool isRefused() const { return m_isRefused; }

private:
    void add(const char* id, Place place, std::string wrong, std::string expected, std::string meant = {}) {
        m_findings.push_back({id, std::move(place), std::move(wrong), std::move(expected), std::move(meant)});
    }
    void checkLineWithoutEquals(int line);
    void checkKey(int line, const std::string& key);
    void checkValue(int line, const std::string& key, const std::string& value);
    void checkUpgradeCode(int line, const std::string& value);
    Place placeOfValue(int line) const;
    bool isMissing(const std::string& key) const {
        return m_linesOfKeys.count(key) == 0 && m_meantKeys.count(key) == 0;
    }

    const SourceText& m_card;
    Findings& m_findings;
    std::vector<std::string_view> m_keys;
    std::map<std::string, int> m_linesOfKeys;
    std::set<std::string> m_meantKeys; // a misspelt key is not missing
    bool m_isRefused = false;
    bool m_hasOldLineEnds = false;
};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string withoutByteOrderMark(const std::string& key) {
    return key.compare(0, 3, "\xEF\xBB\xBF") == 0 ? key.substr(3) : key;
}

void CardCheck::onPair(int line, const std::string& key, const std::string& value) {
    const std::string_view text = m_card.line(line);
    if (text.find('=') == std::string_view::npos) {
        if (trimmed(std::string(text)).empty())
            add("card-line-without-equals", m_card.atLine(line),
                "a line of blanks counts as a key of that name", "an empty line");
        else if (text.front() == '#' || text.front() == ';' || text.substr(0, 2) == "//")
            add("card-comment", m_card.atLine(line),
                "a card has no comments: the line counts as a key of that name", "KEY=VALUE");
        else
            checkLineWithoutEquals(line);
        return;
    }
    checkKey(line, key);
    checkValue(line, withoutByteOrderMark(key), value);
}

void CardCheck::checkLineWithoutEquals(int line) {
    const std::string text = trimmed(std::string(m_card.line(line)));
    const std::size_t end = text.find_first_of(" \t:");
    const std::string key = meantBy(text.substr(0, end), m_keys);
    std::string meant;
    if (!key.empty()) {
        const std::string value = end == std::string::npos ? "" : trimmed(text.substr(end + 1));
        meant = key + "=" + value;
        m_meantKeys.insert(key);
    }
    add("card-line-without-equals", m_card.atLine(line),
        "no \"=\": the line is a key of that name, and its own value", "KEY=VALUE", meant);
}

void CardCheck::checkKey(int line, const std::string& key) {
    const std::string plain = withoutByteOrderMark(key);
    const auto first = m_linesOfKeys.emplace(trimmed(plain), line);
    if (!first.second) {
        add("card-key-twice", m_card.atText(line, plain),
            fmt::format("{} stands in line {} already: this one wins", plain, first.first->second),
            "one line for a key");
        return;
    }
    if (plain != key)
        return; // the byte order mark has a finding of its own
    if (plain != trimmed(plain)) {
        add("card-key-with-blanks", m_card.at(line, 1, static_cast<int>(plain.size())),
            fmt::format("blanks belong to the key: \"{}\" is not found", plain),
            "no blank on either side of the key", trimmed(plain));
        return;
    }
    const std::string meant = meantBy(plain, m_keys);
    if (!meant.empty() && meant != plain) {
        const bool isCase = smallLetters(meant) == smallLetters(plain);
        add(isCase ? "card-key-letter-case" : "card-key-misspelt", m_card.atText(line, plain),
            fmt::format("a key that the launcher does not know: {}", plain),
            isCase ? "the key in capital letters" : "", meant);
        m_meantKeys.insert(meant);
    }
}

Place CardCheck::placeOfValue(int line) const {
    const std::string_view text = m_card.line(line);
    const std::size_t start = text.find('=') + 1;
    return m_card.at(line, static_cast<int>(start) + 1, static_cast<int>(text.size() - start));
}

void CardCheck::checkValue(int line, const std::string& key, const std::string& value) {
    const std::string_view text = m_card.line(line);
    const std::string written(text.substr(text.find('=') + 1));
    if (written.size() > value.size()) {
        const int column = static_cast<int>(text.find('=') + 1 + value.size()) + 1;
        const bool isOldLineEnd =
            m_card.bytes().find('\n') == std::string::npos && written[value.size()] == '\r';
        m_hasOldLineEnds = isOldLineEnd;
        if (isOldLineEnd)
            add("card-old-line-ends", m_card.at(line, column),
                "lines end in a carriage return alone, so the whole card counts as one line", "line feeds");
        else
            add("card-value-cut", m_card.at(line, column),
                fmt::format("the value ends here, at a character that cannot be printed ({}): \"{}\"",
                            shownCharacter(written[value.size()]), value),
                "printable ASCII characters");
    }
    if (!value.empty() && (value.front() == ' ' || value.back() == ' '))
        add("card-value-with-blanks", placeOfValue(line),
            fmt::format("blanks belong to the value: \"{}\"", value), "no blank on either side of the value",
            trimmed(value));
    else if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        add("card-value-quoted", placeOfValue(line), "the quotation marks belong to the value",
            "the value alone", value.substr(1, value.size() - 2));
    if (key == UPGRADE_CODE)
        checkUpgradeCode(line, value);
}

void CardCheck::checkUpgradeCode(int line, const std::string& value) {
    if (value.empty())
        add("card-upgrade-code-empty", m_card.atLine(line),
            "an empty UPGRADE_CODE: all installations share one folder for their data and logs", "a code");
    else if (value.find('/') != std::string::npos || value == "." || value == "..")
        add("card-upgrade-code-path", placeOfValue(line),
            fmt::format("the code names the folder of all data and logs: \"{}\" leads elsewhere", value),
            "a name without \"/\" that is neither \".\" nor \"..\"");
}

void CardCheck::onSkipped(int line) {
    if (!m_card.line(line).empty())
        add("card-line-without-key", m_card.atLine(line), "no key: the line is ignored", "KEY=VALUE");
}

void CardCheck::onRefused(int line) {
    m_isRefused = true;
    add("card-ampersand", m_card.atText(line, "&"),
        fmt::format("\"&\", anywhere, makes the card unreadable: {}", NO_START), "a card without \"&\"");
}

void CardCheck::checkWhatIsMissing() {
    if (m_hasOldLineEnds)
        return; // it is there, in a line that is too long
    if (isMissing(UPGRADE_CODE))
        add("card-upgrade-code-missing", m_card.wholeFile(),
            "no UPGRADE_CODE: all installations share one folder for their data and logs",
            "a line UPGRADE_CODE=...");
    for (const std::string_view key : BANNER_KEYS) {
        if (isMissing(std::string(key)))
            add("card-banner-key-missing", m_card.wholeFile(),
                fmt::format("no {}: the log shows an empty text at each start", key),
                fmt::format("a line {}=...", key));
    }
}

} // namespace

CardResult checkCard(const std::string& folder, Findings& findings) {
    const SourceText card(folder + IDCardReader::FILE_NAME, folder + IDCardReader::FILE_NAME);
    if (!card.whyUnreadable().empty()) {
        findings.push_back({"card-missing", card.wholeFile(), card.whyUnreadable() + ": " + NO_START,
                            "the identity card, lines KEY=VALUE", ""});
        return {};
    }
    if (card.hasByteOrderMark())
        findings.push_back(
            {"card-byte-order-mark", card.at(1, 1, 3),
             "a byte order mark: it belongs to the first key, which is not found under its name",
             "no byte order mark", ""});
    CardCheck check(card, findings);
    IDCardReader reader(folder);
    CardResult result;
    result.isReadable = reader.readIDCard(&check);
    result.upgradeCode = reader.getUpgradeCode();
    if (check.isRefused())
        return result;
    if (!result.isReadable)
        findings.push_back({"card-empty", card.wholeFile(), std::string("no line KEY=VALUE: ") + NO_START,
                            "UPGRADE_CODE=... and what the log shows of this build", ""});
    else
        check.checkWhatIsMissing();
    return result;
}

} // namespace Zevo
