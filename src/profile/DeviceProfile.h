#pragma once
// Device profiles: a simulated laptop described by a JSON file (profiles/profile.schema.json),
// so that the module's interface can be run over a machine nobody has at hand. A profile is
// checked against the schema first and refused whole, with the member's path, when it breaks
// it; then each section arranges its part of the simulated device. A section left out keeps the
// full-featured laptop's values; a section given as null removes the thing it describes.
#include <string>

#include "platform/sim/SimDevice.h"

namespace Qv::Profile {

// The schema every profile is checked against (the text of profiles/profile.schema.json).
const char* SchemaText();
// The full-featured laptop's profile (the text of profiles/full-featured-laptop.json).
const char* FullFeaturedLaptopText();

// The full-featured laptop that every profile starts from: the device control tool and the
// display-control library beside the module (signed with the first key this build trusts), the
// companion app installed for the signed-in user, and profiles/full-featured-laptop.json applied,
// so that a laptop without a profile and one with that profile are the same laptop.
void PrepareLaptop(Sim::SimDevice& device);

// Arranges `device` (prepared) after a profile's UTF-8 text. Empty on success; otherwise why the
// profile was refused ("/display/library/contrast: 120 is above the maximum 100"), with the device
// left as it was.
std::string ApplyProfile(const std::string& text, Sim::SimDevice& device);

// The same for a file; a file that cannot be read is refused with its path.
std::string ApplyProfileFile(const std::string& path, Sim::SimDevice& device);

}  // namespace Qv::Profile
