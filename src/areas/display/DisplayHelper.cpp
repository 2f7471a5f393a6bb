#include "areas/display/DisplayHelper.h"

#include <algorithm>

#include "areas/display/DisplayProtocol.h"
#include "core/status.h"
#include "core/strings.h"
#include "security/Authenticode.h"
#include "service/Arguments.h"
#include "shared/tool/ToolRunner.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Display;

constexpr wchar_t kServiceExecutable[] =
    L"%PROGRAMFILES%\\Portrait Displays\\QV Display Control Service\\DisplayControlService.exe";
constexpr wchar_t kLibraryName[] = L"QVDC.dll";
constexpr uint16_t kFirstSupportedMajor = 5;
constexpr int32_t kRgbGainFeature = 0x10;
constexpr int32_t kInputSourceCapacity = 10;
// A library that claims more sources than it was given room for gets zeros up to this many.
constexpr int32_t kInputSourceLimit = 256;
// WMI's CIM types of the brightness method's inputs.
constexpr int32_t kCimUint8 = 17;
constexpr int32_t kCimUint32 = 19;

std::shared_ptr<DisplayHelper> instance;
std::mutex instanceMutex;

const Json::Value* Member(Json::Document* request, const wchar_t* key) {
    return request != nullptr ? Json::FindMember(*request, key) : nullptr;
}

// An optional integer: its value when it is one, -1 otherwise.
int OptionalInteger(Json::Document* request, const wchar_t* key) {
    const Json::Value* member = Member(request, key);
    return member != nullptr && member->IsInt() ? member->GetInt() : -1;
}

// A required integer: present, not null, a 32-bit integer.
bool RequiredInteger(Json::Document* request, const wchar_t* key, int& value) {
    const Json::Value* member = Member(request, key);
    if (member == nullptr || !member->IsInt()) return false;
    value = member->GetInt();
    return true;
}

template <class Value>
int Answer(Json::Document* response, Value value) {
    response->AddMember(L"result", value, response->GetAllocator());
    return Status::kSuccess;
}

// The tool's HDR answer: the call worked when the reply is a number of 0 or more; the flag is
// set only by exactly 1.
bool AskHdr(const wchar_t* function, const std::wstring& argument, bool& flag) {
    flag = false;
    const std::optional<int> reply = ToolRunner::Ask(Words::kHdrArea, Words::kReply, function, argument);
    if (!reply || *reply < 0) return false;
    flag = *reply == 1;
    return true;
}

}  // namespace

std::shared_ptr<DisplayHelper> DisplayHelper::GetInstance() {
    std::lock_guard<std::mutex> lock(instanceMutex);
    if (!instance) instance.reset(new DisplayHelper(platform::Current()));
    return instance;
}

void DisplayHelper::Release() {
    std::shared_ptr<DisplayHelper> last;
    {
        std::lock_guard<std::mutex> lock(instanceMutex);
        last = std::move(instance);
    }
    // Ended here, outside the lock, unless a command still holds it: then by that command.
}

DisplayHelper::DisplayHelper(platform::Platform& platform) : platform_(platform) {
    logger_ = Logging::LogManager::GetSystemInformationLogger();
    brightnessReady_ = InitBrightness();
    displayControlReady_ = InitQVDC();
}

DisplayHelper::~DisplayHelper() {
    if (brightnessReady_) {
        brightness_.reset();
        brightnessReady_ = false;
    }
    if (library_) {
        library_->Call("Stop", 1);
        library_.reset();
    }
}

