#pragma once
// The firmware's system (thermal) mode, on machines whose firmware feature string announces it.
#include <map>
#include <string>

#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class SystemHelper {
public:
    using Document = Json::Document;

    static SystemHelper* GetInstance();

    SystemHelper& operator=(const SystemHelper&) = default;
    SystemHelper& operator=(SystemHelper&&) = default;

    // JSON-facing: status 0 with "result"; SetSystemMode 0x20000006 without an integer "IValue".
    int SetSystemMode(Document* request, Document* response);

    bool IsSystemModeSupported();
    int GetSystemMode();  // -1 on failure
    bool SetSystemMode(int mode);

    // The firmware's feature string (WMI), empty when it cannot be read.
    std::wstring ReadFeatureString();
    // Whether `code` stands at an even position of a run of two-character codes.
    static bool HasFeatureCode(const std::wstring& codes, const std::wstring& code);
    // The same test in the "FBYTE#" section of a feature string (up to ";", the part before the
    // first "."): 1 found, 0 not (or no section), -1 a section shorter than one code.
    static int HasFeatureByteCode(const std::wstring& features, const std::wstring& code);
    // System mode names by key, in key order.
    static const std::map<int, std::wstring>& ModeNames();

private:
    SystemHelper();
    SystemHelper(const SystemHelper&) = default;

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
