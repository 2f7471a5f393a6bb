#include "platform/UserPaths.h"

#include <cstdint>

#include "core/logging.h"
#include "core/null_checker.h"
#include "core/strings.h"

namespace Qv::platform {

std::wstring UserPaths::GeneralForm(const wchar_t* filePath, UserToken token) {
    if (!Core::NullChecker::Check({{filePath, "filePath"}})) return {};
    auto* logger = Bridge::Logging::LogManager::GetLogger();
    const char* className = Core::TypeName<UserPaths>();

    std::wstring expanded;
    // INVALID_HANDLE_VALUE (all bits set) is a process handle that was never opened.
    if (token == reinterpret_cast<UserToken>(~static_cast<uintptr_t>(0))) {
        logger->LogError(L"process_handle is NULL or INVALID_HANDLE_VALUE");
        return {};
    }
    if (token != nullptr) {
        auto forUser = platform_.User().ExpandForUser(token, filePath);
        if (!forUser) {
            logger->LogError(L"%S.%S failed on function %s with result %d", className, "GeneralForm",
                             L"ExpandEnvironmentStringsForUser", forUser.Status());
            return {};
        }
        expanded = *forUser;
    } else {
        expanded = platform_.Files().ExpandEnvironment(filePath);
    }
    logger->LogInfo(L"ExpandEnvironmentStrings: [%s] [%s]", filePath, expanded.c_str());

    auto full = platform_.Files().FullPath(expanded);
    if (!full) {
        logger->LogError(L"%S.%S failed on function %s with result %d", className, "GeneralForm", L"GetFullPathNameW",
                         full.Status());
        return {};
    }
    logger->LogInfo(L"GetFullPathName: [%s]", full->c_str());
    return *full;
}

}  // namespace Qv::platform
