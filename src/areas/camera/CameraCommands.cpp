// The Camera area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(1, "Camera.IsZoomSupported", F::Inline),
        CommandRow::NotBuilt(2, "Camera.GetZoom", F::Inline),
        CommandRow::NotBuilt(3, "Camera.SetZoom", F::Delegated),
        CommandRow::NotBuilt(4, "Camera.IsBlurSupported", F::Inline),
        CommandRow::NotBuilt(5, "Camera.GetBlurOnOff", F::Inline),
        CommandRow::NotBuilt(6, "Camera.SetBlurOnOff", F::Delegated),
        CommandRow::NotBuilt(7, "Camera.IsAutoFrameSupported", F::Inline),
        CommandRow::NotBuilt(8, "Camera.GetAutoFrameOnOff", F::Inline),
        CommandRow::NotBuilt(9, "Camera.SetAutoFrameOnOff", F::Delegated),
        CommandRow::NotBuilt(10, "Camera.GetBrightness", F::Inline),
        CommandRow::NotBuilt(11, "Camera.SetBrightness", F::Delegated),
        CommandRow::NotBuilt(12, "Camera.SetCameraOnOff", F::Delegated),
        CommandRow::NotBuilt(13, "Camera.IsCameraSupported", F::Inline),
    };
    return rows;
}

}  // namespace

Area CameraArea() { return {"Camera", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
