#pragma once
// Loads the real DeviceControlService.dll, as the host does.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "abi/HostView.h"
#include "platform/windows/raii/kernel.h"
#include "qv/QVServiceAbi.h"

namespace Qv::WindowsTests {


// The DLL's trace is mirrored into this file (the module reads the variable when attached).
// A test program that imports the DLL has it attached before main, so ctest sets the variable.
inline std::wstring LogFilePath() {
    wchar_t path[MAX_PATH] = {};
    if (GetEnvironmentVariableW(L"QV_DEVICECONTROL_LOG", path, MAX_PATH) > 0) return path;
    GetTempPathW(MAX_PATH, path);
    return std::wstring(path) + L"devicecontrol-windows-tests.log";
}

class ServiceDll {
public:
    static ServiceDll& Get() {
        static ServiceDll dll;
        return dll;
    }

    HMODULE Module() const { return module_; }
    // A fresh service, reached through its Visual C++ slot table.
    QVServiceObject* Create() const { return create_ != nullptr ? create_() : nullptr; }

    std::string LogText() const {
        std::ifstream file(LogFilePath().c_str(), std::ios::binary);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

private:
    ServiceDll() {
        if (GetModuleHandleW(L"DeviceControlService.dll") == nullptr) {
            DeleteFileW(LogFilePath().c_str());
            SetEnvironmentVariableW(L"QV_DEVICECONTROL_LOG", LogFilePath().c_str());
        }
        module_ = LoadLibraryW(L"DeviceControlService.dll");
        if (module_ != nullptr)
            create_ = platform::windows::proc_address<QVServiceObject* (*)()>(module_, "QVCreateService");
    }

    HMODULE module_ = nullptr;
    QVServiceObject* (*create_)() = nullptr;
};

}  // namespace Qv::WindowsTests
