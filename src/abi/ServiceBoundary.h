#pragma once
// The service behind an object the factory handed out (for the development exports).
#include "qv/QVServiceAbi.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
class DeviceControlService;
}

namespace Qv::Abi {

// Null for a null object or one whose service was destroyed.
Bridge::Server::Services::DeviceControl::DeviceControlService* ServiceOf(QVServiceObject* object);

}  // namespace Qv::Abi
