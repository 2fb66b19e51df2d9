#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

namespace kf::detail {

/// What all calls of one traced function share: its names, and the filters' verdict on it, which is cached
/// until the filters change. Every marker macro defines one, as a static that is initialised at compile time.
///
/// The texts must live as long as the process: string literals and __PRETTY_FUNCTION__ only. find() copies
/// its texts. Thread: any.
class CallSite {
public:
    /// A free function, shown under this name.
    constexpr explicit CallSite(const char* name) : m_text(name) {}
    /// A member function, given by the compiler's signature text and shown as Tracer::extractMethodName says. The tag
    /// selects this constructor.
    struct Signature {};
    constexpr CallSite(const char* prettyName, Signature) : m_text(prettyName), m_signature(true) {}
    /// A constructor or a destructor, which counts the objects of the class.
    constexpr CallSite(const char* className, const char* methodName, bool isConstructor)
        : m_className(className), m_text(methodName), m_constructor(isConstructor) {}

    CallSite(const CallSite&) = delete;
    CallSite& operator=(const CallSite&) = delete;

    /// Finds the site of a function that has no static one by its texts, and creates it at the first call.
    /// The site lives as long as the process. An empty class name counts as none. Slow: takes a lock and
    /// searches a list.
    static CallSite& find(const char* className, const char* text, bool signature, bool isConstructor);

    /// Empty for all but constructors and destructors.
    std::string_view getClassName() const {
        return m_className != nullptr ? m_className : std::string_view();
    }
    bool hasClassName() const { return m_className != nullptr && *m_className != '\0'; }
    bool isConstructor() const { return m_constructor; }
    std::string_view getMethodName() const {
        const char* const name = m_name.load(std::memory_order_acquire);
        return name != nullptr ? std::string_view(name, m_length.load(std::memory_order_relaxed))
                               : findName();
    }
    /// "void ZevoLauncher::init(int)" gives "ZevoLauncher::init".
    static std::string_view methodNameIn(std::string_view prettyName);

    enum class Verdict { Hidden, Printed, Unknown };
    /// The verdict that keepVerdict() stored for this generation of the filters (not 0); otherwise Unknown.
    Verdict getVerdict(std::uint32_t filterGeneration) const {
        const std::uint32_t verdict = m_verdict.load(std::memory_order_relaxed);
        return verdict >> 1 == filterGeneration ? static_cast<Verdict>(verdict & 1) : Verdict::Unknown;
    }
    void keepVerdict(std::uint32_t filterGeneration, bool isPrinted) {
        m_verdict.store(filterGeneration << 1 | (isPrinted ? 1u : 0u), std::memory_order_relaxed);
    }

private:
    std::string_view findName() const;

    const char* m_className = nullptr;
    const char* m_text;
    bool m_signature = false;
    bool m_constructor = false;
    // Set by the first call, so that a static site is initialised at compile time.
    mutable std::atomic<const char*> m_name{nullptr};
    mutable std::atomic<std::uint32_t> m_length{0};
    std::atomic<std::uint32_t> m_verdict{0}; // the generation, shifted left; its lowest bit is a Verdict
};

} // namespace kf::detail
