#pragma once
// The numbered commands: one row per number, each naming its helper operation and its form.
#include <functional>
#include <string>
#include <vector>

#include "core/json.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

enum class CommandForm {
    Inline,     // the dispatcher writes "result" from a typed operation
    Delegated,  // the helper writes the answer; its status is returned
    Filled,     // the helper writes the answer; the status is 0 whatever it returned
};

const char* FormName(CommandForm form);

// Everything a handler may touch during one ExecuteCommand call.
struct CommandCall {
    Json::Document& input;
    Json::Document& output;
    const std::function<void(wchar_t*)>& callback;
    DeviceControlServiceContext* session;
};

using CommandHandler = int (*)(CommandCall& call);

struct CommandRow {
    unsigned int number;
    const char* name;  // "<Area>.<Operation>"
    CommandForm form;
    CommandHandler handler;  // null while the helper is not part of this build

    bool Live() const { return handler != nullptr; }
};

class CommandTable {
public:
    explicit CommandTable(std::vector<CommandRow> rows);

    // The row for `number`, or null when the number is not in the table.
    const CommandRow* Find(unsigned int number) const;
    const std::vector<CommandRow>& Rows() const { return rows_; }

    // The module's own table.
    static const CommandTable& Standard();

private:
    std::vector<CommandRow> rows_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
