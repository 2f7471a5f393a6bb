#pragma once
// How devicectl reaches a service module: the real DLL on Windows, the linked core with the
// simulated device natively. Either way only through the exported factory and the slot table.
#include <memory>
#include <string>
#include <vector>

#include "qv/QVServiceAbi.h"

namespace Qv::Devicectl {

class ServiceModule {
public:
    virtual ~ServiceModule() = default;
    // A fresh service object in the Visual C++ layout; null when the factory gives none.
    virtual QVServiceObject* CreateService() = 0;
    virtual std::vector<QVCommandInfo> Commands() = 0;
    // What the module sees of the machine (QVDescribeDevice); empty when it does not say.
    virtual std::wstring DescribeDevice() = 0;
    // The experience modes built for this machine (QVDescribeModes); empty when it does not say.
    virtual std::wstring DescribeModes(QVServiceObject* service) = 0;
    // The companion launch as `service` sees it (QVDescribeLaunch); empty when it does not say.
    virtual std::wstring DescribeLaunch(QVServiceObject* service) = 0;
    // The signed client manifest of `client` asked about one request (QVCheckManifest): a JSON
    // object; empty when the module does not say.
    virtual std::wstring CheckManifest(const std::wstring& client, unsigned int command,
                                       const std::wstring& arguments) = 0;
    // The native build runs on the simulated device: its memory load can be set, and the
    // polling of subscribers moved on one round (ten simulated seconds).
    virtual bool CanSimulateMemoryLoad() const { return false; }
    virtual void SimulateMemoryLoad(int /*percent*/) {}
};

struct ModuleOptions {
    std::wstring dllPath;  // empty: the module next to devicectl
    std::wstring logFile;  // empty: no file log
    // A device profile for the simulated laptop: the linked one natively, the simulated module
    // (named by --dll) on Windows, which reads it from QV_DEVICECONTROL_PROFILE.
    std::wstring profile;
};

// Null with `error` set when the module cannot be loaded.
std::unique_ptr<ServiceModule> LoadServiceModule(const ModuleOptions& options, std::string& error);

// The command-line program; `args` excludes the program name. Returns the exit code.
int Run(const std::vector<std::wstring>& args);

}  // namespace Qv::Devicectl
