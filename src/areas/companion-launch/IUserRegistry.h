#pragma once
// The registry hive of the user this thread impersonates (HKEY_CURRENT_USER of a service is the
// system's own, so the hive is opened for the thread's user).
#include <cstdint>
#include <memory>
#include <string>

namespace Qv::platform {

class Platform;

class IUserRegistry {
public:
    struct Read {
        enum class Outcome { Value, HiveNotOpened, KeyNotFound, ValueInvalid };
        Outcome outcome = Outcome::Value;
        std::wstring text;   // the value's text (REG_SZ) when it was read
        int32_t status = 0;  // the Windows error of a failure
    };

    virtual ~IUserRegistry() = default;
    // The text value `name` under `key` of the thread's user's hive.
    virtual Read ReadString(const std::wstring& key, const std::wstring& name) = 0;

    static std::shared_ptr<IUserRegistry> Make(Platform& platform);
};

}  // namespace Qv::platform
