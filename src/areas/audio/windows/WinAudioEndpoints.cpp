#include "areas/audio/windows/WinAudioEndpoints.h"

#include <windows.h>
#include <endpointvolume.h>
#include <mmdeviceapi.h>

#include <atomic>

#include "areas/audio/windows/WindowsAudioRuntime.h"
#include "core/logging.h"
#include "platform/windows/raii/com.h"
#include "platform/windows/raii/winrt.h"
#include "platform/windows/winrt/Async.h"

namespace Qv::platform::windows {
namespace {

namespace rt = winrt;

constexpr HRESULT kElementNotFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);  // E_NOTFOUND
// The device interface classes of audio endpoints, as their interface ids carry them.
constexpr wchar_t kRenderInterfaceClass[] = L"{E6327CAD-DCEC-4949-AE8A-991E976A79D2}";
constexpr wchar_t kCaptureInterfaceClass[] = L"{2EEF81BE-33FA-4800-9670-1CD474972C3F}";
// PKEY_Device_FriendlyName (its definition is in no import library mingw-w64 ships).
constexpr PROPERTYKEY kFriendlyName = {{0xa45c254e, 0xdf1c, 0x4efd, {0x80, 0x20, 0x67, 0xd1, 0x46, 0xa8, 0x50, 0xe0}}, 14};

void LogFailure(const char* operation, const wchar_t* call, HRESULT hr) {
    Bridge::Logging::LogComFailure(Bridge::Logging::LogManager::GetLogger(), "Qv::platform::windows::WinAudioEndpoints",
                                   operation, call, static_cast<unsigned long>(hr));
}

// A failed call, logged.
Failure Failed(const char* operation, const wchar_t* call, HRESULT hr) {
    LogFailure(operation, call, hr);
    return Failure{hr};
}

template <class Interface>
Result<com_ptr<Interface>> Factory(const wchar_t* className, REFIID iid, const char* operation, const wchar_t* call) {
    com_ptr<Interface> factory;
    const HRESULT hr = rt::ActivationFactory(className, iid, reinterpret_cast<void**>(factory.put()));
    if (FAILED(hr)) return Failed(operation, call, hr);
    return factory;
}

// A class or interface the platform does not have (a Windows without the class, or Wine).
bool Unavailable(HRESULT hr) {
    return hr == E_NOINTERFACE || hr == REGDB_E_CLASSNOTREG || hr == CLASS_E_CLASSNOTAVAILABLE || hr == E_NOTIMPL;
}

EDataFlow ToDataFlow(IAudioEndpoints::Flow flow) {
    return flow == IAudioEndpoints::Flow::Capture ? eCapture : eRender;
}

Result<com_ptr<IMMDeviceEnumerator>> DeviceEnumerator(const char* operation) {
    com_ptr<IMMDeviceEnumerator> enumerator;
    const HRESULT hr = CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator),
                                        reinterpret_cast<void**>(enumerator.put()));
    if (FAILED(hr)) return Failed(operation, L"CoCreateInstance(MMDeviceEnumerator)", hr);
    return enumerator;
}

