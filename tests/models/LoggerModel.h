#pragma once

#include "LineRingModel.h"

#include <string>

namespace model {

/// A model of the logger.
class Logger : public LineOutput {
public:
    Logger()
        : LineOutput("log_",
                     {"[DEBUG  ] ", "[ERROR  ] ", "[WARNING] ", "[LEVEL_0] ", "[LEVEL_1] ", "[LEVEL_2] ",
                      "[LEVEL_3] ", "[LEVEL_4] ", "[LEVEL_5] "},
                     false) {}

    void configure(const std::string& text);
    /// Continues the newest file. Takes the files' times from the disk, because a model cannot predict them.
    void setFileName(const std::string& name) override;
    void updateFileName() { ring.nameCurrent(); }
    int findLastUsedFile() const;

    /// A call site's line: written if the logger is enabled and the level is in the mask.
    void log(unsigned level, const std::string& text);
    /// A line that is always written.
    void printMessage(unsigned level, const std::string& text);
};

} // namespace model
