#include "Param.h"

#include "CallMarker.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace {

const std::size_t LENGTH_SIZE = sizeof(uint32_t);

char* putLength(char* at, std::size_t length) {
    const uint32_t value = static_cast<uint32_t>(length);
    memcpy(at, &value, LENGTH_SIZE);
    return at + LENGTH_SIZE;
}

/// Reads a length and checks that as many bytes follow it.
bool getLength(const char* bytes, std::size_t end, std::size_t& offset, std::size_t& length) {
    uint32_t value = 0;
    if (end - offset < LENGTH_SIZE)
        return false;
    memcpy(&value, bytes + offset, LENGTH_SIZE);
    offset += LENGTH_SIZE;
    length = value;
    return length <= end - offset;
}

} // namespace

t_Param::t_Param() {
    TRACE_CONSTRUCTOR("t_Param");
}

t_Param::t_Param(const std::string& name, const char* data, int size)
    : m_name(name), m_data(data, static_cast<std::size_t>(size)) {
    TRACE_CONSTRUCTOR("t_Param");
}

t_Param::t_Param(const t_Param& other) : m_name(other.m_name), m_data(other.m_data) {
    TRACE_COPY_CONSTRUCTOR("t_Param");
}

t_Param& t_Param::operator=(const t_Param& other) {
    TRACE_METHOD();
    std::string data = other.m_data; // first: the allocation may fail
    m_name = other.m_name;
    m_data = std::move(data);
    return *this;
}

t_Param::~t_Param() {
    TRACE_DESTRUCTOR("t_Param");
}

int t_Param::getBufferSize() const {
    TRACE_METHOD();
    return static_cast<int>(m_data.size());
}

const char* t_Param::getInternalBuffer() const {
    TRACE_METHOD();
    return m_data.data();
}

char* t_Param::marshall(int& length) const {
    TRACE_METHOD();
    const std::size_t recordSize = LENGTH_SIZE + m_name.size() + 1 + LENGTH_SIZE + m_data.size();
    std::unique_ptr<char[]> record(new char[recordSize]());
    char* at = putLength(record.get(), m_name.size() + 1);
    memcpy(at, m_name.data(), m_name.size());
    at = putLength(at + m_name.size() + 1, m_data.size());
    memcpy(at, m_data.data(), m_data.size());
    length = static_cast<int>(recordSize);
    return record.release();
}

bool t_Param::unMarshall(const char* bytes, std::size_t length, std::size_t& offset, Record& record) {
    TRACE_FUNCTION("t_Param::unMarshall");
    std::size_t at = offset;
    std::size_t nameSize = 0;
    std::size_t dataSize = 0;
    if (!getLength(bytes, length, at, nameSize) || nameSize == 0)
        return false;
    record.name = bytes + at;
    record.nameLength = nameSize - 1; // without the NUL, or the byte in its place
    at += nameSize;
    if (!getLength(bytes, length, at, dataSize) || dataSize > static_cast<std::size_t>(INT_MAX))
        return false;
    record.data = bytes + at;
    record.size = static_cast<int>(dataSize);
    offset = at + dataSize;
    return true;
}
