// Device information has no command rows: DeviceInfoHelper is exported for the host's other
// modules, and devicectl reads its summary through QVDescribeDevice.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

Area DeviceInfoArea() { return {"DeviceInfo", {}}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
