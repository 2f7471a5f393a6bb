// Native devicectl: the service core linked in, running against the simulated device.
#include <chrono>
#include <memory>
#include <thread>

#include "core/logging.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "areas/monitor/sim/SimMemoryStatus.h"
#include "platform/sim/SimDevice.h"
#include "profile/DeviceProfile.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {
namespace {

// Waits until `done` holds, for at most two seconds (a subscription that was refused never polls).
template <class Predicate>
void WaitBriefly(Predicate done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!done() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

class LinkedModule : public ServiceModule {
public:
    explicit LinkedModule(std::shared_ptr<Sim::SimDevice> device) : device_(std::move(device)) {}

    QVServiceObject* CreateService() override { return QVCreateService(); }
    std::wstring DescribeDevice() override { return Text(&QVDescribeDevice); }
    std::wstring DescribeModes(QVServiceObject* service) override {
        std::wstring text(QVDescribeModes(service, nullptr, 0), L'\0');
        text.resize(QVDescribeModes(service, text.data(), static_cast<unsigned int>(text.size())) - 1);
        return text;
    }
    std::wstring DescribeLaunch(QVServiceObject* service) override {
        std::wstring text(QVDescribeLaunch(service, nullptr, 0), L'\0');
        text.resize(QVDescribeLaunch(service, text.data(), static_cast<unsigned int>(text.size())) - 1);
        return text;
    }
    std::wstring CheckManifest(const std::wstring& client, unsigned int command,
                               const std::wstring& arguments) override {
        std::wstring text(QVCheckManifest(client.c_str(), command, arguments.c_str(), nullptr, 0), L'\0');
        text.resize(QVCheckManifest(client.c_str(), command, arguments.c_str(), text.data(),
                                    static_cast<unsigned int>(text.size())) -
                    1);
        return text;
    }
    static std::wstring Text(unsigned int (*describe)(wchar_t*, unsigned int)) {
        std::wstring text(describe(nullptr, 0), L'\0');
        text.resize(describe(text.data(), static_cast<unsigned int>(text.size())) - 1);
        return text;
    }
    bool CanSimulateMemoryLoad() const override { return true; }
    void SimulateMemoryLoad(int percent) override {
        Sim::SimClock& clock = device_->SimulatedClock();
        WaitBriefly([&] { return clock.Sleepers() > 0; });  // the polling thread is between rounds
        const size_t rounds = clock.SleepUntilCalls();
        Sim::SimulatedMemory(*device_).SetMemoryLoad(static_cast<uint32_t>(percent));
        clock.Advance(10000);
        WaitBriefly([&] { return clock.SleepUntilCalls() > rounds; });
        // The subscription's thread sends its message and waits again.
        WaitBriefly([&] { return device_->SimulatedEvents().Waiters() > 0; });
    }
    std::vector<QVCommandInfo> Commands() override {
        unsigned int count = 0;
        const QVCommandInfo* rows = QVDescribeCommands(&count);
        return std::vector<QVCommandInfo>(rows, rows + count);
    }

private:
    std::shared_ptr<Sim::SimDevice> device_;
};

}  // namespace

std::unique_ptr<ServiceModule> LoadServiceModule(const ModuleOptions& options, std::string& error) {
    if (!options.dllPath.empty()) {
        error = "--dll is for the Windows build; this devicectl runs the linked core on the simulated device";
        return nullptr;
    }
    auto device = std::make_shared<Sim::SimDevice>();
    // The full-featured laptop, or the one a profile describes.
    Profile::PrepareLaptop(*device);
    if (!options.profile.empty()) {
        error = Profile::ApplyProfileFile(Core::Narrow(options.profile), *device);
        if (!error.empty()) {
            error = "the profile is refused: " + error;
            return nullptr;
        }
    }
    platform::Install(device);
    if (!options.logFile.empty()) {
        auto sink = std::make_shared<Bridge::Logging::FileLogSink>(Core::Narrow(options.logFile));
        if (!sink->IsOpen()) {
            error = "cannot open log file " + Core::Narrow(options.logFile);
            return nullptr;
        }
        Bridge::Logging::LogManager::AddSink(sink);
    }
    return std::make_unique<LinkedModule>(device);
}

}  // namespace Qv::Devicectl

int main(int argc, char** argv) {
    std::vector<std::wstring> args;
    for (int i = 1; i < argc; ++i) args.push_back(Qv::Core::Widen(argv[i]));
    return Qv::Devicectl::Run(args);
}
