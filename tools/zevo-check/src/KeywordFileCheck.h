#pragma once

#include "Finding.h"
#include "KeywordReading.h"
#include "SourceText.h"

#include <string>
#include <vector>

namespace Zevo {

/// The common part of the checks of the trace's and the log's configuration file.
class KeywordFileCheck {
public:
    /// What differs between the two: the languages, and the words of the findings.
    struct Dialect {
        const char* id;     ///< prefix of a finding's id: "trace"
        const char* done;   ///< "traced"
        const char* fileOf; ///< "the trace's file"
        const char* other;  ///< the same for the other one
        const kf::detail::KeywordLanguage& language;
        const kf::detail::KeywordLanguage& otherLanguage;
        int on; ///< indices of statements
        int off;
        int setFileName;
        int setMaxLines;
        int setMaxFiles;
        int bytesOfALine; ///< estimated
    };

    /// The ring that the file configures, as far as the product's reader has read it.
    struct Ring {
        std::string baseName; ///< with its folder; empty if none is given
        int files;
        int lines;
        std::string logFolder;
        std::uint64_t freeBytes;
    };

    KeywordFileCheck(const Dialect& dialect, const SourceText& file, const ReadLines& lines,
                     Findings& findings)
        : m_dialect(dialect), m_file(file), m_lines(lines), m_findings(findings) {}

    /// Checks the byte order mark, misplaced words, and a last line that is lost.
    void checkForm();
    /// Checks numbers and repetitions.
    void checkArguments();
    /// Checks whether anything can be on at the end. A file that only switches off is intended.
    /// @param isOn  the result of the product's reader
    bool checkSwitch(bool isOn);
    void checkRing(const Ring& ring);

    bool isWithoutErrors() const { return m_isWithoutErrors; }
    /// The last complete line with this statement that has an effect, or null.
    const ReadLine* last(int statement) const;
    const ReadLine* lastOfAll() const;
    bool has(int statement) const;

    Place placeOf(const ReadLine& line) const { return m_file.atLine(line.words.front().line); }
    Place placeOf(const kf::detail::KeywordToken& word) const;
    std::string keyword(int statement) const {
        return std::string(m_dialect.language.statements[statement].keyword);
    }
    void add(const std::string& id, Place place, std::string wrong, std::string expected = {},
             std::string meant = {});

private:
    void checkLostLine();
    void checkBlankBehindKeyword(const ReadLine& line);
    void tellStop(const ReadLine& line);
    void tellUnknownStatement(const Place& word, const std::string& text);
    void tellWrongLevel(const Place& word, const std::string& text, const ReadLine& line);
    Place wholeWordAt(const kf::detail::KeywordToken& token) const;
    void checkFolderOf(const Ring& ring);

    const Dialect& m_dialect;
    const SourceText& m_file;
    const ReadLines& m_lines;
    Findings& m_findings;
    bool m_isWithoutErrors = true;
};

} // namespace Zevo
