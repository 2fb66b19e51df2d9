#include "TracerModel.h"
#include "CallMarker.h"
#include "RingFiles.h"
#include "TraceStream.h"
#include "Tracer.h"
#include "TracerConfigFileParser.h"

#include <array>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

// Random sequences of operations on the framework's tracer and on its model, by three threads that take
// turns: after each operation, the files of both hold the same bytes.

namespace {

enum class Operation {
    BeginCall,
    EndCall,
    Message,
    Stream,
    Configure,
    BeginThread,
    EndThread,
    Enable,
    Disable,
    PrintStacks,
    PrintObjectCounts,
    PrintString,
    WriteOnFile,
    Finish,
    SetDirectWrite,
    SetFileName,
    UpdateFileName,
    Remove,
    Block,
    Unblock,
};
constexpr std::array<const char*, 20> NAMES = {
    "BeginCall",         "EndCall",        "Message",     "Stream",  "Configure",
    "BeginThread",       "EndThread",      "Enable",      "Disable", "PrintStacks",
    "PrintObjectCounts", "PrintString",    "WriteOnFile", "Finish",  "SetDirectWrite",
    "SetFileName",       "UpdateFileName", "Remove",      "Block",   "Unblock"};

struct Step {
    Operation operation = Operation::Unblock;
    int thread = 0;
    unsigned number = 0;
    std::string name;
    std::string text;
    std::string configuration;
};

void showValue(const Step& step, std::ostream& out) {
    out << NAMES[static_cast<std::size_t>(step.operation)] << "(" << step.thread << ", " << step.number
        << ", \"" << step.name << "\", " << step.text.size() << " characters, \"" << step.configuration
        << "\")\n";
}

rc::Gen<std::string> someTraceConfiguration() {
    return someConfiguration("TRACE_", {
                                           "trace_on",
                                           "TRACE_ON",
                                           "TRACE_INDENT_WITH_MARK",
                                           "TRACE_FULL_INDENT",
                                           "TRACE_CALL_EXIT",
                                           "Trace_Call_Exit",
                                           "  \tTRACE_CALL_EXIT",
                                           "TRACE_OBJECT_COUNT",
                                           "TRACE_SET_MSG_FILTER trace_level_5",
                                           "TRACE_THE_THREAD *",
                                           "TRACE_THE_THREAD *",
                                           "TRACE_THE_THREAD Main*",
                                           "TRACE_THE_THREAD *Worker MAIN",
                                           "TRACE_THE_CALL *",
                                           "TRACE_THE_CALL *",
                                           "TRACE_THE_CALL A::*",
                                           "TRACE_THE_CALL *run init",
                                           "TRACE_THE_CALL B::run",
                                           "TRACE_THE_CALL -A::*",
                                           "TRACE_THE_CALL -*run",
                                           "TRACE_THE_CALL -*uct*",
                                           "TRACE_THE_CALL -",
                                           "TRACE_THE_CALL -init",
                                           "TRACE_SET_FILE_NAME trace",
                                           "TRACE_SET_BUFFER_FORMAT_HEX",
                                       });
}

} // namespace

template <>
struct rc::Arbitrary<Step> {
    static Gen<Step> arbitrary() {
        const auto operation = gen::weightedElement<Operation>({
            {30, Operation::BeginCall},
            {25, Operation::EndCall},
            {25, Operation::Message},
            {5, Operation::Stream},
            {8, Operation::Configure},
            {4, Operation::BeginThread},
            {3, Operation::EndThread},
            {3, Operation::Enable},
            {3, Operation::Disable},
            {3, Operation::PrintStacks},
            {3, Operation::PrintObjectCounts},
            {3, Operation::PrintString},
            {15, Operation::WriteOnFile},
            {1, Operation::Finish},
            {3, Operation::SetDirectWrite},
            {2, Operation::SetFileName},
            {2, Operation::UpdateFileName},
            {2, Operation::Remove},
            {2, Operation::Block},
            {2, Operation::Unblock},
        });
        const auto name =
            gen::elementOf(std::vector<std::string>{"MAIN", "Worker", "MainWorker", "WorkerWorker"});
        return gen::build<Step>(gen::set(&Step::operation, operation),
                                gen::set(&Step::thread, gen::inRange(0, 3)), gen::set(&Step::number),
                                gen::set(&Step::name, name), gen::set(&Step::text, someMessage()),
                                gen::set(&Step::configuration, someTraceConfiguration()));
    }
};

namespace {

/// A thread that runs tasks one after the other.
class Worker {
public:
    Worker() : m_thread([this] { work(); }) {}
    ~Worker() {
        run([this] { m_ends = true; });
        m_thread.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Runs the task on the thread; returns when it is done.
    void run(std::function<void()> task) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_task = std::move(task);
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_task == nullptr; });
    }
    std::uint64_t key() {
        std::uint64_t key = 0;
        run([&key] { key = (std::uint64_t)(std::uintptr_t)pthread_self(); });
        return key;
    }

private:
    void work() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_ends) {
            m_changed.wait(lock, [this] { return m_task != nullptr; });
            m_task();
            m_task = nullptr;
            m_changed.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<void()> m_task;
    bool m_ends = false;
    std::thread m_thread; // declared last, because it uses the other members
};

/// A call, in the framework and in the model.
struct Call {
    std::unique_ptr<CallMarker> marker;
    model::Tracer::Marker model;
};

const char OBJECTS[4] = {};

