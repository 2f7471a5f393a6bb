#include "areas/expmodes/SecureStore.h"

#include <system_error>

#include "areas/expmodes/IStoreFiles.h"
#include "core/strings.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr char kPrepareFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::GetCfgFolderPath";
constexpr char kReadFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::Load";
constexpr char kReplaceFunction[] = "Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::Save";
constexpr wchar_t kTemporarySuffix[] = L".tmp";
constexpr int32_t kFileNotFound = 2;
constexpr int32_t kPathNotFound = 3;

platform::IStoreFiles& Files() { return platform::Current().AreaPort<platform::IStoreFiles>(); }

[[noreturn]] void Raise(int32_t status, const char* operation, const std::wstring& path) {
    throw std::system_error(status, std::system_category(), std::string(operation) + ": " + Core::Narrow(path));
}

}  // namespace

std::wstring SecureStore::Prepare(const std::wstring& base, const std::wstring& below) {
    base_ = base;
    chain_.clear();
    // Without ProgramData there is no place for the store: a path from the drive's root would
    // put it in a folder every user may create.
    if (base.size() < 3 || base[1] != L':' || base[2] != L'\\') Raise(kPathNotFound, "create_directories", base + below);
    std::vector<platform::OwnedHandle> held;
    std::wstring path = base;
    for (size_t start = 0; start < below.size();) {
        size_t end = below.find(L'\\', start + 1);
        if (end == std::wstring::npos) end = below.size();
        path += below.substr(start, end - start);
        start = end;

        // The parent is held: a name made below it cannot be redirected elsewhere.
        auto hold = Files().HoldFolder(path);
        if (!hold && (hold.Status() == kFileNotFound || hold.Status() == kPathNotFound)) {
            const auto created = Files().CreateFolder(path);
            if (!created && created.Status() != platform::IStoreFiles::kAlreadyExists)
                Raise(created.Status(), "create_directories", path);
            hold = Files().HoldFolder(path);  // what holds the name now, whoever made it
        }
        if (!hold) {
            logger_->LogError(L"%S - Refused to use %s: a reparse point is on its path, or the path cannot be checked",
                              kPrepareFunction, path.c_str());
            Raise(hold.Status(), hold.Status() == platform::IStoreFiles::kReparsePoint ? "create_directories" : "exists",
                  path);
        }
        const auto secured = Secure(path);
        if (!secured) Raise(secured.Status(), "create_directories", path);
        held.push_back(*hold);
        chain_.push_back(path);
    }
    folder_ = path;
    return folder_;
}

platform::Result<void> SecureStore::Secure(const std::wstring& folder) {
    const auto ownership = Files().FolderOwnership(folder);
    if (!ownership) return platform::Failure{ownership.Status()};
    if (ownership->trustedOwner && !ownership->othersMayChange) return platform::Success();
    logger_->LogWarning(L"%S - Took over the folder %s: its owner was %s, or others could change it", kPrepareFunction,
                        folder.c_str(), ownership->owner.c_str());
    const auto taken = Files().TakeOver(folder);
    if (!taken) return taken;
    const auto after = Files().FolderOwnership(folder);
    if (!after) return platform::Failure{after.Status()};
    if (!after->trustedOwner || after->othersMayChange) return platform::Failure{platform::IStoreFiles::kUntrustedFile};
    return platform::Success();
}

platform::Result<std::vector<platform::OwnedHandle>> SecureStore::HoldChain(const char* operation) {
    std::vector<platform::OwnedHandle> held;
    for (const std::wstring& folder : chain_) {
        auto hold = Files().HoldFolder(folder);
        if (!hold) {
            logger_->LogError(L"%S - Refused to use %s: a reparse point is on its path, or the path cannot be checked",
                              operation, folder.c_str());
            return platform::Failure{hold.Status()};
        }
        held.push_back(*hold);
    }
    return held;
}

platform::Result<std::string> SecureStore::Read(const std::wstring& name) {
    const auto held = HoldChain(kReadFunction);
    if (!held) return platform::Failure{held.Status()};
    const std::wstring path = folder_ + L"\\" + name;
    auto text = Files().Read(path);
    if (!text && (text.Status() == platform::IStoreFiles::kReparsePoint ||
                  text.Status() == platform::IStoreFiles::kUntrustedFile)) {
        logger_->LogError(L"%S - Refused to read %s: it is a link, or not the service's own file", kReadFunction,
                          path.c_str());
    }
    return text;
}

platform::Result<void> SecureStore::Replace(const std::wstring& name, const std::string& bytes) {
    const auto held = HoldChain(kReplaceFunction);
    if (!held) return platform::Failure{held.Status()};
    // A name nobody can guess, made new: whatever a user left in the folder is never opened.
    const auto unique = platform::Current().Uuids().NewUuidString();
    if (!unique) return platform::Failure{unique.Status()};
    const std::wstring temporary = folder_ + L"\\" + name + L"." + *unique + kTemporarySuffix;
    const auto written = Files().WriteNew(temporary, bytes);
    if (!written) {
        (void)Files().Remove(temporary);
        return written;
    }
    const auto renamed = Files().Rename(temporary, folder_ + L"\\" + name);
    if (!renamed) (void)Files().Remove(temporary);
    return renamed;
}

platform::Result<void> SecureStore::Remove(const std::wstring& name) {
    const auto held = HoldChain(kReadFunction);
    if (!held) return platform::Failure{held.Status()};
    return Files().Remove(folder_ + L"\\" + name);
}

void SecureStore::RemoveLeftovers(const std::wstring& name) {
    const auto held = HoldChain(kPrepareFunction);
    if (!held) return;
    const auto leftovers = Files().List(folder_, name, kTemporarySuffix);
    if (!leftovers) return;
    for (const std::wstring& leftover : *leftovers) {
        const auto removed = Files().Remove(leftover);
        if (!removed)
            logger_->LogWarning(L"%S - Could not remove %s, left by an interrupted save: error %d", kPrepareFunction,
                                leftover.c_str(), removed.Status());
    }
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
