#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// A loaded display-control library. Each call resolves its export by name at that moment and
// answers its 32-bit result, or nothing when the library has no such export. The library is
// unloaded when its last owner lets it go.
class IDisplayLibrary {
public:
    virtual ~IDisplayLibrary() = default;
    virtual std::optional<int32_t> Call(const char* name) = 0;
    virtual std::optional<int32_t> Call(const char* name, int32_t value) = 0;
    virtual std::optional<int32_t> Call(const char* name, int32_t a, int32_t b, int32_t c, int32_t d) = 0;
    // f(int*, int*, int*, int*)
    virtual std::optional<int32_t> CallWithOutputs(const char* name, int32_t* a, int32_t* b, int32_t* c, int32_t* d) = 0;
    // f(int* array, int capacity)
    virtual std::optional<int32_t> CallWithArray(const char* name, int32_t* array, int32_t capacity) = 0;
    // The file the loaded module was mapped from, as the loader reports it.
    virtual Result<std::wstring> FilePath() = 0;
};

// The display vendor's software on this machine: its service executable's version and its
// display-control library.
class IDisplayControl {
public:
    struct FileVersion {
        enum class State { Missing, Unreadable, Read };
        State state = State::Missing;  // Missing: no version information (the file is not there)
        uint16_t major = 0;
    };

    // Defined by the Windows adapter and by the fake (see Platform::AreaPort).
    static std::shared_ptr<IDisplayControl> Make(Platform& platform);

    virtual ~IDisplayControl() = default;
    virtual FileVersion ReadFileVersion(const std::wstring& path) = 0;
    // Loads the library at the full path `path`, its own imports searched for in its folder and
    // the system folder only (never on PATH); the failure carries the system's error.
    virtual Result<std::shared_ptr<IDisplayLibrary>> Load(const std::wstring& path) = 0;
};

}  // namespace Qv::platform
