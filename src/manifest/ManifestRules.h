#pragma once
// The tests a rule of the signed client manifest names by its type, each an evaluator of the rule's
// element (its parameters are the element's children) and the value a request gives:
//
//   regex                                the value matches the <Pattern> whole
//   contained_in_list                    the value equals one <Item> exactly
//   begins_with_from_list                the value begins with one <Item>, case and slashes folded
//   begins_with_from_list_with_env_vars  the same after both are expanded for the signed-in user; the
//                                        value must be an absolute location and hold no ".." step
//   numeric_range                        the value is a whole number from <Min> to <Max>
//   none                                 any value
//
// A rule that cannot be evaluated (an unknown type, a malformed pattern, a missing bound, a value
// too long) is false and logged: a manifest grants only what it states plainly.
#include <array>
#include <string_view>

#include "manifest/XmlNode.h"
#include "platform/platform.h"

namespace Qv::Manifest {

using Evaluator = bool (*)(const XmlNode& rule, std::wstring_view value);

struct RuleType {
    std::wstring_view name;
    Evaluator evaluate;
};

// The types and their evaluators. The environment variables of begins_with_from_list_with_env_vars
// are expanded on the installed platform.
const std::array<RuleType, 6>& RuleTypes();

// The rule of type `type` on `value`; false, logged, for a type no evaluator has.
bool EvaluateRule(std::wstring_view type, const XmlNode& rule, std::wstring_view value);

// Longest value a pattern is matched against.
inline constexpr size_t kMaxPatternValue = 4096;

}  // namespace Qv::Manifest
