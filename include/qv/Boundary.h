#pragma once
// The exported classes of DeviceControlService.dll for Visual C++ programs of the service family:
// include the headers beside this one and link DeviceControlService.lib. The classes pass the
// standard library's types in the layouts of a release x64 build (/MD, no iterator debugging),
// and the module allocates what the consumer frees, and frees what it allocated, on the
// Universal C runtime's heap. A Debug build (/MDd, _ITERATOR_DEBUG_LEVEL 1 or 2) lays the
// standard types out otherwise and cannot use them: it is refused here.
#include <string>

#if !defined(_MSC_VER) || !defined(_M_X64)
#error "DeviceControlService's exported classes are for Visual C++ x64 programs"
#endif
#if defined(_DEBUG) || !defined(_DLL) || !defined(_ITERATOR_DEBUG_LEVEL) || _ITERATOR_DEBUG_LEVEL != 0
#error "DeviceControlService's exported classes need a release build with the DLL runtime (/MD) and _ITERATOR_DEBUG_LEVEL 0: a Debug (/MDd) or checked build lays the standard library's types out otherwise"
#endif

#if defined(QV_BUILDING_BOUNDARY)
#define QV_CLASS __declspec(dllexport)
#else
#define QV_CLASS __declspec(dllimport)
#endif