bool DisplayHelper::InitBrightness() {
    platform::WmiConnectResult connected = platform_.Wmi().Connect(L"ROOT\\WMI");
    if (connected.connection) {
        brightness_ = std::move(connected.connection);
        return true;
    }
    switch (connected.failedStep) {
        case platform::WmiConnectStep::ComInit:
            logger_->LogError(L"DisplayHelper::InitBrightness CoInitializeEx failed\n\n");
            break;
        case platform::WmiConnectStep::Security:
            logger_->LogError(L"DisplayHelper::InitBrightness CoInitializeSecurity failed\n\n");
            break;
        case platform::WmiConnectStep::Locator:
            logger_->LogError(L"DisplayHelper::InitBrightness CoCreateInstance failed\n\n");
            break;
        case platform::WmiConnectStep::ConnectServer:
            logger_->LogError(L"DisplayHelper::InitBrightness ConnectServer failed\n\n");
            break;
        case platform::WmiConnectStep::ProxyBlanket:
            logger_->LogError(L"DisplayHelper::InitBrightness CoSetProxyBlanket failed\n\n");
            break;
    }
    return false;
}

bool DisplayHelper::InitQVDC() {
    platform::IDisplayControl& control = platform_.AreaPort<platform::IDisplayControl>();
    // The service executable's path as it fits a buffer of 260 characters.
    const std::wstring service = platform_.Files().ExpandEnvironment(kServiceExecutable).substr(0, 259);
    const platform::IDisplayControl::FileVersion version = control.ReadFileVersion(service);
    using State = platform::IDisplayControl::FileVersion::State;
    if (version.state == State::Missing) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDCINSTALLPATH was empty");
        return false;
    }
    if (version.state == State::Unreadable) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC Unable to GetFileVersionInfo");
        return false;
    }
    if (version.major < kFirstSupportedMajor) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC version out of date");
        return false;
    }

    // The library beside the module, as the tool is found; its path must be absolute and
    // canonical already, so that what is verified is what a plain reading of it names.
    const std::wstring path = UserSession(platform_).ResolveModuleFile(kLibraryName);
    const auto full = platform_.Files().FullPath(path);
    if (!full || *full != path) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC library path is not absolute and canonical: %s", path.c_str());
        return false;
    }
    // Verify-then-load on one file: open without write, delete or rename sharing from before the
    // check until the library is loaded.
    // Signed with a key of the main table (the display-control library's own, not the wider one
    // of the maker's programs), and in a folder only administrators can write.
    auto pinned = platform_.Files().OpenForExecution(path);
    const Security::TrustTables& tables = Security::TrustTables::Builtin();
    Security::QVAuthenticodeFacade facade(platform_, tables);
    if (!pinned || !facade.IsFileTrusted(path.c_str(), &tables.main) || !facade.IsPathAllowed(path.c_str())) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!");
        return false;
    }
    auto loaded = control.Load(path);
    if (!loaded) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC library not found!");
        return false;
    }
    // What the loader mapped must be the file that was verified (not a copy of that name that
    // was loaded already, nor one a redirection chose).
    const auto mapped = (*loaded)->FilePath();
    if (!mapped || Core::Lower(*mapped) != Core::Lower(path)) {
        logger_->LogError(L"DisplayHelper::InitQVDC: QVDC library loaded from %s, not from the file that was verified",
                          mapped ? mapped->c_str() : L"an unknown file");
        return false;
    }
    library_ = std::move(*loaded);
    // Not supported: no message; the library stays loaded until it is released.
    if (library_->Call("IsPlatformSupported") != 1) return false;
    library_->Call("Start");
    return true;
}

std::shared_ptr<platform::IDisplayLibrary> DisplayHelper::Ready() const {
    return displayControlReady_.load() ? library_ : nullptr;
}

// --- brightness and HDR ---

int DisplayHelper::GetBrightness() {
    if (!brightnessReady_) return -1;
    const auto brightness = brightness_->FirstInteger(L"Select * from WmiMonitorBrightness", L"CurrentBrightness");
    if (!brightness) return -1;
    logger_->LogInfo(L"DisplayHelper::GetBrightness brightness is %d\n\n", *brightness);
    return *brightness;
}

bool DisplayHelper::SetBrightness(int brightness) {
    if (!brightness_) return false;
    return brightness_
        ->ExecMethodOnFirst(L"Select * from WmiMonitorBrightnessMethods", L"WmiMonitorBrightnessMethods",
                            L"WmiSetBrightness",
                            {{L"Timeout", L"0", kCimUint32}, {L"Brightness", std::to_wstring(brightness), kCimUint8}})
        .Ok();
}

