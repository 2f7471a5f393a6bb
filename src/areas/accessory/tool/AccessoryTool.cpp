// DeviceControlTool.exe's mouse area: the signed-in user's pointer speed and primary button.
#include <windows.h>

#include <span>

#include "areas/accessory/AccessoryProtocol.h"

namespace Qv::Tool {
namespace {

class WindowsMouse final : public Accessory::IMouse {
public:
    int Speed() override {
        int speed = 0;
        if (!SystemParametersInfoW(SPI_GETMOUSESPEED, 0, &speed, 0)) return -1;
        return speed;
    }
    void SetSpeed(int speed) override {
        // Windows reads the speed from pvParam, Wine from uiParam: give it in both.
        SystemParametersInfoW(SPI_SETMOUSESPEED, static_cast<UINT>(speed),
                              reinterpret_cast<PVOID>(static_cast<INT_PTR>(speed)), SPIF_UPDATEINIFILE | SPIF_SENDCHANGE);
    }
    bool Swapped() override { return GetSystemMetrics(SM_SWAPBUTTON) != 0; }
    void SetSwapped(bool swapped) override {
        ::SwapMouseButton(swapped ? TRUE : FALSE);
        SystemParametersInfoW(SPI_SETMOUSEBUTTONSWAP, swapped ? TRUE : FALSE, nullptr,
                              SPIF_UPDATEINIFILE | SPIF_SENDCHANGE);
    }
};

std::wstring Serve(Process&, const std::wstring& function, const std::wstring& argument) {
    WindowsMouse mouse;
    return Accessory::Serve(mouse, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> AccessoryToolAreas() {
    static const ToolArea<Process> areas[] = {{Accessory::kArea, Accessory::kFunctions, &Serve}};
    return areas;
}

}  // namespace Qv::Tool
