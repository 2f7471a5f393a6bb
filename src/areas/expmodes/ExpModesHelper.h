#pragma once
// Experience modes: named bundles of settings ("movie", "gaming", ...) applied through the area
// helpers in one request, with the settings they overwrote kept on disk so that they can be put
// back. The modes are built in at start, from what this machine supports.
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "areas/expmodes/ExpModes.h"
#include "areas/expmodes/SecureStore.h"
#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class AccessoryHelper;
class AudioHelper;
class CameraHelper;
class NotificationHelper;
class PowerHelper;

class ExpModesHelper {
public:
    using Document = Json::Document;

    // Made on first use on the platform installed then (the constructor may raise a file-system
    // error for the store's folder). Each user holds its own reference while it uses it;
    // Release() (no service is left) lets the instance go, and the last holder ends it.
    static std::shared_ptr<ExpModesHelper> GetInstance();
    static void Release();

    // --- the built-in modes ---
    ExpMode CreatePowerSaverMode();
    ExpMode CreateMovieMode();
    ExpMode CreateSecurityMode();
    ExpMode CreateConferenceMode();
    ExpMode CreateMusicMode();
    ExpMode CreateGamingMode();
    const std::vector<ExpMode>& ModeList() const { return modes_; }

    // --- applying and restoring ---
    // Runs the mode's commands (all, or the 1-based picks) in ascending Order; true when one of
    // them succeeded, and then the values they overwrote become the restore state, saved.
    // A non-numeric parameter raises std::invalid_argument or std::out_of_range.
    bool ChangeMode(std::wstring& modeName, std::vector<int>& userPicks);
    bool RestoreMode();
    int ChangeMode(Document* request, Document* response);
    int RestoreMode(Document* request, Document* response);

    const std::wstring& RestoreStatePath() const { return restorePath_; }

private:
    friend class ExpModesTestAccess;
    ExpModesHelper();
    void InitialModeList();
    void AddOrReplaceMode(const ExpMode& mode);
    std::wstring GetCfgFolderPath();
    void Load(ExpModesConfigType type);
    void Save(ExpModesConfigType type);
    const std::wstring& PathOf(ExpModesConfigType type) const;
    // Applies one command; `previousValue` is the value it overwrote, as text.
    bool Execute(const ExpCommand& command, std::wstring& previousValue);
    Logging::TraceLogger* logger_ = nullptr;
    SecureStore store_;  // the folder of restorePath_
    std::wstring modesPath_;  // the mode list is never stored: stays empty
    std::wstring restorePath_;
    std::vector<ExpMode> modes_;
    std::wstring restoreName_;
    std::vector<ExpCommand> restoreCommands_;
    CameraHelper* camera_ = nullptr;
    AudioHelper* audio_ = nullptr;
    AccessoryHelper* accessory_ = nullptr;
    bool display_ = false;  // the display helper is reached at each use (it has a lifetime of its own)
    NotificationHelper* notification_ = nullptr;
    PowerHelper* power_ = nullptr;
    // One change or restore at a time: two sessions may ask at once.
    std::mutex engine_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
