#include "shared/tool/ToolRunner.h"

#include "core/command_line.h"
#include "core/logging.h"
#include "core/strings.h"
#include "security/Authenticode.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::wstring ToolRunner::CommandLine(const std::wstring& toolPath, const std::wstring& area,
                                     const std::wstring& function, const std::wstring& argument) {
    return L"\"" + toolPath + L"\" " + area + L" " + function + L" " + Core::QuoteArgument(argument);
}

bool ToolRunner::Run(const std::wstring& area, const std::wstring& function, const std::wstring& argument,
                     std::wstring& reply, Tool::Reply minusOne) {
    // A NUL would end the command line early and drop what follows it.
    if (Core::HasNul(argument)) return false;
    UserSession user(platform_);
    const std::wstring tool = user.ResolveModuleFile(kToolName);

    // Verify-then-execute on one file: the tool stays open without write, delete or rename
    // sharing from before the signature check until the process has been created.
    auto pinned = platform_.Files().OpenForExecution(tool);
    if (!pinned) {
        Logging::LogApiError(Logging::LogManager::GetLogger(), Core::TypeName<ToolRunner>(), "Run", L"CreateFileW",
                             pinned.Status());
        return false;
    }
    Security::QVAuthenticodeFacade facade(platform_, Security::TrustTables::Builtin());
    if (!facade.IsQvSignedFile(tool.c_str())) return false;

    std::wstring output;
    if (!user.RunAsUserAndCapture(tool, CommandLine(tool, area, function, argument), output)) return false;
    if (output == Tool::kFailure && minusOne == Tool::Reply::MinusOneFails) return false;
    reply = output;
    return true;
}

std::optional<int> ToolRunner::RunForInteger(const std::wstring& area, const std::wstring& function,
                                             const std::wstring& argument, Tool::Reply minusOne) {
    std::wstring reply;
    if (!Run(area, function, argument, reply, minusOne)) return std::nullopt;
    return Tool::ReadInteger(reply);
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
