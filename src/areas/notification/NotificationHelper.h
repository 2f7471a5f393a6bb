#pragma once
// The user's notification toasts, switched through the device control tool in the user's session.
#include "core/json.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class NotificationHelper {
public:
    using Document = Json::Document;

    static NotificationHelper* GetInstance();

    NotificationHelper& operator=(const NotificationHelper&) = default;
    NotificationHelper& operator=(NotificationHelper&&) = default;

    // JSON-facing: 0 with "result", or 0x20000006 without a boolean "BValue".
    int SetToastOnOff(Document* request, Document* response);

    // Any non-zero reply of the tool reads as on, its "-1" for failure included: the answer
    // cannot tell failure from on. A run that does not happen reads as off.
    bool GetToastOnOff();
    bool SetToastOnOff(bool on);

    // The argument check of SetToastOnOff: "BValue" must be a JSON boolean.
    static bool CheckInputToast(Document* request, bool& on);

private:
    NotificationHelper() = default;
    NotificationHelper(const NotificationHelper&) = default;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
