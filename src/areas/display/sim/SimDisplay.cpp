#include "areas/display/sim/SimDisplay.h"

#include <algorithm>

#include "areas/display/DisplayProtocol.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimDevice.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kModuleNotFound = 126;

bool InRange(int32_t value, int32_t low, int32_t high) { return value >= low && value <= high; }

}  // namespace

// One loaded copy of the library: every call is recorded and acts on the panel.
class SimDisplayControl::Library final : public platform::IDisplayLibrary {
public:
    Library(SimFaults& faults, std::shared_ptr<SimPanel> panel, std::shared_ptr<Shared> shared, std::wstring file)
        : faults_(faults), panel_(std::move(panel)), shared_(std::move(shared)), file_(std::move(file)) {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        ++shared_->live;
    }
    ~Library() override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        --shared_->live;
    }

    platform::Result<std::wstring> FilePath() override {
        QV_SIM_FAULT(faults_, DisplayControl);
        return file_;
    }

    std::optional<int32_t> Call(const char* name) override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        if (!Has(name, "()")) return std::nullopt;
        SimPanel& p = *panel_;
        const std::string n = name;
        if (n == "IsPlatformSupported") return p.platformSupported;
        if (n == "Start") return 0;
        if (n == "GetInputSource") return p.inputSource;
        if (n == "GetSchedule") return p.scheduleOn ? 1 : 0;
        if (n == "GetShedulerMode") return p.scheduleMode;
        if (n == "GetFeatures") return p.features;
        if (n == "GetRedGain") return p.red;
        if (n == "GetGreenGain") return p.green;
        if (n == "GetBlueGain") return p.blue;
        if (n == "GetContrast") return p.contrast;
        return std::nullopt;
    }

    std::optional<int32_t> Call(const char* name, int32_t value) override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        if (!Has(name, "(" + std::to_string(value) + ")")) return std::nullopt;
        SimPanel& p = *panel_;
        const std::string n = name;
        if (n == "Stop") return 0;
        if (n == "SetInputSource") {
            if (std::count(p.inputSources.begin(), p.inputSources.end(), value) != 0) p.inputSource = value;
        } else if (n == "EnableSchedule") {
            p.scheduleOn = value != 0;
        } else if (n == "SetShedulerMode") {
            if (InRange(value, 0, 2)) p.scheduleMode = value;
        } else if (n == "SetRedGain") {
            if (InRange(value, 0, 100)) p.red = p.redDrift >= 0 ? p.redDrift : value;
        } else if (n == "SetGreenGain") {
            if (InRange(value, 0, 100)) p.green = value;
        } else if (n == "SetBlueGain") {
            if (InRange(value, 0, 100)) p.blue = value;
        } else if (n == "SetContrast") {
            if (InRange(value, 0, 100)) p.contrast = value;
        } else {
            return std::nullopt;
        }
        return 0;
    }

    std::optional<int32_t> Call(const char* name, int32_t a, int32_t b, int32_t c, int32_t d) override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        if (!Has(name, "(" + std::to_string(a) + "," + std::to_string(b) + "," + std::to_string(c) + "," +
                           std::to_string(d) + ")"))
            return std::nullopt;
        if (std::string(name) != "SetScheduleTime") return std::nullopt;
        SimPanel& p = *panel_;
        if (InRange(a, 0, 23) && InRange(b, 0, 59) && InRange(c, 0, 23) && InRange(d, 0, 59)) {
            p.startHour = a, p.startMinute = b, p.endHour = c, p.endMinute = d;
        }
        return 0;
    }

    std::optional<int32_t> CallWithOutputs(const char* name, int32_t* a, int32_t* b, int32_t* c, int32_t* d) override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        if (!Has(name, "(out)") || std::string(name) != "GetScheduleTime") return std::nullopt;
        SimPanel& p = *panel_;
        *a = p.startHour, *b = p.startMinute, *c = p.endHour, *d = p.endMinute;
        return 0;
    }

    std::optional<int32_t> CallWithArray(const char* name, int32_t* array, int32_t capacity) override {
        std::lock_guard<std::mutex> lock(shared_->mutex);
        if (!Has(name, "(array," + std::to_string(capacity) + ")") || std::string(name) != "GetSupportedInputSources")
            return std::nullopt;
        const auto& sources = panel_->inputSources;
        const size_t written = std::min(sources.size(), static_cast<size_t>(std::max(capacity, 0)));
        std::copy_n(sources.begin(), written, array);
        return static_cast<int32_t>(sources.size());
    }

