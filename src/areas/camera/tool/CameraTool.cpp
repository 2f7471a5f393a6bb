// DeviceControlTool.exe's camera area: the first video input device of the system. Zoom and
// brightness are its standard camera-control and video-amplifier properties (DirectShow);
// background blur and automatic framing are extended camera controls of the kernel-streaming
// property set, where the driver offers them.
#include <windows.h>
#include <dshow.h>

#include <cstdint>
#include <cstring>
#include <span>

#include "areas/camera/CameraProtocol.h"
#include "platform/windows/raii/com.h"

namespace Qv::Tool {
namespace {

using Camera::Control;
using platform::windows::com_ptr;

// The extended camera controls (ksmedia.h of the Windows SDK; mingw lacks them): the property
// set, the two controls and the flag that switches each on.
constexpr GUID kExtendedCameraControl = {0x1CB79112, 0xC0D2, 0x4213, {0x9C, 0xA6, 0xCD, 0x4F, 0xDB, 0x92, 0x79, 0x72}};
constexpr ULONG kBackgroundSegmentation = 41;  // flag 1: blur
constexpr ULONG kDigitalWindow = 43;           // flag 1: automatic face framing
constexpr uint64_t kOnFlag = 1;
constexpr ULONG kPropertyGet = 1;
constexpr ULONG kPropertySet = 2;

struct KsProperty {
    GUID set;
    ULONG id;
    ULONG flags;
};

// Every extended control's payload starts with this header.
struct ExtendedHeader {
    ULONG version;
    ULONG pinId;
    ULONG size;
    ULONG result;
    uint64_t flags;
    uint64_t capability;
};

// IKsControl, declared by hand (the interface of ks.h, its public IID).
struct IKsControlPort : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE KsProperty(void* property, ULONG propertyLength, void* data, ULONG dataLength,
                                                 ULONG* returned) = 0;
    virtual HRESULT STDMETHODCALLTYPE KsMethod(void* method, ULONG methodLength, void* data, ULONG dataLength,
                                               ULONG* returned) = 0;
    virtual HRESULT STDMETHODCALLTYPE KsEvent(void* event, ULONG eventLength, void* data, ULONG dataLength,
                                              ULONG* returned) = 0;
};
constexpr IID kIidKsControl = {0x28F54685, 0x06FD, 0x11D2, {0xB2, 0x7A, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

class WindowsCamera final : public Camera::ICamera {
public:
    WindowsCamera() {
        initialised_ = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        com_ptr<ICreateDevEnum> devices;
        if (FAILED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                                    reinterpret_cast<void**>(devices.put()))))
            return;
        com_ptr<IEnumMoniker> monikers;
        // S_FALSE: the category is empty.
        if (devices.get()->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, monikers.put(), 0) != S_OK) return;
        com_ptr<IMoniker> moniker;
        if (monikers.get()->Next(1, moniker.put(), nullptr) != S_OK) return;
        moniker.get()->BindToObject(nullptr, nullptr, IID_IBaseFilter, reinterpret_cast<void**>(filter_.put()));
    }
    ~WindowsCamera() {
        filter_.reset();
        if (initialised_) CoUninitialize();
    }

    bool Present() override { return static_cast<bool>(filter_); }

    bool Supports(Control control) override {
        long min = 0, max = 0, step = 0, fallback = 0, caps = 0;
        switch (control) {
            case Control::Zoom: {
                auto camera = Query<IAMCameraControl>(IID_IAMCameraControl);
                return camera && SUCCEEDED(camera.get()->GetRange(CameraControl_Zoom, &min, &max, &step, &fallback, &caps));
            }
            case Control::Brightness: {
                auto amp = Query<IAMVideoProcAmp>(IID_IAMVideoProcAmp);
                return amp && SUCCEEDED(amp.get()->GetRange(VideoProcAmp_Brightness, &min, &max, &step, &fallback, &caps));
            }
            case Control::Blur:
            case Control::AutoFrame: {
                ExtendedHeader header{};
                return Extended(control, header, nullptr) && (header.capability & kOnFlag) != 0;
            }
        }
        return false;
    }

