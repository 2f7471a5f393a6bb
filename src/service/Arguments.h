#pragma once
// The arguments of the setters, as every area reads them: "IValue" (an integer), "BValue" (on or
// off), "SValue" (a text). A missing or null member fails the argument check (0x20000006).
#include <string>

#include "core/json.h"

namespace Qv::Bridge::Server::Services::DeviceControl::Arguments {

// "IValue" as a JSON integer that fits in 32 bits; anything else fails, rather than reading a
// meaningless integer out of another type.
inline bool ReadInteger(Json::Document* request, int& value) {
    const Json::Value* member = request != nullptr ? Json::FindMember(*request, L"IValue") : nullptr;
    if (member == nullptr || !member->IsInt()) return false;
    value = member->GetInt();
    return true;
}

// "BValue": present and not null; it counts as on only when it is the JSON literal true.
inline bool ReadSwitch(Json::Document* request, bool& on) {
    const Json::Value* member = request != nullptr ? Json::FindMember(*request, L"BValue") : nullptr;
    if (member == nullptr || member->IsNull()) return false;
    on = member->IsTrue();
    return true;
}

// "SValue" as a JSON string.
inline bool ReadText(Json::Document* request, std::wstring& text) {
    const Json::Value* member = request != nullptr ? Json::FindMember(*request, L"SValue") : nullptr;
    if (member == nullptr || !member->IsString()) return false;
    text.assign(member->GetString(), member->GetStringLength());
    return true;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl::Arguments
