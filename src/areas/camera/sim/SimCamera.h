#pragma once
// The built-in camera of the simulated laptop, and the system-wide camera switch.

namespace Qv::Sim {

struct SimCamera {
    bool present = true;
    bool zoomSupported = true;
    int zoom = 100;  // the driver takes 100 to 400
    bool brightnessSupported = true;
    int brightness = 50;  // 0 to 100
    bool blurSupported = true;
    bool blur = false;
    bool autoFrameSupported = true;
    bool autoFrame = false;
    // A driver that accepts a value without holding it (the tool reads back and says so).
    bool setsTakeEffect = true;
    // What SystemSettingsAdminFlows.exe last set ("SetCamSystemGlobal webcam 1|0").
    bool systemEnabled = true;
    int settingsRuns = 0;
};

}  // namespace Qv::Sim
