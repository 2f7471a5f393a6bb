#include "areas/expmodes/ExpModesHelper.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <system_error>

#include "areas/accessory/AccessoryHelper.h"
#include "areas/audio/AudioHelper.h"
#include "areas/camera/CameraHelper.h"
#include "areas/display/DisplayHelper.h"
#include "areas/expmodes/IStoreFiles.h"
#include "areas/notification/NotificationHelper.h"
#include "areas/power/PowerHelper.h"
#include "core/status.h"
#include "core/strings.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr char kFolderFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::GetCfgFolderPath";
constexpr char kLoadFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::Load";
constexpr char kRestoreFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::RestoreMode";
constexpr wchar_t kFolderBelowProgramData[] = L"\\QV\\DeviceControl\\ExpModes";
constexpr wchar_t kRestoreFile[] = L"restorestate.json";
constexpr wchar_t kRestoreName[] = L"restorestate";
constexpr uint32_t kLastCode = 43;
constexpr size_t kMaxPicks = 4096;
constexpr int32_t kLoadedOrder = 99;

constexpr wchar_t kPerformance[] = L"power_mode_performance";
constexpr wchar_t kBalanced[] = L"power_mode_balanced";
constexpr wchar_t kEfficiency[] = L"power_mode_efficiency";

std::shared_ptr<ExpModesHelper> instance;
std::mutex instanceMutex;

platform::IStoreFiles& Store() { return platform::Current().AreaPort<platform::IStoreFiles>(); }

// What the store's folder holds.
std::wstring NameOf(ExpModesConfigType type) { return type == RestoreState ? kRestoreFile : L""; }

ExpCommand Command(uint32_t type, const wchar_t* parameter, const wchar_t* key, int32_t order) {
    return {type, parameter, key, order};
}

