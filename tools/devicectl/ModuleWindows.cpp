// Windows devicectl: loads DeviceControlService.dll with LoadLibraryW and takes its factory
// with GetProcAddress, as the service host does.
#include <windows.h>
#include <fcntl.h>
#include <io.h>

#include <memory>

#include "core/strings.h"
#include "platform/windows/raii/kernel.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {
namespace {

using CreateServiceFn = QVServiceObject* (*)();
using DescribeCommandsFn = const QVCommandInfo* (*)(unsigned int*);
using DescribeDeviceFn = unsigned int (*)(wchar_t*, unsigned int);
using DescribeLaunchFn = unsigned int (*)(QVServiceObject*, wchar_t*, unsigned int);
using DescribeModesFn = DescribeLaunchFn;
using CheckManifestFn = unsigned int (*)(const wchar_t*, unsigned int, const wchar_t*, wchar_t*, unsigned int);

class DllModule : public ServiceModule {
public:
    DllModule(HMODULE module, CreateServiceFn create, DescribeCommandsFn describe, DescribeDeviceFn device,
              DescribeModesFn modes, DescribeLaunchFn launch, CheckManifestFn manifest)
        : module_(module),
          create_(create),
          describe_(describe),
          device_(device),
          modes_(modes),
          launch_(launch),
          manifest_(manifest) {}
    // The module stays loaded until devicectl exits, as in the host.

    QVServiceObject* CreateService() override { return create_(); }
    std::vector<QVCommandInfo> Commands() override {
        if (describe_ == nullptr) return {};
        unsigned int count = 0;
        const QVCommandInfo* rows = describe_(&count);
        return std::vector<QVCommandInfo>(rows, rows + count);
    }
    std::wstring DescribeDevice() override { return Text(device_); }
    std::wstring DescribeModes(QVServiceObject* service) override { return ForService(modes_, service); }
    std::wstring DescribeLaunch(QVServiceObject* service) override { return ForService(launch_, service); }
    std::wstring CheckManifest(const std::wstring& client, unsigned int command,
                               const std::wstring& arguments) override {
        if (manifest_ == nullptr) return {};
        std::wstring text(manifest_(client.c_str(), command, arguments.c_str(), nullptr, 0), L'\0');
        text.resize(
            manifest_(client.c_str(), command, arguments.c_str(), text.data(), static_cast<unsigned int>(text.size())) -
            1);
        return text;
    }

private:
    HMODULE module_;
    CreateServiceFn create_;
    DescribeCommandsFn describe_;
    DescribeDeviceFn device_;
    DescribeModesFn modes_;
    DescribeLaunchFn launch_;
    CheckManifestFn manifest_;

    static std::wstring ForService(DescribeLaunchFn describe, QVServiceObject* service) {
        if (describe == nullptr) return {};
        std::wstring text(describe(service, nullptr, 0), L'\0');
        text.resize(describe(service, text.data(), static_cast<unsigned int>(text.size())) - 1);
        return text;
    }
    static std::wstring Text(DescribeDeviceFn describe) {
        if (describe == nullptr) return {};
        std::wstring text(describe(nullptr, 0), L'\0');
        text.resize(describe(text.data(), static_cast<unsigned int>(text.size())) - 1);
        return text;
    }
};

// The installed module when there is one (%ProgramFiles%\DeviceControl), else the one beside devicectl.
std::wstring DefaultDllPath() {
    wchar_t installed[MAX_PATH] = {};
    const DWORD expanded =
        ExpandEnvironmentStringsW(L"%ProgramFiles%\\DeviceControl\\DeviceControlService.dll", installed, MAX_PATH);
    if (expanded > 0 && expanded <= MAX_PATH && GetFileAttributesW(installed) != INVALID_FILE_ATTRIBUTES) return installed;
    wchar_t self[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring path(self, length);
    const size_t slash = path.find_last_of(L"\\/");
    return (slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1)) + L"DeviceControlService.dll";
}

}  // namespace

std::unique_ptr<ServiceModule> LoadServiceModule(const ModuleOptions& options, std::string& error) {
    // The module reads this when it is attached and mirrors its trace into the file.
    if (!options.logFile.empty()) SetEnvironmentVariableW(L"QV_DEVICECONTROL_LOG", options.logFile.c_str());
    // The simulated module reads its profile from here when it is attached.
    if (!options.profile.empty()) SetEnvironmentVariableW(L"QV_DEVICECONTROL_PROFILE", options.profile.c_str());
    const std::wstring path = options.dllPath.empty() ? DefaultDllPath() : options.dllPath;
    HMODULE module = LoadLibraryW(path.c_str());
    if (module == nullptr) {
        error = "cannot load " + Core::Narrow(path) + " (error " + std::to_string(GetLastError()) + ")";
        return nullptr;
    }
    auto create = platform::windows::proc_address<CreateServiceFn>(module, "QVCreateService");
    if (create == nullptr) {
        error = Core::Narrow(path) + " does not export QVCreateService";
        return nullptr;
    }
    auto describe = platform::windows::proc_address<DescribeCommandsFn>(module, "QVDescribeCommands");
    auto device = platform::windows::proc_address<DescribeDeviceFn>(module, "QVDescribeDevice");
    auto modes = platform::windows::proc_address<DescribeModesFn>(module, "QVDescribeModes");
    auto launch = platform::windows::proc_address<DescribeLaunchFn>(module, "QVDescribeLaunch");
    auto manifest = platform::windows::proc_address<CheckManifestFn>(module, "QVCheckManifest");
    return std::make_unique<DllModule>(module, create, describe, device, modes, launch, manifest);
}

}  // namespace Qv::Devicectl

int wmain(int argc, wchar_t** argv) {
    // Answers are UTF-8 lines ending in "\n", the same as the native build.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<std::wstring> args(argv + 1, argv + argc);
    return Qv::Devicectl::Run(args);
}