// The active endpoints as Core Audio lists them, with the interface ids the device enumeration
// gives them ("\\?\SWD#MMDEVAPI#<endpoint id>#<interface class>"): the same list where the
// runtime class is missing.
Result<std::vector<IAudioEndpoints::Device>> CoreAudioEndpoints(IAudioEndpoints::Flow flow) {
    auto enumerator = DeviceEnumerator("FindAll");
    if (!enumerator) return Failure{enumerator.Status()};
    com_ptr<IMMDeviceCollection> collection;
    HRESULT hr = enumerator->get()->EnumAudioEndpoints(ToDataFlow(flow), DEVICE_STATE_ACTIVE, collection.put());
    if (FAILED(hr)) return Failed("FindAll", L"IMMDeviceEnumerator->EnumAudioEndpoints", hr);
    UINT count = 0;
    hr = collection.get()->GetCount(&count);
    if (FAILED(hr)) return Failed("FindAll", L"IMMDeviceCollection->GetCount", hr);
    const wchar_t* interfaceClass = flow == IAudioEndpoints::Flow::Capture ? kCaptureInterfaceClass : kRenderInterfaceClass;
    std::vector<IAudioEndpoints::Device> devices;
    for (UINT i = 0; i < count; ++i) {
        com_ptr<IMMDevice> device;
        if (FAILED(hr = collection.get()->Item(i, device.put()))) return Failed("FindAll", L"IMMDeviceCollection->Item", hr);
        unique_cotaskmem id;
        if (FAILED(hr = device.get()->GetId(reinterpret_cast<LPWSTR*>(id.put()))))
            return Failed("FindAll", L"IMMDevice->GetId", hr);
        com_ptr<IPropertyStore> properties;
        if (FAILED(hr = device.get()->OpenPropertyStore(STGM_READ, properties.put())))
            return Failed("FindAll", L"IMMDevice->OpenPropertyStore", hr);
        unique_propvariant name;
        if (FAILED(hr = properties.get()->GetValue(kFriendlyName, name.put())))
            return Failed("FindAll", L"IPropertyStore->GetValue(PKEY_Device_FriendlyName)", hr);
        devices.push_back({std::wstring(L"\\\\?\\SWD#MMDEVAPI#") + static_cast<const wchar_t*>(id.get()) + L"#" + interfaceClass,
                           name.get().vt == VT_LPWSTR ? name.get().pwszVal : L""});
    }
    return devices;
}

// The default endpoint's volume control; COM for the control's lifetime.
class WinVolume final : public IAudioEndpoints::IVolume {
public:
    explicit WinVolume(IAudioEndpoints::Flow flow) : flow_(flow) {}
    ~WinVolume() override {
        // Every interface goes before COM does.
        volume_.reset();
        device_.reset();
        enumerator_.reset();
    }

    bool ComReady() const override { return static_cast<bool>(com_); }

    Result<bool> GetMute() override {
        auto volume = Volume("GetMute");
        if (!volume) return Failure{volume.Status()};
        BOOL muted = FALSE;
        const HRESULT hr = (*volume)->GetMute(&muted);
        if (FAILED(hr)) return Failed("GetMute", L"IAudioEndpointVolume->GetMute", hr);
        return muted != FALSE;
    }
    Result<void> SetMute(bool mute) override {
        auto volume = Volume("SetMute");
        if (!volume) return Failure{volume.Status()};
        const HRESULT hr = (*volume)->SetMute(mute ? TRUE : FALSE, &GUID_NULL);
        if (FAILED(hr)) return Failed("SetMute", L"IAudioEndpointVolume->SetMute", hr);
        return Success();
    }
    Result<float> GetMasterScalar() override {
        auto volume = Volume("GetMasterScalar");
        if (!volume) return Failure{volume.Status()};
        float level = 0.0f;
        const HRESULT hr = (*volume)->GetMasterVolumeLevelScalar(&level);
        if (FAILED(hr)) return Failed("GetMasterScalar", L"IAudioEndpointVolume->GetMasterVolumeLevelScalar", hr);
        return level;
    }
    Result<void> SetMasterScalar(float level) override {
        auto volume = Volume("SetMasterScalar");
        if (!volume) return Failure{volume.Status()};
        const HRESULT hr = (*volume)->SetMasterVolumeLevelScalar(level, &GUID_NULL);
        if (FAILED(hr)) return Failed("SetMasterScalar", L"IAudioEndpointVolume->SetMasterVolumeLevelScalar", hr);
        return Success();
    }

private:
    // The enumerator, the default endpoint of the flow's role and its volume, opened once.
    Result<IAudioEndpointVolume*> Volume(const char* operation) {
        if (volume_) return volume_.get();
        if (!com_) return Failure{com_.Result()};
        auto enumerator = DeviceEnumerator(operation);
        if (!enumerator) return Failure{enumerator.Status()};
        enumerator_ = std::move(*enumerator);
        // Playback acts on the multimedia default, recording on the communications default.
        const ERole role = flow_ == IAudioEndpoints::Flow::Capture ? eCommunications : eMultimedia;
        HRESULT hr = enumerator_.get()->GetDefaultAudioEndpoint(ToDataFlow(flow_), role, device_.put());
        if (FAILED(hr)) return Failed(operation, L"IMMDeviceEnumerator->GetDefaultAudioEndpoint", hr);
        hr = device_.get()->Activate(__uuidof(IAudioEndpointVolume), CLSCTX_ALL, nullptr,
                                     reinterpret_cast<void**>(volume_.put()));
        if (FAILED(hr)) return Failed(operation, L"IMMDevice->Activate(IAudioEndpointVolume)", hr);
        return volume_.get();
    }

