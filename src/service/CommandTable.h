#pragma once
// The numbered commands: one row per number, each naming its helper operation and its form.
// Each area declares its rows beside its helper (<Area>Commands.cpp); the standard table is
// their union (areas/Areas.cpp).
#include <functional>
#include <span>
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

// The client's event callback of one ExecuteCommand call. Only a subscription uses it, so it is
// made into a std::function only when a handler asks for it.
class CallbackSource {
public:
    virtual const std::function<void(wchar_t*)>& Callback() = 0;

protected:
    ~CallbackSource() = default;
};

// A callback that already is a std::function.
class FunctionCallback : public CallbackSource {
public:
    explicit FunctionCallback(std::function<void(wchar_t*)> callback) : callback_(std::move(callback)) {}
    const std::function<void(wchar_t*)>& Callback() override { return callback_; }

private:
    std::function<void(wchar_t*)> callback_;
};

// Everything a handler may touch during one ExecuteCommand call.
struct CommandCall {
    Json::Document& input;
    Json::Document& output;
    CallbackSource& callbacks;
    DeviceControlServiceContext* session;

    const std::function<void(wchar_t*)>& Callback() { return callbacks.Callback(); }
};

// What an inline row's typed operation gave: a boolean or integer "result", or a failure
// status with no "result" (an argument check, a value that could not be read).
class InlineResult {
public:
    InlineResult(bool value) : kind_(Kind::Bool), value_(value ? 1 : 0) {}
    InlineResult(int value) : kind_(Kind::Int), value_(value) {}
    static InlineResult Failed(int status) { return InlineResult(Kind::None, 0, status); }

    int Status() const { return status_; }
    // Adds "result" to the answer when there is one.
    void WriteTo(Json::Document& output) const;

private:
    enum class Kind { None, Bool, Int };
    InlineResult(Kind kind, int value, int status) : kind_(kind), value_(value), status_(status) {}

    Kind kind_;
    int value_;
    int status_ = 0;
};

using CommandHandler = int (*)(CommandCall& call);
using InlineHandler = InlineResult (*)(CommandCall& call);

struct CommandRow {
    unsigned int number;
    const char* name;  // "<Area>.<Operation>"
    CommandForm form;
    CommandHandler handler = nullptr;       // delegated and filled rows
    InlineHandler inlineHandler = nullptr;  // inline rows

    static constexpr CommandRow Inline(unsigned int n, const char* name, InlineHandler h) {
        return {n, name, CommandForm::Inline, nullptr, h};
    }
    static constexpr CommandRow Delegated(unsigned int n, const char* name, CommandHandler h) {
        return {n, name, CommandForm::Delegated, h, nullptr};
    }
    static constexpr CommandRow Filled(unsigned int n, const char* name, CommandHandler h) {
        return {n, name, CommandForm::Filled, h, nullptr};
    }
    // A row whose helper is not part of this build: it answers "unsupported function number".
    static constexpr CommandRow NotBuilt(unsigned int n, const char* name, CommandForm form) {
        return {n, name, form, nullptr, nullptr};
    }

    bool Live() const { return handler != nullptr || inlineHandler != nullptr; }
};

class CommandTable {
public:
    explicit CommandTable(std::vector<CommandRow> rows);

    // The row for `number`, or null when the number is not in the table.
    const CommandRow* Find(unsigned int number) const;
    const std::vector<CommandRow>& Rows() const { return rows_; }

    // The module's own table: every area's rows.
    static const CommandTable& Standard();

private:
    std::vector<CommandRow> rows_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