bool DisplayHelper::IsHDRSupported(bool& supported) { return AskHdr(Words::kIsHDRSupported, L"", supported); }
int DisplayHelper::GetHDRStatus(bool& on) { return AskHdr(Words::kGetHDROnOff, L"", on) ? 1 : 0; }
bool DisplayHelper::SetHDRMode(bool on, bool& confirmed) {
    return AskHdr(Words::kSetHDROnOff, Tool::Switch(on), confirmed);
}

// --- the display modes, through the tool ---

bool DisplayHelper::IsPortraitSupported() {
    const bool supported = ToolRunner::Ask(Words::kPortraitArea, Words::kReply, Words::kIsPortraitSupported) == 1;
    displayControlReady_ = supported;
    return supported;
}

int DisplayHelper::GetDisplayMode() {
    if (!IsPortraitSupported()) {
        logger_->LogInfo(L"DisplayHelper::GetDisplayMode: Portrait mode is not supported");
        return -1;
    }
    std::wstring reply;
    if (!ToolRunner(platform_).Run(Words::kPortraitArea, Words::kGetDisplayMode, L"", reply, Words::kReply)) return -1;
    const auto mode = Tool::ReadInteger(reply);
    if (!mode) {
        logger_->LogError(L"DisplayHelper::GetDisplayMode: Failed to convert mode string to integer: %s", reply.c_str());
        return -1;
    }
    return *mode;
}

bool DisplayHelper::SetDisplayMode(int mode) {
    if (!IsPortraitSupported()) {
        logger_->LogInfo(L"DisplayHelper::SetDisplayMode: Portrait mode is not supported");
        return false;
    }
    std::wstring reply;
    if (!ToolRunner(platform_).Run(Words::kPortraitArea, Words::kSetDisplayMode, std::to_wstring(mode), reply,
                                   Words::kReply)) {
        return false;
    }
    const auto now = Tool::ReadInteger(reply);
    if (!now) {
        logger_->LogError(L"DisplayHelper::SetDisplayMode: Failed to convert mode string to integer: %s", reply.c_str());
        return false;
    }
    return *now == mode;
}

std::vector<int> DisplayHelper::GetDisplaySupportedMode(Document* response) {
    std::vector<int> modes;
    if (!IsPortraitSupported()) {
        logger_->LogInfo(L"DisplayHelper::GetDisplaySupportedMode: Portrait mode is not supported");
    } else {
        std::wstring reply;
        ToolRunner(platform_).Run(Words::kPortraitArea, Words::kGetSupportedDisplayModes, L"", reply, Words::kReply);
        // Tokens between blanks, tabs and line ends; one that is not a number is logged and skipped.
        size_t start = reply.find_first_not_of(L" \t\r\n");
        while (start != std::wstring::npos) {
            const size_t end = reply.find_first_of(L" \t\r\n", start);
            const std::wstring token = reply.substr(start, end == std::wstring::npos ? end : end - start);
            if (const auto mode = Tool::ReadInteger(token)) {
                modes.push_back(*mode);
            } else {
                logger_->LogError(L"DisplayHelper::GetDisplaySupportedMode: Failed to convert mode string to integer: %s",
                                  token.c_str());
            }
            start = end == std::wstring::npos ? end : reply.find_first_not_of(L" \t\r\n", end);
        }
    }
    if (response != nullptr) {
        auto& allocator = response->GetAllocator();
        Json::Value list(rapidjson::kArrayType);
        for (int mode : modes) list.PushBack(mode, allocator);
        response->AddMember(L"result", list, allocator);
    }
    return modes;
}

// --- the display-control library ---

int DisplayHelper::CallLoadedLibrary(const char* exportName) {
    return library_ ? library_->Call(exportName).value_or(-1) : -1;
}

