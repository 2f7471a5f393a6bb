#pragma once
// Waiting for a Windows Runtime asynchronous operation: a completed handler that signals an
// event, and the calling thread blocked on that event until the operation reports completion.
// `Operation` is a hand-declared IAsyncOperation<T> with `Completed`, `Results` and
// `kCompletedIid`.
#include <asyncinfo.h>

#include <atomic>

#include "platform/windows/raii/com.h"
#include "platform/windows/raii/kernel.h"
#include "platform/windows/winrt/Delegate.h"

namespace Qv::platform::windows::winrt {

template <class Operation>
class CompletionSignal final : public Delegate<typename Operation::Completed, &Operation::kCompletedIid> {
public:
    explicit CompletionSignal(HANDLE event) : event_(event) {}

    HRESULT STDMETHODCALLTYPE Invoke(Operation*, AsyncStatus status) override {
        status_ = status;
        SetEvent(event_);
        return S_OK;
    }
    AsyncStatus Status() const { return status_; }

private:
    HANDLE event_;
    std::atomic<AsyncStatus> status_{Started};
};

// Blocks until `operation` completes (no time-out), then takes its results. A cancelled
// operation answers ERROR_CANCELLED; a failed one its error code.
template <class Operation>
HRESULT Await(Operation* operation, com_ptr<typename Operation::Results>& results) {
    unique_handle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!done) return HRESULT_FROM_WIN32(GetLastError());
    com_ptr<CompletionSignal<Operation>> signal(new CompletionSignal<Operation>(done.get()));
    HRESULT hr = operation->put_Completed(signal.get());
    if (FAILED(hr)) return hr;
    WaitForSingleObject(done.get(), INFINITE);
    switch (signal.get()->Status()) {
        case Completed:
            return operation->GetResults(results.put());
        case Canceled:
            return HRESULT_FROM_WIN32(ERROR_CANCELLED);
        default: {
            com_ptr<IAsyncInfo> info;
            HRESULT error = E_FAIL;
            if (SUCCEEDED(operation->QueryInterface(__uuidof(IAsyncInfo), reinterpret_cast<void**>(info.put()))))
                info.get()->get_ErrorCode(&error);
            return FAILED(error) ? error : E_FAIL;
        }
    }
}

}  // namespace Qv::platform::windows::winrt
