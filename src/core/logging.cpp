#include "core/logging.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>

#include "core/strings.h"
#include "core/wformat.h"

namespace Qv::Bridge::Logging {
namespace {

using SinkList = std::vector<std::shared_ptr<ILogSink>>;

// Published lists and provider names are never freed (a logging thread may still read an old
// one); they change only when sinks are added or removed and when the provider is renamed.
struct LogState {
    std::mutex writers;  // serialises changes, never taken to log
    std::vector<std::unique_ptr<const SinkList>> lists;
    std::vector<std::unique_ptr<const std::wstring>> providers;
    std::atomic<const SinkList*> sinks{nullptr};
    std::atomic<const std::wstring*> provider{nullptr};
    TraceLogger logger;

    LogState() {
        lists.push_back(std::make_unique<const SinkList>());
        sinks.store(lists.back().get());
        providers.push_back(std::make_unique<const std::wstring>());
        provider.store(providers.back().get());
    }
};

LogState& State() {
    // Never destroyed: helpers and threads may still log while the process exits.
    static LogState* state = new LogState();
    return *state;
}

void Publish(LogState& state, SinkList list) {
    state.lists.push_back(std::make_unique<const SinkList>(std::move(list)));
    state.sinks.store(state.lists.back().get(), std::memory_order_release);
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

void LogManager::Log(LogLevel level, const wchar_t* format, va_list args) {
    LogState& state = State();
    const SinkList& sinks = *state.sinks.load(std::memory_order_acquire);
    if (sinks.empty()) return;
    const std::wstring_view provider = *state.provider.load(std::memory_order_acquire);
    const auto taking = [&](const std::shared_ptr<ILogSink>& sink) { return sink->IsEnabled(level, provider); };
    const auto first = std::find_if(sinks.begin(), sinks.end(), taking);
    if (first == sinks.end()) return;
    // Formatted once, for the sinks that take it.
    const LogRecord record{level, provider, Core::FormatWideV(format, args)};
    (*first)->Write(record);
    for (auto it = std::next(first); it != sinks.end(); ++it) {
        if (taking(*it)) (*it)->Write(record);
    }
}

void TraceLogger::LogInfo(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    LogManager::Log(LogLevel::Info, format, args);
    va_end(args);
}

void TraceLogger::LogWarning(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    LogManager::Log(LogLevel::Warning, format, args);
    va_end(args);
}

void TraceLogger::LogError(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    LogManager::Log(LogLevel::Error, format, args);
    va_end(args);
}

void LogManager::SetProvider(const wchar_t* providerName) {
    LogState& state = State();
    const std::wstring_view wanted = providerName != nullptr ? providerName : L"";
    // Every helper names the same provider when it is made: the usual call changes nothing.
    if (*state.provider.load(std::memory_order_acquire) == wanted) return;
    std::lock_guard<std::mutex> lock(state.writers);
    if (*state.provider.load() == wanted) return;
    state.providers.push_back(std::make_unique<const std::wstring>(wanted));
    state.provider.store(state.providers.back().get(), std::memory_order_release);
}

TraceLogger* LogManager::GetLogger() { return &State().logger; }

void LogApiError(TraceLogger* logger, const char* owner, const char* operation, const wchar_t* call, long status) {
    logger->LogError(L"%S.%S - Windows API %s error, GetLastError = %d", owner, operation, call, static_cast<int>(status));
}

void LogComFailure(TraceLogger* logger, const char* owner, const char* operation, const wchar_t* call,
                   unsigned long hresult) {
    logger->LogWarning(L"%S.%S - failed on function %s with HRESULT 0x%x", owner, operation, call,
                       static_cast<unsigned>(hresult));
}

TraceLogger* LogManager::GetSystemInformationLogger() {
    SetProvider(kLogProvider);
    return GetLogger();
}

std::wstring_view LogManager::Provider() { return *State().provider.load(std::memory_order_acquire); }

void LogManager::AddSink(std::shared_ptr<ILogSink> sink) {
    if (!sink) return;
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.writers);
    SinkList list = *state.sinks.load();
    list.push_back(std::move(sink));
    Publish(state, std::move(list));
}

void LogManager::RemoveSink(const std::shared_ptr<ILogSink>& sink) {
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.writers);
    SinkList list = *state.sinks.load();
    list.erase(std::remove(list.begin(), list.end(), sink), list.end());
    Publish(state, std::move(list));
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

ScopedLogCapture::~ScopedLogCapture() {
    LogManager::RemoveSink(sink_);
    sink_->Clear();  // the sink itself stays reachable from the lists published while it was in
}

}  // namespace Qv::Bridge::Logging
