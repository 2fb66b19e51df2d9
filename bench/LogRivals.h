#pragma once

// The loggers that are compared. Each writes the same text, with the time and the level, to a file of its
// own, and has the same operations:
//
//   start(path)   creates the logger; it writes to `path`, or to files whose names begin with it
//   line(d, a, t, s)    writes one line
//   off(d, a, t, s)     one line that the level disables
//   flush()       writes the queued lines, if the logger has a call for that
//   finish()      writes the queued lines and ends the logger
//   WRITES        whether it writes a file
//
// One thread calls start, flush and finish; all threads call line and off.

#include "LogMessage.h"

#include <memory>
#include <string>
#include <thread>

#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_file_backend.hpp>
#include <boost/log/sources/global_logger_storage.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/setup/common_attributes.hpp>
#include <boost/log/utility/setup/file.hpp>
#include <boost/make_shared.hpp>
#include <glog/logging.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#ifdef ZEVO_WITH_QUILL
#include "quill/Backend.h"
#include "quill/Frontend.h"
#include "quill/LogMacros.h"
#include "quill/sinks/FileSink.h"
#endif

namespace rivals {

struct Floor {
    static constexpr bool WRITES = false;
    static void start(const std::string&) {}
    static void line(const char*, int, int, double) {}
    static void off(const char*, int, int, double) {}
    static void flush() {}
    static void finish() {}
};

struct Zevo {
    static constexpr bool WRITES = true;
    static std::unique_ptr<::Logger>& logger() {
        static std::unique_ptr<::Logger> instance;
        return instance;
    }
    static void start(const std::string& path) {
        logger() = std::make_unique<::Logger>();
        ::Logger::SetInstance(logger().get());
        logger()->setEnabled(true);
        logger()->setPrintTime(true);
        logger()->addToLevelMask(MSG_LEVEL_0);
        logger()->setMaximumLinesPerFile(1000000000);
        logger()->SetFileName(path);
        logger()->Initialize();
    }
    static void line(const char* device, int attempt, int total, double seconds) {
        LOG_MESSAGE(MSG_LEVEL_0, "device %s arrived, attempt %d of %d, %.3f s", device, attempt, total,
                    seconds);
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        LOG_MESSAGE(MSG_DEBUG, "device %s arrived, attempt %d of %d, %.3f s", device, attempt, total,
                    seconds);
    }
    static void flush() { logger()->WriteOnFile(); }
    static void finish() {
        logger()->FinishLogging();
        logger().reset();
    }
};

struct SpdlogSync {
    static constexpr bool WRITES = true;
    static std::shared_ptr<spdlog::logger>& logger() {
        static std::shared_ptr<spdlog::logger> instance;
        return instance;
    }
    static void start(const std::string& path) {
        logger() = spdlog::basic_logger_mt("sync", path, true);
        setPattern();
    }
    static void setPattern() { logger()->set_pattern("[%H:%M:%S-%e][%l] %v"); }
    static void line(const char* device, int attempt, int total, double seconds) {
        logger()->info("device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total, seconds);
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        logger()->debug("device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total, seconds);
    }
    static void flush() { logger()->flush(); }
    static void finish() {
        logger()->flush();
        logger().reset();
        spdlog::drop_all();
    }
};

struct SpdlogAsync : SpdlogSync {
    static void start(const std::string& path) {
        spdlog::init_thread_pool(8192, 1);
        logger() = spdlog::basic_logger_mt<spdlog::async_factory>("async", path, true);
        setPattern();
    }
    static void flush() {
        while (spdlog::thread_pool()->queue_size() != 0)
            std::this_thread::yield();
    }
    static void finish() {
        logger()->flush();
        logger().reset();
        spdlog::shutdown(); // joins the writing thread
    }
};

struct Glog {
    static constexpr bool WRITES = true;
    static void start(const std::string& path) {
        static const bool initialised = (google::InitGoogleLogging("bench"), true);
        static_cast<void>(initialised);
        FLAGS_logtostderr = false;
        FLAGS_stderrthreshold = google::FATAL;
        google::SetLogDestination(google::INFO, path.c_str());
    }
    static void line(const char* device, int attempt, int total, double seconds) {
        char number[32];
        snprintf(number, sizeof(number), "%.3f", seconds);
        LOG(INFO) << "device " << device << " arrived, attempt " << attempt << " of " << total << ", "
                  << number << " s";
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        VLOG(1) << "device " << device << " arrived, attempt " << attempt << " of " << total << ", "
                << seconds;
    }
    static void flush() { google::FlushLogFiles(google::INFO); }
    static void finish() { google::FlushLogFiles(google::INFO); }
};

struct Log4cplus {
    static constexpr bool WRITES = true;
    static log4cplus::Logger& logger() {
        static log4cplus::Initializer initializer;
        static log4cplus::Logger instance = log4cplus::Logger::getInstance("bench");
        return instance;
    }
    static void start(const std::string& path) {
        log4cplus::SharedAppenderPtr appender(new log4cplus::FileAppender(path, std::ios_base::trunc, false));
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>("[%D{%H:%M:%S-%q}][%p] %m%n"));
        logger().addAppender(appender);
        logger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
        logger().setAdditivity(false);
    }
    static void line(const char* device, int attempt, int total, double seconds) {
        LOG4CPLUS_INFO_FMT(logger(), "device %s arrived, attempt %d of %d, %.3f s", device, attempt, total,
                           seconds);
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        LOG4CPLUS_DEBUG_FMT(logger(), "device %s arrived, attempt %d of %d, %.3f s", device, attempt, total,
                            seconds);
    }
    static void flush() {} // there is no such call; closing the appender writes its buffer
    static void finish() { logger().removeAllAppenders(); }
};

struct BoostLog {
    static constexpr bool WRITES = true;
    using Source = boost::log::sources::severity_logger_mt<boost::log::trivial::severity_level>;
    static Source& source() {
        static Source instance;
        return instance;
    }
    static void start(const std::string& path) {
        namespace expressions = boost::log::expressions;
        boost::log::add_common_attributes();
        boost::log::add_file_log(boost::log::keywords::file_name = path,
                                 boost::log::keywords::format =
                                     expressions::stream
                                     << "["
                                     << expressions::format_date_time<boost::posix_time::ptime>("TimeStamp",
                                                                                                "%H:%M:%S-%f")
                                     << "][" << boost::log::trivial::severity << "] "
                                     << expressions::smessage);
        boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    }
    static void line(const char* device, int attempt, int total, double seconds) {
        char number[32];
        snprintf(number, sizeof(number), "%.3f", seconds);
        BOOST_LOG_SEV(source(), boost::log::trivial::info)
            << "device " << device << " arrived, attempt " << attempt << " of " << total << ", " << number
            << " s";
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        BOOST_LOG_SEV(source(), boost::log::trivial::debug)
            << "device " << device << " arrived, attempt " << attempt << " of " << total << ", " << seconds;
    }
    static void flush() { boost::log::core::get()->flush(); }
    static void finish() {
        boost::log::core::get()->flush();
        boost::log::core::get()->remove_all_sinks();
    }
};

#ifdef ZEVO_WITH_FMTLOG
/// Defined in FmtlogRival.cpp, because it needs another release of fmt than the others.
struct Fmtlog {
    static constexpr bool WRITES = true;
    static void start(const std::string& path);
    static void line(const char* device, int attempt, int total, double seconds);
    static void off(const char* device, int attempt, int total, double seconds);
    static void flush();
    static void finish();
};
#endif

#ifdef ZEVO_WITH_QUILL
struct Quill {
    static constexpr bool WRITES = true;
    static quill::Logger*& logger() {
        static quill::Logger* instance = nullptr;
        return instance;
    }
    static void start(const std::string& path) {
        static const bool started = [] {
            quill::BackendOptions options;
            options.error_notifier = [](const std::string&) {}; // it is called whenever the queue grows
            quill::Backend::start(options);
            return true;
        }();
        static_cast<void>(started);
        quill::FileSinkConfig config;
        config.set_open_mode('w');
        auto sink = quill::Frontend::create_or_get_sink<quill::FileSink>(path, config);
        logger() = quill::Frontend::create_or_get_logger(
            "bench" + path, std::move(sink),
            quill::PatternFormatterOptions{"[%(time)][%(log_level)] %(message)", "%H:%M:%S-%Qms"});
    }
    static void line(const char* device, int attempt, int total, double seconds) {
        QUILL_LOG_INFO(logger(), "device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total,
                       seconds);
    }
    static void off(const char* device, int attempt, int total, double seconds) {
        QUILL_LOG_DEBUG(logger(), "device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total,
                        seconds);
    }
    static void flush() { logger()->flush_log(); }
    static void finish() {
        logger()->flush_log();
        quill::Frontend::remove_logger(logger());
    }
};
#endif

} // namespace rivals
