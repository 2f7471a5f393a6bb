#pragma once
// The signed client manifest of the service family: the rule types and their evaluators, and the
// check of a client's QVManifest.xml (beside its executable or in its package folder, in a folder
// its user cannot write, signed by a trusted key) against a request.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qv/Boundary.h"

namespace Qv::Bridge::Security {

// An element of a manifest: its name, attributes, text (without the whitespace around it) and
// child elements.
struct ManifestNode {
    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    std::wstring text;
    std::vector<ManifestNode> children;
};

class QV_CLASS ManifestRules {
public:
    // "regex", "contained_in_list", "begins_with_from_list", "begins_with_from_list_with_env_vars",
    // "numeric_range", "none".
    static std::vector<std::wstring> RuleTypes();
    // The rule of that type (its parameters are the element's children) on the value; false for
    // a type without an evaluator, a malformed rule, or a node nested deeper than 32 levels.
    static bool Evaluate(const std::wstring& ruleType, const ManifestNode& rule, const std::wstring& value);
};

// One client's manifest, loaded and verified when made. Not copyable.
class QV_CLASS ClientManifest {
public:
    // `client`: the client's executable or library, its QVManifest.xml, or its package folder.
    explicit ClientManifest(const std::wstring& client);
    ClientManifest(const ClientManifest&) = delete;
    ClientManifest& operator=(const ClientManifest&) = delete;
    ~ClientManifest();

    // Whether a verified manifest was loaded; when not, Problem() says why.
    bool IsLoaded() const;
    const std::wstring& Problem() const;
    // Whether the manifest allows the command with these arguments (a JSON object); `decidedBy`,
    // when given, receives what decided it. False for everything when none was loaded.
    bool IsAllowed(uint32_t command, const std::wstring& arguments, std::wstring* decidedBy = nullptr) const;

private:
    void* implementation_;
    std::wstring problem_;
};

}  // namespace Qv::Bridge::Security
