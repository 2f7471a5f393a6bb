#include "areas/expmodes/sim/SimStoreFiles.h"

#include <stdexcept>

#include "platform/sim/SimDevice.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kFileNotFound = 2;
constexpr int32_t kPathNotFound = 3;
constexpr int32_t kAccessDenied = 5;
constexpr int32_t kWriteFault = 29;
constexpr int32_t kDirectory = 267;  // ERROR_DIRECTORY: a file where a folder was expected
// The store's folders and files: SYSTEM and Administrators full control, Users read, nothing
// inherited.
constexpr wchar_t kStoreAccess[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;BU)";

std::wstring Parent(const std::wstring& path) {
    const size_t slash = path.find_last_of(L'\\');
    return slash == std::wstring::npos ? L"" : path.substr(0, slash);
}

std::wstring Leaf(const std::wstring& path) { return path.substr(path.find_last_of(L'\\') + 1); }

// The path as an operation that does not follow a reparse point at its last step sees it:
// the folders on the way followed, the name itself as it is.
std::wstring Place(const SimWorld& world, const std::wstring& path) {
    const std::wstring lower = Lower(path);
    const std::wstring parent = Parent(lower);
    return parent.empty() ? lower : Follow(world, parent) + L"\\" + Leaf(lower);
}

bool Trusted(const std::wstring& sid) { return sid == kSystemSid || sid == kAdministratorsSid; }

std::wstring OwnerOf(const SimWorld& world, const std::wstring& place) {
    auto owner = world.owners.find(place);
    return owner == world.owners.end() ? kSystemSid : owner->second;
}

// Whether an SDDL access list lets anyone but SYSTEM, Administrators and TrustedInstaller add,
// write, delete, or change the list or the owner.
bool OthersMayChange(const std::wstring& sddl) {
    if (sddl.rfind(L"D:", 0) != 0 || sddl.find(L'(') == std::wstring::npos) return true;  // no list: everyone
    for (size_t open = sddl.find(L'('); open != std::wstring::npos; open = sddl.find(L'(', open + 1)) {
        const size_t close = sddl.find(L')', open);
        std::vector<std::wstring> fields;
        for (size_t start = open + 1;;) {
            const size_t semicolon = sddl.find(L';', start);
            if (semicolon == std::wstring::npos || semicolon > close) {
                fields.push_back(sddl.substr(start, close - start));
                break;
            }
            fields.push_back(sddl.substr(start, semicolon - start));
            start = semicolon + 1;
        }
        if (fields.size() != 6 || fields[0] != L"A") continue;
        const std::wstring& sid = fields[5];
        if (sid == L"SY" || sid == L"BA" || sid == L"CO" || sid == kSystemSid || sid == kAdministratorsSid ||
            sid == L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464")
            continue;
        const std::wstring& rights = fields[2];
        if (rights.rfind(L"0x", 0) == 0) {
            // GENERIC_ALL, GENERIC_WRITE, WRITE_DAC, WRITE_OWNER, DELETE, add file or folder,
            // delete child, write attributes or extended attributes.
            if ((std::stoul(rights.substr(2), nullptr, 16) & 0x500D0156ul) != 0) return true;
            continue;
        }
        for (const wchar_t* change : {L"FA", L"GA", L"GW", L"FW", L"WD", L"WO", L"SD", L"DC", L"CC", L"WP"})
            if (rights.find(change) != std::wstring::npos) return true;
    }
    return false;
}

// How many names share the file's text (hard links).
size_t Names(const SimWorld& world, const std::wstring& place) {
    auto text = world.contents.find(place);
    if (text == world.contents.end() || !text->second) return 1;
    size_t names = 0;
    for (const auto& [name, shared] : world.contents)
        if (shared == text->second && world.files.count(name) != 0) ++names;
    return names;
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
    const std::wstring place = Follow(world_, Lower(path));
    return world_.files.count(place) != 0 || world_.folders.count(place) != 0;
}

platform::Result<platform::OwnedHandle> SimStoreFiles::HoldFolder(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    {
        std::lock_guard<std::mutex> own(mutex_);
        auto failure = existsFailures_.find(Lower(path));
        if (failure != existsFailures_.end()) return platform::Failure{failure->second};
    }
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (IsReparsePoint(world_, place)) return platform::Failure{kReparsePoint};
    if (world_.files.count(place) != 0) return platform::Failure{kDirectory};
    if (world_.folders.count(place) == 0)
        return platform::Failure{world_.folders.count(Parent(place)) != 0 ? kFileNotFound : kPathNotFound};
    ++world_.heldFolders[place];
    SimWorld* world = &world_;
    return platform::OwnedHandle(new std::wstring(place), [world](void* held) {
        auto* name = static_cast<std::wstring*>(held);
        {
            std::lock_guard<std::mutex> inner(world->mutex);
            if (--world->heldFolders[*name] == 0) world->heldFolders.erase(*name);
        }
        delete name;
    });
}

platform::Result<void> SimStoreFiles::CreateFolder(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    {
        std::lock_guard<std::mutex> own(mutex_);
        if (createFailure_ != 0) return platform::Failure{createFailure_};
    }
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (world_.folders.count(place) != 0 || world_.files.count(place) != 0 || IsReparsePoint(world_, place))
        return platform::Failure{kAlreadyExists};
    if (world_.folders.count(Parent(place)) == 0) return platform::Failure{kPathNotFound};
    world_.folders.insert(place);
    world_.folderAccess[place] = kStoreAccess;
    world_.owners[place] = kSystemSid;
    return platform::Success();
}

platform::Result<platform::IStoreFiles::Ownership> SimStoreFiles::FolderOwnership(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (world_.folders.count(place) == 0) return platform::Failure{kFileNotFound};
    Ownership ownership;
    ownership.owner = OwnerOf(world_, place);
    ownership.trustedOwner = Trusted(ownership.owner);
    auto access = world_.folderAccess.find(place);
    ownership.othersMayChange = access != world_.folderAccess.end() && OthersMayChange(access->second);
    return ownership;
}

platform::Result<void> SimStoreFiles::TakeOver(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (IsReparsePoint(world_, place)) return platform::Failure{kReparsePoint};
    if (world_.folders.count(place) == 0) return platform::Failure{kFileNotFound};
    world_.owners[place] = kSystemSid;
    world_.folderAccess[place] = kStoreAccess;
    return platform::Success();
}

platform::Result<std::string> SimStoreFiles::Read(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (IsReparsePoint(world_, place)) return platform::Failure{kReparsePoint};
    auto found = world_.contents.find(place);
    if (world_.files.count(place) == 0 || found == world_.contents.end() || !found->second)
        return platform::Failure{kFileNotFound};
    if (!Trusted(OwnerOf(world_, place)) || Names(world_, place) > 1) return platform::Failure{kUntrustedFile};
    if (found->second->size() > kMaxFileBytes) return platform::Failure{kFileTooLarge};
    return *found->second;
}

platform::Result<void> SimStoreFiles::WriteNew(const std::wstring& path, const std::string& bytes) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    long cut = -1;
    std::function<void()> attack;
    {
        std::lock_guard<std::mutex> own(mutex_);
        cut = cutAfter_;
        ++saves_;
        attack.swap(beforeWrite_);
    }
    if (attack) attack();
    if (bytes.size() > kMaxFileBytes) return platform::Failure{kFileTooLarge};
    std::lock_guard<std::mutex> lock(world_.mutex);
    // Creating a file follows the folders on its way, as CreateFileW does.
    const std::wstring place = Place(world_, path);
    if (world_.files.count(place) != 0 || world_.folders.count(place) != 0 || IsReparsePoint(world_, place))
        return platform::Failure{kFileExists};
    if (world_.folders.count(Parent(place)) == 0) return platform::Failure{kPathNotFound};
    world_.files.insert(place);
    world_.owners[place] = kSystemSid;
    const size_t written = cut < 0 ? bytes.size() : std::min(bytes.size(), static_cast<size_t>(cut));
    world_.contents[place] = std::make_shared<std::string>(bytes.substr(0, written));
    // Cut off while writing: the file holds a part.
    if (cut >= 0) return platform::Failure{kWriteFault};
    return platform::Success();
}

