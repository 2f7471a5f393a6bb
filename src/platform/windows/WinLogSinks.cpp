// ETW and debugger-output sinks.
#include <windows.h>
#include <bcrypt.h>
#include <evntprov.h>

#include <atomic>
#include <cwctype>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/windows/WinLogSinks.h"
#include "platform/windows/raii/crypto.h"
#include "platform/windows/raii/etw.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::ILogSink;
using Bridge::Logging::LogLevel;
using Bridge::Logging::LogRecord;

// Provider GUID from the provider name, as EventSource and TraceLogging derive it: SHA-1 over
// a fixed namespace and the upper-cased name in UTF-16BE, first 16 bytes, version nibble 5.
bool ProviderGuidFromName(const std::wstring& name, GUID* guid) {
    static const unsigned char kNamespace[16] = {0x48, 0x2C, 0x2D, 0xB2, 0xC3, 0x90, 0x47, 0xC8,
                                                 0x87, 0xF8, 0x1A, 0x15, 0xBF, 0xC1, 0x30, 0xFB};
    std::vector<unsigned char> data(kNamespace, kNamespace + 16);
    for (wchar_t c : name) {
        const auto u = static_cast<unsigned short>(std::towupper(c));
        data.push_back(static_cast<unsigned char>(u >> 8));
        data.push_back(static_cast<unsigned char>(u & 0xFF));
    }
    unsigned char hash[20] = {};
    unique_bcrypt_algorithm algorithm;
    if (!BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(algorithm.put(), BCRYPT_SHA1_ALGORITHM, nullptr, 0))) return false;
    unique_bcrypt_hash hashHandle;
    if (!BCRYPT_SUCCESS(BCryptCreateHash(algorithm.get(), hashHandle.put(), nullptr, 0, nullptr, 0, 0))) return false;
    if (!BCRYPT_SUCCESS(BCryptHashData(hashHandle.get(), data.data(), static_cast<ULONG>(data.size()), 0)) ||
        !BCRYPT_SUCCESS(BCryptFinishHash(hashHandle.get(), hash, sizeof(hash), 0))) {
        return false;
    }
    hash[7] = static_cast<unsigned char>((hash[7] & 0x0F) | 0x50);
    guid->Data1 = hash[0] | (hash[1] << 8) | (hash[2] << 16) | (static_cast<unsigned long>(hash[3]) << 24);
    guid->Data2 = static_cast<unsigned short>(hash[4] | (hash[5] << 8));
    guid->Data3 = static_cast<unsigned short>(hash[6] | (hash[7] << 8));
    for (int i = 0; i < 8; ++i) guid->Data4[i] = hash[8 + i];
    return true;
}

// Writes to the ETW provider named after the logging provider, and asks ETW, as providers do,
// whether any session listens at a level before a line is formatted.
class EtwLogSink : public ILogSink {
public:
    bool IsEnabled(LogLevel level, std::wstring_view provider) override {
        const Registration& registration = For(provider);
        return registration.handle && EventProviderEnabled(registration.handle.get(), static_cast<UCHAR>(level), 0);
    }

    void Write(const LogRecord& record) override {
        const Registration& registration = For(record.provider);
        if (registration.handle)
            EventWriteString(registration.handle.get(), static_cast<UCHAR>(record.level), 0, record.text.c_str());
    }

private:
    struct Registration {
        const wchar_t* provider;  // the logging library's copy of the name: one per name, never freed
        unique_etw_provider handle;
    };

    // Registered on first use, not at attach: no advapi calls under the loader lock.
    const Registration& For(std::wstring_view provider) {
        const Registration* current = current_.load(std::memory_order_acquire);
        if (current != nullptr && current->provider == provider.data()) return *current;
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& known : registrations_) {
            if (known->provider == provider.data()) {
                current_.store(known.get(), std::memory_order_release);
                return *known;
            }
        }
        auto registration = std::make_unique<Registration>(Registration{provider.data(), {}});
        GUID guid{};
        if (!provider.empty() && ProviderGuidFromName(std::wstring(provider), &guid)) {
            if (EventRegister(&guid, nullptr, nullptr, registration->handle.put()) != ERROR_SUCCESS)
                registration->handle.release();
        }
        registrations_.push_back(std::move(registration));
        current_.store(registrations_.back().get(), std::memory_order_release);
        return *registrations_.back();
    }

    std::atomic<const Registration*> current_{nullptr};
    std::mutex mutex_;
    std::vector<std::unique_ptr<Registration>> registrations_;
};

// The debugger output, written only while a debugger is attached to the process.
class DebugOutputLogSink : public ILogSink {
public:
    bool IsEnabled(LogLevel, std::wstring_view) override { return IsDebuggerPresent() != FALSE; }
    void Write(const LogRecord& record) override {
        std::wstring line = std::wstring(record.provider) + L": " + record.text + L"\n";
        OutputDebugStringW(line.c_str());
    }
};

}  // namespace

std::shared_ptr<ILogSink> MakeEtwLogSink() { return std::make_shared<EtwLogSink>(); }
std::shared_ptr<ILogSink> MakeDebugOutputLogSink() { return std::make_shared<DebugOutputLogSink>(); }

}  // namespace Qv::platform::windows
