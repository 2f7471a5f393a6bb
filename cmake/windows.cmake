# Windows build (mingw-w64): the DLL, devicectl.exe and the Windows tests, which run under Wine.
enable_testing()

# Only system DLLs may be imported: Wine and clean machines lack the mingw runtime DLLs.
set(QV_STATIC_LINK -static -static-libgcc -static-libstdc++)
add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)

# Exported symbols of the logic are dllexport'ed when it is compiled for the DLL.
target_compile_definitions(qv_logic PRIVATE QV_BUILDING_DLL)

file(GLOB QV_WINDOWS_ADAPTERS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/platform/windows/*.cpp
     ${CMAKE_SOURCE_DIR}/src/packages/windows/*.cpp ${CMAKE_SOURCE_DIR}/src/manifest/windows/*.cpp
     ${CMAKE_SOURCE_DIR}/src/areas/*/windows/*.cpp)
# The manifest's XML and signatures are the system's (XmlLite, crypt32) in both modules.
file(GLOB QV_MANIFEST_WINDOWS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/manifest/windows/*.cpp)
include(cmake/msvc-boundary.cmake)
add_library(DeviceControlService SHARED
  $<TARGET_OBJECTS:qv_core>
  $<TARGET_OBJECTS:qv_logic>
  src/dll/DllMain.cpp
  ${QV_WINDOWS_ADAPTERS}
  ${QV_BOUNDARY_OBJECTS})
set_target_properties(DeviceControlService PROPERTIES PREFIX "" IMPORT_PREFIX "")
target_compile_definitions(DeviceControlService PRIVATE QV_BUILDING_DLL)
add_dependencies(DeviceControlService qv_msvc_runtime_libs)
target_link_libraries(DeviceControlService PRIVATE qv_core rpcrt4 advapi32 bcrypt wintrust crypt32 userenv runtimeobject
                      wbemuuid ole32 oleaut32 uuid version shlwapi ${QV_UCRT_HEAP_LIB} ${QV_VCRUNTIME_LIB})
target_link_options(DeviceControlService PRIVATE ${QV_STATIC_LINK})
# The import library of Visual C++ programs, beside the DLL.
add_custom_command(TARGET DeviceControlService POST_BUILD
  COMMAND ${QV_MSVC_TOOL} import-library --dll $<TARGET_FILE:DeviceControlService> --dlltool ${QV_LLVM_DLLTOOL}
          --out ${CMAKE_BINARY_DIR}/bin/DeviceControlService.lib ${QV_BOUNDARY_OBJECTS}
  COMMENT "Import library DeviceControlService.lib"
  VERBATIM)

# The simulated laptop as a module of its own: the same exports and slot table over the
# simulated device, arranged by a device profile (src/profile, src/dll/SimulatorMain.cpp).
file(GLOB QV_SIM_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/platform/sim/*.cpp
     ${CMAKE_SOURCE_DIR}/src/packages/sim/*.cpp ${CMAKE_SOURCE_DIR}/src/areas/sim/*.cpp
     ${CMAKE_SOURCE_DIR}/src/areas/*/sim/*.cpp)
add_library(DeviceControlSimulator SHARED
  $<TARGET_OBJECTS:qv_core>
  $<TARGET_OBJECTS:qv_logic>
  ${QV_SIM_SOURCES}
  ${QV_PROFILE_SOURCES}
  ${QV_MANIFEST_WINDOWS}
  src/platform/windows/HostCallGuard.cpp
  src/dll/SimulatorMain.cpp)
set_target_properties(DeviceControlSimulator PROPERTIES PREFIX "" IMPORT_PREFIX "")
target_compile_definitions(DeviceControlSimulator PRIVATE QV_BUILDING_DLL)
target_link_libraries(DeviceControlSimulator PRIVATE qv_core crypt32 shlwapi ole32 uuid)
target_link_options(DeviceControlSimulator PRIVATE ${QV_STATIC_LINK})

add_executable(devicectl tools/devicectl/Devicectl.cpp tools/devicectl/Host.cpp tools/devicectl/Info.cpp tools/devicectl/Audio.cpp tools/devicectl/Display.cpp tools/devicectl/Modes.cpp
  tools/devicectl/Subscribe.cpp tools/devicectl/Launch.cpp tools/devicectl/Status.cpp tools/devicectl/Record.cpp
  tools/devicectl/ModuleWindows.cpp $<TARGET_OBJECTS:qv_core>)
target_include_directories(devicectl PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(devicectl PRIVATE qv_core)
target_link_options(devicectl PRIVATE ${QV_STATIC_LINK} -municode)
add_dependencies(devicectl DeviceControlService DeviceControlSimulator)

# The tool the service runs in the user's session. The product build ships it unsigned, for the
# maker to sign; the test build also makes a copy signed with the test key (bin/signed/).
# Its areas' handlers come from each area's tool/ folder.
file(GLOB QV_TOOL_AREAS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/areas/*/tool/*.cpp)
add_executable(DeviceControlTool tools/DeviceControlTool/Main.cpp ${QV_TOOL_AREAS})
target_include_directories(DeviceControlTool PRIVATE ${CMAKE_SOURCE_DIR}/src)
# The system libraries the areas' handlers use (COM, DirectShow's identifiers, the shell).
target_link_libraries(DeviceControlTool PRIVATE ole32 oleaut32 strmiids shell32 advapi32 uuid mscms version)
# Stripped: the module hashes the whole file before every run, so every byte costs.
target_compile_options(DeviceControlTool PRIVATE -Os -ffunction-sections -fdata-sections)
target_link_options(DeviceControlTool PRIVATE ${QV_STATIC_LINK} -municode -s -Wl,--gc-sections)

# The floor of the Wine benchmark (bench/wine-tool-launch): bare launches of the tool.
add_executable(bare_launch bench/BareLaunch.cpp)
target_link_options(bare_launch PRIVATE ${QV_STATIC_LINK} -municode)

# GoogleTest built from source for the cross target.
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

if(NOT QV_TEST_TRUST)
  return()  # a product build: no tests, no test signing material
endif()

# Signed, unsigned and foreign-signed copies of a small program for the trust tests.
add_executable(trust_probe tests/windows/probe/TrustProbe.cpp)
target_link_options(trust_probe PRIVATE ${QV_STATIC_LINK})
set(QV_TRUST_TEST_BIN ${CMAKE_BINARY_DIR}/bin/trust-test)
set(qv_sign ${CMAKE_SOURCE_DIR}/scripts/sign-file ${QV_TEST_CERT_DIR})
add_custom_command(
  OUTPUT ${QV_TRUST_TEST_BIN}/probe-signed.exe ${QV_TRUST_TEST_BIN}/probe-signed-twin.exe
         ${QV_TRUST_TEST_BIN}/probe-other.exe ${QV_TRUST_TEST_BIN}/probe-unsigned.exe ${QV_TRUST_TEST_BIN}/signing.hex
  COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_TRUST_TEST_BIN}
  COMMAND ${qv_sign} signing $<TARGET_FILE:trust_probe> ${QV_TRUST_TEST_BIN}/probe-signed.exe
  COMMAND ${qv_sign} signing $<TARGET_FILE:trust_probe> ${QV_TRUST_TEST_BIN}/probe-signed-twin.exe "another description"
  COMMAND ${qv_sign} other $<TARGET_FILE:trust_probe> ${QV_TRUST_TEST_BIN}/probe-other.exe
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:trust_probe> ${QV_TRUST_TEST_BIN}/probe-unsigned.exe
  COMMAND ${CMAKE_COMMAND} -E copy ${QV_TEST_CERT_DIR}/signing.hex ${QV_TRUST_TEST_BIN}/signing.hex
  DEPENDS trust_probe ${QV_TEST_CERT_DIR}/signing.pem ${QV_TEST_CERT_DIR}/other.pem ${CMAKE_SOURCE_DIR}/scripts/sign-file
  COMMENT "Signing the trust test programs")
set(QV_SIGNED_BIN ${CMAKE_BINARY_DIR}/bin/signed)
add_custom_command(
  OUTPUT ${QV_SIGNED_BIN}/DeviceControlTool.exe
  COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_SIGNED_BIN}
  COMMAND ${qv_sign} signing $<TARGET_FILE:DeviceControlTool> ${QV_SIGNED_BIN}/DeviceControlTool.exe
  DEPENDS DeviceControlTool ${QV_TEST_CERT_DIR}/signing.pem ${CMAKE_SOURCE_DIR}/scripts/sign-file
  COMMENT "Signing DeviceControlTool.exe with the test key")
add_custom_target(trust_test_files ALL DEPENDS ${QV_TRUST_TEST_BIN}/probe-signed.exe ${QV_SIGNED_BIN}/DeviceControlTool.exe)

# The display vendor's software as the display area finds it: a double of its display-control
# library (plain C, state and calls in text files beside it), signed with the test key
# (bin/signed/), with the unlisted key (bin/signed-other/) and unsigned (bin/); and its service
# executable, which the module reads only for its version, at a supported and an old major.
add_library(qvdc_double SHARED tests/windows/display-library/QvdcDouble.c)
set_target_properties(qvdc_double PROPERTIES OUTPUT_NAME QVDC PREFIX "" IMPORT_PREFIX "")
target_link_options(qvdc_double PRIVATE -static -static-libgcc)
set(QV_SIGNED_OTHER_BIN ${CMAKE_BINARY_DIR}/bin/signed-other)
set(QV_SIGNED_EXTENDED_BIN ${CMAKE_BINARY_DIR}/bin/signed-extended)
add_custom_command(
  OUTPUT ${QV_SIGNED_BIN}/QVDC.dll ${QV_SIGNED_OTHER_BIN}/QVDC.dll ${QV_SIGNED_EXTENDED_BIN}/QVDC.dll
  COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_SIGNED_BIN} ${QV_SIGNED_OTHER_BIN} ${QV_SIGNED_EXTENDED_BIN}
  COMMAND ${qv_sign} signing $<TARGET_FILE:qvdc_double> ${QV_SIGNED_BIN}/QVDC.dll
  COMMAND ${qv_sign} other $<TARGET_FILE:qvdc_double> ${QV_SIGNED_OTHER_BIN}/QVDC.dll
  COMMAND ${qv_sign} extended $<TARGET_FILE:qvdc_double> ${QV_SIGNED_EXTENDED_BIN}/QVDC.dll
  DEPENDS qvdc_double ${QV_TEST_CERT_DIR}/signing.pem ${QV_TEST_CERT_DIR}/other.pem ${QV_TEST_CERT_DIR}/extended.pem
          ${CMAKE_SOURCE_DIR}/scripts/sign-file
  COMMENT "Signing QVDC.dll with the test key, the other key and the extended tables' key")
add_custom_target(qvdc_double_signed ALL DEPENDS ${QV_SIGNED_BIN}/QVDC.dll ${QV_SIGNED_OTHER_BIN}/QVDC.dll
                  ${QV_SIGNED_EXTENDED_BIN}/QVDC.dll)
enable_language(RC)
foreach(major 5 4)
  add_executable(display_service_${major} tests/windows/display-library/VersionStandIn.c
                 tests/windows/display-library/VersionStandIn-${major}.rc)
  set_target_properties(display_service_${major} PROPERTIES OUTPUT_NAME DisplayControlService-${major})
  target_link_options(display_service_${major} PRIVATE -static -static-libgcc)
endforeach()

# The service as the host sees it: LoadLibraryW and the factory, nothing imported.
add_executable(windows_tests tests/windows/ServiceDllTest.cpp $<TARGET_OBJECTS:qv_core>)
target_include_directories(windows_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(windows_tests PRIVATE qv_core gtest gmock gtest_main)
target_link_options(windows_tests PRIVATE ${QV_STATIC_LINK})
add_dependencies(windows_tests DeviceControlService devicectl)
add_test(NAME windows_tests COMMAND windows_tests)

# A host written in C drives the installed DLL through the Visual C++ slot layout.
# The audio vendor's side for the script path of noise control: a service that runs, and a
# stand-in for powershell.exe (tests/windows/audio_vendor.sh installs them in the test prefix).
add_executable(vendor_service tests/windows/audio-vendor/VendorService.c)
target_link_options(vendor_service PRIVATE -static -municode)
add_executable(script_host tests/windows/audio-vendor/ScriptHost.c)
target_link_options(script_host PRIVATE -static -municode)

# The installed DLL under a long run: handle count and private bytes at the start and the end.
add_executable(wine_soak tests/windows/WineSoak.cpp $<TARGET_OBJECTS:qv_core>)
target_link_libraries(wine_soak PRIVATE qv_core psapi)
target_link_options(wine_soak PRIVATE ${QV_STATIC_LINK})
add_test(NAME wine_soak_short COMMAND wine_soak 150 40)

add_executable(c_host tests/windows/CHost.c)
target_include_directories(c_host PRIVATE ${CMAKE_SOURCE_DIR}/include)
target_link_options(c_host PRIVATE ${QV_STATIC_LINK})
add_dependencies(c_host DeviceControlService)
add_test(NAME c_host COMMAND c_host)
# The module unloaded after a subscription, and after a service destroyed with one still waiting:
# the host lives on for 25 seconds (two polling intervals and more) without a fault.
add_test(NAME c_host_unload COMMAND c_host unload 25)
add_test(NAME c_host_unload_waiting COMMAND c_host unload-waiting 25)
# A host that unloads the module without destroying the service: the polling thread, asleep until
# its next round, holds the module until it has ended.
add_test(NAME c_host_unload_undestroyed COMMAND c_host unload-undestroyed 5)
# A callback that raises a Visual C++ exception (a structured exception) during a subscription.
add_test(NAME c_host_seh_callback COMMAND c_host seh-callback)

# The module's classes on the Windows ports, built from the DLL's objects without its entry point:
# the store's files, the clock, the user's registry, the manifest's readers, WMI and
# device information; and the real DLL's platform commands beside them. The code signatures and
# the packages are checked through the exported classes (msvc_consumer).
add_executable(windows_linked_tests tests/windows/AdapterTest.cpp tests/windows/PlatformTest.cpp tests/windows/ManifestTest.cpp
               tests/windows/InstalledPlatform.cpp
               $<TARGET_OBJECTS:qv_core> $<TARGET_OBJECTS:qv_logic> ${QV_WINDOWS_ADAPTERS})
target_include_directories(windows_linked_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(windows_linked_tests PRIVATE qv_core gtest gtest_main rpcrt4 advapi32 bcrypt wintrust crypt32
                      userenv runtimeobject wbemuuid ole32 oleaut32 uuid version shlwapi)
target_link_options(windows_linked_tests PRIVATE ${QV_STATIC_LINK})
add_dependencies(windows_linked_tests trust_test_files manifest_test_files DeviceControlService)
add_test(NAME windows_linked_tests COMMAND windows_linked_tests)
set_tests_properties(windows_linked_tests PROPERTIES ENVIRONMENT
  "QV_DEVICECONTROL_LOG=C:\\windows\\temp\\devicecontrol-linked-tests.log")

# A Visual C++ program of the service family, compiled for the Microsoft C++ ABI against the public
# headers and linked by lld-link against DeviceControlService.lib, with a runtime of its own.
set(qv_consumer ${CMAKE_SOURCE_DIR}/tests/windows/msvc-consumer)
qv_msvc_objects(qv_consumer_objects consumer FLAGS -I${qv_consumer}
                SOURCES ${qv_consumer}/Consumer.cpp ${qv_consumer}/ConsumerRuntime.cpp)
set(qv_consumer_libs ${QV_MSVC_DIR}/consumer/ucrtbase.lib ${QV_MSVC_DIR}/consumer/vcruntime140.lib)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/bin/msvc_consumer.exe
  COMMAND ${QV_LLVM_DLLTOOL} -m i386:x86-64 -d ${qv_consumer}/ucrtbase.def -l ${QV_MSVC_DIR}/consumer/ucrtbase.lib
  COMMAND ${QV_LLVM_DLLTOOL} -m i386:x86-64 -d ${qv_consumer}/vcruntime140.def
          -l ${QV_MSVC_DIR}/consumer/vcruntime140.lib
  COMMAND ${QV_LLD_LINK} /nologo /entry:mainCRTStartup /subsystem:console /nodefaultlib
          /out:${CMAKE_BINARY_DIR}/bin/msvc_consumer.exe ${qv_consumer_objects}
          ${CMAKE_BINARY_DIR}/bin/DeviceControlService.lib ${qv_consumer_libs} /usr/x86_64-w64-mingw32/lib/libkernel32.a
  DEPENDS ${qv_consumer_objects} ${qv_consumer}/ucrtbase.def ${qv_consumer}/vcruntime140.def DeviceControlService
  COMMENT "Linking msvc_consumer.exe for the Microsoft C++ ABI"
  VERBATIM)
add_custom_target(msvc_consumer ALL DEPENDS ${CMAKE_BINARY_DIR}/bin/msvc_consumer.exe)
add_dependencies(msvc_consumer trust_test_files manifest_test_files)
add_test(NAME msvc_consumer COMMAND ${CMAKE_SOURCE_DIR}/scripts/wine-run ${CMAKE_BINARY_DIR}/bin/msvc_consumer.exe)
# Every name the public headers declare is exported, under its Visual C++ decorated name.
add_test(NAME exported_names COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/check-exports
         --clang ${QV_MSVC_CLANG} --std-dir ${CMAKE_SOURCE_DIR}/src/abi/msvc/std --include ${CMAKE_SOURCE_DIR}/include
         $<TARGET_FILE:DeviceControlService>)

# The real tool against the contract table the simulated tool is held to.
add_test(NAME tool_contract COMMAND bash ${CMAKE_SOURCE_DIR}/tests/windows/tool_contract.sh)
set_tests_properties(tool_contract PROPERTIES ENVIRONMENT "QV_ROOT=${CMAKE_SOURCE_DIR}")

add_test(NAME devicectl_cli COMMAND bash ${CMAKE_SOURCE_DIR}/tests/windows/devicectl_cli.sh ${CMAKE_BINARY_DIR}/bin)
set_tests_properties(devicectl_cli PROPERTIES ENVIRONMENT "QV_ROOT=${CMAKE_SOURCE_DIR}")

# The display-control library's commands through devicectl.exe against the double, and the
# module refusing an old service or a library not signed by a trusted key.
add_test(NAME display_library COMMAND bash ${CMAKE_SOURCE_DIR}/tests/windows/display_library.sh)
set_tests_properties(display_library PROPERTIES ENVIRONMENT "QV_ROOT=${CMAKE_SOURCE_DIR}")
# Noise control and speaker swap down the audio vendor's script path, and a script host that hangs.
add_test(NAME audio_vendor COMMAND bash ${CMAKE_SOURCE_DIR}/tests/windows/audio_vendor.sh)
set_tests_properties(audio_vendor PROPERTIES ENVIRONMENT "QV_ROOT=${CMAKE_SOURCE_DIR}")
add_dependencies(windows_tests vendor_service script_host manifest_test_files)

# Every Windows test has a time limit, so a hang fails with the test's name.
set_tests_properties(windows_tests c_host c_host_unload c_host_unload_waiting c_host_unload_undestroyed c_host_seh_callback
                     windows_linked_tests msvc_consumer PROPERTIES TIMEOUT 120)
set_tests_properties(tool_contract devicectl_cli display_library audio_vendor wine_soak_short PROPERTIES TIMEOUT 300)
