#pragma once
// The display vendor's colour presets by number, as its display modes carry them. Numbers 16 to
// 19 are not used; some names occur under two numbers (the vendor renumbered its presets).
#include <array>
#include <cstddef>

namespace Qv::Bridge::Server::Services::DeviceControl {

inline constexpr std::array<const wchar_t*, 36> kColourPresets = {
    L"Standard",                         // 0
    L"Gaming",                           // 1
    L"Photo",                            // 2
    L"Custom",                           // 3
    L"Low Blue Light",                   // 4
    L"Reading",                          // 5
    L"Night",                            // 6
    L"Movie",                            // 7
    L"Warm",                             // 8
    L"Cool",                             // 9
    L"QV Enhance Plus",                  // 10
    L"Native",                           // 11
    L"Vivid",                            // 12
    L"sRGB D65",                         // 13
    L"P3 D65",                           // 14
    L"BT709 D65",                        // 15
    nullptr,                             // 16
    nullptr,                             // 17
    nullptr,                             // 18
    nullptr,                             // 19
    L"Native",                           // 20
    L"Default",                          // 21
    L"Low Blue Light",                   // 22
    L"Web (sRGB)",                       // 23
    L"Photos and Videos (DCI P3)",       // 24
    L"Printing and Imaging (Adobe RGB)", // 25
    L"Photos and Videos",                // 26
    L"sRGB D65",                         // 27
    L"sRGB D50",                         // 28
    L"P3 D65",                           // 29
    L"BT709 D65",                        // 30
    L"Adobe RGB D65",                    // 31
    L"Work",                             // 32
    L"Low Light",                        // 33
    L"Entertainment",                    // 34
    L"Photos and Videos (P3 D65)",       // 35
};

// The preset's name, or null for a number that names none.
inline const wchar_t* ColourPresetName(int number) {
    if (number < 0 || number >= static_cast<int>(kColourPresets.size())) return nullptr;
    return kColourPresets[static_cast<size_t>(number)];
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
