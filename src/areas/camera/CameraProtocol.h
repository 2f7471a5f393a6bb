#pragma once
// The camera area of DeviceControlTool.exe: the words the service sends, how the tool answers
// them, and how the service reads the answer. Used by CameraHelper, the real tool
// (tool/CameraTool.cpp) and the simulated tool (sim/SimCamera.cpp).
#include <optional>
#include <string>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Camera {

inline constexpr wchar_t kArea[] = L"Camera";
inline constexpr wchar_t kIsZoomSupported[] = L"IsZoomSupported";
inline constexpr wchar_t kGetZoom[] = L"GetZoom";
inline constexpr wchar_t kSetZoom[] = L"SetZoom";
inline constexpr wchar_t kIsBlurSupported[] = L"IsBlurSupported";
inline constexpr wchar_t kGetBlurOnOff[] = L"GetBlurOnOff";
inline constexpr wchar_t kSetBlurOnOff[] = L"SetBlurOnOff";
inline constexpr wchar_t kIsAutoFrameSupported[] = L"IsAutoFrameSupported";
inline constexpr wchar_t kGetAutoFrameOnOff[] = L"GetAutoFrameOnOff";
inline constexpr wchar_t kSetAutoFrameOnOff[] = L"SetAutoFrameOnOff";
inline constexpr wchar_t kGetBrightness[] = L"GetBrightness";
inline constexpr wchar_t kSetBrightness[] = L"SetBrightness";
inline constexpr wchar_t kIsCameraSupported[] = L"IsCameraSupported";
inline constexpr const wchar_t* kFunctions[] = {
    kIsZoomSupported,      kGetZoom,          kSetZoom,          kIsBlurSupported, kGetBlurOnOff,  kSetBlurOnOff,
    kIsAutoFrameSupported, kGetAutoFrameOnOff, kSetAutoFrameOnOff, kGetBrightness,   kSetBrightness, kIsCameraSupported};
// A "-1" reply is a failure.
inline constexpr Reply kReply = Reply::MinusOneFails;

// The controls: zoom and brightness are the standard camera-control and video-amplifier
// properties, blur and automatic framing the extended controls some drivers offer.
enum class Control { Zoom, Brightness, Blur, AutoFrame };

// The built-in camera, as the tool reaches it.
class ICamera {
public:
    virtual bool Present() = 0;
    virtual bool Supports(Control control) = 0;
    // The control's value (1 or 0 for blur and framing); nothing when it cannot be read.
    virtual std::optional<int> Get(Control control) = 0;
    // False when the driver refuses it (a value out of its range, for one).
    virtual bool Set(Control control, int value) = 0;

protected:
    ~ICamera() = default;
};

namespace detail {

inline bool Usable(ICamera& camera, Control control) { return camera.Present() && camera.Supports(control); }

inline std::wstring Value(ICamera& camera, Control control) {
    const std::optional<int> value = Usable(camera, control) ? camera.Get(control) : std::nullopt;
    return value ? std::to_wstring(*value) : std::wstring(kFailure);
}

inline std::wstring OnOff(ICamera& camera, Control control) {
    const std::optional<int> value = Usable(camera, control) ? camera.Get(control) : std::nullopt;
    return value ? Switch(*value != 0) : std::wstring(kFailure);
}

// Set, then read back: "1" only when the camera now holds the value.
inline std::wstring Change(ICamera& camera, Control control, int value) {
    if (!Usable(camera, control) || !camera.Set(control, value)) return kFailure;
    return camera.Get(control) == value ? L"1" : kFailure;
}

}  // namespace detail

// The tool's line for one of kFunctions. Without a camera, or for a control the driver does not
// offer, "supported" is 0 and every get and set -1.
inline std::wstring Serve(ICamera& camera, const std::wstring& function, const std::wstring& argument) {
    using namespace detail;
    int value = 0;
    bool on = false;
    if (function == kIsCameraSupported) return Switch(camera.Present());
    if (function == kIsZoomSupported) return Switch(Usable(camera, Control::Zoom));
    if (function == kIsBlurSupported) return Switch(Usable(camera, Control::Blur));
    if (function == kIsAutoFrameSupported) return Switch(Usable(camera, Control::AutoFrame));
    if (function == kGetZoom) return Value(camera, Control::Zoom);
    if (function == kGetBrightness) return Value(camera, Control::Brightness);
    if (function == kGetBlurOnOff) return OnOff(camera, Control::Blur);
    if (function == kGetAutoFrameOnOff) return OnOff(camera, Control::AutoFrame);
    if (function == kSetZoom) return ParseInteger(argument, value) ? Change(camera, Control::Zoom, value) : kFailure;
    if (function == kSetBrightness)
        return ParseInteger(argument, value) ? Change(camera, Control::Brightness, value) : kFailure;
    if (function == kSetBlurOnOff) return ParseSwitch(argument, on) ? Change(camera, Control::Blur, on) : kFailure;
    if (function == kSetAutoFrameOnOff)
        return ParseSwitch(argument, on) ? Change(camera, Control::AutoFrame, on) : kFailure;
    return kFailure;
}

}  // namespace Qv::Tool::Camera