    IAudioEndpoints::Flow flow_;
    ComScope com_{COINIT_APARTMENTTHREADED};  // CoInitialize
    com_ptr<IMMDeviceEnumerator> enumerator_;
    com_ptr<IMMDevice> device_;
    com_ptr<IAudioEndpointVolume> volume_;
};

std::atomic<bool> fallbackNoted{false};

}  // namespace

Result<std::vector<IAudioEndpoints::Device>> WinAudioEndpoints::FindAll(Flow flow) {
    RuntimeScope runtime;
    com_ptr<rt::IDeviceInformationStatics> statics;
    HRESULT hr = rt::ActivationFactory(rt::kDeviceInformationClass, rt::IID_IDeviceInformationStatics,
                                       reinterpret_cast<void**>(statics.put()));
    com_ptr<rt::IAsyncDeviceInformationCollection> operation;
    if (SUCCEEDED(hr)) {
        hr = statics.get()->FindAllAsyncDeviceClass(
            flow == Flow::Capture ? rt::DeviceClass_AudioCapture : rt::DeviceClass_AudioRender, operation.put());
    }
    if (Unavailable(hr)) {
        if (!fallbackNoted.exchange(true)) {
            Bridge::Logging::LogManager::GetLogger()->LogInfo(
                L"Qv::platform::windows::WinAudioEndpoints.FindAll - the device enumeration class is not available "
                L"(HRESULT 0x%x): the endpoints are listed through Core Audio",
                static_cast<unsigned>(hr));
        }
        return CoreAudioEndpoints(flow);
    }
    if (FAILED(hr)) return Failed("FindAll", L"DeviceInformation::FindAllAsync", hr);
    com_ptr<rt::IDeviceInformationCollection> collection;
    if (FAILED(hr = rt::Await(operation.get(), collection))) return Failed("FindAll", L"DeviceInformation::FindAllAsync", hr);
    UINT32 count = 0;
    if (FAILED(hr = collection.get()->get_Size(&count))) return Failed("FindAll", L"DeviceInformationCollection::Size", hr);
    std::vector<Device> devices;
    for (UINT32 i = 0; i < count; ++i) {
        com_ptr<rt::IDeviceInformation> information;
        if (FAILED(hr = collection.get()->GetAt(i, information.put())))
            return Failed("FindAll", L"DeviceInformationCollection::GetAt", hr);
        unique_hstring id;
        unique_hstring name;
        if (FAILED(hr = information.get()->get_Id(id.put()))) return Failed("FindAll", L"DeviceInformation::Id", hr);
        if (FAILED(hr = information.get()->get_Name(name.put()))) return Failed("FindAll", L"DeviceInformation::Name", hr);
        devices.push_back({rt::ToWide(id.get()), rt::ToWide(name.get())});
    }
    return devices;
}

Result<std::wstring> WinAudioEndpoints::DefaultId(Flow flow) {
    RuntimeScope runtime;
    auto statics = Factory<rt::IMediaDeviceStatics>(rt::kMediaDeviceClass, rt::IID_IMediaDeviceStatics, "DefaultId",
                                                     L"RoGetActivationFactory(Windows.Media.Devices.MediaDevice)");
    if (!statics) return Failure{statics.Status()};
    unique_hstring id;
    const HRESULT hr = flow == Flow::Capture
                           ? statics->get()->GetDefaultAudioCaptureId(rt::AudioDeviceRole_Default, id.put())
                           : statics->get()->GetDefaultAudioRenderId(rt::AudioDeviceRole_Default, id.put());
    // No device of the flow: Windows answers an empty id, some runtimes "not found".
    if (hr == kElementNotFound) return std::wstring();
    if (FAILED(hr)) return Failed("DefaultId", L"MediaDevice::GetDefaultAudioId", hr);
    return rt::ToWide(id.get());
}

