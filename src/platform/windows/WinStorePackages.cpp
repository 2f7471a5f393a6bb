#include "platform/windows/WinStorePackages.h"

#include <windows.h>
#include <roapi.h>
#include <sddl.h>

#include <vector>

#include "platform/windows/raii/com.h"
#include "platform/windows/raii/kernel.h"
#include "platform/windows/raii/winrt.h"
#include "platform/windows/winrt/Async.h"
#include "platform/windows/winrt/WindowsManagementDeployment.h"

namespace Qv::platform::windows {
namespace {

namespace rt = winrt;

using GetPackagePathByFullNameFn = LONG(WINAPI*)(PCWSTR, UINT32*, PWSTR);

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }
Failure HResult(HRESULT hr) { return Failure{static_cast<int32_t>(hr)}; }

std::wstring Take(HSTRING text) {
    unique_hstring owned(text);
    return rt::ToWide(owned.get());
}

// A new package manager; the runtime must be on the thread (RuntimeScope) while it is used.
HRESULT ActivatePackageManager(com_ptr<rt::IPackageManager>& manager) {
    // The class has a default constructor: RoActivateInstance, then its default interface.
    const std::wstring className = rt::kPackageManagerClass;
    const rt::StringReference name(className);
    com_ptr<IInspectable> instance;
    HRESULT hr = RoActivateInstance(name.get(), instance.put());
    if (FAILED(hr)) return hr;
    return instance.get()->QueryInterface(rt::IID_IPackageManager, reinterpret_cast<void**>(manager.put()));
}

// The install folder of a package, as the system resolves its full name (empty when it cannot).
std::wstring InstallFolder(const std::wstring& fullName) {
    auto path = proc_address<GetPackagePathByFullNameFn>(GetModuleHandleW(L"kernel32.dll"), "GetPackagePathByFullName");
    if (path == nullptr) return {};
    UINT32 length = 0;
    path(fullName.c_str(), &length, nullptr);
    if (length == 0) return {};
    std::wstring folder(length, L'\0');
    if (path(fullName.c_str(), &length, folder.data()) != ERROR_SUCCESS) return {};
    folder.resize(wcslen(folder.c_str()));
    return folder;
}

HRESULT Describe(rt::IPackage* package, StorePackage& out) {
    com_ptr<rt::IPackageId> id;
    HRESULT hr = package->get_Id(id.put());
    if (FAILED(hr)) return hr;
    HSTRING text = nullptr;
    if (FAILED(hr = id.get()->get_Name(&text))) return hr;
    out.name = Take(text);
    if (FAILED(hr = id.get()->get_Publisher(&text))) return hr;
    out.publisher = Take(text);
    if (FAILED(hr = id.get()->get_PublisherId(&text))) return hr;
    out.publisherId = Take(text);
    if (FAILED(hr = id.get()->get_FamilyName(&text))) return hr;
    out.familyName = Take(text);
    if (FAILED(hr = id.get()->get_FullName(&text))) return hr;
    out.fullName = Take(text);
    rt::PackageVersion version{};
    if (FAILED(hr = id.get()->get_Version(&version))) return hr;
    out.version = std::to_wstring(version.Major) + L"." + std::to_wstring(version.Minor) + L"." +
                  std::to_wstring(version.Build) + L"." + std::to_wstring(version.Revision);
    out.installLocation = InstallFolder(out.fullName);
    return S_OK;
}

// Walks an iterable of T, handing each item to `take` (which answers an HRESULT).
template <class T, class Take>
HRESULT ForEach(rt::IIterableOf<T>* items, Take&& take) {
    com_ptr<rt::IIteratorOf<T>> iterator;
    HRESULT hr = items->First(iterator.put());
    if (FAILED(hr)) return hr;
    boolean has = false;
    if (FAILED(hr = iterator.get()->get_HasCurrent(&has))) return hr;
    while (has) {
        com_ptr<T> item;
        if (FAILED(hr = iterator.get()->get_Current(item.put()))) return hr;
        if (FAILED(hr = take(item.get()))) return hr;
        if (FAILED(hr = iterator.get()->MoveNext(&has))) return hr;
    }
    return S_OK;
}

// Runs one query of the package manager that gives packages.
template <class Query>
Result<std::vector<StorePackage>> Packages(Query&& query) {
    RuntimeScope runtime;
    com_ptr<rt::IPackageManager> manager;
    HRESULT hr = ActivatePackageManager(manager);
    if (FAILED(hr)) return HResult(hr);
    com_ptr<rt::IIterablePackage> found;
    if (FAILED(hr = query(manager.get(), found.put()))) return HResult(hr);
    std::vector<StorePackage> packages;
    hr = ForEach(found.get(), [&](rt::IPackage* package) {
        StorePackage record;
        const HRESULT described = Describe(package, record);
        if (SUCCEEDED(described)) packages.push_back(std::move(record));
        return described;
    });
    if (FAILED(hr)) return HResult(hr);
    return packages;
}

}  // namespace

