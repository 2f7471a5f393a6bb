#pragma once
// What the WMI reads and the firmware channel share: COM for the length of a call, and a
// connection to a namespace with the process's COM security and the proxy blanket set.
#include <windows.h>
#include <wbemidl.h>

#include <string>
#include <vector>

#include "platform/IWmi.h"
#include "platform/windows/raii/com.h"

namespace Qv::platform::windows {

// COM (multithreaded apartment) on this thread until the scope ends.
class ComScope {
public:
    ComScope() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComScope() {
        // Balanced even when it failed, as the layer always did: a failed call was not counted.
        if (SUCCEEDED(result_)) CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
    explicit operator bool() const { return SUCCEEDED(result_); }
    HRESULT Result() const { return result_; }

private:
    HRESULT result_;
};

// The services of `wmiNamespace`, or null; failed calls are added to `failures` with `operation`.
com_ptr<IWbemServices> ConnectToWmi(const std::wstring& wmiNamespace, const char* operation,
                                    std::vector<WmiCallFailure>& failures);

}  // namespace Qv::platform::windows
