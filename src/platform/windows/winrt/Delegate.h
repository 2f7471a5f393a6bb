#pragma once
// A delegate object handed to the Windows Runtime: reference counted, answering for IUnknown, its
// own interface (`iid`) and IAgileObject, so the platform may call it on any thread. A subclass
// writes only Invoke.
#include <windows.h>

#include <atomic>

namespace Qv::platform::windows::winrt {

template <class Interface, const GUID* Iid>
class Delegate : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, *Iid) || IsEqualGUID(iid, IID_IAgileObject)) {
            *object = static_cast<Interface*>(this);
            this->AddRef();
            return S_OK;
        }
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    Delegate() = default;
    virtual ~Delegate() = default;

private:
    std::atomic<ULONG> references_{1};
};

}  // namespace Qv::platform::windows::winrt
