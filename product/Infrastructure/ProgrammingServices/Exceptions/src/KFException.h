#pragma once

#include <exception>
#include <string>

/// Root of the framework's recoverable errors: a message and the place that threw it. Broken contracts are
/// not thrown; they go through ContractChecks.h.
///
/// The order of the virtual operations (destructor, what, getFileName, getLine, toString) is the one that the
/// whole family shares; subclasses add neither operations nor fields.
///
/// Thread: any; an object is not shared between threads without a lock.
class KFException : public std::exception {
public:
    /// @param message   what went wrong; @param fileName the throwing source's stable path; @param line its
    ///                  stable line number. Both texts are copied; null counts as the empty text.
    KFException(const char* message, const char* fileName, int line);
    KFException(const KFException&) = default;
    KFException& operator=(const KFException&) = default;
    ~KFException() noexcept override;

    /// The message; valid as long as this object.
    const char* what() const noexcept override;
    /// The throwing source's path; valid as long as this object.
    virtual const char* getFileName() const;
    virtual int getLine() const;
    /// One line for a trace or a person, without a line feed: "Exception : X on file F line 7".
    virtual std::string toString() const;

private:
    std::string m_message;
    std::string m_fileName;
    int m_line;
};
