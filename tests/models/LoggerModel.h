#pragma once

#include "LineRingModel.h"

#include <string>

namespace model {

/// A logger without a flush thread, as its rules are written down. Times are written as "[time]".
class Logger {
public:
    Logger() : ring(false) {}

    LineRing ring;

    void configure(const std::string& text);
    void setDirectWrite(bool directWrite) { m_directWrite = directWrite; }
    /// Goes on with the newest file; reads the times of the files from the disk, since nobody can foretell them.
    void setFileName(const std::string& name);
    void updateFileName() { ring.nameCurrent(); }
    int findLastUsedFile() const;

    /// A line of a call site: the switch and the mask decide.
    void log(unsigned level, const std::string& text);
    /// A line whatever they say.
    void printMessage(unsigned level, const std::string& text);
    void printString(const std::string& line);
    void writeOnFile() { ring.drain(); }
    void finish();

private:
    bool m_isEnabled = false;
    bool m_printsTime = false;
    bool m_directWrite = false;
    unsigned m_levelMask = 0;
};

} // namespace model
