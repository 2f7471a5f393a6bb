// The tool's display areas against fakes of the displays: what each function answers, and that a
// switch is confirmed by reading the state back.
#include <gtest/gtest.h>

#include "areas/display/DisplayProtocol.h"

namespace Qv::Tests {
namespace {

namespace Display = Tool::Display;

// Displays whose state changes only as far as `sticks` allows (a driver that accepts a switch
// and then does not show it).
struct FakeColor final : Display::IAdvancedColor {
    std::optional<bool> supported = true;
    bool on = false;
    bool sticks = true;
    bool accepts = true;
    int switches = 0;
    std::optional<bool> Supported() override { return supported; }
    std::optional<bool> Enabled() override {
        if (!supported) return std::nullopt;
        return *supported && on;
    }
    bool Enable(bool value) override {
        ++switches;
        if (!accepts) return false;
        if (sticks) on = value;
        return true;
    }
};

struct FakeModes final : Display::IDisplayModes {
    bool present = true;
    int mode = 3;
    std::vector<int> supported{3, 7};
    bool Present() override { return present; }
    std::optional<int> Mode() override { return mode; }
    bool SetMode(int value) override {
        if (std::find(supported.begin(), supported.end(), value) == supported.end()) return false;
        mode = value;
        return true;
    }
    std::vector<int> SupportedModes() override { return supported; }
};

TEST(DisplayProtocolTest, HdrAnswersOneZeroOrMinusOne) {
    FakeColor displays;
    EXPECT_EQ(Display::ServeHdr(displays, L"IsHDRSupported", L""), L"1");
    EXPECT_EQ(Display::ServeHdr(displays, L"GetHDROnOff", L""), L"0");
    EXPECT_EQ(Display::ServeHdr(displays, L"SetHDROnOff", L"1"), L"1");
    EXPECT_TRUE(displays.on);
    // Accepted but not shown: not confirmed.
    displays.sticks = false;
    EXPECT_EQ(Display::ServeHdr(displays, L"SetHDROnOff", L"0"), L"0");
    displays.accepts = false;
    EXPECT_EQ(Display::ServeHdr(displays, L"SetHDROnOff", L"0"), L"-1");
    const int before = displays.switches;
    for (const wchar_t* bad : {L"2", L"", L"on", L"-1"}) EXPECT_EQ(Display::ServeHdr(displays, L"SetHDROnOff", bad), L"-1");
    EXPECT_EQ(displays.switches, before);
    displays.supported = false;
    EXPECT_EQ(Display::ServeHdr(displays, L"IsHDRSupported", L""), L"0");
    EXPECT_EQ(Display::ServeHdr(displays, L"SetHDROnOff", L"1"), L"-1");
    displays.supported.reset();
    EXPECT_EQ(Display::ServeHdr(displays, L"IsHDRSupported", L""), L"-1");
    EXPECT_EQ(Display::ServeHdr(displays, L"GetHDROnOff", L""), L"-1");
}

TEST(DisplayProtocolTest, DisplayModesNeedTheVendorsSoftware) {
    FakeModes modes;
    EXPECT_EQ(Display::ServePortrait(modes, L"IsPortraitSupported", L""), L"1");
    EXPECT_EQ(Display::ServePortrait(modes, L"GetDisplayMode", L""), L"3");
    EXPECT_EQ(Display::ServePortrait(modes, L"SetDisplayMode", L"7"), L"7");
    EXPECT_EQ(Display::ServePortrait(modes, L"SetDisplayMode", L"9"), L"-1");
    EXPECT_EQ(Display::ServePortrait(modes, L"SetDisplayMode", L"x"), L"-1");
    EXPECT_EQ(Display::ServePortrait(modes, L"GetSupportedDisplayModes", L""), L"3 7");
    modes.supported.clear();
    EXPECT_EQ(Display::ServePortrait(modes, L"GetSupportedDisplayModes", L""), L"-1");
    modes.present = false;
    EXPECT_EQ(Display::ServePortrait(modes, L"IsPortraitSupported", L""), L"0");
    for (const wchar_t* function : {L"GetDisplayMode", L"SetDisplayMode", L"GetSupportedDisplayModes"})
        EXPECT_EQ(Display::ServePortrait(modes, function, L"7"), L"-1") << function;
    EXPECT_EQ(modes.mode, 7);
}

// A preset is the colour profile named after it: the numbers a panel's profiles offer, the one
// its default profile is (the number last set breaks a tie of two numbers with one name), and the
// profile to make the default for a number.
TEST(DisplayProtocolTest, PresetsAreTheProfilesNamedAfterThem) {
    const std::vector<std::wstring> profiles{L"C:\\Windows\\System32\\spool\\drivers\\color\\Standard.icm",
                                             L"MOVIE.ICC", L"sRGB D65.icm", L"Web (sRGB).icm", L"Panel calibration.icm",
                                             L"Native"};
    EXPECT_EQ(Display::PresetsOffered(profiles), (std::vector<int>{0, 7, 11, 13, 20, 23, 27}));
    EXPECT_EQ(Display::PresetsOffered({}), std::vector<int>{});

    EXPECT_EQ(Display::PresetOf(L"Movie.icm", std::nullopt), 7);
    EXPECT_EQ(Display::PresetOf(L"sRGB D65.icm", std::nullopt), 13);
    EXPECT_EQ(Display::PresetOf(L"sRGB D65.icm", 27), 27);
    EXPECT_EQ(Display::PresetOf(L"sRGB D65.icm", 7), 13) << "a number last set for another profile does not count";
    EXPECT_EQ(Display::PresetOf(L"Panel calibration.icm", 0), std::nullopt);
    EXPECT_EQ(Display::PresetOf(L"", 0), std::nullopt);

    EXPECT_EQ(Display::ProfileOf(27, profiles), L"sRGB D65.icm");
    EXPECT_EQ(Display::ProfileOf(7, profiles), L"MOVIE.ICC");
    EXPECT_EQ(Display::ProfileOf(1, profiles), L"");
    for (int unused : {16, 17, 18, 19, 36, -1}) EXPECT_EQ(Display::ProfileOf(unused, {L".icm", L"(null).icm"}), L"") << unused;
}

}  // namespace
}  // namespace Qv::Tests
