# Windows build (mingw-w64): the DLL, devicectl.exe and the Windows tests, which run under Wine.
enable_testing()

# Only system DLLs may be imported: Wine and clean machines lack the mingw runtime DLLs.
set(QV_STATIC_LINK -static -static-libgcc -static-libstdc++)
add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)

# Exported symbols of the logic are dllexport'ed when it is compiled for the DLL.
target_compile_definitions(qv_logic PRIVATE QV_BUILDING_DLL)

add_library(DeviceControlService SHARED
  $<TARGET_OBJECTS:qv_core>
  $<TARGET_OBJECTS:qv_logic>
  src/dll/DllMain.cpp
  src/platform/windows/WinLogSinks.cpp
  src/platform/windows/WinPlatform.cpp)
set_target_properties(DeviceControlService PROPERTIES PREFIX "" IMPORT_PREFIX "")
target_compile_definitions(DeviceControlService PRIVATE QV_BUILDING_DLL)
target_link_libraries(DeviceControlService PRIVATE qv_core rpcrt4 advapi32 bcrypt)
target_link_options(DeviceControlService PRIVATE ${QV_STATIC_LINK})

add_executable(devicectl tools/devicectl/Devicectl.cpp tools/devicectl/ModuleWindows.cpp $<TARGET_OBJECTS:qv_core>)
target_include_directories(devicectl PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(devicectl PRIVATE qv_core)
target_link_options(devicectl PRIVATE ${QV_STATIC_LINK} -municode)
add_dependencies(devicectl DeviceControlService)

# GoogleTest built from source for the cross target.
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

file(GLOB QV_WINDOWS_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/windows/*.cpp)
add_executable(windows_tests ${QV_WINDOWS_TEST_SOURCES} $<TARGET_OBJECTS:qv_core>)
target_include_directories(windows_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(windows_tests PRIVATE qv_core gtest gmock gtest_main)
target_link_options(windows_tests PRIVATE ${QV_STATIC_LINK})
add_dependencies(windows_tests DeviceControlService devicectl)
add_test(NAME windows_tests COMMAND windows_tests)
add_test(NAME devicectl_cli COMMAND bash ${CMAKE_SOURCE_DIR}/tests/windows/devicectl_cli.sh ${CMAKE_BINARY_DIR}/bin)
set_tests_properties(devicectl_cli PROPERTIES ENVIRONMENT "QV_ROOT=${CMAKE_SOURCE_DIR}")
