// libFuzzer target: one command per input, on a live session of a service that the host's
// binary interface reaches, against the simulated device (with its test-signed tool installed).
// Input: the first byte is the function number; the rest is the request text as UTF-16LE code
// units, any of them, lone surrogates included.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "abi/HostView.h"
#include "platform/sim/SimDevice.h"
#include "security/Authenticode.h"

namespace {

constexpr unsigned int kSubscribe = 31;
constexpr unsigned int kUnsubscribe = 32;

struct Harness {
    Harness() {
        auto device = std::make_shared<Qv::Sim::SimDevice>();
        const auto& trusted = Qv::Bridge::Security::TrustTables::Builtin().main;
        if (!trusted.empty()) {
            device->InstallTool(Qv::Bridge::Security::ParsePublicKey(trusted.back().publicKey));
            device->InstallSigned(L"QVDC.dll", Qv::Bridge::Security::ParsePublicKey(trusted.back().publicKey));
        }
        Qv::platform::Install(device);
        service = std::make_unique<Qv::Abi::HostService>(QVCreateService());
        wchar_t client[] = L"fuzzer";
        service->StartSession(client, &session);
    }

    std::unique_ptr<Qv::Abi::HostService> service;
    void* session = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Harness harness;
    if (size == 0) return 0;
    const unsigned number = data[0];
    std::wstring input;
    for (size_t i = 1; i + 1 < size; i += 2) input.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    const auto execute = [&](unsigned int command, std::wstring& text) {
        wchar_t* output = nullptr;
        harness.service->ExecuteCommand(harness.session, command, text.data(), &output, [](wchar_t* message) {
            // Event messages are the module's texts: read them as a client would.
            volatile size_t length = std::char_traits<wchar_t>::length(message);
            (void)length;
        });
        harness.service->ReleaseOutput(output);
    };
    if (number != kSubscribe) {
        execute(number, input);
        return 0;
    }
    // A subscription holds its call until it is ended: run it on a host thread of its own and
    // end it from this one, as a client would.
    std::atomic<bool> done{false};
    std::thread subscriber([&] {
        execute(number, input);
        done = true;
    });
    while (!done.load()) {
        for (const wchar_t* stop : {L"{\"eventId\":1001}", L"{\"eventId\":1002}"}) {
            std::wstring text = stop;
            execute(kUnsubscribe, text);
        }
        std::this_thread::yield();
    }
    subscriber.join();
    return 0;
}