platform::Result<void> SimStoreFiles::Rename(const std::wstring& from, const std::wstring& to) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring source = Place(world_, from);
    const std::wstring target = Place(world_, to);
    if (world_.files.count(source) == 0) return platform::Failure{kFileNotFound};
    if (world_.folders.count(target) != 0 || IsReparsePoint(world_, target)) return platform::Failure{kAccessDenied};
    if (world_.undeletable.count(target) != 0) return platform::Failure{kAccessDenied};
    // The name moves; another name of what `to` held (a hard link) keeps its own text.
    world_.files.insert(target);
    world_.contents[target] = world_.contents[source];
    world_.owners[target] = OwnerOf(world_, source);
    world_.files.erase(source);
    world_.contents.erase(source);
    world_.owners.erase(source);
    return platform::Success();
}

platform::Result<void> SimStoreFiles::Remove(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, path);
    if (world_.undeletable.count(place) != 0) return platform::Failure{kAccessDenied};
    if (world_.files.erase(place) == 0) return platform::Failure{kFileNotFound};
    world_.contents.erase(place);
    world_.owners.erase(place);
    return platform::Success();
}

platform::Result<std::vector<std::wstring>> SimStoreFiles::List(const std::wstring& folder, const std::wstring& prefix,
                                                                const std::wstring& suffix) {
    QV_SIM_FAULT(world_.faults, StoreFiles);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Follow(world_, Lower(folder));
    if (world_.folders.count(place) == 0) return platform::Failure{kPathNotFound};
    std::vector<std::wstring> found;
    const std::wstring start = Lower(prefix);
    const std::wstring end = Lower(suffix);
    for (const std::wstring& file : world_.files) {
        if (Parent(file) != place) continue;
        const std::wstring name = Leaf(file);
        if (name.size() >= start.size() + end.size() && name.rfind(start, 0) == 0 &&
            name.compare(name.size() - end.size(), end.size(), end) == 0)
            found.push_back(folder + L"\\" + name);
    }
    return found;
}

void SimStoreFiles::CutSavesAfter(long bytes) {
    std::lock_guard<std::mutex> own(mutex_);
    cutAfter_ = bytes;
}

void SimStoreFiles::FailExists(const std::wstring& path, int32_t error) {
    std::lock_guard<std::mutex> own(mutex_);
    if (error == 0)
        existsFailures_.erase(Lower(path));
    else
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

void SimStoreFiles::BeforeNextWrite(std::function<void()> attack) {
    std::lock_guard<std::mutex> own(mutex_);
    beforeWrite_ = std::move(attack);
}

bool SimStoreFiles::SwapForJunction(const std::wstring& folder, const std::wstring& target) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring place = Place(world_, folder);
    if (world_.heldFolders.count(place) != 0) return false;  // ERROR_SHARING_VIOLATION on the rename
    world_.folders.erase(place);
    world_.junctions[place] = target;
    return true;
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
