#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string_view>
#include <ucontext.h>
#include <utility>
#include <vector>

/// Runs a few threads in every order of their steps. A step is an access to a SteppedAtomic: exactly one
/// thread runs at a time, on a stack of its own, and yields before each access. An order is abandoned when it
/// reaches a known state: each thread has seen the same values before, and the shared memory was the same.
///
/// A thread that does not run to its end never unwinds its stack: what it owns there leaks.
///
/// The results hold for sequentially consistent memory. That weaker memory orders suffice is checked by the
/// thread sanitizer, in the tests with real threads.
class Interleavings {
public:
    struct Thread {
        std::function<void()> run;
        /// Called until the thread has begun; may read plain variables only.
        std::function<bool()> mayBegin = [] { return true; };
    };
    /// One run, with new variables.
    struct Run {
        std::vector<Thread> threads;
        std::function<std::uint64_t()> memory; ///< a hash of all variables that threads share, plain ones too
        std::function<void()> check;           ///< when all threads have ended or are frozen
    };

    /// @param begin  called for each order; creates its variables
    /// @return  the number of orders that were run to their end
    static std::size_t runAll(const std::function<Run()>& begin) {
        std::set<std::uint64_t> known;
        std::vector<Choice> choices;
        std::size_t ended = 0;
        bool hasFailed = false; // stops at the first order that fails
        do {
            Interleavings order(begin());
            current() = &order;
            if (order.follow(choices, known))
                ++ended;
            current() = nullptr;
            hasFailed = testing::Test::HasFailure();
        } while (!hasFailed && nextOrder(choices));

        return ended;
    }

    // ---- for the threads

    /// The calling thread yields. Does nothing outside runAll().
    static void step() {
        if (self() >= 0)
            current()->handOver(false);
    }
    /// The calling thread yields until another one has changed something.
    static void waitForChange() {
        if (self() >= 0)
            current()->handOver(true);
    }
    /// Records a value that the thread has seen or changed in its step.
    static void note(std::uint64_t value, bool isChange) {
        if (self() < 0)
            return;
        State& state = current()->m_states[static_cast<std::size_t>(self())];
        state.history = mix(state.history, value);
        current()->m_changes += isChange ? 1 : 0;
    }
    /// Stops a thread for good: it takes no further step.
    static void freeze(std::size_t thread) { current()->m_states[thread].isFrozen = true; }
    /// The number of the calling thread.
    static int self() { return number(); }

    static std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
        hash = (hash ^ value) * 0x9E3779B97F4A7C15u;
        return hash ^ hash >> 29;
    }
    static std::uint64_t hashOf(std::string_view bytes) {
        std::uint64_t hash = bytes.size();
        for (const char byte : bytes)
            hash = mix(hash, static_cast<unsigned char>(byte));
        return hash;
    }

