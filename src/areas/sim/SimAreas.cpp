#include "areas/sim/SimAreas.h"

#include <vector>

#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

#define QV_AREA(name, tool) QV_SIM_AREA_##tool(name)
#define QV_SIM_AREA_TOOL(name) SimArea name##SimArea();
#define QV_SIM_AREA_NO_TOOL(name)
#define QV_SIM_AREA_SIM(name) QV_SIM_AREA_TOOL(name)
#include "areas/AreaList.h"
#undef QV_SIM_AREA_TOOL
#define QV_SIM_AREA_TOOL(name) name##SimArea(),

namespace {

const std::vector<SimArea>& Areas() {
    static const std::vector<SimArea> areas{
#include "areas/AreaList.h"
    };
    return areas;
}
#undef QV_SIM_AREA_TOOL
#undef QV_SIM_AREA_NO_TOOL
#undef QV_SIM_AREA_SIM
#undef QV_AREA

const std::vector<std::span<const Tool::ToolArea<SimWorld>>>& ToolAreas() {
    static const auto lists = [] {
        std::vector<std::span<const Tool::ToolArea<SimWorld>>> all;
        for (const SimArea& area : Areas()) all.push_back(area.toolAreas);
        return all;
    }();
    return lists;
}

std::string Line(const std::wstring& text) {
    std::string line(text.begin(), text.end());  // the tool's lines are ASCII
    return line + "\r\n";
}

std::wstring FileName(const std::wstring& program) {
    std::wstring name = Lower(program.substr(program.find_last_of(L"\\/") + 1));
    if (name.find(L'.') == std::wstring::npos) name += L".exe";
    return name;
}

}  // namespace

const SimProgram* FindSimProgram(const std::wstring& program) {
    const std::wstring name = FileName(program);
    for (const SimArea& area : Areas())
        for (const SimProgram& candidate : area.programs)
            if (name == candidate.fileName) return &candidate;
    return nullptr;
}

std::optional<SimRun> RunSimProgram(SimWorld& world, const std::wstring& program,
                                    const std::vector<std::wstring>& args) {
    const std::wstring name = FileName(program);
    std::optional<SimRun> run;
    for (const SimArea& area : Areas())
        for (const SimProgram& candidate : area.programs) {
            if (name != candidate.fileName) continue;
            run = candidate.run(world, args);
            if (!run->declined) return run;
        }
    return run;
}

bool ArrangeSimArea(SimWorld& world, const std::wstring& word, const std::wstring& key, const std::wstring& value) {
    for (const SimArea& area : Areas())
        for (const auto& toolArea : area.toolAreas)
            if (word == toolArea.word) return area.arrange != nullptr && area.arrange(world, key, value);
    return false;
}

std::string RunSimTool(SimWorld& world, const std::vector<std::wstring>& args) {
    SimTool& tool = world.tool;
    const Tool::ToolArea<SimWorld>* area =
        args.size() == 4 ? Tool::FindToolArea<SimWorld>(ToolAreas(), args[1], args[2]) : nullptr;
    if (area == nullptr) {
        std::wstring request;
        for (size_t i = 1; i < args.size(); ++i) request += (i > 1 ? L" " : L"") + args[i];
        tool.refused.Add(request);
        return Line(Tool::kFailure);
    }
    auto scripted = tool.replies.find(args[2]);
    if (scripted != tool.replies.end()) return scripted->second;
    return Line(area->serve(world, args[2], args[3]));
}

}  // namespace Qv::Sim