Result<std::vector<StorePackage>> WinStorePackages::AllPackages() {
    return Packages([](rt::IPackageManager* manager, rt::IIterablePackage** found) {
        return manager->FindPackages(found);
    });
}

Result<std::vector<StorePackage>> WinStorePackages::PackagesOfFamily(const std::wstring& familyName,
                                                                     const std::wstring& userSecurityId) {
    const rt::StringReference family(familyName);
    if (userSecurityId.empty())
        return Packages([&](rt::IPackageManager* manager, rt::IIterablePackage** found) {
            return manager->FindPackagesByPackageFamilyName(family.get(), found);
        });
    const rt::StringReference user(userSecurityId);
    return Packages([&](rt::IPackageManager* manager, rt::IIterablePackage** found) {
        return manager->FindPackagesByUserSecurityIdPackageFamilyName(user.get(), family.get(), found);
    });
}

Result<std::vector<PackageUser>> WinStorePackages::UsersOf(const std::wstring& fullName) {
    RuntimeScope runtime;
    com_ptr<rt::IPackageManager> manager;
    HRESULT hr = ActivatePackageManager(manager);
    if (FAILED(hr)) return HResult(hr);
    const rt::StringReference name(fullName);
    com_ptr<rt::IIterablePackageUserInformation> found;
    if (FAILED(hr = manager.get()->FindUsers(name.get(), found.put()))) return HResult(hr);
    std::vector<PackageUser> users;
    hr = ForEach(found.get(), [&](rt::IPackageUserInformation* information) {
        PackageUser user;
        HSTRING sid = nullptr;
        HRESULT read = information->get_UserSecurityId(&sid);
        if (FAILED(read)) return read;
        user.userSecurityId = Take(sid);
        INT32 state = 0;
        if (FAILED(read = information->get_InstallState(&state))) return read;
        user.installState = state;
        users.push_back(std::move(user));
        return S_OK;
    });
    if (FAILED(hr)) return HResult(hr);
    return users;
}

Result<bool> WinStorePackages::RegisterByFamilyName(const std::wstring& familyName) {
    RuntimeScope runtime;
    com_ptr<rt::IPackageManager> manager;
    HRESULT hr = ActivatePackageManager(manager);
    if (FAILED(hr)) return HResult(hr);
    com_ptr<rt::IPackageManager5> manager5;
    if (FAILED(hr = manager.get()->QueryInterface(rt::IID_IPackageManager5, reinterpret_cast<void**>(manager5.put()))))
        return HResult(hr);
    const rt::StringReference family(familyName);
    com_ptr<rt::IAsyncDeploymentOperation> operation;
    if (FAILED(hr = manager5.get()->RegisterPackageByFamilyNameAndOptionalPackagesAsync(family.get(), nullptr, 0,
                                                                                         nullptr, nullptr,
                                                                                         operation.put())))
        return HResult(hr);
    // The deployment's own failure (a package that is not staged, say) is a "no", not a fault.
    com_ptr<rt::IDeploymentResult> result;
    hr = rt::Await(operation.get(), result);
    if (FAILED(hr)) return false;
    HRESULT extended = S_OK;
    if (result && SUCCEEDED(result.get()->get_ExtendedErrorCode(&extended)) && FAILED(extended)) return false;
    return true;
}

Result<std::wstring> WinStorePackages::AccountName(const std::wstring& userSecurityId) {
    unique_hlocal sid;
    if (!ConvertStringSidToSidW(userSecurityId.c_str(), reinterpret_cast<PSID*>(sid.put()))) return LastError();
    DWORD nameLength = 0;
    DWORD domainLength = 0;
    SID_NAME_USE use{};
    LookupAccountSidW(nullptr, static_cast<PSID>(sid.get()), nullptr, &nameLength, nullptr, &domainLength, &use);
    if (nameLength == 0) return LastError();
    std::wstring name(nameLength, L'\0');
    std::wstring domain(domainLength, L'\0');
    if (!LookupAccountSidW(nullptr, static_cast<PSID>(sid.get()), name.data(), &nameLength, domain.data(),
                           &domainLength, &use))
        return LastError();
    name.resize(nameLength);
    return name;
}

Result<std::wstring> WinStorePackages::TokenUser(UserToken token) {
    DWORD size = 0;
    GetTokenInformation(static_cast<HANDLE>(token), ::TokenUser, nullptr, 0, &size);
    if (size == 0) return LastError();
    std::vector<BYTE> buffer(size);
    if (!GetTokenInformation(static_cast<HANDLE>(token), ::TokenUser, buffer.data(), size, &size)) return LastError();
    unique_hlocal text;
    if (!ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid,
                                reinterpret_cast<LPWSTR*>(text.put())))
        return LastError();
    return std::wstring(static_cast<const wchar_t*>(text.get()));
}

}  // namespace Qv::platform::windows
