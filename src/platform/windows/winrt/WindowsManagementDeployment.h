#pragma once
// Windows.Management.Deployment and Windows.ApplicationModel ABI declarations mingw-w64 lacks,
// from the public metadata: the package manager, its packages and their users, and the
// deployment operation, each in its slot order up to the last slot this module calls.
#include <asyncinfo.h>

#include "platform/windows/winrt/WindowsFoundation.h"

namespace Qv::platform::windows::winrt {

constexpr const wchar_t* kPackageManagerClass = L"Windows.Management.Deployment.PackageManager";

// Windows.ApplicationModel.PackageVersion
struct PackageVersion {
    UINT16 Major;
    UINT16 Minor;
    UINT16 Build;
    UINT16 Revision;
};

constexpr GUID IID_IPackageId = {0x1adb665e, 0x37c7, 0x4790, {0x99, 0x80, 0xdd, 0x7a, 0xe7, 0x4e, 0x8b, 0xb2}};
struct IPackageId : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Version(PackageVersion* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Architecture(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ResourceId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Publisher(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PublisherId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FullName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FamilyName(HSTRING* value) = 0;
};

constexpr GUID IID_IPackage = {0x163c792f, 0xbd75, 0x413c, {0xbf, 0x23, 0xb1, 0xfe, 0x7b, 0x95, 0xd8, 0x25}};
struct IPackage : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_Id(IPackageId** value) = 0;
};

constexpr GUID IID_IPackageUserInformation = {
    0xf6383423, 0xfa09, 0x4cbc, {0x90, 0x55, 0x15, 0xca, 0x27, 0x5e, 0x2e, 0x7e}};
struct IPackageUserInformation : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_UserSecurityId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InstallState(INT32* value) = 0;
};

// IIterator<T> and IIterable<T> for the two element types the queries give.
template <class T>
struct IIteratorOf : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_Current(T** current) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_HasCurrent(boolean* hasCurrent) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveNext(boolean* hasCurrent) = 0;
};
template <class T>
struct IIterableOf : IInspectable {
    using Item = T;
    virtual HRESULT STDMETHODCALLTYPE First(IIteratorOf<T>** first) = 0;
};
using IIterablePackage = IIterableOf<IPackage>;                              // {69ad6aa7-0c49-5f27-...}
using IIterablePackageUserInformation = IIterableOf<IPackageUserInformation>;  // {341348b9-52c8-5b57-...}

constexpr GUID IID_IDeploymentResult = {
    0x2563b9ae, 0xb77d, 0x4c1f, {0x8a, 0x7b, 0x20, 0xe6, 0xad, 0x51, 0x5e, 0xf3}};
struct IDeploymentResult : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_ErrorText(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ActivityId(GUID* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ExtendedErrorCode(HRESULT* value) = 0;
};

struct IAsyncDeploymentOperation;
// AsyncOperationWithProgressCompletedHandler<DeploymentResult, DeploymentProgress>
constexpr GUID IID_AsyncOperationWithProgressCompletedHandler_DeploymentResult = {
    0x6e1c7129, 0x61e0, 0x5d88, {0x9f, 0xd4, 0xf3, 0xce, 0x65, 0xa0, 0x57, 0x19}};
struct IDeploymentOperationCompleted : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncDeploymentOperation* operation, AsyncStatus status) = 0;
};
// IAsyncOperationWithProgress<DeploymentResult, DeploymentProgress> {5a97aab7-b6ea-55ac-...}
struct IAsyncDeploymentOperation : IInspectable {
    using Completed = IDeploymentOperationCompleted;
    using Results = IDeploymentResult;
    static constexpr const GUID& kCompletedIid = IID_AsyncOperationWithProgressCompletedHandler_DeploymentResult;
    virtual HRESULT STDMETHODCALLTYPE put_Progress(IUnknown* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Progress(IUnknown** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(Completed* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(Completed** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults(Results** results) = 0;
};

// IPackageManager, the class's default interface: slots 6 to 15 of its 16 methods.
constexpr GUID IID_IPackageManager = {0x9a7d4b65, 0x5e8f, 0x4fc7, {0xa2, 0xe5, 0x7f, 0x69, 0x25, 0xcb, 0x8b, 0x53}};
struct IPackageManager : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE AddPackageAsync(IUnknown*, IUnknown*, UINT32, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE UpdatePackageAsync(IUnknown*, IUnknown*, UINT32, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemovePackageAsync(HSTRING, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE StagePackageAsync(IUnknown*, IUnknown*, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterPackageAsync(IUnknown*, IUnknown*, UINT32, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackages(IIterablePackage** packages) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityId(HSTRING userSecurityId, IIterablePackage** packages) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByNamePublisher(HSTRING, HSTRING, IIterablePackage**) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdNamePublisher(HSTRING, HSTRING, HSTRING,
                                                                                IIterablePackage**) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindUsers(HSTRING packageFullName, IIterablePackageUserInformation** users) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPackageState(HSTRING, INT32) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackageByPackageFullName(HSTRING, IPackage**) = 0;
    virtual HRESULT STDMETHODCALLTYPE CleanupPackageForUserAsync(HSTRING, HSTRING, IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByPackageFamilyName(HSTRING familyName, IIterablePackage** packages) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdPackageFamilyName(HSTRING userSecurityId,
                                                                                    HSTRING familyName,
                                                                                    IIterablePackage** packages) = 0;
};

// IPackageManager5 (Windows 10 1703): registration by family name is its third method.
constexpr GUID IID_IPackageManager5 = {0x711f3117, 0x1afd, 0x4313, {0x97, 0x8c, 0x9b, 0xb6, 0xe1, 0xb8, 0x64, 0xa7}};
struct IPackageManager5 : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE AddPackageToVolumeAndOptionalPackagesAsync(IUnknown*, IUnknown*, UINT32, IUnknown*,
                                                                                 IUnknown*, IUnknown*,
                                                                                 IAsyncDeploymentOperation**) = 0;
    virtual HRESULT STDMETHODCALLTYPE StagePackageToVolumeAndOptionalPackagesAsync(IUnknown*, IUnknown*, UINT32,
                                                                                   IUnknown*, IUnknown*, IUnknown*,
                                                                                   IAsyncDeploymentOperation**) = 0;
    // Projected as RegisterPackageByFamilyNameAsync(main, dependencies, options, volume, optional).
    virtual HRESULT STDMETHODCALLTYPE RegisterPackageByFamilyNameAndOptionalPackagesAsync(
        HSTRING mainPackageFamilyName, IUnknown* dependencyPackageFamilyNames, UINT32 deploymentOptions,
        IUnknown* appDataVolume, IUnknown* optionalPackageFamilyNames, IAsyncDeploymentOperation** operation) = 0;
};

}  // namespace Qv::platform::windows::winrt
