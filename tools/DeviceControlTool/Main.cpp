// DeviceControlTool.exe <area> <function> "<argument>"
// Runs in the signed-in user's session on behalf of DeviceControlService and prints exactly one
// line: the value asked for, a non-zero number for a change that took, or -1 for any failure
// (an unknown area or function included). The areas come from the area list; each area's
// handlers live in its own tool/ folder.
#include <cstdio>
#include <span>
#include <string>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool {

#define QV_AREA(name, tool) QV_TOOL_##tool(name)
#define QV_TOOL_TOOL(name) std::span<const ToolArea<Process>> name##ToolAreas();
#define QV_TOOL_NO_TOOL(name)
#define QV_TOOL_SIM(name)
#include "areas/AreaList.h"
#undef QV_TOOL_TOOL
#define QV_TOOL_TOOL(name) name##ToolAreas(),

namespace {
const std::span<const ToolArea<Process>> kAreas[] = {
#include "areas/AreaList.h"
};
}  // namespace

#undef QV_TOOL_TOOL
#undef QV_TOOL_NO_TOOL
#undef QV_TOOL_SIM
#undef QV_AREA

}  // namespace Qv::Tool

int wmain(int argc, wchar_t** argv) {
    using namespace Qv::Tool;
    std::wstring answer = kFailure;
    if (argc == 4) {
        Process process;
        if (const ToolArea<Process>* area = FindToolArea<Process>(kAreas, argv[1], argv[2]))
            answer = area->serve(process, argv[2], argv[3]);
    }
    std::printf("%ls\n", answer.c_str());
    return answer == kFailure ? 1 : 0;
}
