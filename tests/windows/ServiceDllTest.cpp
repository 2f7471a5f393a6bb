// The real DLL driven through its exported factory and interface.
#include <memory>
#include <mutex>
#include <thread>
#include <vector>
#include <regex>
#include <set>
#include <string>

#include "ServiceDll.h"

#include <tlhelp32.h>
#include "core/strings.h"
#include "areas/monitor/MonitorSession.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::WindowsTests {
namespace {

using Bridge::Server::Services::DeviceControl::DeviceControlServiceContext;
using Bridge::Server::Services::DeviceControl::MonitorSession;

class ServiceDllTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(ServiceDll::Get().Module(), nullptr) << "LoadLibraryW failed: " << GetLastError();
        service = std::make_unique<Abi::HostService>(ServiceDll::Get().Create());
        ASSERT_TRUE(*service);
    }

    int Call(unsigned number, std::wstring input, wchar_t** output, void* session = nullptr) {
        return service->ExecuteCommand(session, number, input.data(), output, [](wchar_t*) {});
    }

    std::unique_ptr<Abi::HostService> service;
};

TEST_F(ServiceDllTest, FactoryExportsAndAttachTimeFilter) {
    Abi::HostService second(ServiceDll::Get().Create());
    EXPECT_NE(second.Object(), service->Object());

    // The module installed its own unhandled-exception filter when it was attached.
    LPTOP_LEVEL_EXCEPTION_FILTER installed = SetUnhandledExceptionFilter(nullptr);
    SetUnhandledExceptionFilter(installed);
    HMODULE owner = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                   reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(installed)), &owner));
    EXPECT_EQ(owner, ServiceDll::Get().Module());
    EXPECT_NE(ServiceDll::Get().LogText().find("DeviceControlService::() - Checking if service needs to be loaded."),
              std::string::npos);
}

TEST_F(ServiceDllTest, SessionsGetRealDistinctUuids) {
    std::wstring client = L"windows-test";
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(service->StartSession(client.data(), &first), 0);
    ASSERT_EQ(service->StartSession(client.data(), &second), 0);
    const std::wregex pattern(L"qv(bl|btc|ml|mtc)_[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");
    std::set<std::wstring> names;
    for (void* handle : {first, second}) {
        auto* context = static_cast<DeviceControlServiceContext*>(handle);
        EXPECT_STREQ(context->clientId, L"windows-test");
        // The status events' names, in the monitor's slot of the session.
        const MonitorSession* monitor = context->FindState<MonitorSession>();
        ASSERT_NE(monitor, nullptr);
        for (const std::wstring& name : {monitor->batteryEventNames[0], monitor->batteryEventNames[1],
                                         monitor->memoryEventNames[0], monitor->memoryEventNames[1]}) {
            EXPECT_TRUE(std::regex_match(name, pattern)) << Core::Narrow(name);
            names.insert(name.substr(name.find(L'_') + 1));
        }
    }
    EXPECT_EQ(names.size(), 8u);
    EXPECT_EQ(service->EndSession(&first), 0);
    EXPECT_EQ(service->EndSession(&second), 0);
}

TEST_F(ServiceDllTest, AnswersAreReleasedInTheModulesHeap) {
    // Many answers allocated by the module and freed through slot 4: a mismatched heap would
    // corrupt or leak here; null is harmless.
    for (int i = 0; i < 2000; ++i) {
        wchar_t* output = nullptr;
        Call(134, L"{\"padding\":\"" + std::wstring(1000, L'p') + L"\"}", &output);
        ASSERT_NE(output, nullptr);
        service->ReleaseOutput(output);
    }
    service->ReleaseOutput(nullptr);
    service->ReservedHooks();
    EXPECT_TRUE(service->OobeEventTask());
    service->SessionChangeTask(7, nullptr);
}

