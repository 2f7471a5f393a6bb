// The simulated tool's camera area (the real one is tool/CameraTool.cpp) and the system settings
// program that switches the camera for the whole system.
#include "areas/camera/sim/SimCamera.h"

#include <span>

#include "areas/camera/CameraProtocol.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

using Tool::Camera::Control;

class Camera final : public Tool::Camera::ICamera {
public:
    explicit Camera(SimCamera& state) : state_(state) {}
    bool Present() override { return state_.present; }
    bool Supports(Control control) override {
        switch (control) {
            case Control::Zoom: return state_.zoomSupported;
            case Control::Brightness: return state_.brightnessSupported;
            case Control::Blur: return state_.blurSupported;
            case Control::AutoFrame: return state_.autoFrameSupported;
        }
        return false;
    }
    std::optional<int> Get(Control control) override {
        switch (control) {
            case Control::Zoom: return state_.zoom;
            case Control::Brightness: return state_.brightness;
            case Control::Blur: return state_.blur ? 1 : 0;
            case Control::AutoFrame: return state_.autoFrame ? 1 : 0;
        }
        return std::nullopt;
    }
    bool Set(Control control, int value) override {
        if (!state_.setsTakeEffect) return true;
        // The driver's ranges.
        switch (control) {
            case Control::Zoom:
                if (value < 100 || value > 400) return false;
                state_.zoom = value;
                return true;
            case Control::Brightness:
                if (value < 0 || value > 100) return false;
                state_.brightness = value;
                return true;
            case Control::Blur: state_.blur = value != 0; return true;
            case Control::AutoFrame: state_.autoFrame = value != 0; return true;
        }
        return false;
    }

private:
    SimCamera& state_;
};

std::wstring Serve(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    Camera camera(world.tool.Area<SimCamera>());
    return Tool::Camera::Serve(camera, function, argument);
}

// "SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 1|0"; anything else is not its command.
SimRun SystemSettings(SimWorld& world, const std::vector<std::wstring>& args) {
    if (args.size() != 4 || args[1] != L"SetCamSystemGlobal" || args[2] != L"webcam" ||
        (args[3] != L"0" && args[3] != L"1")) {
        return {1, ""};
    }
    SimCamera& camera = world.tool.Area<SimCamera>();
    camera.systemEnabled = args[3] == L"1";
    ++camera.settingsRuns;
    return {0, ""};
}

bool Arrange(SimWorld& world, const std::wstring& key, const std::wstring& value) {
    if (key != L"present") return false;
    world.tool.Area<SimCamera>().present = value == L"1";
    return true;
}

}  // namespace

SimArea CameraSimArea() {
    static const Tool::ToolArea<SimWorld> areas[] = {{Tool::Camera::kArea, Tool::Camera::kFunctions, &Serve}};
    static const SimProgram programs[] = {{L"systemsettingsadminflows.exe", &SystemSettings}};
    return {areas, programs, &Arrange};
}

}  // namespace Qv::Sim