void DisplayHelper::GetSupportedInputSource(Document* response) {
    std::vector<int32_t> sources;
    if (auto library = Ready()) {
        int32_t array[kInputSourceCapacity];
        std::fill(std::begin(array), std::end(array), -1);
        const int32_t count = library->CallWithArray("GetSupportedInputSources", array, kInputSourceCapacity).value_or(0);
        sources.assign(array, array + std::clamp(count, 0, kInputSourceCapacity));
        if (count > kInputSourceCapacity) sources.resize(static_cast<size_t>(std::min(count, kInputSourceLimit)), 0);
    }
    auto& allocator = response->GetAllocator();
    Json::Value list(rapidjson::kArrayType);
    for (int32_t source : sources) list.PushBack(source, allocator);
    response->AddMember(L"result", list, allocator);
}

int DisplayHelper::GetInputSource() {
    auto library = Ready();
    return library ? library->Call("GetInputSource").value_or(-1) : -1;
}

bool DisplayHelper::SetInputSource(int source) {
    auto library = Ready();
    if (!library) return false;
    library->Call("SetInputSource", source);
    return library->Call("GetInputSource") == source;
}

void DisplayHelper::GetSchedulerInfo(Document* response) {
    auto& allocator = response->GetAllocator();
    Json::Value result(rapidjson::kObjectType);
    if (auto library = Ready()) {
        const bool on = library->Call("GetSchedule").value_or(0) != 0;
        const int32_t mode = library->Call("GetShedulerMode").value_or(-1);
        int32_t startHour = -1, startMinute = -1, endHour = -1, endMinute = -1;
        library->CallWithOutputs("GetScheduleTime", &startHour, &startMinute, &endHour, &endMinute);
        result.AddMember(L"Status", on, allocator);
        result.AddMember(L"Mode", mode, allocator);
        result.AddMember(L"StartHour", startHour, allocator);
        result.AddMember(L"StartMinute", startMinute, allocator);
        result.AddMember(L"EndHour", endHour, allocator);
        result.AddMember(L"EndMinute", endMinute, allocator);
    }
    response->AddMember(L"result", result, allocator);
}

bool DisplayHelper::SetSchedulerInfo(bool enable, bool applyEnable, int mode, int startHour, int startMinute,
                                     int endHour, int endMinute) {
    auto library = Ready();
    if (!library) return false;
    if (applyEnable) library->Call("EnableSchedule", enable ? 1 : 0);
    if (mode >= 0) library->Call("SetShedulerMode", mode);
    if (startHour < 0 || startMinute < 0 || endHour < 0 || endMinute < 0) return true;
    library->Call("SetScheduleTime", startHour, startMinute, endHour, endMinute);
    return true;
}

void DisplayHelper::GetRGBGain(Document* response) {
    auto& allocator = response->GetAllocator();
    Json::Value result(rapidjson::kObjectType);
    auto library = Ready();
    if (library && (library->Call("GetFeatures").value_or(0) & kRgbGainFeature) != 0) {
        result.AddMember(L"Supported", true, allocator);
        result.AddMember(L"RedGain", static_cast<unsigned>(library->Call("GetRedGain").value_or(0)), allocator);
        result.AddMember(L"GreenGain", static_cast<unsigned>(library->Call("GetGreenGain").value_or(0)), allocator);
        result.AddMember(L"BlueGain", static_cast<unsigned>(library->Call("GetBlueGain").value_or(0)), allocator);
    }
    response->AddMember(L"result", result, allocator);
}

bool DisplayHelper::SetRGBGain(int red, int green, int blue) {
    auto library = Ready();
    if (!library) return false;
    library->Call("SetRedGain", red);
    library->Call("SetGreenGain", green);
    library->Call("SetBlueGain", blue);
    if (library->Call("GetRedGain") != red) return false;
    if (library->Call("GetGreenGain") != green) return false;
    return library->Call("GetBlueGain") == blue;
}

int DisplayHelper::GetContrast() {
    auto library = Ready();
    return library ? library->Call("GetContrast").value_or(-1) : -1;
}