TEST_F(ServiceDllTest, LowMemorySubscriptionReportsTheRealLoadUntilStopped) {
    wchar_t client[] = L"subscriber";
    void* session = nullptr;
    ASSERT_EQ(service->StartSession(client, &session), 0);
    std::mutex mutex;
    std::vector<std::wstring> messages;
    int status = -1;
    std::wstring answer;
    std::thread subscription([&] {
        std::wstring request = L"{\"eventId\":1002,\"memoryThreshold\":0}";
        wchar_t* output = nullptr;
        status = service->ExecuteCommand(session, 31, request.data(), &output, [&](wchar_t* text) {
            std::lock_guard<std::mutex> lock(mutex);
            messages.push_back(text);
        });
        if (output != nullptr) answer = output;
        service->ReleaseOutput(output);
    });
    const auto count = [&] {
        std::lock_guard<std::mutex> lock(mutex);
        return messages.size();
    };
    for (int i = 0; i < 1000 && count() == 0; ++i) Sleep(10);

    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof(memory);
    ASSERT_TRUE(GlobalMemoryStatusEx(&memory));
    wchar_t* output = nullptr;
    EXPECT_EQ(Call(32, L"{\"eventId\":1002}", &output, session), 0);
    EXPECT_STREQ(output, L"{\"result\":11}");
    service->ReleaseOutput(output);
    subscription.join();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(answer, L"{\"result\":1}");
    ASSERT_EQ(messages.size(), 1u);
    const std::wregex message(L"\\{\"eventId\":1002,\"memoryInUse\":([0-9]+)\\}");
    std::wsmatch match;
    ASSERT_TRUE(std::regex_match(messages[0], match, message)) << Core::Narrow(messages[0]);
    EXPECT_NEAR(std::stoi(match[1].str()), static_cast<int>(memory.dwMemoryLoad), 2);
    EXPECT_EQ(service->EndSession(&session), 0);
}

TEST_F(ServiceDllTest, BatterySubscriptionFailsWhereThePowerManagerIsMissing) {
    wchar_t client[] = L"battery";
    void* session = nullptr;
    ASSERT_EQ(service->StartSession(client, &session), 0);
    wchar_t* output = nullptr;
    EXPECT_EQ(Call(31, L"{\"eventId\":1001}", &output, session), 0x20000002);
    EXPECT_STREQ(output, L"{}");
    service->ReleaseOutput(output);
    EXPECT_NE(ServiceDll::Get().LogText().find("the power manager is not available, HRESULT 0x80040154"),
              std::string::npos);
    EXPECT_EQ(service->EndSession(&session), 0);
}

// The threads of this process, counted from a system snapshot.
size_t ProcessThreads() {
    platform::windows::unique_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    size_t count = 0;
    for (BOOL more = Thread32First(snapshot.get(), &entry); more; more = Thread32Next(snapshot.get(), &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    return count;
}

TEST_F(ServiceDllTest, StartupOnABoardThatIsNotListedStartsNoThread) {
    // Wine's board is in no list and its firmware has no command channel: the launch is settled
    // at start-up, and the logon that follows does nothing.
    const size_t threads = ProcessThreads();
    service->OobeEventTask();
    service->StartupTask();
    service->SessionChangeTask(5, nullptr);
    EXPECT_EQ(ProcessThreads(), threads);
    const std::string log = ServiceDll::Get().LogText();
    EXPECT_NE(log.find("DeviceControlService::IsAIPC - Failed to read feature byte"), std::string::npos);
    EXPECT_NE(log.find("DeviceControlService::IsAppSupportedOnDevice - System ID is not supported"), std::string::npos);
    EXPECT_NE(log.find("DeviceControlService - App not supported on device."), std::string::npos);
    EXPECT_EQ(log.find("WTS_SESSION_LOGON received."), std::string::npos);
    EXPECT_EQ(log.find("Waiting initial 5 minutes"), std::string::npos);
}

}  // namespace
}  // namespace Qv::WindowsTests
