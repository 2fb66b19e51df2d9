#pragma once

#include "MessageType.h"
#include "detail/CallSite.h"

#include <atomic>
#include <cstdint>
#include <string_view>

class ThreadTracer;

// A call marker is at the top of every traced function, through one of these macros. It writes the call's
// entry line when it is constructed, and the exit line when the function returns or unwinds:
//
//     void ZevoLauncher::init() {
//         TRACE_METHOD();
//         ...
//         TRACE_MESSAGE(MSG_ERROR, "cannot open %s: %d", name, status);
//     }
//
//   TRACE_METHOD()                     a member function; the name comes from the compiler
//   TRACE_FUNCTION("name")             a free or static function, written as named
//   TRACE_CONSTRUCTOR("Class")         also counts the object
//   TRACE_COPY_CONSTRUCTOR("Class")    the same, shown as Class::copyconstructor
//   TRACE_DESTRUCTOR("Class")          also uncounts it
//   TRACE_MESSAGE(type, "format", ...) a line inside the call, checked by the compiler as a printf format.
//                                      The arguments are evaluated only when the line is written;
//                                      TRACE_MESSAGE may stand unbraced after an if or an else
// the same as a stream; include TraceStream.h
//
// All names are string literals. TRACE_MESSAGE and TRACE_STREAM use the marker of the innermost enclosing
// scope.

#define TRACE_METHOD()                                                                                       \
    KF_CALL_MARKER_(static_cast<const void*>(this), __PRETTY_FUNCTION__, ::kf::detail::CallSite::Signature())
#define TRACE_FUNCTION(name) KF_CALL_MARKER_(nullptr, "" name)
#define TRACE_CONSTRUCTOR(className) KF_CALL_MARKER_(this, "" className, className "::constructor", true)
#define TRACE_COPY_CONSTRUCTOR(className)                                                                    \
    KF_CALL_MARKER_(this, "" className, className "::copyconstructor", true)
#define TRACE_DESTRUCTOR(className) KF_CALL_MARKER_(this, "" className, className "::destructor", false)

#define TRACE_MESSAGE(type, ...)                                                                             \
    do {                                                                                                     \
        KF_SHADOWING_ALLOWED_(const ::TraceMsgType kfTraceType_ = (type);)                                   \
        if (kfCallMarker_.isMessageWritten(kfTraceType_))                                                    \
            kfCallMarker_.PrintMsg(kfTraceType_, __VA_ARGS__);                                               \
    } while (false)

#define TRACE_STREAM(type) ::TraceStream((type), kfCallMarker_)

// A lambda or an inner block may have a marker or a message of its own.
#define KF_SHADOWING_ALLOWED_(declaration)                                                                   \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wshadow\"")                            \
        declaration _Pragma("GCC diagnostic pop")
#define KF_CALL_MARKER_(object, ...)                                                                         \
    KF_SHADOWING_ALLOWED_(static ::kf::detail::CallSite kfCallSite_(__VA_ARGS__);                            \
                          ::CallMarker kfCallMarker_(kfCallSite_, object);)

/// One traced call, from its entry to its exit. Lives in the traced function's scope, on that function's
/// thread.
///
/// A call site's texts live as long as the process, so that a stack can be printed at any time: the macros
/// pass string literals and __PRETTY_FUNCTION__, the other constructors copy theirs. A marker that is created
/// while no tracer is registered, or while the tracer is disabled, does nothing, even if the tracer is
/// enabled later.
class CallMarker {
public:
    /// For the macros: the site is a static of the traced function.
    CallMarker(kf::detail::CallSite& site, const void* object) : m_site(site), m_object(object) {
        if (ms_isTracing.load(std::memory_order_relaxed))
            begin();
    }
    /// A free function, shown under this name.
    explicit CallMarker(const char* name)
        : CallMarker(kf::detail::CallSite::find("", name, false, false), nullptr) {}
    /// A member function, given by the compiler's signature text and shown as Tracer::extractMethodName
    /// returns it.
    CallMarker(const char* prettyName, const void* object)
        : CallMarker(kf::detail::CallSite::find("", prettyName, true, false), object) {}
    /// A constructor or a destructor, which counts the objects of the class.
    CallMarker(const char* className, const char* methodName, bool isConstructor, const void* object)
        : CallMarker(kf::detail::CallSite::find(className, methodName, false, isConstructor), object) {}
    ~CallMarker() {
        if (m_threadTracer != nullptr)
            end();
    }

    CallMarker(const CallMarker&) = delete;
    CallMarker& operator=(const CallMarker&) = delete;

    /// Whether a message of this type in this call is written: the tracer exists and is enabled, its level
    /// mask has the type, and the call's entry line was written. So a call that the filters hide also hides
    /// its messages.
    bool isMessageWritten(TraceMsgType type) const { return m_printed && threadTracerFor(type) != nullptr; }
    /// Writes the message at the thread's current depth, if isMessageWritten(). Only on the call's own
    /// thread.
    void PrintMsg(TraceMsgType type, const char* format, ...) const KF_PRINTF_LIKE(3, 4);

    kf::detail::CallSite& getSite() const { return m_site; }
    std::string_view getClassName() const { return m_site.getClassName(); }
    std::string_view getMethodName() const { return m_site.getMethodName(); }
    bool isConstructor() const { return m_site.isConstructor(); }
    const void* getObject() const { return m_object; }
    /// Whether the entry line was written.
    bool isPrinted() const { return m_printed; }
    /// The thread tracer that recorded the call, or null. Do not dereference it: the thread may have ended
    /// its trace since, and another thread tracer may have the same address. Compare its number instead.
    const ThreadTracer* getThreadTracer() const { return m_threadTracer; }
    std::uint64_t getThreadTracerNumber() const { return m_threadTracerNumber; }

private:
    friend class ThreadTracer;
    friend class Tracer;

    // Whether a tracer is registered and enabled. Tracer::updateSwitch maintains it.
    static std::atomic<bool> ms_isTracing;

    void begin();
    void end();
    ThreadTracer* threadTracerFor(TraceMsgType type) const;

    kf::detail::CallSite& m_site;
    const void* m_object;
    ThreadTracer* m_threadTracer = nullptr;
    std::uint64_t m_threadTracerNumber = 0;
    bool m_printed = false;
};
