#pragma once
// What the WMI reads and the firmware channel share: a
// connection to a namespace with the process's COM security and the proxy blanket set.
#include <windows.h>
#include <wbemidl.h>

#include <string>
#include <vector>

#include "platform/IWmi.h"
#include "platform/windows/raii/com.h"

namespace Qv::platform::windows {

// The services of `wmiNamespace`, or null; failed calls are added to `failures` with `operation`.
com_ptr<IWbemServices> ConnectToWmi(const std::wstring& wmiNamespace, const char* operation,
                                    std::vector<WmiCallFailure>& failures);

}  // namespace Qv::platform::windows