bool DisplayHelper::SetContrast(int contrast) {
    auto library = Ready();
    if (!library) return false;
    library->Call("SetContrast", contrast);
    return library->Call("GetContrast") == contrast;
}

// --- JSON-facing ---

int DisplayHelper::GetBrightness(Document*, Document* response) { return Answer(response, GetBrightness()); }

int DisplayHelper::SetBrightness(Document* request, Document* response) {
    int brightness = 0;
    if (!Arguments::ReadInteger(request, brightness)) return Status::kArgumentCheckFailed;
    return Answer(response, SetBrightness(brightness));
}

int DisplayHelper::IsHDRSupported(Document*, Document* response) {
    bool supported = false;
    return Answer(response, IsHDRSupported(supported) && supported);
}

int DisplayHelper::GetHDRStatus(Document*, Document* response) {
    bool on = false;
    return Answer(response, GetHDRStatus(on) != 0 && on);
}

int DisplayHelper::SetHDRMode(Document* request, Document* response) {
    bool on = false;
    if (!Arguments::ReadSwitch(request, on)) return Status::kArgumentCheckFailed;
    bool confirmed = false;
    return Answer(response, SetHDRMode(on, confirmed) && confirmed);
}

int DisplayHelper::IsPortraitSupported(Document*, Document* response) { return Answer(response, IsPortraitSupported()); }

int DisplayHelper::GetDisplaySupportedMode(Document*, Document* response) {
    GetDisplaySupportedMode(response);
    return Status::kSuccess;
}

int DisplayHelper::GetDisplayMode(Document*, Document* response) { return Answer(response, GetDisplayMode()); }

int DisplayHelper::SetDisplayMode(Document* request, Document* response) {
    int mode = 0;
    if (!Arguments::ReadInteger(request, mode)) return Status::kArgumentCheckFailed;
    return Answer(response, SetDisplayMode(mode));
}

int DisplayHelper::GetSupportedInputSource(Document*, Document* response) {
    GetSupportedInputSource(response);
    return Status::kSuccess;
}

int DisplayHelper::GetInputSource(Document*, Document* response) { return Answer(response, GetInputSource()); }

int DisplayHelper::SetInputSource(Document* request, Document* response) {
    int source = 0;
    if (!Arguments::ReadInteger(request, source)) return Status::kArgumentCheckFailed;
    return Answer(response, SetInputSource(source));
}

int DisplayHelper::GetSchedulerInfo(Document*, Document* response) {
    GetSchedulerInfo(response);
    return Status::kSuccess;
}

int DisplayHelper::SetSchedulerInfo(Document* request, Document* response) {
    // "Status" true switches the schedule on; false or absent leaves the switch alone.
    const Json::Value* status = Member(request, L"Status");
    const bool on = status != nullptr && status->IsTrue();
    return Answer(response, SetSchedulerInfo(on, on, OptionalInteger(request, L"Mode"),
                                             OptionalInteger(request, L"StartHour"),
                                             OptionalInteger(request, L"StartMinute"),
                                             OptionalInteger(request, L"EndHour"),
                                             OptionalInteger(request, L"EndMinute")));
}

int DisplayHelper::GetRGBGain(Document*, Document* response) {
    GetRGBGain(response);
    return Status::kSuccess;
}

int DisplayHelper::SetRGBGain(Document* request, Document* response) {
    int red = 0, green = 0, blue = 0;
    if (!RequiredInteger(request, L"RedGain", red) || !RequiredInteger(request, L"GreenGain", green) ||
        !RequiredInteger(request, L"BlueGain", blue)) {
        return Status::kArgumentCheckFailed;
    }
    return Answer(response, SetRGBGain(red, green, blue));
}

int DisplayHelper::GetContrast(Document*, Document* response) { return Answer(response, GetContrast()); }

int DisplayHelper::SetContrast(Document* request, Document* response) {
    int contrast = 0;
    if (!Arguments::ReadInteger(request, contrast)) return Status::kArgumentCheckFailed;
    return Answer(response, SetContrast(contrast));
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
