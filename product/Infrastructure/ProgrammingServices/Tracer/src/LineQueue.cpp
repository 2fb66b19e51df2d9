#include "LineQueue.h"

#include <algorithm>
#include <cstring>

namespace {
// The first chunk holds what an ordinary second brings; more than that is a burst.
constexpr std::size_t FIRST_CHUNK = std::size_t{64} * 1024;
} // namespace

void LineQueue::push(std::string_view line) {
    const void* const nul = line.empty() ? nullptr : std::memchr(line.data(), '\0', line.size());
    const std::size_t length =
        nul == nullptr ? line.size() : static_cast<std::size_t>(static_cast<const char*>(nul) - line.data());
    char* const text = beginLine(length);
    if (length != 0)
        std::memcpy(text, line.data(), length);
    endLine(text + length);
}

std::string_view LineQueue::front(std::size_t lines) const {
    if (lines == 0 || m_lines == 0)
        return {};
    const Chunk& chunk = m_chunks.front();
    const std::size_t last = std::min(chunk.front + lines, linesIn(chunk)) - 1;
    return {chunk.text() + chunk.written, chunk.end(last) - chunk.written};
}

std::size_t LineQueue::consume(std::size_t bytes) {
    if (m_lines == 0)
        return 0;
    Chunk& chunk = m_chunks.front();
    chunk.written += bytes;
    const std::size_t lines = linesIn(chunk);
    const std::size_t before = chunk.front;
    if (chunk.end(lines - 1) == chunk.written)
        chunk.front = lines;
    while (chunk.front < lines && chunk.end(chunk.front) <= chunk.written)
        ++chunk.front;
    const std::size_t completed = chunk.front - before;
    m_lines -= completed;
    if (chunk.front < lines)
        return completed;
    if (&chunk == &m_chunks.back()) {
        m_lastWasNeeded = m_lastWasNeeded || chunk.written > FIRST_CHUNK;
        fill(chunk);
    } else {
        m_spare.splice(m_spare.begin(), m_chunks, m_chunks.begin());
    }
    return completed;
}

// What the last drain's lines needed, the next one's are expected to need again.
void LineQueue::trim() {
    const std::size_t kept = std::max(m_begun, m_spare.size() / 2);
    while (m_spare.size() > kept)
        m_spare.pop_back();
    if (m_lines == 0 && kept == 0 && !m_lastWasNeeded && !m_chunks.empty() &&
        m_chunks.back().bytes() > FIRST_CHUNK)
        dropLastChunk();
    m_begun = 0;
    m_lastWasNeeded = false;
}

std::size_t LineQueue::bytes() const {
    std::size_t sum = 0;
    for (const std::list<Chunk>* const chunks : {&m_chunks, &m_spare})
        for (const Chunk& chunk : *chunks)
            sum += chunk.bytes();
    return sum;
}

void LineQueue::dropLastChunk() {
    m_chunks.pop_back();
    m_text = m_next = nullptr;
    m_end = nullptr;
    m_room = 0;
}

std::size_t LineQueue::linesIn(const Chunk& chunk) const {
    return &chunk == &m_chunks.back() ? static_cast<std::size_t>(chunk.ends() - m_end) : chunk.lines;
}

void LineQueue::addChunk(std::size_t room) {
    if (m_lines == 0 && !m_chunks.empty())
        dropLastChunk(); // too small for this one line
    else if (!m_chunks.empty())
        m_chunks.back().lines = linesIn(m_chunks.back());
    const std::size_t needed = room + sizeof(std::uint32_t);
    const auto spare = std::find_if(m_spare.begin(), m_spare.end(),
                                    [needed](const Chunk& chunk) { return chunk.bytes() >= needed; });
    if (spare != m_spare.end()) {
        m_chunks.splice(m_chunks.end(), m_spare, spare);
    } else {
        const std::size_t usual = m_chunks.empty() ? FIRST_CHUNK : LARGE_BUFFER_UNIT;
        // Rounded up, so that the ends are aligned.
        m_chunks.emplace_back(std::max(usual, (needed / sizeof(std::uint32_t) + 1) * sizeof(std::uint32_t)));
    }
    ++m_begun;
    fill(m_chunks.back());
}

// Lines are put together in this chunk from now on, from its beginning.
void LineQueue::fill(Chunk& chunk) {
    chunk.lines = chunk.front = chunk.written = 0;
    m_text = m_next = chunk.text();
    m_end = chunk.ends();
    m_room = chunk.bytes() - sizeof *m_end;
}
