// The Visual C++-shaped boundary: the slot table that QVCreateService hands out and the host's
// std::function, built here as a Visual C++ host builds it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "abi/HostCallback.h"
#include "abi/HostView.h"
#include "core/logging.h"
#include "core/status.h"
#include "platform/sim/SimDevice.h"
#include "qv/QVServiceAbi.h"

namespace Qv::Tests {
namespace {

// Counts its lives and the texts it was called with.
struct Tally {
    int made = 0;
    int destroyed = 0;
    std::vector<std::wstring> texts;
};

template <size_t Padding>
struct Counting {
    explicit Counting(Tally* t) : tally(t) { ++tally->made; }
    Counting(const Counting& other) : tally(other.tally) { ++tally->made; }
    Counting(Counting&& other) noexcept : tally(other.tally) { ++tally->made; }
    ~Counting() { ++tally->destroyed; }
    void operator()(wchar_t* text) const { tally->texts.push_back(text != nullptr ? text : L"(null)"); }

    Tally* tally;
    char padding[Padding] = {};
};
using SmallCallable = Counting<8>;   // fits the function object's storage
using LargeCallable = Counting<200>;  // lives on the heap

template <class Callable>
void CalledCopiedAndDestroyedThroughItsTable() {
    Tally tally;
    {
        QVHostFunction argument;
        Abi::MakeHostFunction(argument, Callable(&tally));
        const int constructedByHost = tally.made - tally.destroyed;
        EXPECT_EQ(constructedByHost, 1);

        std::function<void(wchar_t*)> ours = Abi::AdoptHostFunction(&argument);
        EXPECT_EQ(argument.pointers[QV_HOST_FUNCTION_CALLABLE], nullptr) << "the argument is left empty";
        ASSERT_TRUE(ours);
        wchar_t text[] = L"{\"eventId\":1002}";
        ours(text);
        {
            std::function<void(wchar_t*)> kept = ours;  // the copy a subscription keeps
            EXPECT_EQ(tally.made - tally.destroyed, 2);
            kept(nullptr);
        }
        EXPECT_EQ(tally.made - tally.destroyed, 1);
    }
    EXPECT_EQ(tally.made, tally.destroyed) << "every callable the host's table made was destroyed once";
    EXPECT_EQ(tally.texts, (std::vector<std::wstring>{L"{\"eventId\":1002}", L"(null)"}));
}

TEST(AbiCallbackTest, SmallCallableIsCalledCopiedAndDestroyedThroughItsTable) {
    CalledCopiedAndDestroyedThroughItsTable<SmallCallable>();
}

TEST(AbiCallbackTest, HeapCallableIsCalledCopiedAndDestroyedThroughItsTable) {
    CalledCopiedAndDestroyedThroughItsTable<LargeCallable>();
}

TEST(AbiCallbackTest, EmptyOrMissingFunctionObjectGivesAnEmptyCallback) {
    QVHostFunction empty{};
    EXPECT_FALSE(Abi::AdoptHostFunction(&empty));
    EXPECT_FALSE(Abi::AdoptHostFunction(nullptr));
}

class AbiServiceTest : public ::testing::Test {
protected:
    static std::shared_ptr<Sim::SimDevice> Installed() {
        auto device = std::make_shared<Sim::SimDevice>();
        platform::Install(device);
        return device;
    }

