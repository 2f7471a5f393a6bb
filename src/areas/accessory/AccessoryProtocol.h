#pragma once
// The mouse area of DeviceControlTool.exe: the words the service sends, how the tool answers
// them, and how the service reads the answer. Used by AccessoryHelper, the real tool
// (tool/AccessoryTool.cpp) and the simulated tool (sim/SimAccessory.cpp).
#include <string>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Accessory {

inline constexpr wchar_t kArea[] = L"Accessory";
inline constexpr wchar_t kGetMouseSpeed[] = L"GetMouseSpeed";
inline constexpr wchar_t kSetMouseSpeed[] = L"SetMouseSpeed";
inline constexpr wchar_t kSwapMouseButton[] = L"SwapMouseButton";
inline constexpr wchar_t kSetMouseLeftHanded[] = L"SetMouseLeftHanded";
inline constexpr wchar_t kGetMouseSwapStatus[] = L"GetMouseSwapStatus";  // IsMouseSwapped's word
inline constexpr const wchar_t* kFunctions[] = {kGetMouseSpeed, kSetMouseSpeed, kSwapMouseButton,
                                                kSetMouseLeftHanded, kGetMouseSwapStatus};
// A "-1" reply is a failure.
inline constexpr Reply kReply = Reply::MinusOneFails;

// The pointer speed range of the system's setting.
inline constexpr int kMinSpeed = 1;
inline constexpr int kMaxSpeed = 20;

// The signed-in user's mouse, as the tool reaches it.
class IMouse {
public:
    virtual int Speed() = 0;  // -1 when it cannot be read
    virtual void SetSpeed(int speed) = 0;
    virtual bool Swapped() = 0;
    // For this session and for later sign-ins.
    virtual void SetSwapped(bool swapped) = 0;

protected:
    ~IMouse() = default;
};

// The tool's line for one of kFunctions. A change answers "1" only when reading it back shows
// that it took.
inline std::wstring Serve(IMouse& mouse, const std::wstring& function, const std::wstring& argument) {
    const auto swapTo = [&](bool swapped) {
        mouse.SetSwapped(swapped);
        return mouse.Swapped() == swapped ? std::wstring(L"1") : kFailure;
    };
    if (function == kGetMouseSpeed) {
        const int speed = mouse.Speed();
        return speed < 0 ? kFailure : std::to_wstring(speed);
    }
    if (function == kSetMouseSpeed) {
        int speed = 0;
        if (!ParseInteger(argument, speed) || speed < kMinSpeed || speed > kMaxSpeed) return kFailure;
        mouse.SetSpeed(speed);
        return mouse.Speed() == speed ? L"1" : kFailure;
    }
    if (function == kSwapMouseButton) return swapTo(!mouse.Swapped());
    if (function == kSetMouseLeftHanded) {
        bool leftHanded = false;
        return ParseSwitch(argument, leftHanded) ? swapTo(leftHanded) : kFailure;
    }
    if (function == kGetMouseSwapStatus) return Switch(mouse.Swapped());
    return kFailure;
}

}  // namespace Qv::Tool::Accessory
