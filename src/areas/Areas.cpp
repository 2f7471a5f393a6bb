// The module's areas, from the area list, and its command table: the union of their rows.
#include <vector>

#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

#define QV_AREA(name, tool) Area name##Area();
#include "areas/AreaList.h"
#undef QV_AREA

std::span<const Area> Areas() {
    static const Area areas[] = {
#define QV_AREA(name, tool) name##Area(),
#include "areas/AreaList.h"
#undef QV_AREA
    };
    return areas;
}

const CommandTable& CommandTable::Standard() {
    static const CommandTable table([] {
        std::vector<CommandRow> rows;
        for (const Area& area : Areas()) rows.insert(rows.end(), area.rows.begin(), area.rows.end());
        return rows;
    }());
    return table;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