std::unique_ptr<IAudioEndpoints::IVolume> WinAudioEndpoints::OpenDefaultVolume(Flow flow) {
    return std::make_unique<WinVolume>(flow);
}

Result<IAudioEndpoints::ModuleAnswer> WinAudioEndpoints::SendModuleCommand(Flow flow, const std::wstring& moduleId,
                                                                           std::span<const uint8_t> payload) {
    RuntimeScope runtime;
    const auto deviceId = DefaultId(flow);
    if (!deviceId) return Failure{deviceId.Status()};
    auto factory = Factory<rt::IAudioDeviceModulesManagerFactory>(
        rt::kAudioDeviceModulesManagerClass, rt::IID_IAudioDeviceModulesManagerFactory, "SendModuleCommand",
        L"RoGetActivationFactory(Windows.Media.Devices.AudioDeviceModulesManager)");
    if (!factory) return Failure{factory.Status()};
    com_ptr<rt::IAudioDeviceModulesManager> manager;
    HRESULT hr = factory->get()->Create(rt::StringReference(*deviceId).get(), manager.put());
    if (FAILED(hr)) return Failed("SendModuleCommand", L"AudioDeviceModulesManager::Create", hr);
    com_ptr<rt::IAudioDeviceModuleList> modules;
    if (FAILED(hr = manager.get()->FindAllById(rt::StringReference(moduleId).get(), modules.put())))
        return Failed("SendModuleCommand", L"AudioDeviceModulesManager::FindAllById", hr);
    UINT32 count = 0;
    if (FAILED(hr = modules.get()->get_Size(&count))) return Failed("SendModuleCommand", L"IVectorView::Size", hr);
    if (count == 0) return ModuleAnswer::NoModule;
    com_ptr<rt::IAudioDeviceModule> module;
    if (FAILED(hr = modules.get()->GetAt(0, module.put()))) return Failed("SendModuleCommand", L"IVectorView::GetAt", hr);

    // The command's bytes, written as they are (so byte order does not matter), in a buffer.
    com_ptr<IInspectable> writerObject;
    if (FAILED(hr = RoActivateInstance(rt::StringReference(rt::kDataWriterClass).get(), writerObject.put())))
        return Failed("SendModuleCommand", L"RoActivateInstance(Windows.Storage.Streams.DataWriter)", hr);
    com_ptr<rt::IDataWriter> writer;
    if (FAILED(hr = writerObject.get()->QueryInterface(rt::IID_IDataWriter, reinterpret_cast<void**>(writer.put()))))
        return Failed("SendModuleCommand", L"QueryInterface(IDataWriter)", hr);
    std::vector<BYTE> bytes(payload.begin(), payload.end());
    if (FAILED(hr = writer.get()->WriteBytes(static_cast<UINT32>(bytes.size()), bytes.data())))
        return Failed("SendModuleCommand", L"DataWriter::WriteBytes", hr);
    com_ptr<rt::IBuffer> buffer;
    if (FAILED(hr = writer.get()->DetachBuffer(buffer.put()))) return Failed("SendModuleCommand", L"DataWriter::DetachBuffer", hr);

    com_ptr<rt::IAsyncModuleCommandResult> operation;
    if (FAILED(hr = module.get()->SendCommandAsync(buffer.get(), operation.put())))
        return Failed("SendModuleCommand", L"AudioDeviceModule::SendCommandAsync", hr);
    com_ptr<rt::IModuleCommandResult> result;
    if (FAILED(hr = rt::Await(operation.get(), result)))
        return Failed("SendModuleCommand", L"AudioDeviceModule::SendCommandAsync", hr);
    rt::SendCommandStatus status = rt::SendCommandStatus_DeviceNotAvailable;
    if (FAILED(hr = result.get()->get_Status(&status))) return Failed("SendModuleCommand", L"ModuleCommandResult::Status", hr);
    return status == rt::SendCommandStatus_Success ? ModuleAnswer::Succeeded : ModuleAnswer::Refused;
}

}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IAudioEndpoints> Qv::platform::IAudioEndpoints::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinAudioEndpoints>();
}
