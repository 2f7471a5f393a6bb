// Native devicectl: the service core linked in, running against the simulated device.
#include <memory>

#include "core/logging.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "platform/sim/SimDevice.h"
#include "security/Authenticode.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {
namespace {

class LinkedModule : public ServiceModule {
public:
    QVServiceObject* CreateService() override { return QVCreateService(); }
    std::vector<QVCommandInfo> Commands() override {
        unsigned int count = 0;
        const QVCommandInfo* rows = QVDescribeCommands(&count);
        return std::vector<QVCommandInfo>(rows, rows + count);
    }
};

}  // namespace

std::unique_ptr<ServiceModule> LoadServiceModule(const ModuleOptions& options, std::string& error) {
    if (!options.dllPath.empty()) {
        error = "--dll is for the Windows build; this devicectl runs the linked core on the simulated device";
        return nullptr;
    }
    auto device = std::make_shared<Sim::SimDevice>();
    // The simulated laptop has the tool installed beside the module, signed with the first key
    // this build trusts (the test key in a test build; none in a product build).
    const auto& trusted = Bridge::Security::TrustTables::Builtin().main;
    if (!trusted.empty()) device->InstallTool(Bridge::Security::ParsePublicKey(trusted.front().publicKey));
    platform::Install(device);
    if (!options.logFile.empty()) {
        auto sink = std::make_shared<Bridge::Logging::FileLogSink>(Core::Narrow(options.logFile));
        if (!sink->IsOpen()) {
            error = "cannot open log file " + Core::Narrow(options.logFile);
            return nullptr;
        }
        Bridge::Logging::LogManager::AddSink(sink);
    }
    return std::make_unique<LinkedModule>();
}

}  // namespace Qv::Devicectl

int main(int argc, char** argv) {
    std::vector<std::wstring> args;
    for (int i = 1; i < argc; ++i) args.push_back(Qv::Core::Widen(argv[i]));
    return Qv::Devicectl::Run(args);
}
