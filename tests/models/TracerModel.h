#pragma once

#include "LineRingModel.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace model {

/// A model of the tracer, for threads that take turns.
class Tracer : public LineOutput {
public:
    /// @param keys  the full keys of the threads; lines show their lower 32 bits as ids
    explicit Tracer(std::vector<std::uint64_t> keys)
        : LineOutput("trace_",
                     {">> [D] ", ">> [E] ", ">> [W] ", ">> [0] ", ">> [1] ", ">> [2] ", ">> [3] ", ">> [4] ",
                      ">> [5] "},
                     true),
          m_keys(std::move(keys)) {}

    /// One call, from its begin to its end. The caller keeps it and passes it to the operations.
    struct Marker {
        std::string className;
        std::string method;
        bool isConstructor = false;
        std::uint64_t object = 0;
        bool isPrinted = false;
        std::uint64_t taker = 0; // number of the thread tracer that recorded it; 0: none did
    };

    void configure(const std::string& text);
    void setFileName(const std::string& name) override;
    void updateFileName();

    // Operations on a thread, given by its number.
    void beginThread(int thread, const std::string& name);
    void endThread(int thread);
    void switchThread(int thread, bool on);
    void beginCall(int thread, Marker& marker);
    void endCall(int thread, const Marker& marker);
    void message(int thread, const Marker& marker, unsigned level, const std::string& text);
    void printStacks(int thread);

    void printObjectCounts();

    static std::string methodName(const std::string& prettyName);

private:
    struct Element {
        std::string method;
        bool isPrinted;
    };
    struct ThreadTracer {
        std::uint64_t number = 0;
        std::string name;
        bool isEnabled = true;
        std::vector<Element> stack; // the innermost call last
    };

    ThreadTracer* tracerOf(int thread);
    ThreadTracer* takerOf(int thread, const Marker& marker);
    std::int32_t idOf(int thread) const {
        return static_cast<std::int32_t>(m_keys[static_cast<std::size_t>(thread)]);
    }
    std::string lineBegin(int thread, const ThreadTracer& tracer, const std::string& objectColumn) const;
    std::string threadColumn(int thread, const ThreadTracer& tracer) const;
    std::string addressColumn(const Marker& marker) const;
    int updateObjectCount(const Marker& marker);
    bool isCallPrinted(const std::string& name) const;

    bool m_hasBars = false;
    bool m_indentsHidden = false;
    bool m_printsExits = false;
    bool m_printsObjects = false;
    std::vector<std::string> m_permittedThreads;
    std::vector<std::string> m_permittedCalls;
    std::vector<std::string> m_forbiddenCalls;
    std::map<std::string, int> m_objectCounts;
    std::vector<std::uint64_t> m_keys;
    std::map<std::uint64_t, ThreadTracer> m_threads; // by key
    std::uint64_t m_lastNumber = 0;
};

} // namespace model
