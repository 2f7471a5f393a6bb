// The hive of the user this thread impersonates: RegOpenCurrentUser maps the thread's user (a
// service's HKEY_CURRENT_USER would be the system's own), then the key and the text value.
#include <windows.h>

#include <vector>

#include "areas/companion-launch/IUserRegistry.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

class WinUserRegistry : public IUserRegistry {
public:
    Read ReadString(const std::wstring& key, const std::wstring& name) override {
        using Outcome = Read::Outcome;
        unique_hkey hive;
        LSTATUS status = RegOpenCurrentUser(KEY_READ, hive.put());
        if (status != ERROR_SUCCESS) return {Outcome::HiveNotOpened, {}, static_cast<int32_t>(status)};
        unique_hkey opened;
        status = RegOpenKeyExW(hive.get(), key.c_str(), 0, KEY_QUERY_VALUE, opened.put());
        if (status != ERROR_SUCCESS) return {Outcome::KeyNotFound, {}, static_cast<int32_t>(status)};
        DWORD type = 0;
        DWORD size = 0;
        status = RegQueryValueExW(opened.get(), name.c_str(), nullptr, &type, nullptr, &size);
        if (status != ERROR_SUCCESS || type != REG_SZ)
            return {Outcome::ValueInvalid, {}, static_cast<int32_t>(status != ERROR_SUCCESS ? status : ERROR_INVALID_DATA)};
        // Room for a terminator the stored text may lack.
        std::vector<wchar_t> text(size / sizeof(wchar_t) + 1, L'\0');
        DWORD bytes = size;
        status = RegQueryValueExW(opened.get(), name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &bytes);
        if (status != ERROR_SUCCESS || type != REG_SZ)
            return {Outcome::ValueInvalid, {}, static_cast<int32_t>(status != ERROR_SUCCESS ? status : ERROR_INVALID_DATA)};
        return {Outcome::Value, std::wstring(text.data()), 0};
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IUserRegistry> Qv::platform::IUserRegistry::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinUserRegistry>();
}