private:
    struct Choice {
        std::vector<std::size_t> threads;
        std::size_t chosen;
    };
    struct State {
        std::uint64_t history = 0;
        std::uint64_t waitsSince = 0; // the number of changes when it began to wait
        bool hasBegun = false;
        bool hasEnded = false;
        bool isFrozen = false;
        bool isWaiting = false;
        ucontext_t context;
    };

    explicit Interleavings(Run run) : m_run(std::move(run)), m_states(m_run.threads.size()) {}

    static constexpr std::size_t STACK_SIZE = std::size_t{256} * 1024;
    static char* stackOf(std::size_t thread) {
        static std::vector<std::unique_ptr<char[]>> stacks;
        while (stacks.size() <= thread)
            stacks.push_back(std::make_unique<char[]>(STACK_SIZE));
        return stacks[thread].get();
    }

    static Interleavings*& current() {
        static Interleavings* order = nullptr;
        return order;
    }
    static int& number() {
        static int ofThread = -1;
        return ofThread;
    }

    /// Follows the choices and adds those that are missing. False if the order reaches a known state.
    bool follow(std::vector<Choice>& choices, std::set<std::uint64_t>& known) {
        for (std::size_t i = 0; i < m_states.size(); ++i)
            prepare(i);
        for (std::size_t depth = 0;; ++depth) {
            std::vector<std::size_t> runnable;
            for (std::size_t i = 0; i < m_states.size(); ++i)
                if (isRunnable(i))
                    runnable.push_back(i);
            if (runnable.empty())
                break;
            if (depth == choices.size()) {
                if (!known.insert(stateHash()).second)
                    return false;
                choices.push_back({runnable, 0});
            }
            letRun(runnable[choices[depth].chosen]);
        }
        m_run.check();
        return true;
    }
    static bool nextOrder(std::vector<Choice>& choices) {
        while (!choices.empty() && ++choices.back().chosen == choices.back().threads.size())
            choices.pop_back();
        return !choices.empty();
    }
    bool isRunnable(std::size_t thread) const {
        const State& state = m_states[thread];
        if (state.hasEnded || state.isFrozen)
            return false;
        if (!state.hasBegun)
            return m_run.threads[thread].mayBegin();
        return !state.isWaiting || state.waitsSince != m_changes;
    }
    std::uint64_t stateHash() const {
        std::uint64_t hash = m_run.memory();
        for (const State& state : m_states) {
            // What a thread has seen does not matter if it takes no more steps.
            hash = mix(hash, state.hasEnded || state.isFrozen ? 0 : state.history);
            hash = mix(hash, (state.hasBegun ? 1u : 0u) + (state.hasEnded ? 2u : 0u) +
                                 (state.isFrozen ? 4u : 0u) +
                                 (state.isWaiting && state.waitsSince == m_changes ? 8u : 0u));
        }
        return hash;
    }
    void prepare(std::size_t thread) {
        State& state = m_states[thread];
        getcontext(&state.context);
        state.context.uc_stack.ss_sp = stackOf(thread);
        state.context.uc_stack.ss_size = STACK_SIZE;
        state.context.uc_link = nullptr;
        makecontext(&state.context, &runThread, 0);
    }
    static void runThread() {
        Interleavings& order = *current();
        const auto thread = static_cast<std::size_t>(self());
        order.m_run.threads[thread].run();
        order.m_states[thread].hasEnded = true;
        order.giveTurnBack(); // for good
    }
    void letRun(std::size_t thread) {
        State& state = m_states[thread];
        state.hasBegun = true;
        number() = static_cast<int>(thread);
        swapcontext(&m_controller, &state.context);
        number() = -1;
    }
    void giveTurnBack() {
        State& state = m_states[static_cast<std::size_t>(self())];
        swapcontext(&state.context, &m_controller);
    }
    void handOver(bool isWaiting) {
        State& state = m_states[static_cast<std::size_t>(self())];
        state.isWaiting = isWaiting;
        state.waitsSince = m_changes;
        state.history = mix(state.history, 1);
        giveTurnBack();
        state.isWaiting = false;
    }

    Run m_run;
    std::vector<State> m_states;
    ucontext_t m_controller;
    std::uint64_t m_changes = 0;
};

/// Replaces std::atomic: each access is a step.
template <typename T>
class SteppedAtomic {
public:
    static constexpr bool is_always_lock_free = true;

    SteppedAtomic() = default;
    explicit constexpr SteppedAtomic(T value) : m_value(value) {}

    T load(std::memory_order = std::memory_order_seq_cst) const {
        Interleavings::step();
        return seen(m_value, false);
    }
    void store(T value, std::memory_order = std::memory_order_seq_cst) {
        Interleavings::step();
        m_value = seen(value, true);
    }
    T exchange(T value, std::memory_order = std::memory_order_seq_cst) {
        Interleavings::step();
        const T before = seen(m_value, true);
        m_value = value;
        return before;
    }
    T fetch_add(T value, std::memory_order = std::memory_order_seq_cst) {
        return exchangeWith([value](T before) { return static_cast<T>(before + value); });
    }
    bool compare_exchange_strong(T& expected, T value, std::memory_order = std::memory_order_seq_cst) {
        Interleavings::step();
        const bool isEqual = seen(m_value, m_value == expected) == expected;
        (isEqual ? m_value : expected) = isEqual ? value : m_value;
        return isEqual;
    }
    /// Reads the value without a step.
    T value() const { return m_value; }

private:
    template <typename Change>
    T exchangeWith(const Change& change) {
        Interleavings::step();
        const T before = seen(m_value, true);
        m_value = change(before);
        return before;
    }
    static T seen(T value, bool isChange) {
        Interleavings::note(value, isChange);
        return value;
    }

    T m_value = 0;
};
