#include "areas/expmodes/sim/SimStoreFiles.h"

#include <stdexcept>

#include "platform/sim/SimDevice.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kFileNotFound = 2;
constexpr int32_t kPathNotFound = 3;
constexpr int32_t kAccessDenied = 5;
constexpr int32_t kWriteFault = 29;
// The store's folders: SYSTEM and Administrators full control, Users read, nothing inherited.
constexpr wchar_t kStoreAccess[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;BU)";

std::wstring Parent(const std::wstring& path) {
    const size_t slash = path.find_last_of(L'\\');
    return slash == std::wstring::npos ? L"" : path.substr(0, slash);
}

}  // namespace

platform::Result<std::wstring> SimStoreFiles::ProgramDataFolder(std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    {
        std::lock_guard<std::mutex> own(mutex_);
        if (programDataMissing_) {
            path.clear();
            return platform::Failure{kFileNotFound};
        }
    }
    path = world_.programDataFolder;
    world_.folders.insert(Lower(path));
    return path;
}

platform::Result<bool> SimStoreFiles::Exists(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    {
        std::lock_guard<std::mutex> own(mutex_);
        auto failure = existsFailures_.find(Lower(path));
        if (failure != existsFailures_.end()) return platform::Failure{failure->second};
    }
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.files.count(Lower(path)) != 0 || world_.folders.count(Lower(path)) != 0;
}

platform::Result<void> SimStoreFiles::CreateFolders(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    {
        std::lock_guard<std::mutex> own(mutex_);
        if (createFailure_ != 0) return platform::Failure{createFailure_};
    }
    std::lock_guard<std::mutex> lock(world_.mutex);
    for (std::wstring folder = path; folder.size() > 3; folder = Parent(folder)) {
        if (world_.folders.count(Lower(folder)) != 0) break;
        world_.folders.insert(Lower(folder));
        world_.folderAccess[Lower(folder)] = kStoreAccess;
    }
    return platform::Success();
}

platform::Result<bool> SimStoreFiles::HasReparsePoint(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    for (std::wstring part = path; !part.empty(); part = Parent(part))
        if (world_.reparsePoints.count(Lower(part)) != 0) return true;
    return false;
}

platform::Result<std::string> SimStoreFiles::Read(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    auto found = world_.contents.find(Lower(path));
    if (world_.files.count(Lower(path)) == 0 || found == world_.contents.end() || !found->second)
        return platform::Failure{kFileNotFound};
    return *found->second;
}

platform::Result<void> SimStoreFiles::Replace(const std::wstring& path, const std::string& bytes) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    long cut = -1;
    {
        std::lock_guard<std::mutex> own(mutex_);
        cut = cutAfter_;
        ++saves_;
    }
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.folders.count(Lower(Parent(path))) == 0) return platform::Failure{kPathNotFound};
    const std::wstring temporary = path + L".tmp";
    world_.files.insert(Lower(temporary));
    const size_t written = cut < 0 ? bytes.size() : std::min(bytes.size(), static_cast<size_t>(cut));
    world_.contents[Lower(temporary)] = std::make_shared<std::string>(bytes.substr(0, written));
    // Cut off while writing, or after writing and before the rename: the target is untouched.
    if (cut >= 0) return platform::Failure{kWriteFault};
    world_.files.insert(Lower(path));
    world_.contents[Lower(path)] = world_.contents[Lower(temporary)];
    world_.files.erase(Lower(temporary));
    world_.contents.erase(Lower(temporary));
    return platform::Success();
}

platform::Result<void> SimStoreFiles::Remove(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.undeletable.count(Lower(path)) != 0) return platform::Failure{kAccessDenied};
    if (world_.files.erase(Lower(path)) == 0) return platform::Failure{kFileNotFound};
    world_.contents.erase(Lower(path));
    return platform::Success();
}

void SimStoreFiles::CutSavesAfter(long bytes) {
    std::lock_guard<std::mutex> own(mutex_);
    cutAfter_ = bytes;
}

void SimStoreFiles::FailExists(const std::wstring& path, int32_t error) {
    std::lock_guard<std::mutex> own(mutex_);
    existsFailures_[Lower(path)] = error;
}

void SimStoreFiles::FailCreate(int32_t error) {
    std::lock_guard<std::mutex> own(mutex_);
    createFailure_ = error;
}

void SimStoreFiles::SetProgramDataMissing(bool missing) {
    std::lock_guard<std::mutex> own(mutex_);
    programDataMissing_ = missing;
}

int SimStoreFiles::Saves() const {
    std::lock_guard<std::mutex> own(mutex_);
    return saves_;
}

SimStoreFiles& SimulatedStore(platform::Platform& device) {
    return static_cast<SimStoreFiles&>(device.AreaPort<platform::IStoreFiles>());
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IStoreFiles> Qv::platform::IStoreFiles::Make(Platform& platform) {
    // The store's files live in the simulated device's world.
    auto* device = dynamic_cast<Qv::Sim::SimDevice*>(&platform);
    if (device == nullptr) throw std::logic_error("the experience modes' store needs the simulated device");
    return std::make_shared<Qv::Sim::SimStoreFiles>(device->World());
}