    std::shared_ptr<Sim::SimDevice> device = Installed();  // before the service is made
    Abi::HostService service{QVCreateService()};
};

TEST_F(AbiServiceTest, SlotsAnswerInTheHostsOrderAndEveryCallbackEnds) {
    ASSERT_TRUE(service);
    Tally tally;
    wchar_t client[] = L"abi-test";
    void* session = nullptr;
    ASSERT_EQ(service.StartSession(client, &session), 0);
    ASSERT_NE(session, nullptr);

    std::wstring input = L"{}";
    wchar_t* output = nullptr;
    EXPECT_EQ(service.ExecuteCommand(session, 14, input.data(), &output, SmallCallable(&tally)),
              Status::kUnsupportedFunction);
    ASSERT_NE(output, nullptr);
    EXPECT_STREQ(output, L"{}");
    service.ReleaseOutput(output);

    // Bad input at the boundary: each gets its status, and the callback still ends.
    output = reinterpret_cast<wchar_t*>(0x1);
    EXPECT_EQ(service.ExecuteCommand(session, 14, nullptr, &output, LargeCallable(&tally)), Status::kGeneralFailure);
    EXPECT_EQ(output, reinterpret_cast<wchar_t*>(0x1));
    EXPECT_EQ(service.ExecuteCommand(session, 14, input.data(), nullptr, SmallCallable(&tally)),
              Status::kGeneralFailure);
    EXPECT_EQ(service.ExecuteCommand(nullptr, 134, input.data(), &output), Status::kUnsupportedFunction);
    service.ReleaseOutput(output);
    std::wstring broken = L"{";
    EXPECT_EQ(service.ExecuteCommand(nullptr, 91, broken.data(), &output, LargeCallable(&tally)),
              Status::kInvalidJson);
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(service.Object()->slots->ExecuteCommand(service.Object(), nullptr, 14, input.data(), &output, nullptr,
                                                      nullptr),
              Status::kUnsupportedFunction);
    service.ReleaseOutput(output);
    service.ReleaseOutput(nullptr);

    service.ReservedHooks();
    EXPECT_TRUE(service.OobeEventTask());
    EXPECT_TRUE(service.OobeEventTask());
    service.SessionChangeTask(7, nullptr);
    EXPECT_EQ(service.EndSession(&session), 0);
    EXPECT_EQ(tally.made, tally.destroyed);
    EXPECT_TRUE(tally.texts.empty());
}

TEST(AbiFactoryTest, EachCallLogsAndGivesAFreshObjectThatSlotZeroFrees) {
    platform::Install(std::make_shared<Sim::SimDevice>());
    Bridge::Logging::ScopedLogCapture log;
    QVServiceObject* first = QVCreateService();
    QVServiceObject* second = QVCreateService();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->slots, second->slots);
    EXPECT_EQ(log->Count(Bridge::Logging::LogLevel::Info,
                         L"DeviceControlService::() - Checking if service needs to be loaded."),
              2u);
    EXPECT_EQ(Bridge::Logging::LogManager::Provider(), L"Qv-Bridge-SystemInformation");
    EXPECT_EQ(first->slots->DeletingDestructor(first, 1), first);
    EXPECT_EQ(second->slots->DeletingDestructor(second, 1), second);

    unsigned int count = 0;
    const QVCommandInfo* rows = QVDescribeCommands(&count);
    ASSERT_EQ(count, 56u);
    EXPECT_EQ(rows[0].number, 1u);
    EXPECT_STREQ(rows[count - 1].name, "System.SetSystemMode");
}

// The experience modes live as long as the services: without one, describing them makes nothing
// (no store folder, no display library); with one, they are the service's.
TEST(AbiFactoryTest, TheModesAreDescribedOnlyForALiveService) {
    auto device = std::make_shared<Sim::SimDevice>();
    platform::Install(device);
    wchar_t text[4096] = {};
    ASSERT_EQ(QVDescribeModes(nullptr, text, 4096), 3u);
    EXPECT_STREQ(text, L"[]");
    device->WithWorld([](Sim::SimWorld& world) { EXPECT_EQ(world.folders.count(L"c:\\programdata\\qv"), 0u); });
    QVServiceObject* service = QVCreateService();
    ASSERT_GT(QVDescribeModes(service, text, 4096), 3u);
    EXPECT_EQ(std::wstring(text).find(L"[{\"ModeName\":"), 0u);
    EXPECT_EQ(service->slots->DeletingDestructor(service, 1), service);
}

}  // namespace
}  // namespace Qv::Tests
