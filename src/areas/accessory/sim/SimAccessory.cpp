// The simulated tool's mouse area; the real one is tool/AccessoryTool.cpp.
#include "areas/accessory/sim/SimAccessory.h"

#include <span>

#include "areas/accessory/AccessoryProtocol.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

class Mouse final : public Tool::Accessory::IMouse {
public:
    explicit Mouse(SimMouse& state) : state_(state) {}
    int Speed() override { return state_.mouseSpeed; }
    void SetSpeed(int speed) override {
        if (!state_.speedLocked) state_.mouseSpeed = speed;
    }
    bool Swapped() override { return state_.buttonsSwapped; }
    void SetSwapped(bool swapped) override { state_.buttonsSwapped = swapped; }

private:
    SimMouse& state_;
};

std::wstring Serve(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    Mouse mouse(world.tool.Area<SimMouse>());
    return Tool::Accessory::Serve(mouse, function, argument);
}

}  // namespace

SimArea AccessorySimArea() {
    static const Tool::ToolArea<SimWorld> areas[] = {{Tool::Accessory::kArea, Tool::Accessory::kFunctions, &Serve}};
    return {areas};
}

}  // namespace Qv::Sim
