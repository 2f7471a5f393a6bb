// The simulated tool's mouse area; the real one is tool/AccessoryTool.cpp.
#include "areas/accessory/sim/SimAccessory.h"

#include <span>

#include "areas/accessory/AccessoryProtocol.h"
#include "platform/sim/SimTool.h"

namespace Qv::Sim {
namespace {

class Mouse final : public Tool::Accessory::IMouse {
public:
    explicit Mouse(SimMouse& state) : state_(state) {}
    int Speed() override { return state_.mouseSpeed; }
    void SetSpeed(int speed) override { state_.mouseSpeed = speed; }
    bool Swapped() override { return state_.buttonsSwapped; }
    void SetSwapped(bool swapped) override { state_.buttonsSwapped = swapped; }

private:
    SimMouse& state_;
};

std::wstring Serve(SimTool& tool, const std::wstring& function, const std::wstring& argument) {
    Mouse mouse(tool.Area<SimMouse>());
    return Tool::Accessory::Serve(mouse, function, argument);
}

}  // namespace

std::span<const Tool::ToolArea<SimTool>> AccessorySimToolAreas() {
    static const Tool::ToolArea<SimTool> areas[] = {{Tool::Accessory::kArea, Tool::Accessory::kFunctions, &Serve}};
    return areas;
}

}  // namespace Qv::Sim