// A decimal integer as std::stoi reads it: leading blanks skipped, trailing text ignored. No
// digits, or too large, raise with the texts the clients know.
int ToInteger(const std::wstring& text) {
    try {
        return std::stoi(text);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stoi argument");
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

std::wstring PowerKeyword(int mode) {
    switch (mode) {
        case BestPerformance: return kPerformance;
        case Balanced: return kBalanced;
        case BestPowerEfficiency: return kEfficiency;
        default: return L"";
    }
}

// A loading fault: the text the log line carries.
[[noreturn]] void Corrupt(const char* what) { throw std::runtime_error(what); }

}  // namespace

std::shared_ptr<ExpModesHelper> ExpModesHelper::GetInstance() {
    std::lock_guard<std::mutex> lock(instanceMutex);
    if (!instance) instance.reset(new ExpModesHelper());
    return instance;
}

void ExpModesHelper::Release() {
    std::shared_ptr<ExpModesHelper> last;
    {
        std::lock_guard<std::mutex> lock(instanceMutex);
        last = std::move(instance);
    }
    // Ended here, outside the lock, unless a command still holds it: then by that command.
}

ExpModesHelper::ExpModesHelper()
    : logger_(Logging::LogManager::GetSystemInformationLogger()), store_(logger_) {
    restorePath_ = GetCfgFolderPath() + L"\\" + kRestoreFile;
    store_.RemoveLeftovers(kRestoreFile);
    camera_ = CameraHelper::GetInstance();
    audio_ = AudioHelper::GetInstance();
    accessory_ = AccessoryHelper::GetInstance();
    display_ = true;
    notification_ = NotificationHelper::GetInstance();
    power_ = PowerHelper::GetInstance();
    InitialModeList();
    const auto exists = Store().Exists(restorePath_);
    if (!exists) throw std::system_error(exists.Status(), std::system_category(), "exists: " + Core::Narrow(restorePath_));
    if (*exists) Load(RestoreState);
}

// --- the built-in modes ---

ExpMode ExpModesHelper::CreatePowerSaverMode() {
    ExpMode mode{L"battery_and_power", {}};
    bool hdr = false;
    if (display_ && DisplayHelper::GetInstance()->IsHDRSupported(hdr) && hdr)
        mode.Commands.push_back(Command(13, L"0", L"disable", 5));
    mode.Commands.push_back(Command(14, L"30", L"", 6));
    if (camera_ != nullptr && camera_->IsBlurSupported()) mode.Commands.push_back(Command(11, L"0", L"disable", 4));
    if (camera_ != nullptr && camera_->IsAutoFrameSupported()) mode.Commands.push_back(Command(12, L"0", L"disable", 3));
    mode.Commands.push_back(Command(3, L"50", L"", 2));
    mode.Commands.push_back(Command(43, kEfficiency, kEfficiency, 1));
    AddOrReplaceMode(mode);
    return mode;
}

ExpMode ExpModesHelper::CreateMovieMode() {
    ExpMode mode{L"movie", {}};
    mode.Commands.push_back(Command(3, L"80", L"", 3));
    mode.Commands.push_back(Command(14, L"80", L"", 4));
    if (display_ && DisplayHelper::GetInstance()->IsPortraitSupported())
        mode.Commands.push_back(Command(16, L"7", L"display_mode_movie", 2));
    bool hdr = false;
    if (display_ && DisplayHelper::GetInstance()->IsHDRSupported(hdr) && hdr)
        mode.Commands.push_back(Command(13, L"1", L"enable", 1));
    AddOrReplaceMode(mode);
    return mode;
}

ExpMode ExpModesHelper::CreateSecurityMode() {
    ExpMode mode{L"secure_my_pc", {}};
    // Only machines with camera blur have this mode.
    if (camera_ == nullptr || !camera_->IsBlurSupported()) return mode;
    mode.Commands.push_back(Command(11, L"1", L"enable", 99));
    AddOrReplaceMode(mode);
    return mode;
}

ExpMode ExpModesHelper::CreateConferenceMode() {
    ExpMode mode{L"conference", {}};
    mode.Commands.push_back(Command(9, L"1", L"on", 4));
    if (camera_ != nullptr && camera_->IsAutoFrameSupported()) mode.Commands.push_back(Command(12, L"1", L"on", 3));
    if (camera_ != nullptr && camera_->IsBlurSupported()) mode.Commands.push_back(Command(11, L"1", L"on", 2));
    mode.Commands.push_back(Command(6, L"0", L"unmute_val", 1));
    AddOrReplaceMode(mode);
    return mode;
}

ExpMode ExpModesHelper::CreateMusicMode() {
    ExpMode mode{L"music", {}};
    mode.Commands.push_back(Command(3, L"80", L"", 2));
    mode.Commands.push_back(Command(4, L"0", L"unmute_val", 1));
    AddOrReplaceMode(mode);
    return mode;
}

ExpMode ExpModesHelper::CreateGamingMode() {
    ExpMode mode{L"gaming", {}};
    mode.Commands.push_back(Command(14, L"90", L"", 4));
    bool hdr = false;
    if (display_ && DisplayHelper::GetInstance()->IsHDRSupported(hdr) && hdr)
        mode.Commands.push_back(Command(13, L"1", L"enable", 3));
    if (display_ && DisplayHelper::GetInstance()->IsPortraitSupported())
        mode.Commands.push_back(Command(16, L"1", L"display_mode_gaming", 2));
    mode.Commands.push_back(Command(43, kPerformance, kPerformance, 1));
    AddOrReplaceMode(mode);
    return mode;
}

void ExpModesHelper::InitialModeList() {
    CreatePowerSaverMode();
    CreateMovieMode();
    CreateSecurityMode();
    CreateConferenceMode();
    CreateMusicMode();
    CreateGamingMode();
}

void ExpModesHelper::AddOrReplaceMode(const ExpMode& mode) {
    std::erase_if(modes_, [&](const ExpMode& existing) { return existing.ModeName == mode.ModeName; });
    modes_.push_back(mode);
}

// --- the store ---

std::wstring ExpModesHelper::GetCfgFolderPath() {
    std::wstring programData;
    if (!Store().ProgramDataFolder(programData)) logger_->LogError(L"%S - Failed to expand ProgramData", kFolderFunction);
    return store_.Prepare(programData, kFolderBelowProgramData);
}

const std::wstring& ExpModesHelper::PathOf(ExpModesConfigType type) const {
    return type == RestoreState ? restorePath_ : modesPath_;
}

void ExpModesHelper::Save(ExpModesConfigType type) {
    Json::Document document;
    auto& allocator = document.GetAllocator();
    const auto commands = [&](const std::vector<ExpCommand>& list) {
        Json::Value array(rapidjson::kArrayType);
        for (const ExpCommand& command : list) {
            Json::Value entry(rapidjson::kObjectType);
            entry.AddMember(L"Type", static_cast<int32_t>(command.Type), allocator);
            entry.AddMember(L"Parameter", Json::Value(command.Parameter.c_str(), allocator), allocator);
            array.PushBack(entry, allocator);
        }
        return array;
    };
    if (type == RestoreState) {
        document.SetObject();
        document.AddMember(L"ModeName", Json::Value(restoreName_.c_str(), allocator), allocator);
        document.AddMember(L"Commands", commands(restoreCommands_), allocator);
    } else {
        document.SetArray();
        for (const ExpMode& mode : modes_) {
            Json::Value entry(rapidjson::kObjectType);
            entry.AddMember(L"ModeName", Json::Value(mode.ModeName.c_str(), allocator), allocator);
            entry.AddMember(L"Commands", commands(mode.Commands), allocator);
            document.PushBack(entry, allocator);
        }
    }
    if (PathOf(type).empty()) return;
    // A file that cannot be written is left as it was; nothing else happens.
    (void)store_.Replace(NameOf(type), Core::Narrow(Json::Serialize(document)));
}

void ExpModesHelper::Load(ExpModesConfigType type) {
    const std::wstring& path = PathOf(type);
    const auto text = path.empty() ? platform::Result<std::string>(platform::Failure{2}) : store_.Read(NameOf(type));
    if (!text) {
        logger_->LogWarning(L"%S - Failed to open analytics cfg file at %S", kLoadFunction, Core::Narrow(path).c_str());
        return;
    }
    try {
        Json::Document document;
        if (!Json::ParseRequest(document, Core::Widen(*text).c_str())) Corrupt("the file is not JSON");
        const auto readCommand = [](const Json::Value& entry, bool withKey) {
            if (!entry.IsObject()) Corrupt("a command is not an object");
            ExpCommand command;
            const Json::Value* code = Json::FindMember(entry, L"Type");
            const Json::Value* parameter = Json::FindMember(entry, L"Parameter");
            if (code != nullptr && !code->IsNull()) {
                if (!code->IsInt()) Corrupt("a command's Type is not an integer");
                command.Type = static_cast<uint32_t>(code->GetInt());
            }
            if (parameter != nullptr && !parameter->IsNull()) {
                if (!parameter->IsString()) Corrupt("a command's Parameter is not a string");
                command.Parameter.assign(parameter->GetString(), parameter->GetStringLength());
            }
            const Json::Value* key = withKey ? Json::FindMember(entry, L"ParameterKey") : nullptr;
            if (key != nullptr && key->IsString()) command.ParameterKey.assign(key->GetString(), key->GetStringLength());
            command.Order = kLoadedOrder;
            return command;
        };
        const auto readMode = [&](const Json::Value& object, bool withKey, std::wstring& name,
                                  std::vector<ExpCommand>& list) {
            if (!object.IsObject()) Corrupt("the document is not an object");
            const Json::Value* modeName = Json::FindMember(object, L"ModeName");
            if (modeName != nullptr && !modeName->IsNull()) {
                if (!modeName->IsString()) Corrupt("ModeName is not a string");
                name.assign(modeName->GetString(), modeName->GetStringLength());
            }
            const Json::Value* commands = Json::FindMember(object, L"Commands");
            if (commands == nullptr || commands->IsNull()) return;
            if (!commands->IsArray()) Corrupt("Commands is not an array");
            for (const Json::Value& entry : commands->GetArray()) list.push_back(readCommand(entry, withKey));
        };
        if (type == RestoreState) {
            readMode(document, false, restoreName_, restoreCommands_);
        } else if (document.IsArray()) {
            for (const Json::Value& entry : document.GetArray()) {
                ExpMode mode;
                readMode(entry, true, mode.ModeName, mode.Commands);
                modes_.push_back(std::move(mode));
            }
        }
    } catch (const std::exception& error) {
        logger_->LogError(L"%S - Exception occurred while loading ExpModes config: %S", kLoadFunction, error.what());
        const auto removed = store_.Remove(NameOf(type));
        if (!removed) {
            const std::string why = std::system_error(removed.Status(), std::system_category()).what();
            logger_->LogError(L"%S - Exception occurred while deleting corrupt ExpModes config file: %S", kLoadFunction,
                              why.c_str());
        }
    }
}

// --- applying and restoring ---

bool ExpModesHelper::Execute(const ExpCommand& command, std::wstring& previousValue) {
    previousValue.clear();
    if (command.Type < 1 || command.Type > kLastCode) return false;
    const auto on = [&] { return ToInteger(command.Parameter) != 0; };
    const auto number = [&] { return ToInteger(command.Parameter); };
    int status = 0;
    switch (command.Type) {
        case 1:
            if (accessory_ == nullptr) return false;
            previousValue = std::to_wstring(accessory_->GetMouseSpeed());
            return accessory_->SetMouseSpeed(number());
        case 2:
            if (accessory_ == nullptr) return false;
            previousValue = command.Parameter;
            return accessory_->SetMouseLeftHanded(on());
        case 3:
        case 5: {
            if (audio_ == nullptr) return false;
            const int flow = command.Type == 3 ? 0 : 1;
            previousValue = std::to_wstring(audio_->GetAudioVolume(flow));
            return audio_->SetAudioVolume(flow, number());
        }
        case 4:
        case 6: {
            if (audio_ == nullptr) return false;
            const int flow = command.Type == 4 ? 0 : 1;
            previousValue = std::to_wstring(audio_->IsAudioDeviceMuted(flow));
            return audio_->MuteAudioDevice(flow, on());
        }
        case 7:
        case 8:
            if (audio_ == nullptr) return false;
            previousValue = command.Parameter;
            return audio_->ToggleNoiseControl(command.Type == 7 ? 0 : 1, on(), status);
        case 9:
            if (camera_ == nullptr) return false;
            previousValue = command.Parameter;
            return camera_->SetCameraOnOff(on());
        case 10:
            if (camera_ == nullptr || !camera_->IsZoomSupported()) return false;
            previousValue = std::to_wstring(camera_->GetZoom());
            return camera_->SetZoom(number());
        case 11:
            if (camera_ == nullptr || !camera_->IsBlurSupported()) return false;
            previousValue = std::to_wstring(camera_->GetBlurOnOff() ? 1 : 0);
            return camera_->SetBlurOnOff(on());
        case 12:
            if (camera_ == nullptr || !camera_->IsAutoFrameSupported()) return false;
            previousValue = std::to_wstring(camera_->GetAutoFrameOnOff() ? 1 : 0);
            return camera_->SetAutoFrameOnOff(on());
        case 13: {
            if (!display_) return false;
            const std::shared_ptr<DisplayHelper> display = DisplayHelper::GetInstance();
            bool current = false;
            if (display->GetHDRStatus(current) == 0) return false;
            previousValue = current ? L"1" : L"0";
            bool confirmed = false;
            display->SetHDRMode(on(), confirmed);
            return confirmed;
        }
        case 14: {
            if (!display_) return false;
            const std::shared_ptr<DisplayHelper> display = DisplayHelper::GetInstance();
            previousValue = std::to_wstring(display->GetBrightness());
            return display->SetBrightness(number());
        }
        case 16: {
            if (!display_) return false;
            const std::shared_ptr<DisplayHelper> display = DisplayHelper::GetInstance();
            previousValue = std::to_wstring(display->GetDisplayMode());
            return display->SetDisplayMode(number());
        }
        case 20:
            if (notification_ == nullptr) return false;
            previousValue = command.Parameter;
            return notification_->SetToastOnOff(on());
        case 43: {
            if (power_ == nullptr) return false;
            previousValue = PowerKeyword(power_->GetPowerMode());
            const PowerMode mode = command.Parameter == kPerformance ? BestPerformance
                                   : command.Parameter == kBalanced  ? Balanced
                                                                     : BestPowerEfficiency;
            return power_->SetPowerMode(mode);
        }
        default:
            return false;
    }
}

bool ExpModesHelper::ChangeMode(std::wstring& modeName, std::vector<int>& userPicks) {
    std::lock_guard<std::mutex> lock(engine_);
    auto mode = std::find_if(modes_.begin(), modes_.end(), [&](const ExpMode& m) { return m.ModeName == modeName; });
    if (mode == modes_.end()) return false;

    ExpMode restore{kRestoreName, {}};
    std::vector<ExpCommand> toRun;
    if (userPicks.empty()) {
        toRun = mode->Commands;
    } else {
        for (int pick : userPicks) {
            // 1-based, tested as p - 1 unsigned: 0 and negatives fall out (computed unsigned, so
            // that the lowest int does not overflow).
            const size_t index = static_cast<size_t>(static_cast<unsigned>(pick) - 1u);
            if (index < mode->Commands.size()) toRun.push_back(mode->Commands[index]);
        }
    }
    std::sort(toRun.begin(), toRun.end(), [](const ExpCommand& a, const ExpCommand& b) { return a.Order < b.Order; });

    bool any = false;
    for (const ExpCommand& command : toRun) {
        std::wstring previous;
        if (!Execute(command, previous)) continue;
        restore.Commands.push_back({command.Type, previous, command.ParameterKey, command.Order});
        any = true;
    }
    if (any) {
        restoreName_ = kRestoreName;
        restoreCommands_ = std::move(restore.Commands);
        Save(RestoreState);
    }
    return any;
}

bool ExpModesHelper::RestoreMode() {
    std::lock_guard<std::mutex> lock(engine_);
    if (restoreName_.empty() || restoreCommands_.empty()) return false;
    bool any = false;
    for (const ExpCommand& command : restoreCommands_) {
        std::wstring previous;
        try {
            if (Execute(command, previous)) any = true;
        } catch (const std::logic_error& error) {
            // Not a number: a file nobody but the service should write says otherwise. The rest
            // of the state is still put back, and the next restore is not stuck on it.
            logger_->LogError(L"%S - Skipped a restore command of type %d: its Parameter \"%s\" is not a number (%S)",
                              kRestoreFunction, static_cast<int>(command.Type), command.Parameter.c_str(), error.what());
        }
    }
    return any;
}

int ExpModesHelper::ChangeMode(Document* request, Document* response) {
    if (request == nullptr) return Status::kArgumentCheckFailed;
    const Json::Value* name = Json::FindMember(*request, L"ModeName");
    const Json::Value* picks = Json::FindMember(*request, L"UserPicks");
    if (name == nullptr || !name->IsString() || picks == nullptr || !picks->IsArray()) return Status::kArgumentCheckFailed;
    // Each pick adds an entry to the restore state: bounded, so that the state always fits the
    // store (an entry is at most {"Type":43,"Parameter":"power_mode_performance"}, 48 characters).
    static_assert(kMaxPicks * 48 + 64 < platform::IStoreFiles::kMaxFileBytes, "the restore state fits the store");
    if (picks->Size() > kMaxPicks) return Status::kArgumentCheckFailed;
    std::vector<int> userPicks;
    for (const Json::Value& pick : picks->GetArray()) {
        if (!pick.IsInt()) return Status::kArgumentCheckFailed;
        userPicks.push_back(pick.GetInt());
    }
    std::wstring modeName(name->GetString(), name->GetStringLength());
    const bool changed = ChangeMode(modeName, userPicks);
    response->AddMember(L"result", changed, response->GetAllocator());
    return Status::kSuccess;
}

int ExpModesHelper::RestoreMode(Document*, Document* response) {
    response->AddMember(L"result", RestoreMode(), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
