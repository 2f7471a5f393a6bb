#pragma once
// The experience modes' model: a mode is a named list of settings to apply, each a command code
// with its value as text.
#include <cstdint>
#include <string>
#include <vector>

namespace Qv::Bridge::Server::Services::DeviceControl {

struct ExpCommand {
    uint32_t Type = 0;          // the command code (ExpModesHelper::Execute)
    std::wstring Parameter;     // the value, as text: a decimal integer or a power-mode keyword
    std::wstring ParameterKey;  // a label of the value, carried along and never interpreted
    int32_t Order = 0;          // commands run in ascending order
};

struct ExpMode {
    std::wstring ModeName;
    std::vector<ExpCommand> Commands;  // in the order they were added
};

enum ExpModesConfigType : int32_t { Modes = 0, RestoreState = 1 };

}  // namespace Qv::Bridge::Server::Services::DeviceControl
