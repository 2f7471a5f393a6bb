#pragma once
// Symbols exported from DeviceControlService.dll.
#if defined(_WIN32) && defined(QV_BUILDING_DLL)
#define QV_API __declspec(dllexport)
#elif defined(_WIN32) && defined(QV_USING_DLL)
#define QV_API __declspec(dllimport)
#else
#define QV_API
#endif