    std::optional<int> Get(Control control) override {
        long value = 0, flags = 0;
        switch (control) {
            case Control::Zoom: {
                auto camera = Query<IAMCameraControl>(IID_IAMCameraControl);
                if (!camera || FAILED(camera.get()->Get(CameraControl_Zoom, &value, &flags))) return std::nullopt;
                return static_cast<int>(value);
            }
            case Control::Brightness: {
                auto amp = Query<IAMVideoProcAmp>(IID_IAMVideoProcAmp);
                if (!amp || FAILED(amp.get()->Get(VideoProcAmp_Brightness, &value, &flags))) return std::nullopt;
                return static_cast<int>(value);
            }
            case Control::Blur:
            case Control::AutoFrame: {
                ExtendedHeader header{};
                if (!Extended(control, header, nullptr)) return std::nullopt;
                return (header.flags & kOnFlag) != 0 ? 1 : 0;
            }
        }
        return std::nullopt;
    }

    bool Set(Control control, int value) override {
        long min = 0, max = 0, step = 0, fallback = 0, caps = 0;
        switch (control) {
            case Control::Zoom: {
                auto camera = Query<IAMCameraControl>(IID_IAMCameraControl);
                return camera && SUCCEEDED(camera.get()->GetRange(CameraControl_Zoom, &min, &max, &step, &fallback, &caps)) &&
                       value >= min && value <= max &&
                       SUCCEEDED(camera.get()->Set(CameraControl_Zoom, value, CameraControl_Flags_Manual));
            }
            case Control::Brightness: {
                auto amp = Query<IAMVideoProcAmp>(IID_IAMVideoProcAmp);
                return amp && SUCCEEDED(amp.get()->GetRange(VideoProcAmp_Brightness, &min, &max, &step, &fallback, &caps)) &&
                       value >= min && value <= max &&
                       SUCCEEDED(amp.get()->Set(VideoProcAmp_Brightness, value, VideoProcAmp_Flags_Manual));
            }
            case Control::Blur:
            case Control::AutoFrame: {
                ExtendedHeader header{};
                const uint64_t flags = value != 0 ? kOnFlag : 0;
                return Extended(control, header, &flags);
            }
        }
        return false;
    }

private:
    template <class I>
    com_ptr<I> Query(const IID& iid) {
        com_ptr<I> result;
        if (filter_) filter_.get()->QueryInterface(iid, reinterpret_cast<void**>(result.put()));
        return result;
    }

    // Reads the control's payload into `header`; with `setFlags`, writes the same payload back
    // with those flags (the rest of the payload as the driver gave it).
    bool Extended(Control control, ExtendedHeader& header, const uint64_t* setFlags) {
        com_ptr<IKsControlPort> ks;
        if (!filter_ || FAILED(filter_.get()->QueryInterface(kIidKsControl, reinterpret_cast<void**>(ks.put()))))
            return false;
        KsProperty property{kExtendedCameraControl, control == Control::Blur ? kBackgroundSegmentation : kDigitalWindow,
                            kPropertyGet};
        alignas(8) unsigned char payload[512] = {};
        ULONG returned = 0;
        if (FAILED(ks.get()->KsProperty(&property, sizeof property, payload, sizeof payload, &returned)) ||
            returned < sizeof(ExtendedHeader)) {
            return false;
        }
        std::memcpy(&header, payload, sizeof header);
        if (setFlags == nullptr) return true;
        header.flags = *setFlags;
        header.result = 0;
        std::memcpy(payload, &header, sizeof header);
        property.flags = kPropertySet;
        return SUCCEEDED(ks.get()->KsProperty(&property, sizeof property, payload, returned, &returned));
    }

    bool initialised_ = false;
    com_ptr<IBaseFilter> filter_;
};

std::wstring Serve(Process&, const std::wstring& function, const std::wstring& argument) {
    WindowsCamera camera;
    return Camera::Serve(camera, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> CameraToolAreas() {
    static const ToolArea<Process> areas[] = {{Camera::kArea, Camera::kFunctions, &Serve}};
    return areas;
}

}  // namespace Qv::Tool
