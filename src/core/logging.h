#pragma once
// The module's trace logging: one provider name, one process-wide logger, any number of sinks.
// On Windows the composition root adds the ETW and debugger sinks; tests add a MemoryLogSink;
// devicectl can add a FileLogSink.
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Qv::Bridge::Logging {

// The provider every part of the module logs under.
constexpr const wchar_t* kLogProvider = L"Qv-Bridge-SystemInformation";

// Values follow the ETW level numbers.
enum class LogLevel : unsigned char { Error = 2, Warning = 3, Info = 4 };

const wchar_t* LevelName(LogLevel level);

struct LogRecord {
    LogLevel level;
    std::wstring_view provider;  // lives as long as the process
    std::wstring text;
};

class ILogSink {
public:
    virtual ~ILogSink() = default;
    // Whether the sink would take a line at `level` of `provider`. Asked before a line is
    // formatted: a line that no sink takes costs this question and nothing else.
    virtual bool IsEnabled(LogLevel level, std::wstring_view provider) {
        (void)level;
        (void)provider;
        return true;
    }
    virtual void Write(const LogRecord& record) = 0;
};

class TraceLogger {
public:
    // Wide printf-style formats; see core/wformat.h for the conversions.
    void LogInfo(const wchar_t* format, ...);
    void LogWarning(const wchar_t* format, ...);
    void LogError(const wchar_t* format, ...);
};

// The process-wide logger and its sinks. Logging reads the sink list and the provider without a
// lock: both are published whole and never changed in place, and what was published once stays
// alive until the process ends (sinks are added at start-up, and by tests).
class LogManager {
public:
    static void SetProvider(const wchar_t* providerName);
    static TraceLogger* GetLogger();
    // What every part of the module does when it is made: select kLogProvider, take the logger.
    static TraceLogger* GetSystemInformationLogger();
    static std::wstring_view Provider();

    static void AddSink(std::shared_ptr<ILogSink> sink);
    static void RemoveSink(const std::shared_ptr<ILogSink>& sink);

private:
    friend class TraceLogger;
    static void Log(LogLevel level, const wchar_t* format, va_list args);
};

// The usual failure lines, kept in one place so that every owner writes them the same way:
// a failed Windows call, "<owner>.<operation> - Windows API <call> error, GetLastError = <status>",
// at error level; a failed COM call, "<owner>.<operation> - failed on function <call> with
// HRESULT 0x<hr>", at warning level.
void LogApiError(TraceLogger* logger, const char* owner, const char* operation, const wchar_t* call, long status);
void LogComFailure(TraceLogger* logger, const char* owner, const char* operation, const wchar_t* call,
                   unsigned long hresult);

// Keeps every line in memory; tests read them back.
class MemoryLogSink : public ILogSink {
public:
    void Write(const LogRecord& record) override;
    std::vector<LogRecord> Records() const;
    // Lines at `level` whose text contains `fragment`.
    size_t Count(LogLevel level, const std::wstring& fragment = L"") const;
    bool Contains(const std::wstring& fragment) const;
    void Clear();

private:
    mutable std::mutex mutex_;
    std::vector<LogRecord> records_;
};

// Appends "LEVEL text" lines in UTF-8 to a file.
class FileLogSink : public ILogSink {
public:
    explicit FileLogSink(const std::string& path);
    ~FileLogSink() override;
    bool IsOpen() const { return file_ != nullptr; }
    bool IsEnabled(LogLevel, std::wstring_view) override { return file_ != nullptr; }
    void Write(const LogRecord& record) override;

private:
    std::mutex mutex_;
    std::FILE* file_ = nullptr;
};

// Adds a MemoryLogSink for the lifetime of the object.
class ScopedLogCapture {
public:
    ScopedLogCapture();
    ~ScopedLogCapture();
    MemoryLogSink& Sink() { return *sink_; }
    MemoryLogSink* operator->() { return sink_.get(); }

private:
    std::shared_ptr<MemoryLogSink> sink_;
};

}  // namespace Qv::Bridge::Logging
