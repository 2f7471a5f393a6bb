#include "service/CommandTable.h"

#include <algorithm>

namespace Qv::Bridge::Server::Services::DeviceControl {

const char* FormName(CommandForm form) {
    switch (form) {
        case CommandForm::Inline: return "inline";
        case CommandForm::Delegated: return "delegated";
        case CommandForm::Filled: return "filled";
    }
    return "?";
}

void InlineResult::WriteTo(Json::Document& output) const {
    switch (kind_) {
        case Kind::Bool: output.AddMember(L"result", value_ != 0, output.GetAllocator()); break;
        case Kind::Int: output.AddMember(L"result", value_, output.GetAllocator()); break;
        case Kind::None: break;
    }
}

CommandTable::CommandTable(std::vector<CommandRow> rows) : rows_(std::move(rows)) {
    std::sort(rows_.begin(), rows_.end(), [](const CommandRow& a, const CommandRow& b) { return a.number < b.number; });
}

const CommandRow* CommandTable::Find(unsigned int number) const {
    auto it = std::lower_bound(rows_.begin(), rows_.end(), number,
                               [](const CommandRow& row, unsigned int n) { return row.number < n; });
    return (it != rows_.end() && it->number == number) ? &*it : nullptr;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
