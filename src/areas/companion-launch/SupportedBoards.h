#pragma once
// The board identifiers on which the companion application is started without the firmware's
// feature byte: generated at build time from config/boards (the test builds add theirs).
#include <span>

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const wchar_t* const> SupportedBoards();

}  // namespace Qv::Bridge::Server::Services::DeviceControl
