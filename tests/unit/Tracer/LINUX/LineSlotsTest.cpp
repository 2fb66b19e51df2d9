#include "detail/LineSlots.h"

#include "Interleavings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace kf::detail;

namespace {

using Slots = LineSlots<SteppedAtomic>;

void waitForOthers() {
    Interleavings::waitForChange();
}

/// A chunk for a number of lines of 4 bytes each, its writers, and its owner, which does what LineQueue does.
class Chunk {
public:
    explicit Chunk(std::size_t lines) : m_memory(memoryFor(lines)), m_slots(m_memory.size() * 4) {
        m_slots.setMemory(reinterpret_cast<char*>(m_memory.data()));
        m_slots.open();
    }

    /// Writes a line: its letter three times. The line of an "x" is cancelled.
    void write(char letter) {
        const Slots::Slot slot = m_slots.reserve(4);
        if (!slot) {
            m_elsewhere += letter;
            return;
        }
        m_reserved += letter;
        const std::string line = lineOf(letter);
        line.copy(slot.text(), line.size());
        if (letter == 'x')
            slot.cancel();
        else
            slot.finish();
        m_finished += letter; // in the same step as finish() or cancel()
    }
    static std::string lineOf(char letter) { return std::string(3, letter) + "\n"; }

    /// Writes the queued lines into the file; empties and reopens the chunk if no line has come meanwhile.
    void drain() {
        m_isDraining = true;
        const auto wait = [] {
            waitForOthers();
            return true;
        };
        for (const std::size_t last = m_slots.lines(m_front, wait); m_front < last;) {
            m_slots.await(m_front, wait);
            writeFrontLine(m_file);
        }
        m_lines = m_front;
        if (m_slots.closeIfEmptied(m_front, wait)) {
            m_slots.clear(m_written, m_front + 1);
            m_lines = m_front = m_written = 0;
            m_slots.open();
        }
        m_isDraining = false;
        m_hasDrained = true;
    }
    /// The drain of a signal handler: it waits once for other threads, and then no more.
    void drainInSignal() {
        m_finishedAtSignal = m_finished;
        const auto once = [hasWaited = false]() mutable {
            if (hasWaited)
                return false;
            hasWaited = true;
            Interleavings::step();
            return true;
        };
        std::string text;
        for (const std::size_t last = m_slots.isClosed() ? m_lines : m_slots.lines(m_front, once);
             m_front < last;) {
            if (!m_slots.await(m_front, once))
                m_slots.replace(m_front);
            writeFrontLine(text);
        }
        text.erase(std::remove(text.begin(), text.end(), '\0'), text.end()); // of a line that became empty
        m_signalFile = text;
    }

    bool isDraining() const { return m_isDraining; }
    bool hasDrained() const { return m_hasDrained; }
    const std::string& file() const { return m_file; }
    const std::string& signalFile() const { return m_signalFile; }
    /// The letters of the lines that got a slot.
    const std::string& reserved() const { return m_reserved; }
    const std::string& elsewhere() const { return m_elsewhere; }
    const std::string& finishedAtSignal() const { return m_finishedAtSignal; }
    std::uint64_t hash() const {
        const std::string_view bytes(reinterpret_cast<const char*>(m_memory.data()), m_memory.size() * 4);
        std::uint64_t hash = Interleavings::hashOf(bytes);
        for (const std::string* text :
             {&m_reserved, &m_elsewhere, &m_finished, &m_finishedAtSignal, &m_file, &m_signalFile})
            hash = Interleavings::mix(hash, Interleavings::hashOf(*text));
        for (const std::size_t number :
             {m_front, m_written, m_lines, std::size_t{m_isDraining}, std::size_t{m_hasDrained}})
            hash = Interleavings::mix(hash, number);
        return hash;
    }

private:
    /// With one more slot, for VOID_LINE.
    static std::vector<std::uint32_t> memoryFor(std::size_t lines) {
        return std::vector<std::uint32_t>(2 * lines + 1);
    }
    void writeFrontLine(std::string& file) {
        const std::size_t behind = m_slots.offsetBehind(m_front);
        if (!m_slots.isCancelled(m_front))
            file.append(m_slots.text() + m_written, behind - m_written);
        m_written = behind;
        ++m_front;
    }