/// Begins a call with one of the forms of a call marker.
Call makeCall(unsigned number) {
    constexpr std::array<const char*, 2> FUNCTIONS = {"init", "B::run"};
    constexpr std::array<const char*, 4> PRETTY_NAMES = {
        "void A::run()", "virtual void A::runAll(std::string&)", "std::list<int> B::run(int) const",
        "noBrackets at all"};
    struct CountedCall {
        const char* className;
        const char* method;
        bool isConstructor;
    };
    constexpr std::array<CountedCall, 4> COUNTED = {{{"A", "A::constructor", true},
                                                     {"A", "A::destructor", false},
                                                     {"Base", "Base::constructor", true},
                                                     {"Base", "Base::destructor", false}}};
    const void* const object = &OBJECTS[number / 16 % 4];
    Call call;
    const unsigned form = number % 10;
    if (form < 2) {
        call.marker = std::make_unique<CallMarker>(FUNCTIONS[form]);
        call.model.method = FUNCTIONS[form];
        return call;
    }
    call.model.object = reinterpret_cast<std::uintptr_t>(object);
    if (form < 6) {
        call.marker = std::make_unique<CallMarker>(PRETTY_NAMES[form - 2], object);
        call.model.method = model::Tracer::methodName(PRETTY_NAMES[form - 2]);
        return call;
    }
    const CountedCall& counted = COUNTED[form - 6];
    call.marker =
        std::make_unique<CallMarker>(counted.className, counted.method, counted.isConstructor, object);
    call.model.className = counted.className;
    call.model.method = counted.method;
    call.model.isConstructor = counted.isConstructor;
    return call;
}

void writeMessage(CallMarker& kfCallMarker_, TraceMsgType type, const std::string& text) {
    TRACE_MESSAGE(type, "%s", text.c_str());
}

void streamMessage(CallMarker& kfCallMarker_, TraceMsgType type, const std::string& text) {
    TRACE_STREAM(type) << text;
}

class TracerModelTest : public testing::Test {
protected:
    TracerModelTest()
        : m_model({m_workers[0].key(), m_workers[1].key(), m_workers[2].key()}), m_files(m_model.ring) {
        Tracer::SetInstance(&m_tracer);
        m_tracer.SetFolderName(m_files.folder().path() + "/");
        m_tracer.SetFileName("trace");
        m_model.setFileName("trace");
    }
    ~TracerModelTest() override {
        for (std::size_t thread = 0; thread < m_workers.size(); ++thread)
            while (!m_calls[thread].empty())
                m_workers[thread].run([&] { m_calls[thread].pop_back(); });
    }

    void configure(const std::string& text) {
        TracerConfigFileParser(m_files.writeConfiguration(text).c_str(), &m_tracer).parse();
        m_model.configure(text);
    }

    void perform(const Step& step) {
        std::vector<Call>& calls = m_calls[static_cast<std::size_t>(step.thread)];
        const TraceMsgType type = static_cast<TraceMsgType>(1u << step.number % 9);
        const std::string path = m_files.folder() / ("trace_" + std::to_string(step.number % 4) + ".txt");
        if (performShared(step.operation, m_tracer, m_model, m_files, step.number, step.text, path))
            return;
        switch (step.operation) {
        case Operation::BeginCall:
            calls.push_back(makeCall(step.number));
            m_model.beginCall(step.thread, calls.back().model);
            break;
        case Operation::EndCall:
            if (calls.empty())
                break;
            m_model.endCall(step.thread, calls.back().model);
            calls.pop_back();
            break;
        case Operation::Message:
        case Operation::Stream: {
            if (calls.empty())
                break;
            // Mostly from the innermost call, as in a function.
            const Call& call = step.number % 8 == 0 ? calls.front() : calls.back();
            if (step.operation == Operation::Message)
                writeMessage(*call.marker, type, step.text);
            else
                streamMessage(*call.marker, type, step.text);
            m_model.message(step.thread, call.model, type, step.text);
            break;
        }
        case Operation::Configure:
            configure(step.configuration);
            break;
        case Operation::BeginThread:
            m_tracer.BeginningOfThread(step.name.c_str());
            m_model.beginThread(step.thread, step.name);
            break;
        case Operation::EndThread:
            m_tracer.EndOfThread();
            m_model.endThread(step.thread);
            break;
        case Operation::Enable:
            m_tracer.Enable();
            m_model.switchThread(step.thread, true);
            break;
        case Operation::Disable:
            m_tracer.Disable();
            m_model.switchThread(step.thread, false);
            break;
        case Operation::PrintStacks:
            m_tracer.PrintStacks();
            m_model.printStacks(step.thread);
            break;
        case Operation::PrintObjectCounts:
            m_tracer.PrintAllObjectsCount();
            m_model.printObjectCounts();
            break;
        case Operation::Finish:
            m_tracer.FinishTracing();
            m_model.finish();
            break;
        case Operation::SetFileName:
            m_tracer.SetFileName(step.name);
            m_model.setFileName(step.name);
            break;
        default:
            break; // shared
        }
    }

    std::array<Worker, 3> m_workers;
    std::array<std::vector<Call>, 3> m_calls;
    Tracer m_tracer;
    model::Tracer m_model;
    RingFiles m_files;
};

RC_GTEST_FIXTURE_PROP(TracerModelTest, WritesAsItsModel, (const std::vector<Step>& steps)) {
    // With random statements alone, calls are seldom traced.
    configure(*rc::gen::elementOf(std::vector<std::string>{
        "",
        "TRACE_ON\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\nTRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR "
        "TRACE_LEVEL_0\n",
        "TRACE_ON\nTRACE_THE_THREAD *Worker\nTRACE_THE_CALL *::run A::*\nTRACE_CALL_EXIT\n"}));
    for (const Step& step : steps) {
        m_workers[static_cast<std::size_t>(step.thread)].run([&] { perform(step); });
        RC_ASSERT(m_files.read() == m_model.ring.files);
    }
}

} // namespace
