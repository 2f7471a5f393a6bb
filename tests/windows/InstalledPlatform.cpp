// The linked Windows tests use the module's classes from its objects, not from the DLL: the
// Windows ports are installed for them as the DLL's entry point installs them.
#include <gtest/gtest.h>

#include <memory>

#include "platform/platform.h"
#include "platform/windows/WinPlatform.h"

namespace {

class InstalledPlatform : public ::testing::Environment {
public:
    void SetUp() override { Qv::platform::Install(std::make_shared<Qv::platform::windows::WinPlatform>()); }
};

const auto* const kInstalled = ::testing::AddGlobalTestEnvironment(new InstalledPlatform);

}  // namespace
