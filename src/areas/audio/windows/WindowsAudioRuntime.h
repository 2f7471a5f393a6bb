#pragma once
// Windows Runtime ABI declarations mingw-w64 lacks, from the public metadata: device enumeration
// (Windows.Devices.Enumeration), the default audio devices and their modules
// (Windows.Media.Devices) and the data writer (Windows.Storage.Streams), each in its slot order
// up to the last slot this module calls.
#include <asyncinfo.h>

#include "platform/windows/winrt/WindowsFoundation.h"

namespace Qv::platform::windows::winrt {

constexpr const wchar_t* kDeviceInformationClass = L"Windows.Devices.Enumeration.DeviceInformation";
constexpr const wchar_t* kMediaDeviceClass = L"Windows.Media.Devices.MediaDevice";
constexpr const wchar_t* kAudioDeviceModulesManagerClass = L"Windows.Media.Devices.AudioDeviceModulesManager";
constexpr const wchar_t* kDataWriterClass = L"Windows.Storage.Streams.DataWriter";

// Windows.Devices.Enumeration.DeviceClass and Windows.Media.Devices.AudioDeviceRole.
enum DeviceClass : INT32 { DeviceClass_AudioCapture = 1, DeviceClass_AudioRender = 2 };
enum AudioDeviceRole : INT32 { AudioDeviceRole_Default = 0, AudioDeviceRole_Communications = 1 };
// Windows.Media.Devices.SendCommandStatus.
enum SendCommandStatus : INT32 { SendCommandStatus_Success = 0, SendCommandStatus_DeviceNotAvailable = 1 };


// --- Windows.Devices.Enumeration ---

constexpr GUID IID_IDeviceInformation = {0xaba0fb95, 0x4398, 0x489d, {0x8e, 0x44, 0xe6, 0x13, 0x09, 0x27, 0x01, 0x1f}};
struct IDeviceInformation : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_Id(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) = 0;
};

// IVectorView<DeviceInformation>, the collection's default interface.
constexpr GUID IID_IVectorView_DeviceInformation = {
    0xe170688f, 0x3495, 0x5bf6, {0xaa, 0xb5, 0x9c, 0xac, 0x17, 0xe0, 0xf1, 0x0f}};
struct IDeviceInformationCollection : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, IDeviceInformation** item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
};

struct IAsyncDeviceInformationCollection;
// AsyncOperationCompletedHandler<DeviceInformationCollection>
constexpr GUID IID_AsyncOperationCompletedHandler_DeviceInformationCollection = {
    0x4a458732, 0x527e, 0x5c73, {0x9a, 0x68, 0xa7, 0x3d, 0xa3, 0x70, 0xf7, 0x82}};
