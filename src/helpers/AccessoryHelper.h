#pragma once
// Mouse settings of the logged-on user, changed through the device control tool.
#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

using Document = Json::Document;

class AccessoryHelper {
public:
    static AccessoryHelper* GetInstance();

    AccessoryHelper& operator=(const AccessoryHelper&) = default;
    AccessoryHelper& operator=(AccessoryHelper&&) = default;

    // JSON-facing operations: status 0 with "result", or 0x20000006 for a malformed request.
    int GetMouseSpeed(Document* request, Document* response);
    int SetMouseSpeed(Document* request, Document* response);
    int SwapMouseButton(Document* request, Document* response);

    // Typed operations.
    int GetMouseSpeed();  // 1..20, -1 on failure
    bool SetMouseSpeed(int speed);
    bool SwapMouseButton();  // exchanges the primary and secondary button
    bool SetMouseLeftHanded(bool leftHanded);
    bool IsMouseSwapped();

    // The argument check of SetMouseSpeed, shared with the inline command row: "IValue" must be
    // a 32-bit JSON integer from 1 to 20; what was read is stored in `speed` either way.
    static bool CheckInputSpeed(Document* request, int& speed);

private:
    AccessoryHelper();
    AccessoryHelper(const AccessoryHelper&) = default;

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
