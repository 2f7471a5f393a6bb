// The simulated tool's notification area; the real one is tool/NotificationTool.cpp.
#include "areas/notification/sim/SimNotification.h"

#include <span>

#include "areas/notification/NotificationProtocol.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

class Toasts final : public Tool::Notification::IToasts {
public:
    explicit Toasts(SimToasts& state) : state_(state) {}
    int Enabled() override { return state_.toastEnabled ? 1 : 0; }
    bool SetEnabled(bool on) override {
        if (!state_.policyLocked) state_.toastEnabled = on;
        return true;
    }

private:
    SimToasts& state_;
};

std::wstring Serve(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    Toasts toasts(world.tool.Area<SimToasts>());
    return Tool::Notification::Serve(toasts, function, argument);
}

}  // namespace

SimArea NotificationSimArea() {
    static const Tool::ToolArea<SimWorld> areas[] = {
        {Tool::Notification::kArea, Tool::Notification::kFunctions, &Serve}};
    return {areas};
}

}  // namespace Qv::Sim