    std::vector<std::uint32_t> m_memory;
    Slots m_slots;
    std::string m_reserved;
    std::string m_elsewhere;
    std::string m_finished;
    std::string m_finishedAtSignal;
    std::string m_file;
    std::string m_signalFile;
    std::size_t m_front = 0;
    std::size_t m_written = 0;
    std::size_t m_lines = 0;
    bool m_isDraining = false;
    bool m_hasDrained = false;
};

/// The lines of a file, sorted: writers record their letters in another order than that of their slots.
std::vector<std::string> sortedLines(const std::string& file) {
    std::vector<std::string> lines;
    std::istringstream stream(file);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line + "\n");
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> linesOfLetters(const std::string& letters) {
    std::string file;
    for (const char letter : letters)
        if (letter != 'x')
            file += Chunk::lineOf(letter);
    return sortedLines(file);
}

/// The threads of the writers; each writes the lines of its letters.
std::vector<Interleavings::Thread> writersOf(const std::shared_ptr<Chunk>& chunk,
                                             const std::vector<std::string>& writers) {
    std::vector<Interleavings::Thread> threads;
    for (const std::string& letters : writers)
        threads.push_back({[chunk, letters] {
            for (const char letter : letters)
                chunk->write(letter);
        }});
    return threads;
}

struct Scene {
    std::size_t room; // in lines
    std::vector<std::string> writers;
};
const std::vector<Scene> SCENES = {{3, {"a", "b"}}, {3, {"a", "x"}}, {3, {"x", "x"}},
                                   {1, {"a", "b"}}, {1, {"x", "b"}}, {2, {"ac", "b"}}};
std::string nameOf(const Scene& scene) {
    std::string name = "room for " + std::to_string(scene.room) + ":";
    for (const std::string& letters : scene.writers)
        name += " " + letters;
    return name;
}

} // namespace

TEST(LineSlots, EveryOrderOfTwoWritersAndADrainWritesEachLineOnce) {
    for (const Scene& scene : SCENES) {
        SCOPED_TRACE(nameOf(scene));
        const std::size_t orders = Interleavings::runAll([&] {
            const auto chunk = std::make_shared<Chunk>(scene.room);
            std::vector<Interleavings::Thread> threads = writersOf(chunk, scene.writers);
            threads.push_back({[chunk] { chunk->drain(); }});
            return Interleavings::Run{
                threads, [chunk] { return chunk->hash(); },
                [chunk, &scene] {
                    EXPECT_TRUE(chunk->hasDrained()) << "it waits for ever";
                    chunk->drain();
                    EXPECT_EQ(sortedLines(chunk->file()), linesOfLetters(chunk->reserved()));
                    std::string all;
                    for (const std::string& letters : scene.writers)
                        all += letters;
                    EXPECT_EQ(chunk->reserved().size() + chunk->elsewhere().size(), all.size());
                }};
        });
        EXPECT_GT(orders, 1U);
    }
}

// The handler interrupts the drain, or a writer while no drain runs, at each of their steps. The interrupted
// thread does not continue; the other writers do.
TEST(LineSlots, EveryOrderWithASignalsDrainKeepsEachFinishedLineAndEndsTheOthers) {
    // Only two of the scenes: one more thread multiplies the number of orders.
    for (const Scene& scene : {Scene{3, {"a", "b"}}, Scene{1, {"a", "b"}}}) {
        const std::size_t drain = scene.writers.size();
        for (const std::size_t interrupted : {std::size_t{0}, drain}) { // the writers are alike
            SCOPED_TRACE(nameOf(scene) + ", interrupted: " + std::to_string(interrupted));
            const std::size_t orders = Interleavings::runAll([&] {
                const auto chunk = std::make_shared<Chunk>(scene.room);
                std::vector<Interleavings::Thread> threads = writersOf(chunk, scene.writers);
                threads.push_back({[chunk] { chunk->drain(); }});
                threads.push_back(
                    {[chunk, interrupted, drain] {
                         Interleavings::freeze(interrupted);
                         Interleavings::freeze(drain); // it waits for the lock, which the handler holds
                         chunk->drainInSignal();
                     },
                     [chunk, interrupted, drain] { return interrupted == drain || !chunk->isDraining(); }});
                return Interleavings::Run{
                    threads, [chunk] { return chunk->hash(); },
                    [chunk] {
                        std::vector<std::string> written = sortedLines(chunk->file() + chunk->signalFile());
                        const auto isReplaced = [](const std::string& line) { return line.front() == '?'; };
                        written.erase(std::remove_if(written.begin(), written.end(), isReplaced),
                                      written.end());
                        const std::vector<std::string> reserved = linesOfLetters(chunk->reserved());
                        EXPECT_TRUE(
                            std::includes(reserved.begin(), reserved.end(), written.begin(), written.end()))
                            << testing::PrintToString(written);
                        const std::vector<std::string> finished = linesOfLetters(chunk->finishedAtSignal());
                        EXPECT_TRUE(
                            std::includes(written.begin(), written.end(), finished.begin(), finished.end()))
                            << testing::PrintToString(written);
                    }};
            });
            EXPECT_GT(orders, 1U);
        }
    }
}
