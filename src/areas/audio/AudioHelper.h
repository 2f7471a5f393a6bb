#pragma once
// The machine's audio endpoints for the companion app: the list of playback and recording
// devices, mute and volume of the default ones, and the audio vendor's noise control and
// speaker swap. It works in the service's process; the vendor's CIM class is reached through
// PowerShell.
#include <string>

#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class AudioHelper {
public:
    using Document = Json::Document;
    // What a PowerShell run logs when it cannot be made or hangs, for the operation that runs it.
    struct PowerShellTexts {
        const wchar_t* pipeFailed;
        const wchar_t* processFailed;
        const wchar_t* stalled;
    };

    static AudioHelper* GetInstance();

    AudioHelper& operator=(const AudioHelper&) = default;
    AudioHelper& operator=(AudioHelper&&) = default;

    // Data flow 0 is playback, 1 recording. The list throws a std::system_error carrying the
    // HRESULT when the platform's enumeration fails; the command's caller handles it.
    int GetAudioDeviceList(int dataFlow, bool filterDefault, Document* response);
    int IsAudioDeviceMuted(int dataFlow);  // 1 muted, 0 not, -1 failure
    bool MuteAudioDevice(int dataFlow, bool mute);
    int GetAudioVolume(int dataFlow);  // 0..100, -1 failure
    bool SetAudioVolume(int dataFlow, int volume);

    bool ToggleNoiseControl(int dataFlow, bool enable);
    bool ToggleNoiseControl(int dataFlow, bool enable, int& status);
    bool RTKToggleNoiseControl(int dataFlow, bool enable);
    bool RTKToggleNoiseControl(int dataFlow, bool enable, int& status);
    bool QCToggleNoiseControl(int dataFlow, bool enable);
    bool QCToggleNoiseControl(int dataFlow, bool enable, int& status);
    bool IsSpeakerSwapSupported();
    bool ToggleSpeakerSwap(bool on);

    // The Core Audio endpoint id inside a Windows Runtime device id: from the first "{" to the
    // last "}" of the text before the last "#"; empty when there is no such pair.
    static std::wstring ExtractDevicePath(const std::wstring& deviceId);

    // JSON-facing: 0 with "result", or 0x20000006 for a missing or bad argument.
    int GetAudioDeviceList(Document* request, Document* response);
    int MuteAudioDevice(Document* request, Document* response);
    int SetAudioVolume(Document* request, Document* response);
    int ToggleNoiseControl(Document* request, Document* response);
    int ToggleSpeakerSwap(Document* request, Document* response);

    // "dataFlow": present, not null, a 32-bit integer of 0 or 1.
    bool CheckInputDataFlow(Document* request, int& dataFlow);

private:
    AudioHelper();
    AudioHelper(const AudioHelper&) = default;

    // The default endpoint's Windows Runtime id of a flow (for the vendor paths).
    std::wstring DefaultDeviceId(int dataFlow);
    // Runs PowerShell with `script` and answers the one read of its output; false when it could
    // not be run or was ended for hanging (`stalled`), logged with `texts`.
    bool RunPowerShell(const std::wstring& script, const PowerShellTexts& texts, std::string& output,
                       bool* stalled = nullptr);

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
