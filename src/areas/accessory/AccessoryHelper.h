#pragma once
// Mouse settings of the logged-on user, changed through the device control tool.
#include "core/json.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

using Document = Json::Document;

class AccessoryHelper {
public:
    static AccessoryHelper* GetInstance();

    AccessoryHelper& operator=(const AccessoryHelper&) = default;
    AccessoryHelper& operator=(AccessoryHelper&&) = default;

    // Typed operations; the command rows are inline (AccessoryCommands.cpp).
    int GetMouseSpeed();  // 1..20, -1 on failure
    bool SetMouseSpeed(int speed);
    bool SwapMouseButton();  // exchanges the primary and secondary button
    bool SetMouseLeftHanded(bool leftHanded);
    bool IsMouseSwapped();

    // The argument check of SetMouseSpeed: "IValue" must be a 32-bit JSON integer from 1 to 20;
    // what was read is stored in `speed` either way.
    static bool CheckInputSpeed(Document* request, int& speed);

private:
    AccessoryHelper() = default;
    AccessoryHelper(const AccessoryHelper&) = default;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
