#include "platform/sim/SimThreads.h"

#include <thread>

namespace Qv::Sim {
namespace {

class SimRunning final : public platform::IThreads::Running {
public:
    explicit SimRunning(std::function<void()> body) : thread_(std::move(body)) {}
    ~SimRunning() override {
        if (thread_.joinable()) thread_.detach();
    }
    void Join() override {
        if (thread_.joinable()) thread_.join();
    }
    void Detach() override {
        if (thread_.joinable()) thread_.detach();
    }
    bool IsCallingThread() const override { return thread_.get_id() == std::this_thread::get_id(); }

private:
    std::thread thread_;
};

}  // namespace

std::unique_ptr<platform::IThreads::Running> SimThreads::Start(std::function<void()> body) {
    return std::make_unique<SimRunning>(std::move(body));
}

}  // namespace Qv::Sim
