// XML natively: expat, a small parser that reads nothing but the bytes it is given. A document
// type declaration stops the parse before any declaration in it is read; depth and element
// counts are ours to keep.
#define XML_DTD 1  // the library is built with it; its declarations of the limits depend on it
#include <expat.h>

#include "core/strings.h"
#include "manifest/IXmlReader.h"

namespace Qv::Manifest {
namespace {

class ExpatXmlReader final : public IXmlReader {
public:
    platform::Result<XmlNode> Parse(const std::string& document, const XmlLimits& limits) override {
        if (document.size() > limits.maxBytes) return platform::Failure{kTooLarge};
        State state(limits);
        XML_Parser parser = XML_ParserCreate("UTF-8");
        if (parser == nullptr) return platform::Failure{8};  // ERROR_NOT_ENOUGH_MEMORY
        state.parser = parser;
        XML_SetUserData(parser, &state);
        XML_SetElementHandler(parser, &Start, &End);
        XML_SetCharacterDataHandler(parser, &Text);
        XML_SetStartDoctypeDeclHandler(parser, &DocumentType);
        XML_SetEntityDeclHandler(parser, &Entity);
        XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_NEVER);
        const XML_Status status =
            XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
        const XML_Error error = XML_GetErrorCode(parser);
        XML_ParserFree(parser);
        if (state.refusal != 0) return platform::Failure{state.refusal};
        if (status != XML_STATUS_OK || state.stack.size() != 1 || !state.done)
            return platform::Failure{0x20000 + static_cast<int32_t>(error)};
        return std::move(state.root);
    }

private:
    struct State {
        explicit State(const XmlLimits& bounds) : limits(bounds) {}
        const XmlLimits& limits;
        XmlNode root;
        std::vector<XmlNode*> stack{&root};
        size_t elements = 0;
        bool done = false;
        int32_t refusal = 0;
        XML_Parser parser = nullptr;
    };

    static State& Of(void* data) { return *static_cast<State*>(data); }

    // Stops the parse where it is: nothing after the refused part is read.
    static void Refuse(State& state, int32_t why) {
        if (state.refusal == 0) state.refusal = why;
        XML_StopParser(state.parser, XML_FALSE);
    }

    static std::wstring Wide(const XML_Char* text, int length = -1) {
        return Core::Widen(length < 0 ? std::string(text) : std::string(text, static_cast<size_t>(length)));
    }

    static void XMLCALL Start(void* data, const XML_Char* name, const XML_Char** attributes) {
        State& state = Of(data);
        if (state.refusal != 0) return;
        if (state.stack.size() > state.limits.maxDepth || ++state.elements > state.limits.maxElements) {
            Refuse(state, kTooDeep);
            return;
        }
        XmlNode* into = nullptr;
        if (state.stack.size() == 1 && state.elements == 1) {
            into = &state.root;
        } else {
            XmlNode& parent = *state.stack.back();
            parent.children.emplace_back();
            into = &parent.children.back();
        }
        into->name = Wide(name);
        for (size_t i = 0; attributes[i] != nullptr; i += 2)
            into->attributes.emplace_back(Wide(attributes[i]), Wide(attributes[i + 1]));
        state.stack.push_back(into);
    }

    static void XMLCALL End(void* data, const XML_Char*) {
        State& state = Of(data);
        if (state.refusal != 0 || state.stack.size() < 2) return;
        XmlNode& node = *state.stack.back();
        node.text = TrimmedText(node.text);
        state.stack.pop_back();
        if (state.stack.size() == 1) state.done = true;
    }

    static void XMLCALL Text(void* data, const XML_Char* text, int length) {
        State& state = Of(data);
        if (state.refusal != 0 || state.stack.size() < 2) return;
        state.stack.back()->text += Wide(text, length);
    }

    static void XMLCALL DocumentType(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
        Refuse(Of(data), kDocumentType);
    }

    static void XMLCALL Entity(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                               const XML_Char*, const XML_Char*, const XML_Char*) {
        Refuse(Of(data), kDocumentType);
    }
};

}  // namespace

std::shared_ptr<IXmlReader> IXmlReader::Make(platform::Platform&) { return std::make_shared<ExpatXmlReader>(); }

}  // namespace Qv::Manifest