private:
    // Records the call; false when the library has no such export (or its look-up fails).
    bool Has(const char* name, const std::string& arguments) {
        if (faults_.Enter(SimPort::DisplayControl)) return false;
        if (panel_->missingExports.count(name) != 0) return false;
        shared_->calls.Add(name + arguments);
        return true;
    }

    SimFaults& faults_;
    std::shared_ptr<SimPanel> panel_;
    std::shared_ptr<Shared> shared_;
    std::wstring file_;
};

SimDisplayControl::SimDisplayControl(SimFaults& faults) : faults_(faults) {
    FileVersion installed;
    installed.state = FileVersion::State::Read;
    installed.major = 5;
    versions_[Lower(kSimDisplayServicePath)] = installed;
}

platform::IDisplayControl::FileVersion SimDisplayControl::ReadFileVersion(const std::wstring& path) {
    if (faults_.Enter(SimPort::DisplayControl)) return FileVersion{FileVersion::State::Unreadable, 0};
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = versions_.find(Lower(path));
    return found == versions_.end() ? FileVersion{} : found->second;
}

platform::Result<std::shared_ptr<platform::IDisplayLibrary>> SimDisplayControl::Load(const std::wstring& path) {
    QV_SIM_FAULT(faults_, DisplayControl);
    std::lock_guard<std::mutex> lock(mutex_);
    loaded_.push_back(path);
    if (!loadable_) return platform::Failure{kModuleNotFound};
    auto redirect = redirects_.find(Lower(path));
    return std::shared_ptr<platform::IDisplayLibrary>(
        std::make_shared<Library>(faults_, panel_, shared_, redirect == redirects_.end() ? path : redirect->second));
}

void SimDisplayControl::SetFileVersion(const std::wstring& path, FileVersion version) {
    std::lock_guard<std::mutex> lock(mutex_);
    versions_[Lower(path)] = version;
}

void SimDisplayControl::RedirectLoad(const std::wstring& path, const std::wstring& mapped) {
    std::lock_guard<std::mutex> lock(mutex_);
    redirects_[Lower(path)] = mapped;
}

bool SimDisplayControl::VendorUsable() {
    std::lock_guard<std::mutex> lock(mutex_);
    auto version = versions_.find(Lower(kSimDisplayServicePath));
    return loadable_ && version != versions_.end() && version->second.state == FileVersion::State::Read &&
           version->second.major >= 5 && panel_->platformSupported == 1;
}

void SimDisplayControl::SetLoadable(bool loadable) {
    std::lock_guard<std::mutex> lock(mutex_);
    loadable_ = loadable;
}

std::vector<std::string> SimDisplayControl::Calls() const {
    std::lock_guard<std::mutex> lock(shared_->mutex);
    return shared_->calls.Items();
}

std::vector<std::wstring> SimDisplayControl::LoadedPaths() const {
    std::lock_guard<std::mutex> lock(const_cast<std::mutex&>(mutex_));
    return loaded_;
}

int SimDisplayControl::LoadedLibraries() const {
    std::lock_guard<std::mutex> lock(shared_->mutex);
    return shared_->live;
}

