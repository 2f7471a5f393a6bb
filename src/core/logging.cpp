#include "core/logging.h"

#include <algorithm>
#include <cstdarg>

#include "core/strings.h"
#include "core/wformat.h"

namespace Qv::Bridge::Logging {
namespace {

struct LogState {
    std::mutex mutex;
    std::wstring provider;
    std::vector<std::shared_ptr<ILogSink>> sinks;
    TraceLogger logger;
};

LogState& State() {
    // Never destroyed: helpers and threads may still log while the process exits.
    static LogState* state = new LogState();
    return *state;
}

}  // namespace

const wchar_t* LevelName(LogLevel level) {
    switch (level) {
        case LogLevel::Error: return L"ERROR";
        case LogLevel::Warning: return L"WARNING";
        case LogLevel::Info: return L"INFO";
    }
    return L"?";
}

void TraceLogger::Emit(LogLevel level, const wchar_t* format, va_list args) {
    LogManager::Dispatch(level, Core::FormatWideV(format, args));
}

void TraceLogger::LogInfo(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    Emit(LogLevel::Info, format, args);
    va_end(args);
}

void TraceLogger::LogWarning(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    Emit(LogLevel::Warning, format, args);
    va_end(args);
}

void TraceLogger::LogError(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    Emit(LogLevel::Error, format, args);
    va_end(args);
}

void LogManager::SetProvider(const wchar_t* providerName) {
    std::lock_guard<std::mutex> lock(State().mutex);
    State().provider = providerName != nullptr ? providerName : L"";
}

TraceLogger* LogManager::GetLogger() { return &State().logger; }

std::wstring LogManager::Provider() {
    std::lock_guard<std::mutex> lock(State().mutex);
    return State().provider;
}

void LogManager::AddSink(std::shared_ptr<ILogSink> sink) {
    if (!sink) return;
    std::lock_guard<std::mutex> lock(State().mutex);
    State().sinks.push_back(std::move(sink));
}

void LogManager::RemoveSink(const std::shared_ptr<ILogSink>& sink) {
    std::lock_guard<std::mutex> lock(State().mutex);
    auto& sinks = State().sinks;
    sinks.erase(std::remove(sinks.begin(), sinks.end(), sink), sinks.end());
}

void LogManager::Dispatch(LogLevel level, std::wstring text) {
    std::vector<std::shared_ptr<ILogSink>> sinks;
    LogRecord record{level, {}, std::move(text)};
    {
        std::lock_guard<std::mutex> lock(State().mutex);
        sinks = State().sinks;
        record.provider = State().provider;
    }
    for (const auto& sink : sinks) sink->Write(record);
}

void MemoryLogSink::Write(const LogRecord& record) {
    std::lock_guard<std::mutex> lock(mutex_);
    records_.push_back(record);
}

std::vector<LogRecord> MemoryLogSink::Records() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return records_;
}

size_t MemoryLogSink::Count(LogLevel level, const std::wstring& fragment) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<size_t>(std::count_if(records_.begin(), records_.end(), [&](const LogRecord& r) {
        return r.level == level && r.text.find(fragment) != std::wstring::npos;
    }));
}

bool MemoryLogSink::Contains(const std::wstring& fragment) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::any_of(records_.begin(), records_.end(),
                       [&](const LogRecord& r) { return r.text.find(fragment) != std::wstring::npos; });
}

void MemoryLogSink::Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    records_.clear();
}

// The path is UTF-8; the Windows C runtime would read a narrow path in the ANSI code page.
#if defined(_WIN32)
FileLogSink::FileLogSink(const std::string& path) : file_(_wfopen(Core::Widen(path).c_str(), L"ab")) {}
#else
FileLogSink::FileLogSink(const std::string& path) : file_(std::fopen(path.c_str(), "ab")) {}
#endif

FileLogSink::~FileLogSink() {
    if (file_ != nullptr) std::fclose(file_);
}

void FileLogSink::Write(const LogRecord& record) {
    if (file_ == nullptr) return;
    const std::string line = Core::Narrow(std::wstring(LevelName(record.level)) + L" " + record.text) + "\n";
    std::lock_guard<std::mutex> lock(mutex_);
    std::fwrite(line.data(), 1, line.size(), file_);
    std::fflush(file_);
}

ScopedLogCapture::ScopedLogCapture() : sink_(std::make_shared<MemoryLogSink>()) { LogManager::AddSink(sink_); }

ScopedLogCapture::~ScopedLogCapture() { LogManager::RemoveSink(sink_); }

}  // namespace Qv::Bridge::Logging
