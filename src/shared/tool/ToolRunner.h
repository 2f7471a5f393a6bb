#pragma once
// Runs DeviceControlTool.exe in the user's session: "<tool> <area> <function> "<argument>"",
// after verifying the tool's signature, and hands back its one line.
#include <optional>
#include <string>

#include "platform/platform.h"
#include "shared/tool/ToolProtocol.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

constexpr const wchar_t* kToolName = L"DeviceControlTool.exe";

class ToolRunner {
public:
    explicit ToolRunner(platform::Platform& platform) : platform_(platform) {}

    // The command line for a verified tool path. The path is quoted so that a folder with
    // blanks ("C:\Program Files\...") cannot be read as "C:\Program" plus arguments, and the
    // argument (a client's text, at times) so that the tool reads it back whole as its one
    // argument, whatever quotes and backslashes it holds.
    static std::wstring CommandLine(const std::wstring& toolPath, const std::wstring& area,
                                    const std::wstring& function, const std::wstring& argument);

    // The tool's first output line; false when the tool is missing or untrusted, cannot be run,
    // or answers "-1". Nothing is started for an untrusted tool, or for an argument holding a NUL.
    bool Run(const std::wstring& area, const std::wstring& function, const std::wstring& argument,
             std::wstring& reply, Tool::Reply minusOne = Tool::Reply::MinusOneFails);

    // Run, with the reply read as an integer (Tool::ReadInteger); nullopt on failure or when the
    // reply is not a number.
    std::optional<int> RunForInteger(const std::wstring& area, const std::wstring& function,
                                     const std::wstring& argument, Tool::Reply reply = Tool::Reply::MinusOneFails);

    // RunForInteger on the platform installed now, for helpers that keep no platform of their own.
    static std::optional<int> Ask(const wchar_t* area, Tool::Reply reply, const wchar_t* function,
                                  const std::wstring& argument = L"") {
        return ToolRunner(platform::Current()).RunForInteger(area, function, argument, reply);
    }

private:
    platform::Platform& platform_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
