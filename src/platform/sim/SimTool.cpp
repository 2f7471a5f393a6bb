#include "platform/sim/SimTool.h"

#include <span>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Sim {

#define QV_AREA(name, tool) QV_SIM_TOOL_##tool(name)
#define QV_SIM_TOOL_TOOL(name) std::span<const Tool::ToolArea<SimTool>> name##SimToolAreas();
#define QV_SIM_TOOL_NO_TOOL(name)
#include "areas/AreaList.h"
#undef QV_SIM_TOOL_TOOL
#define QV_SIM_TOOL_TOOL(name) name##SimToolAreas(),

namespace {

const std::span<const Tool::ToolArea<SimTool>> kAreas[] = {
#include "areas/AreaList.h"
};
#undef QV_SIM_TOOL_TOOL
#undef QV_SIM_TOOL_NO_TOOL
#undef QV_AREA

std::string Line(const std::wstring& text) {
    std::string line(text.begin(), text.end());  // the tool's lines are ASCII
    return line + "\r\n";
}

}  // namespace

std::string RunSimTool(SimTool& tool, const std::vector<std::wstring>& args) {
    const Tool::ToolArea<SimTool>* area =
        args.size() == 4 ? Tool::FindToolArea<SimTool>(kAreas, args[1], args[2]) : nullptr;
    if (area == nullptr) {
        std::wstring request;
        for (size_t i = 1; i < args.size(); ++i) request += (i > 1 ? L" " : L"") + args[i];
        tool.refused.Add(request);
        return Line(Tool::kFailure);
    }
    auto scripted = tool.replies.find(args[2]);
    if (scripted != tool.replies.end()) return scripted->second;
    return Line(area->serve(tool, args[2], args[3]));
}

}  // namespace Qv::Sim
