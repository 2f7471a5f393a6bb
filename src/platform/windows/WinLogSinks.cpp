// ETW and debugger-output sinks.
#include <windows.h>
#include <bcrypt.h>
#include <evntprov.h>

#include <cwctype>
#include <mutex>
#include <vector>

#include "platform/windows/WinLogSinks.h"
#include "platform/windows/raii.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::ILogSink;
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

class EtwLogSink : public ILogSink {
public:
    void Write(const LogRecord& record) override {
        REGHANDLE handle = HandleFor(record.provider);
        if (handle != 0) EventWriteString(handle, static_cast<UCHAR>(record.level), 0, record.text.c_str());
    }

private:
    // Registered on first use, not at attach: no advapi calls under the loader lock.
    REGHANDLE HandleFor(const std::wstring& provider) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (provider != provider_) {
            handle_.reset();
            provider_ = provider;
            GUID guid{};
            if (!provider.empty() && ProviderGuidFromName(provider, &guid)) {
                if (EventRegister(&guid, nullptr, nullptr, handle_.put()) != ERROR_SUCCESS) handle_.release();
            }
        }
        return handle_.get();
    }

    std::mutex mutex_;
    std::wstring provider_;
    unique_etw_provider handle_;
};

class DebugOutputLogSink : public ILogSink {
public:
    void Write(const LogRecord& record) override {
        std::wstring line = record.provider + L": " + record.text + L"\n";
        OutputDebugStringW(line.c_str());
    }
};

}  // namespace

std::shared_ptr<ILogSink> MakeEtwLogSink() { return std::make_shared<EtwLogSink>(); }
std::shared_ptr<ILogSink> MakeDebugOutputLogSink() { return std::make_shared<DebugOutputLogSink>(); }

}  // namespace Qv::platform::windows
