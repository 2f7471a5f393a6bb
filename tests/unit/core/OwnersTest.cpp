// The owners the rooms rely on: objects of distinct types kept by one owner (the area ports, a
// session's area state, the simulated tool's areas), and a session's named events.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/type_slots.h"
#include "platform/INamedEvents.h"
#include "platform/sim/SimNamedEvents.h"

namespace Qv::Tests {
namespace {

struct Mouse {
    int speed = 10;
};
struct Toasts {
    bool on = true;
};
// Same layout as Mouse: the slot must follow the type, not the shape.
struct Pointer {
    int speed = 3;
};

TEST(TypeSlotsTest, OneObjectPerTypeMadeOnceAndKept) {
    Core::TypeSlots slots;
    EXPECT_EQ(slots.Find<Mouse>(), nullptr);
    int made = 0;
    Mouse& mouse = slots.GetOrMake<Mouse>([&] {
        ++made;
        return std::make_shared<Mouse>();
    });
    mouse.speed = 15;
    EXPECT_EQ(&slots.GetOrMake<Mouse>([&] {
                  ++made;
                  return std::make_shared<Mouse>();
              }),
              &mouse);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(slots.GetOrMake<Pointer>().speed, 3);
    EXPECT_TRUE(slots.GetOrMake<Toasts>().on);
    EXPECT_EQ(slots.Find<Mouse>()->speed, 15);

    // A stand-in put before first use is what later callers get.
    Core::TypeSlots other;
    auto standIn = std::make_shared<Mouse>();
    standIn->speed = 7;
    other.Put<Mouse>(standIn);
    EXPECT_EQ(&other.GetOrMake<Mouse>(), standIn.get());
    auto replaced = std::make_shared<Mouse>();
    other.Put<Mouse>(replaced);
    EXPECT_EQ(other.Find<Mouse>(), replaced.get());
}

TEST(OwnedEventTest, ClosedOnceThroughItsPortWhenItsOwnerEnds) {
    Sim::SimFaults faults;
    Sim::SimNamedEvents events{faults};
    platform::EventHandle handle = *events.CreateManualReset(L"qvml_test");
    {
        platform::OwnedEvent owner(events, handle);
        platform::OwnedEvent moved = std::move(owner);
        EXPECT_FALSE(owner);
        EXPECT_EQ(moved.get(), handle);
        EXPECT_EQ(events.OpenHandles(), 1u);
    }
    EXPECT_EQ(events.Closed(), std::vector<platform::EventHandle>{handle});
    EXPECT_EQ(events.OpenHandles(), 0u);

    // Close reports the port's failure and leaves the owner empty; an empty owner closes nothing.
    platform::EventHandle second = *events.CreateManualReset(L"qvmtc_test");
    platform::OwnedEvent owner(events, second);
    ASSERT_TRUE(owner.Close().Ok());
    EXPECT_FALSE(owner);
    EXPECT_TRUE(owner.Close().Ok());
    EXPECT_EQ(events.Closed().size(), 2u);
    platform::OwnedEvent stale(events, second);  // already closed by its first owner
    const auto closed = stale.Close();
    EXPECT_FALSE(closed.Ok());
    EXPECT_EQ(closed.Status(), 6);  // ERROR_INVALID_HANDLE
}

}  // namespace
}  // namespace Qv::Tests
