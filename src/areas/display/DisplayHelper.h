#pragma once
// The built-in panel: its brightness through WMI in the service, HDR and the display modes
// through the device control tool in the user's session, and the colour presets, input source,
// schedule, gains and contrast through the display vendor's display-control library, which the
// helper loads once, verified, and calls by export name.
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "areas/display/IDisplayControl.h"
#include "core/json.h"
#include "core/logging.h"
#include "platform/IWmi.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class DisplayHelper {
public:
    using Document = Json::Document;

    // Made on first use, on the platform installed then: the brightness connection, then the
    // library. Each user holds its own reference while it uses it; Release() (the last service
    // object is gone) lets the instance go, and the last holder ends it. A later use makes a new one.
    static std::shared_ptr<DisplayHelper> GetInstance();
    // Stops and unloads the library and releases the WMI connection, outside the loader lock.
    static void Release();

    ~DisplayHelper();
    DisplayHelper(const DisplayHelper&) = delete;
    DisplayHelper& operator=(const DisplayHelper&) = delete;

    // --- brightness and HDR ---
    int GetBrightness();  // -1 on failure
    bool SetBrightness(int brightness);
    bool IsHDRSupported(bool& supported);
    int GetHDRStatus(bool& on);
    bool SetHDRMode(bool on, bool& confirmed);

    // --- the display-control library and the display modes ---
    bool IsPortraitSupported();
    std::vector<int> GetDisplaySupportedMode(Document* response);
    int GetDisplayMode();  // -1 when unknown
    bool SetDisplayMode(int mode);
    void GetSupportedInputSource(Document* response);
    int GetInputSource();  // -1 when the library is not ready
    bool SetInputSource(int source);
    void GetSchedulerInfo(Document* response);
    bool SetSchedulerInfo(bool enable, bool applyEnable, int mode, int startHour, int startMinute, int endHour,
                          int endMinute);
    void GetRGBGain(Document* response);
    bool SetRGBGain(int red, int green, int blue);
    int GetContrast();  // -1 when the library is not ready
    bool SetContrast(int contrast);
    // A no-argument export of the library whenever it is loaded, ready or not (70 and 77).
    int CallLoadedLibrary(const char* exportName);

    // JSON-facing: 0 with "result", or 0x20000006 for a missing required argument.
    int GetBrightness(Document* request, Document* response);
    int SetBrightness(Document* request, Document* response);
    int IsHDRSupported(Document* request, Document* response);
    int GetHDRStatus(Document* request, Document* response);
    int SetHDRMode(Document* request, Document* response);
    int IsPortraitSupported(Document* request, Document* response);
    int GetDisplaySupportedMode(Document* request, Document* response);
    int GetDisplayMode(Document* request, Document* response);
    int SetDisplayMode(Document* request, Document* response);
    int GetSupportedInputSource(Document* request, Document* response);
    int GetInputSource(Document* request, Document* response);
    int SetInputSource(Document* request, Document* response);
    int GetSchedulerInfo(Document* request, Document* response);
    int SetSchedulerInfo(Document* request, Document* response);
    int GetRGBGain(Document* request, Document* response);
    int SetRGBGain(Document* request, Document* response);
    int GetContrast(Document* request, Document* response);
    int SetContrast(Document* request, Document* response);

private:
    explicit DisplayHelper(platform::Platform& platform);
    bool InitBrightness();
    bool InitQVDC();
    // The library when it is ready (loaded, supported and started), else null.
    std::shared_ptr<platform::IDisplayLibrary> Ready() const;

    platform::Platform& platform_;
    Logging::TraceLogger* logger_ = nullptr;
    std::unique_ptr<platform::IWmiConnection> brightness_;
    bool brightnessReady_ = false;
    std::shared_ptr<platform::IDisplayLibrary> library_;
    // Shared with IsPortraitSupported, which overwrites it with its own answer.
    std::atomic<bool> displayControlReady_{false};
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