struct IDeviceInformationCollectionCompleted : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncDeviceInformationCollection* operation, AsyncStatus status) = 0;
};
// IAsyncOperation<DeviceInformationCollection>
struct IAsyncDeviceInformationCollection : IInspectable {
    using Completed = IDeviceInformationCollectionCompleted;
    using Results = IDeviceInformationCollection;
    static constexpr const GUID& kCompletedIid = IID_AsyncOperationCompletedHandler_DeviceInformationCollection;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(Completed* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(Completed** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults(Results** results) = 0;
};

constexpr GUID IID_IDeviceInformationStatics = {
    0xc17f100e, 0x3a46, 0x4a78, {0x80, 0x13, 0x76, 0x9d, 0xc9, 0xb9, 0x73, 0x90}};
struct IDeviceInformationStatics : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE CreateFromIdAsync(HSTRING, void**) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFromIdAsyncAdditionalProperties(HSTRING, void*, void**) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAllAsync(IAsyncDeviceInformationCollection** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAllAsyncDeviceClass(DeviceClass deviceClass,
                                                              IAsyncDeviceInformationCollection** operation) = 0;
};

// --- Windows.Media.Devices ---

constexpr GUID IID_IMediaDeviceStatics = {0xaa2d9a40, 0x909f, 0x4bba, {0xbf, 0x8b, 0x0c, 0x0d, 0x29, 0x6f, 0x14, 0xf0}};
struct IMediaDeviceStatics : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE GetAudioCaptureSelector(HSTRING* selector) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAudioRenderSelector(HSTRING* selector) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVideoCaptureSelector(HSTRING* selector) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioCaptureId(AudioDeviceRole role, HSTRING* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioRenderId(AudioDeviceRole role, HSTRING* id) = 0;
};

// Windows.Storage.Streams.IBuffer, handed on as it is.
struct IBuffer : IInspectable {};

constexpr GUID IID_IModuleCommandResult = {0x520d1eb4, 0x1374, 0x4c7d, {0xb1, 0xe4, 0x39, 0xdc, 0xdf, 0x3e, 0xae, 0x4e}};
struct IModuleCommandResult : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_Status(SendCommandStatus* status) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Result(IBuffer** result) = 0;
};

struct IAsyncModuleCommandResult;
// AsyncOperationCompletedHandler<ModuleCommandResult>
constexpr GUID IID_AsyncOperationCompletedHandler_ModuleCommandResult = {
    0xcb786404, 0xf2e8, 0x5e0b, {0xbf, 0x12, 0x39, 0xe3, 0x14, 0x83, 0xcf, 0xae}};
struct IModuleCommandResultCompleted : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncModuleCommandResult* operation, AsyncStatus status) = 0;
};
// IAsyncOperation<ModuleCommandResult>
struct IAsyncModuleCommandResult : IInspectable {
    using Completed = IModuleCommandResultCompleted;
    using Results = IModuleCommandResult;
    static constexpr const GUID& kCompletedIid = IID_AsyncOperationCompletedHandler_ModuleCommandResult;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(Completed* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(Completed** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults(Results** results) = 0;
};

constexpr GUID IID_IAudioDeviceModule = {0x86cfac36, 0x47c1, 0x4b33, {0x98, 0x52, 0x87, 0x73, 0xec, 0x4b, 0xe1, 0x23}};
struct IAudioDeviceModule : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_ClassId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DisplayName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InstanceId(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_MajorVersion(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_MinorVersion(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendCommandAsync(IBuffer* command, IAsyncModuleCommandResult** operation) = 0;
};

// IVectorView<AudioDeviceModule>
struct IAudioDeviceModuleList : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, IAudioDeviceModule** item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
};

constexpr GUID IID_IAudioDeviceModulesManager = {
    0x6aa40c4d, 0x960a, 0x4d1c, {0xb3, 0x18, 0x00, 0x22, 0x60, 0x45, 0x47, 0xed}};
struct IAudioDeviceModulesManager : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE add_ModuleNotificationReceived(void* handler, EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_ModuleNotificationReceived(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAllById(HSTRING moduleId, IAudioDeviceModuleList** modules) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAll(IAudioDeviceModuleList** modules) = 0;
};

constexpr GUID IID_IAudioDeviceModulesManagerFactory = {
    0x8db03670, 0xe64d, 0x4773, {0x96, 0xc0, 0xbc, 0x7e, 0xbf, 0x0e, 0x06, 0x3f}};
struct IAudioDeviceModulesManagerFactory : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE Create(HSTRING deviceId, IAudioDeviceModulesManager** manager) = 0;
};

// --- Windows.Storage.Streams ---

constexpr GUID IID_IDataWriter = {0x64b89265, 0xd341, 0x4922, {0xb3, 0x8a, 0xdd, 0x4a, 0xf8, 0x80, 0x8c, 0x4e}};
struct IDataWriter : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_UnstoredBufferLength(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UnicodeEncoding(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_UnicodeEncoding(INT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ByteOrder(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ByteOrder(INT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteByte(BYTE value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteBytes(UINT32 count, BYTE* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteBuffer(IBuffer* buffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteBufferRange(IBuffer* buffer, UINT32 start, UINT32 count) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteBoolean(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteGuid(GUID value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteInt16(INT16 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteInt32(INT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteInt64(INT64 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteUInt16(UINT16 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteUInt32(UINT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteUInt64(UINT64 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteSingle(FLOAT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteDouble(DOUBLE value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteDateTime(INT64 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteTimeSpan(INT64 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteString(HSTRING value, UINT32* codeUnitCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE MeasureString(HSTRING value, UINT32* codeUnitCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE StoreAsync(void** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FlushAsync(void** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE DetachBuffer(IBuffer** buffer) = 0;
};

}  // namespace Qv::platform::windows::winrt
