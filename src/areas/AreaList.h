// The areas of the module, one line each. This list drives the command table (each area's rows
// and lifecycle hooks, <Name>Area() in its rows file), the real tool's dispatch (<Name>ToolAreas()
// in the area's tool/ folder) and the simulated tool's (<Name>SimToolAreas() in its sim/ folder).
//
//   QV_AREA(Name, TOOL)     an area with DeviceControlTool.exe handlers
//   QV_AREA(Name, NO_TOOL)  an area without
//   QV_AREA(Name, SIM)      an area without tool handlers that gives the simulated laptop
//                           programs or state of its own (Name##SimArea)
//
// No include guard: the includer defines QV_AREA, includes this file and undefines it.
QV_AREA(Camera, TOOL)
QV_AREA(Application, TOOL)
QV_AREA(SystemMonitor, NO_TOOL)
QV_AREA(Audio, SIM)
QV_AREA(Display, TOOL)
QV_AREA(Accessory, TOOL)
QV_AREA(Power, NO_TOOL)
QV_AREA(ExpModes, NO_TOOL)
QV_AREA(Notification, TOOL)
QV_AREA(SystemMode, NO_TOOL)
QV_AREA(DeviceInfo, NO_TOOL)
QV_AREA(CompanionLaunch, NO_TOOL)
