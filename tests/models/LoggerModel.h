#pragma once

#include "LineRingModel.h"

#include <string>

namespace model {

/// A logger, as its rules are written down.
class Logger : public LineOutput {
public:
    Logger()
        : LineOutput("log_",
                     {"[DEBUG  ] ", "[ERROR  ] ", "[WARNING] ", "[LEVEL_0] ", "[LEVEL_1] ", "[LEVEL_2] ",
                      "[LEVEL_3] ", "[LEVEL_4] ", "[LEVEL_5] "},
                     false) {}

    void configure(const std::string& text);
    /// Goes on with the newest file; reads the times of the files from the disk, since nobody can foretell them.
    void setFileName(const std::string& name) override;
    void updateFileName() { ring.nameCurrent(); }
    int findLastUsedFile() const;

    /// A line of a call site: the switch and the mask decide.
    void log(unsigned level, const std::string& text);
    /// A line whatever they say.
    void printMessage(unsigned level, const std::string& text);
};

} // namespace model
