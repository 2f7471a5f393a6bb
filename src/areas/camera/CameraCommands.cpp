// The camera commands.
#include "areas/camera/CameraHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

CameraHelper& Camera() { return *CameraHelper::GetInstance(); }

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Inline(1, "Camera.IsZoomSupported", [](CommandCall&) -> InlineResult { return Camera().IsZoomSupported(); }),
        CommandRow::Inline(2, "Camera.GetZoom", [](CommandCall&) -> InlineResult { return Camera().GetZoom(); }),
        CommandRow::Delegated(3, "Camera.SetZoom",
                              [](CommandCall& call) { return Camera().SetZoom(&call.input, &call.output); }),
        CommandRow::Inline(4, "Camera.IsBlurSupported", [](CommandCall&) -> InlineResult { return Camera().IsBlurSupported(); }),
        CommandRow::Inline(5, "Camera.GetBlurOnOff", [](CommandCall&) -> InlineResult { return Camera().GetBlurOnOff(); }),
        CommandRow::Delegated(6, "Camera.SetBlurOnOff",
                              [](CommandCall& call) { return Camera().SetBlurOnOff(&call.input, &call.output); }),
        CommandRow::Inline(7, "Camera.IsAutoFrameSupported",
                           [](CommandCall&) -> InlineResult { return Camera().IsAutoFrameSupported(); }),
        CommandRow::Inline(8, "Camera.GetAutoFrameOnOff",
                           [](CommandCall&) -> InlineResult { return Camera().GetAutoFrameOnOff(); }),
        CommandRow::Delegated(9, "Camera.SetAutoFrameOnOff",
                              [](CommandCall& call) { return Camera().SetAutoFrameOnOff(&call.input, &call.output); }),
        CommandRow::Inline(10, "Camera.GetBrightness", [](CommandCall&) -> InlineResult { return Camera().GetBrightness(); }),
        CommandRow::Delegated(11, "Camera.SetBrightness",
                              [](CommandCall& call) { return Camera().SetBrightness(&call.input, &call.output); }),
        CommandRow::Delegated(12, "Camera.SetCameraOnOff",
                              [](CommandCall& call) { return Camera().SetCameraOnOff(&call.input, &call.output); }),
        CommandRow::Inline(13, "Camera.IsCameraSupported",
                           [](CommandCall&) -> InlineResult { return Camera().IsCameraSupported(); }),
    };
    return rows;
}

}  // namespace

Area CameraArea() { return {"Camera", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
