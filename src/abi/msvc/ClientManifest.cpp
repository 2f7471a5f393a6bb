// The signed client manifest for Visual C++ programs: the module's own evaluators and check, the
// consumer's rule element laid out for the bridge.
#include "abi/msvc/Support.h"
#include "qv/ClientManifest.h"

namespace Qv::Bridge::Security {
namespace {

// The bridge's view of a rule element: records pointing into the consumer's node, kept for one
// call. Deeper than a manifest may be, nothing is laid out and the rule is false.
class NodeLayout {
public:
    bool Lay(const ManifestNode& node, QvbManifestNode& into, size_t depth = 1) {
        if (depth > 32) return false;
        into.name = Boundary::View(node.name);
        into.text = Boundary::View(node.text);
        std::vector<QvbText> names;
        std::vector<QvbText> values;
        for (const auto& attribute : node.attributes) {
            names.push_back(Boundary::View(attribute.first));
            values.push_back(Boundary::View(attribute.second));
        }
        std::vector<QvbManifestNode> children;
        children.resize(node.children.size(), QvbManifestNode{});
        for (size_t i = 0; i < node.children.size(); ++i)
            if (!Lay(node.children[i], children[i], depth + 1)) return false;
        // A list keeps its records where they are when it moves into the keeping lists.
        into.attributeNames = names.data();
        into.attributeValues = values.data();
        into.attributeCount = names.size();
        into.children = children.data();
        into.childCount = children.size();
        texts_.push_back(static_cast<std::vector<QvbText>&&>(names));
        texts_.push_back(static_cast<std::vector<QvbText>&&>(values));
        nodes_.push_back(static_cast<std::vector<QvbManifestNode>&&>(children));
        return true;
    }

private:
    // The lists laid out, kept for the call.
    std::vector<std::vector<QvbText>> texts_;
    std::vector<std::vector<QvbManifestNode>> nodes_;
};

void AddType(void* context, const wchar_t* text, size_t length) {
    Boundary::Sunk<std::vector<std::wstring>>(
        context, [&](std::vector<std::wstring>& types) { types.push_back(Boundary::Wide(text, length)); });
}

}  // namespace

std::vector<std::wstring> ManifestRules::RuleTypes() {
    std::vector<std::wstring> types;
    Boundary::Collect<std::vector<std::wstring>> collect{types};
    Boundary::Check(QvbManifestRuleTypes(&AddType, &collect), collect);
    return types;
}

bool ManifestRules::Evaluate(const std::wstring& ruleType, const ManifestNode& rule, const std::wstring& value) {
    NodeLayout layout;
    QvbManifestNode node{};
    if (!layout.Lay(rule, node)) return false;
    int result = 0;
    const int status =
        QvbEvaluateManifestRule(ruleType.c_str(), ruleType.size(), &node, value.c_str(), value.size(), &result);
    Boundary::Check(status);
    return status == kQvbDone && result != 0;
}

ClientManifest::ClientManifest(const std::wstring& client) : implementation_(nullptr) {
    Boundary::Collect<std::wstring> collect{problem_};
    Boundary::Check(QvbManifestLoad(client.c_str(), client.size(), &implementation_, &Boundary::TextSink, &collect),
                    collect);
    if (implementation_ == nullptr && problem_.empty()) problem_ = L"the manifest could not be loaded";
}

ClientManifest::~ClientManifest() { QvbManifestDelete(implementation_); }

bool ClientManifest::IsLoaded() const { return implementation_ != nullptr; }

const std::wstring& ClientManifest::Problem() const { return problem_; }

bool ClientManifest::IsAllowed(uint32_t command, const std::wstring& arguments, std::wstring* decidedBy) const {
    if (implementation_ == nullptr) {
        if (decidedBy != nullptr) *decidedBy = problem_;
        return false;
    }
    std::wstring decided;
    Boundary::Collect<std::wstring> collect{decided};
    int allowed = 0;
    const int status = QvbManifestAllows(implementation_, command, arguments.c_str(), arguments.size(), &allowed,
                                         &Boundary::TextSink, &collect);
    Boundary::Check(status, collect);
    if (decidedBy != nullptr) *decidedBy = static_cast<std::wstring&&>(decided);
    return status == kQvbDone && allowed != 0;
}

}  // namespace Qv::Bridge::Security
