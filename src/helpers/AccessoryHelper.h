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

private:
    AccessoryHelper();
    AccessoryHelper(const AccessoryHelper&) = default;

    bool CheckInputSpeed(Document* request, int& speed);

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
