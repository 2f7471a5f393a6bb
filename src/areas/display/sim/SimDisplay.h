#pragma once
// The simulated laptop's display: the display vendor's software (its service executable's
// version and its display-control library with a panel behind it), and what the tool's display
// areas reach (advanced colour, the vendor's display modes).
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "areas/display/IDisplayControl.h"
#include "platform/sim/Recent.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

// Where the vendor's service executable is on the simulated laptop.
inline constexpr wchar_t kSimDisplayServicePath[] =
    L"C:\\Program Files\\Portrait Displays\\QV Display Control Service\\DisplayControlService.exe";

// The panel behind the display-control library. Setters keep only values the panel accepts,
// so a read-back can differ from what was asked.
struct SimPanel {
    int32_t platformSupported = 1;
    std::vector<int32_t> inputSources{15, 17, 27};
    int32_t inputSource = 15;
    bool scheduleOn = false;
    int32_t scheduleMode = 1;
    int32_t startHour = 21, startMinute = 0, endHour = 7, endMinute = 0;
    int32_t features = 0x11;
    int32_t red = 100, green = 100, blue = 100;
    int32_t contrast = 50;
    // Gains that the panel changes on its own after a setter (a read-back mismatch); -1: none.
    int32_t redDrift = -1;
    std::set<std::string> missingExports;  // exports the library does not have
};

class SimDisplayControl : public platform::IDisplayControl {
public:
    explicit SimDisplayControl(SimFaults& faults);

    FileVersion ReadFileVersion(const std::wstring& path) override;
    platform::Result<std::shared_ptr<platform::IDisplayLibrary>> Load(const std::wstring& path) override;

    // --- arrangement ---
    void SetFileVersion(const std::wstring& path, FileVersion version);
    void SetLoadable(bool loadable);  // false: LoadLibrary fails (the module is not found)
    // The loader maps another file when asked for `path` (a copy of that name loaded already, a
    // redirection): the library reports that file as its own.
    void RedirectLoad(const std::wstring& path, const std::wstring& mapped);
    // The panel, to arrange or read; change it only while no command runs.
    SimPanel& Panel() { return *panel_; }

    // --- observation ---
    // The vendor's software as the tool finds it usable: its service at version 5 or later and
    // its library loading and saying the platform is supported.
    bool VendorUsable();
    std::vector<std::string> Calls() const;  // "SetShedulerMode(2)", most recent last
    std::vector<std::wstring> LoadedPaths() const;
    int LoadedLibraries() const;  // libraries loaded and not yet released

private:
    class Library;
    struct Shared {
        std::mutex mutex;
        Recent<std::string, 256> calls;
        int live = 0;
    };

    SimFaults& faults_;
    std::mutex mutex_;
    std::map<std::wstring, FileVersion> versions_;  // by lower-case path
    bool loadable_ = true;
    std::map<std::wstring, std::wstring> redirects_;  // by lower-case path
    std::vector<std::wstring> loaded_;
    std::shared_ptr<SimPanel> panel_ = std::make_shared<SimPanel>();
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

// What the tool's display areas reach on the simulated laptop (kept in the world's tool state).
// Whether the vendor's software is there and usable is the display-control port's to say
// (`vendor`, set when the port is made; without it the laptop's defaults: version 5, supported).
struct SimDisplayTool {
    SimDisplayControl* vendor = nullptr;
    bool hdrReadable = true;  // false: the displays' advanced-colour state cannot be read
    bool hdrSupported = true;
    bool hdrOn = false;
    int displayMode = 0;  // the preset in use; -1: the display's default profile is no preset's
    std::vector<int> supportedModes{0, 1, 2, 7, 13};
    std::wstring supportedModesLine;  // when set, the tool prints this instead of the modes
};

inline SimDisplayControl& SimulatedDisplay(platform::Platform& device) {
    return static_cast<SimDisplayControl&>(device.AreaPort<platform::IDisplayControl>());
}

}  // namespace Qv::Sim