namespace {

namespace Words = Tool::Display;

class AdvancedColor final : public Words::IAdvancedColor {
public:
    explicit AdvancedColor(SimDisplayTool& state) : state_(state) {}
    std::optional<bool> Supported() override {
        if (!state_.hdrReadable) return std::nullopt;
        return state_.hdrSupported;
    }
    std::optional<bool> Enabled() override {
        if (!state_.hdrReadable) return std::nullopt;
        return state_.hdrSupported && state_.hdrOn;
    }
    bool Enable(bool on) override {
        if (!state_.hdrReadable || !state_.hdrSupported) return false;
        state_.hdrOn = on;
        return true;
    }

private:
    SimDisplayTool& state_;
};

class DisplayModes final : public Words::IDisplayModes {
public:
    DisplayModes(SimWorld& world, SimDisplayTool& state) : world_(world), state_(state) {}
    // As the real tool decides: the vendor's service and library, the library beside the tool.
    bool Present() override {
        const std::wstring folder = world_.modulePath.substr(0, world_.modulePath.find_last_of(L'\\'));
        if (world_.files.count(Lower(folder + L"\\QVDC.dll")) == 0) return false;
        return state_.vendor == nullptr || state_.vendor->VendorUsable();
    }
    std::optional<int> Mode() override {
        return state_.displayMode >= 0 ? std::optional<int>(state_.displayMode) : std::nullopt;
    }
    bool SetMode(int mode) override {
        if (std::count(state_.supportedModes.begin(), state_.supportedModes.end(), mode) == 0) return false;
        state_.displayMode = mode;
        return true;
    }
    std::vector<int> SupportedModes() override { return state_.supportedModes; }

private:
    SimWorld& world_;
    SimDisplayTool& state_;
};

std::wstring ServeHdr(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    AdvancedColor displays(world.tool.Area<SimDisplayTool>());
    return Words::ServeHdr(displays, function, argument);
}

std::wstring ServePortrait(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    SimDisplayTool& state = world.tool.Area<SimDisplayTool>();
    DisplayModes modes(world, state);
    if (function == Words::kGetSupportedDisplayModes && !state.supportedModesLine.empty() && modes.Present())
        return state.supportedModesLine;
    return Words::ServePortrait(modes, function, argument);
}

// The tool contract's arrangement: "hdr" (unreadable, none, off, on), "portrait" (present: the
// vendor's software as the laptop has it) and "presets" (none: no preset profile on the built-in
// display).
bool Arrange(SimWorld& world, const std::wstring& key, const std::wstring& value) {
    SimDisplayTool& state = world.tool.Area<SimDisplayTool>();
    if (key == L"hdr") {
        state.hdrReadable = value != L"unreadable";
        state.hdrSupported = value != L"none";
        state.hdrOn = value == L"on";
        return true;
    }
    if (key == L"portrait" && value == L"present") {
        // The library beside the module, as scripts/wine-install puts the double there.
        world.files.insert(Lower(world.modulePath.substr(0, world.modulePath.find_last_of(L'\\')) + L"\\QVDC.dll"));
        return true;
    }
    if (key == L"presets" && value == L"none") {
        state.supportedModes.clear();
        state.displayMode = -1;
        return true;
    }
    return false;
}

}  // namespace

SimArea DisplaySimArea() {
    static const Tool::ToolArea<SimWorld> areas[] = {{Words::kHdrArea, Words::kHdrFunctions, &ServeHdr},
                                                     {Words::kPortraitArea, Words::kPortraitFunctions, &ServePortrait}};
    return {areas, {}, &Arrange};
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IDisplayControl> Qv::platform::IDisplayControl::Make(Platform& platform) {
    auto control = std::make_shared<Qv::Sim::SimDisplayControl>(Qv::Sim::FaultsOf(platform));
    // The simulated tool asks it whether the vendor's software is usable, as the real tool does.
    if (auto* device = dynamic_cast<Qv::Sim::SimDevice*>(&platform))
        device->WithWorld([&](Qv::Sim::SimWorld& world) { world.tool.Area<Qv::Sim::SimDisplayTool>().vendor = control.get(); });
    return control;
}
