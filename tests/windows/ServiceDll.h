#pragma once
// Loads the real DeviceControlService.dll beside the test program, as the host does.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "platform/windows/raii.h"
#include "qv/QVService.h"

namespace Qv::WindowsTests {

using Qv::Bridge::Server::Services::QVService;

// The DLL's trace is mirrored into this file (the module reads the variable when attached).
inline std::wstring LogFilePath() {
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + L"devicecontrol-windows-tests.log";
}

class ServiceDll {
public:
    static ServiceDll& Get() {
        static ServiceDll dll;
        return dll;
    }

    HMODULE Module() const { return module_; }
    QVService* Create() const { return create_ != nullptr ? create_() : nullptr; }

    std::string LogText() const {
        std::ifstream file(LogFilePath().c_str(), std::ios::binary);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

private:
    ServiceDll() {
        DeleteFileW(LogFilePath().c_str());
        SetEnvironmentVariableW(L"QV_DEVICECONTROL_LOG", LogFilePath().c_str());
        module_ = LoadLibraryW(L"DeviceControlService.dll");
        if (module_ != nullptr)
            create_ = platform::windows::proc_address<QVService* (*)()>(module_, "QVCreateService");
    }

    HMODULE module_ = nullptr;
    QVService* (*create_)() = nullptr;
};

}  // namespace Qv::WindowsTests
