#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// Processes started in a user's session, and commands the service runs itself.
class IProcessLauncher {
public:
    virtual ~IProcessLauncher() = default;
    // Runs `commandLine` (the image `applicationPath`) as the token's user with its own
    // environment, hidden, waits for it and answers what it wrote to standard output and error.
    virtual Result<std::string> RunAndCapture(UserToken token, const std::wstring& applicationPath,
                                              const std::wstring& commandLine) = 0;
    // The install folder of the family's package, as the package store answers the calling
    // thread's user (FindPackagesByPackageFamily and GetPackagePathByFullName look at the current
    // user's packages): a thread that does not impersonate the user finds the service's own.
    virtual Result<std::wstring> PackageFolder(const std::wstring& packageFamilyName) = 0;
    // Starts `image` as the token's user with the user's environment, without waiting.
    virtual Result<void> StartAsUser(UserToken token, const std::wstring& image) = 0;
    // Runs a command through the C runtime's command processor (`system`) in the service's own
    // context and waits for it: its status, negative when the processor could not run it.
    virtual int RunCommandProcessor(const std::string& command) = 0;

    // What a bounded run came to.
    struct BoundedRun {
        enum class Outcome { Read, PipeFailed, StartFailed, Stalled };
        Outcome outcome = Outcome::Read;
        std::string output;  // what the one read took from its standard output
        int32_t status = 0;  // the Windows error of a failure
    };
    // Runs `commandLine` in the service's own context, hidden, with its standard output on a
    // pipe; waits for it at most `waitMilliseconds`, then reads once at most `maxBytes`. A child
    // that still runs then and has written nothing is ended (Stalled) rather than read forever;
    // one that has written something is left to finish on its own.
    virtual BoundedRun RunBounded(const std::wstring& commandLine, uint32_t waitMilliseconds, size_t maxBytes) = 0;
};

}  // namespace Qv::platform
