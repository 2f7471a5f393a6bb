#include "manifest/ManifestRules.h"

#include <cstdint>
#include <optional>
#include <string>

#include "core/logging.h"
#include "core/strings.h"
#include "manifest/Pattern.h"
#include "security/ExemptionRules.h"
#include "shared/user/UserSession.h"

namespace Qv::Manifest {
namespace {

using Bridge::Logging::LogManager;

bool Refused(const wchar_t* rule, const wchar_t* why, std::wstring_view detail = {}) {
    LogManager::GetLogger()->LogWarning(L"ManifestRules - %s refused the value: %s%s%s", rule, why,
                                        detail.empty() ? L"" : L" ", std::wstring(detail).c_str());
    return false;
}

std::vector<std::wstring> Items(const XmlNode& rule) {
    std::vector<std::wstring> items;
    for (const XmlNode* item : rule.Children(L"Item")) items.push_back(item->text);
    return items;
}

// The one child of that name, or null when there is none or more than one.
const XmlNode* Only(const XmlNode& rule, std::wstring_view name) {
    const auto found = rule.Children(name);
    return found.size() == 1 ? found.front() : nullptr;
}

// Lower case and forward slashes as backslashes, as Windows compares paths.
std::wstring FoldedPath(std::wstring_view text) {
    std::wstring folded = Core::Lower(std::wstring(text));
    for (wchar_t& c : folded)
        if (c == L'/') c = L'\\';
    return folded;
}

bool BeginsWithOne(std::wstring_view value, const std::vector<std::wstring>& items) {
    const std::wstring folded = FoldedPath(value);
    for (const std::wstring& item : items) {
        const std::wstring prefix = FoldedPath(item);
        if (!prefix.empty() && folded.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

// A whole number: an optional sign, then decimal digits (leading zeros allowed), within 64 bits.
std::optional<int64_t> WholeNumber(std::wstring_view text) {
    size_t i = 0;
    bool negative = false;
    if (!text.empty() && (text[0] == L'+' || text[0] == L'-')) {
        negative = text[0] == L'-';
        i = 1;
    }
    if (i == text.size()) return std::nullopt;
    const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
    uint64_t magnitude = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') return std::nullopt;
        const uint64_t digit = static_cast<uint64_t>(text[i] - L'0');
        if (magnitude > (limit - digit) / 10) return std::nullopt;
        magnitude = magnitude * 10 + digit;
    }
    if (!negative) return static_cast<int64_t>(magnitude);
    return magnitude == uint64_t{1} << 63 ? INT64_MIN : -static_cast<int64_t>(magnitude);
}

const Pattern& Compiled(std::wstring_view text) {
    // The two patterns are the module's own: compiled once, and known to compile.
    static const Pattern absolute = *Pattern::Compile(Bridge::Security::kAbsoluteLocationPattern);
    static const Pattern parent = *Pattern::Compile(Bridge::Security::kParentFolderPattern);
    return text == Bridge::Security::kAbsoluteLocationPattern ? absolute : parent;
}

bool IsAbsoluteLocation(std::wstring_view value) {
    return Compiled(Bridge::Security::kAbsoluteLocationPattern).Finds(value);
}

bool HasParentStep(std::wstring_view value) { return Compiled(Bridge::Security::kParentFolderPattern).Finds(value); }

bool Regex(const XmlNode& rule, std::wstring_view value) {
    const XmlNode* pattern = Only(rule, L"Pattern");
    if (pattern == nullptr) return Refused(L"regex", L"the rule has no single <Pattern>");
    if (value.size() > kMaxPatternValue) return Refused(L"regex", L"a value longer than 4096 characters");
    std::wstring error;
    const auto compiled = Pattern::Compile(pattern->text, &error);
    if (!compiled) return Refused(L"regex", L"a malformed pattern:", error);
    return compiled->Matches(value);
}

bool ContainedInList(const XmlNode& rule, std::wstring_view value) {
    for (const std::wstring& item : Items(rule))
        if (item == value) return true;
    return false;
}

bool BeginsWithFromList(const XmlNode& rule, std::wstring_view value) { return BeginsWithOne(value, Items(rule)); }

bool BeginsWithFromListWithEnvVars(const XmlNode& rule, std::wstring_view value) {
    constexpr const wchar_t* kRule = L"begins_with_from_list_with_env_vars";
    if (!IsAbsoluteLocation(value)) return Refused(kRule, L"not an absolute location:", value);
    if (HasParentStep(value)) return Refused(kRule, L"a \"..\" step:", value);
    // The signed-in user's environment: the value and the items name places as the client sees them.
    platform::Platform& platform = platform::Current();
    const auto token = Bridge::Server::Services::DeviceControl::UserSession(platform).UserToken();
    if (!token) return Refused(kRule, L"no signed-in user to expand it for");
    const auto expand = [&](const std::wstring& text) {
        return platform.User().ExpandForUser(token->get(), text).ValueOr(L"");
    };
    // Expanded, the value must still be an absolute location without a ".." step: a variable of
    // the user's own may hold either.
    const std::wstring expanded = expand(std::wstring(value));
    if (expanded.empty()) return Refused(kRule, L"it cannot be expanded for the signed-in user:", value);
    if (!IsAbsoluteLocation(expanded) || HasParentStep(expanded))
        return Refused(kRule, L"expanded for the user it is no plain absolute location:", expanded);
    std::vector<std::wstring> items;
    for (const std::wstring& item : Items(rule)) {
        const std::wstring full = expand(item);
        if (!full.empty() && IsAbsoluteLocation(full)) items.push_back(full);
    }
    return BeginsWithOne(expanded, items);
}

bool NumericRange(const XmlNode& rule, std::wstring_view value) {
    const XmlNode* min = Only(rule, L"Min");
    const XmlNode* max = Only(rule, L"Max");
    if (min == nullptr || max == nullptr) return Refused(L"numeric_range", L"the rule needs one <Min> and one <Max>");
    const auto low = WholeNumber(min->text);
    const auto high = WholeNumber(max->text);
    if (!low || !high) return Refused(L"numeric_range", L"a bound that is not a whole number");
    const auto number = WholeNumber(value);
    if (!number) return Refused(L"numeric_range", L"not a whole number of 64 bits:", value);
    return *number >= *low && *number <= *high;
}

bool None(const XmlNode&, std::wstring_view) { return true; }

}  // namespace

const std::array<RuleType, 6>& RuleTypes() {
    using Bridge::Security::kManifestRuleTypes;
    static_assert(kManifestRuleTypes.size() == 6, "one evaluator per rule type");
    static const std::array<RuleType, 6> types = {{
        {kManifestRuleTypes[0], &Regex},
        {kManifestRuleTypes[1], &ContainedInList},
        {kManifestRuleTypes[2], &BeginsWithFromList},
        {kManifestRuleTypes[3], &BeginsWithFromListWithEnvVars},
        {kManifestRuleTypes[4], &NumericRange},
        {kManifestRuleTypes[5], &None},
    }};
    return types;
}

bool EvaluateRule(std::wstring_view type, const XmlNode& rule, std::wstring_view value) {
    for (const RuleType& known : RuleTypes())
        if (known.name == type) return known.evaluate(rule, value);
    LogManager::GetLogger()->LogWarning(L"ManifestRules - no evaluator for the rule type \"%s\"",
                                        std::wstring(type).c_str());
    return false;
}

}  // namespace Qv::Manifest
