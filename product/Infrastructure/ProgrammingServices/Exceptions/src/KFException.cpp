#include "KFException.h"

namespace {

std::string textOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

KFException::KFException(const char* message, const char* fileName, int line)
    : m_message(textOrEmpty(message)), m_fileName(textOrEmpty(fileName)), m_line(line) {}

KFException::~KFException() noexcept = default;

const char* KFException::what() const noexcept {
    return m_message.c_str();
}

const char* KFException::getFileName() const {
    return m_fileName.c_str();
}

int KFException::getLine() const {
    return m_line;
}

std::string KFException::toString() const {
    return "Exception : " + m_message + " on file " + m_fileName + " line " + std::to_string(m_line);
}
