// The display vendor's software through Windows: the version resource of its service executable,
// and its library loaded from its full path (its imports from its own folder and the system
// folder, never from PATH) and called by export name.
#include <windows.h>

#include <vector>

#include "areas/display/IDisplayControl.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

class WinDisplayLibrary final : public IDisplayLibrary {
public:
    explicit WinDisplayLibrary(unique_hmodule module) : module_(std::move(module)) {}

    std::optional<int32_t> Call(const char* name) override {
        auto function = Export<int(__cdecl*)()>(name);
        if (function == nullptr) return std::nullopt;
        return function();
    }
    std::optional<int32_t> Call(const char* name, int32_t value) override {
        auto function = Export<int(__cdecl*)(int)>(name);
        if (function == nullptr) return std::nullopt;
        return function(value);
    }
    std::optional<int32_t> Call(const char* name, int32_t a, int32_t b, int32_t c, int32_t d) override {
        auto function = Export<int(__cdecl*)(int, int, int, int)>(name);
        if (function == nullptr) return std::nullopt;
        return function(a, b, c, d);
    }
    std::optional<int32_t> CallWithOutputs(const char* name, int32_t* a, int32_t* b, int32_t* c, int32_t* d) override {
        auto function = Export<int(__cdecl*)(int*, int*, int*, int*)>(name);
        if (function == nullptr) return std::nullopt;
        return function(reinterpret_cast<int*>(a), reinterpret_cast<int*>(b), reinterpret_cast<int*>(c),
                        reinterpret_cast<int*>(d));
    }
    std::optional<int32_t> CallWithArray(const char* name, int32_t* array, int32_t capacity) override {
        auto function = Export<int(__cdecl*)(int*, int)>(name);
        if (function == nullptr) return std::nullopt;
        return function(reinterpret_cast<int*>(array), capacity);
    }

    Result<std::wstring> FilePath() override {
        std::wstring path(MAX_PATH, L'\0');
        for (;;) {
            const DWORD length = GetModuleFileNameW(module_.get(), path.data(), static_cast<DWORD>(path.size()));
            if (length == 0) return Failure{static_cast<int32_t>(GetLastError())};
            if (length < path.size()) {
                path.resize(length);
                return path;
            }
            path.resize(path.size() * 2);
        }
    }

private:
    // Looked up by name at each call.
    template <typename Fn>
    Fn Export(const char* name) {
        return proc_address<Fn>(module_.get(), name);
    }

    unique_hmodule module_;
};

class WinDisplayControl final : public IDisplayControl {
public:
    FileVersion ReadFileVersion(const std::wstring& path) override {
        FileVersion version;
        DWORD handle = 0;
        const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
        if (size == 0) return version;  // Missing
        version.state = FileVersion::State::Unreadable;
        std::vector<BYTE> block(size);
        VS_FIXEDFILEINFO* info = nullptr;
        UINT length = 0;
        if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
            !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) || info == nullptr ||
            length < sizeof(VS_FIXEDFILEINFO)) {
            return version;
        }
        version.state = FileVersion::State::Read;
        version.major = HIWORD(info->dwFileVersionMS);
        return version;
    }

    Result<std::shared_ptr<IDisplayLibrary>> Load(const std::wstring& path) override {
        unique_hmodule module(
            LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
        if (!module) return Failure{static_cast<int32_t>(GetLastError())};
        return std::shared_ptr<IDisplayLibrary>(std::make_shared<WinDisplayLibrary>(std::move(module)));
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IDisplayControl> Qv::platform::IDisplayControl::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinDisplayControl>();
}
