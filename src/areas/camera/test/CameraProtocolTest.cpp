// The camera tool's answers against a strict camera that records what it was asked: nothing is
// read or set without a camera or for a control the driver does not offer, and a set must hold.
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "areas/camera/CameraProtocol.h"

namespace Qv::Tests {
namespace {

namespace Words = Tool::Camera;
using Words::Control;

class Camera final : public Words::ICamera {
public:
    bool Present() override { return present; }
    bool Supports(Control control) override { return values.count(control) != 0; }
    std::optional<int> Get(Control control) override {
        ++reads;
        EXPECT_TRUE(present && Supports(control)) << "read without a camera or the control";
        return values.at(control);
    }
    bool Set(Control control, int value) override {
        sets.push_back(value);
        EXPECT_TRUE(present && Supports(control)) << "set without a camera or the control";
        if (!holds) return true;
        values[control] = value;
        return value >= 0;
    }

    bool present = true;
    bool holds = true;
    std::map<Control, int> values{{Control::Zoom, 100}, {Control::Blur, 0}};
    int reads = 0;
    std::vector<int> sets;
};

TEST(CameraProtocolTest, UnofferedControlsAreNeitherReadNorSet) {
    Camera camera;
    EXPECT_EQ(Words::Serve(camera, Words::kIsCameraSupported, L""), L"1");
    EXPECT_EQ(Words::Serve(camera, Words::kIsZoomSupported, L""), L"1");
    EXPECT_EQ(Words::Serve(camera, Words::kIsAutoFrameSupported, L""), L"0");
    EXPECT_EQ(Words::Serve(camera, Words::kGetBrightness, L""), L"-1");
    EXPECT_EQ(Words::Serve(camera, Words::kSetBrightness, L"5"), L"-1");
    EXPECT_EQ(Words::Serve(camera, Words::kGetAutoFrameOnOff, L""), L"-1");
    EXPECT_EQ(camera.reads, 0);
    EXPECT_TRUE(camera.sets.empty());

    camera.present = false;
    EXPECT_EQ(Words::Serve(camera, Words::kIsCameraSupported, L""), L"0");
    EXPECT_EQ(Words::Serve(camera, Words::kIsZoomSupported, L""), L"0");
    EXPECT_EQ(Words::Serve(camera, Words::kGetZoom, L""), L"-1");
    EXPECT_EQ(Words::Serve(camera, Words::kSetZoom, L"150"), L"-1");
    EXPECT_EQ(camera.reads, 0);
    EXPECT_TRUE(camera.sets.empty());
}

TEST(CameraProtocolTest, ValuesAndSwitchesAreSetAndReadBack) {
    Camera camera;
    EXPECT_EQ(Words::Serve(camera, Words::kGetZoom, L""), L"100");
    EXPECT_EQ(Words::Serve(camera, Words::kSetZoom, L"250"), L"1");
    EXPECT_EQ(Words::Serve(camera, Words::kGetZoom, L""), L"250");
    EXPECT_EQ(Words::Serve(camera, Words::kSetZoom, L"-3"), L"-1");  // the driver refuses it
    EXPECT_EQ(Words::Serve(camera, Words::kSetBlurOnOff, L"1"), L"1");
    EXPECT_EQ(Words::Serve(camera, Words::kGetBlurOnOff, L""), L"1");
    EXPECT_EQ(camera.sets, (std::vector<int>{250, -3, 1}));

    // Words that are not a value or a switch never reach the camera.
    for (const auto& [function, argument] : std::vector<std::pair<const wchar_t*, const wchar_t*>>{
             {Words::kSetZoom, L"abc"}, {Words::kSetZoom, L"99999999999"}, {Words::kSetZoom, L""},
             {Words::kSetBlurOnOff, L"2"}, {Words::kSetBlurOnOff, L"on"}})
        EXPECT_EQ(Words::Serve(camera, function, argument), L"-1") << argument;
    EXPECT_EQ(camera.sets.size(), 3u);

    // A set the camera takes without holding answers -1: the tool reads it back.
    camera.holds = false;
    EXPECT_EQ(Words::Serve(camera, Words::kSetZoom, L"300"), L"-1");
    EXPECT_EQ(Words::Serve(camera, Words::kSetBlurOnOff, L"0"), L"-1");
    EXPECT_EQ(Words::Serve(camera, L"SetCameraOnOff", L"1"), L"-1");
}

}  // namespace
}  // namespace Qv::Tests
