# Native build: the logic against the simulated device, unit tests, native devicectl.
find_package(GTest REQUIRED)
enable_testing()

# The simulated device: one fake per shared port, the shared world, the simulated tool; each
# area's fakes and simulated tool handlers from its sim/ folder.
file(GLOB QV_SIM_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/platform/sim/*.cpp
     ${CMAKE_SOURCE_DIR}/src/packages/sim/*.cpp ${CMAKE_SOURCE_DIR}/src/areas/sim/*.cpp
     ${CMAKE_SOURCE_DIR}/src/areas/*/sim/*.cpp)
# The manifest's XML and signatures natively: expat and libcrypto (src/manifest/native).
file(GLOB QV_MANIFEST_NATIVE CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/manifest/native/*.cpp)
find_package(EXPAT REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
add_library(qv_sim STATIC ${QV_SIM_SOURCES} ${QV_MANIFEST_NATIVE})
target_link_libraries(qv_sim PUBLIC qv_core EXPAT::EXPAT OpenSSL::Crypto)

add_library(qv_native STATIC $<TARGET_OBJECTS:qv_core> $<TARGET_OBJECTS:qv_logic>)
target_link_libraries(qv_native PUBLIC qv_core qv_sim)

# Device profiles arrange the simulated device (src/profile).
add_library(qv_profile STATIC ${QV_PROFILE_SOURCES})
target_link_libraries(qv_profile PUBLIC qv_native)

add_executable(devicectl tools/devicectl/Devicectl.cpp tools/devicectl/Host.cpp tools/devicectl/Info.cpp tools/devicectl/Audio.cpp tools/devicectl/Display.cpp tools/devicectl/Modes.cpp
  tools/devicectl/Subscribe.cpp tools/devicectl/Launch.cpp tools/devicectl/Status.cpp tools/devicectl/Record.cpp
  tools/devicectl/ModuleNative.cpp)
target_link_libraries(devicectl PRIVATE qv_profile qv_native)
target_include_directories(devicectl PRIVATE ${CMAKE_SOURCE_DIR})

file(GLOB_RECURSE QV_UNIT_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/unit/*.cpp)
file(GLOB QV_AREA_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/areas/*/test/*.cpp
     ${CMAKE_SOURCE_DIR}/src/packages/test/*.cpp ${CMAKE_SOURCE_DIR}/src/manifest/test/*.cpp)
list(APPEND QV_UNIT_TEST_SOURCES ${QV_AREA_TEST_SOURCES})
add_executable(unit_tests ${QV_UNIT_TEST_SOURCES})
target_link_libraries(unit_tests PRIVATE qv_profile qv_native GTest::gtest GTest::gmock GTest::gtest_main)
target_include_directories(unit_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_compile_definitions(unit_tests PRIVATE QV_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
                           QV_MANIFEST_TEST_DIR="${QV_MANIFEST_TEST_DIR}")
add_dependencies(unit_tests manifest_test_files)
add_test(NAME unit_tests COMMAND unit_tests)
# A hang fails with its test's name (tests/unit/TestWatchdog.cpp) well before this.
set_tests_properties(unit_tests PROPERTIES TIMEOUT 300)
# What every native test runs with under the sanitizers: any report fails it.
if(QV_SANITIZE STREQUAL "address")
  set(QV_SANITIZER_ENVIRONMENT
    "UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1:suppressions=${CMAKE_SOURCE_DIR}/tests/ubsan.supp;ASAN_OPTIONS=detect_leaks=1")
elseif(QV_SANITIZE STREQUAL "thread")
  set(QV_SANITIZER_ENVIRONMENT "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1")
endif()
if(QV_SANITIZER_ENVIRONMENT)
  set_tests_properties(unit_tests PROPERTIES ENVIRONMENT "${QV_SANITIZER_ENVIRONMENT}")
endif()

# Every profile recorded through devicectl and replayed answers alike (tests/native).
add_test(NAME profile_roundtrip COMMAND ${CMAKE_SOURCE_DIR}/tests/native/profile_roundtrip.sh
         $<TARGET_FILE:devicectl> ${CMAKE_SOURCE_DIR}/profiles)
set_tests_properties(profile_roundtrip PROPERTIES TIMEOUT 300)
if(QV_SANITIZER_ENVIRONMENT)
  set_tests_properties(profile_roundtrip PROPERTIES ENVIRONMENT "${QV_SANITIZER_ENVIRONMENT}")
endif()

# No include points up a floor (scripts/check-layers lists the floors); once, in the plain build.
if(NOT QV_SANITIZE)
  add_test(NAME layers COMMAND ${CMAKE_SOURCE_DIR}/scripts/check-layers ${CMAKE_SOURCE_DIR})
  set_tests_properties(layers PROPERTIES TIMEOUT 60)
endif()

# The service under load (tests/load): make test runs a short form in each native build,
# make soak the full one.
add_executable(load_test tests/load/LoadTest.cpp)
target_link_libraries(load_test PRIVATE qv_native)
add_test(NAME load_short COMMAND load_test --threads 4 --commands 3000)
set_tests_properties(load_short PROPERTIES TIMEOUT 300)
if(QV_SANITIZER_ENVIRONMENT)
  set_tests_properties(load_short PROPERTIES ENVIRONMENT "${QV_SANITIZER_ENVIRONMENT}")
endif()

# The ExecuteCommand fuzzer (clang's libFuzzer, in the ASan+UBSan build); make test runs a short
# smoke run of it, make fuzz a long one.
if(QV_FUZZ)
  add_executable(fuzz_execute_command fuzz/ExecuteCommandFuzzer.cpp)
  target_link_libraries(fuzz_execute_command PRIVATE qv_native)
  target_link_options(fuzz_execute_command PRIVATE -fsanitize=fuzzer)
  add_test(NAME fuzz_smoke COMMAND ${CMAKE_SOURCE_DIR}/fuzz/run ${CMAKE_BINARY_DIR} smoke)
  set_tests_properties(fuzz_smoke PROPERTIES TIMEOUT 300)
  # The texts that reach command lines and scripts (a short run in make test).
  add_executable(fuzz_command_lines fuzz/CommandLineFuzzer.cpp)
  target_include_directories(fuzz_command_lines PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(fuzz_command_lines PRIVATE qv_native)
  target_link_options(fuzz_command_lines PRIVATE -fsanitize=fuzzer)
  add_test(NAME fuzz_command_lines COMMAND fuzz_command_lines -runs=200000 -max_len=128)
  set_tests_properties(fuzz_command_lines PROPERTIES TIMEOUT 300 ENVIRONMENT "${QV_SANITIZER_ENVIRONMENT}")
  # The manifest's XML reader, patterns and rules on hostile documents and values (a short run in
  # make test, from the example manifest).
  add_executable(fuzz_manifest fuzz/ManifestFuzzer.cpp)
  target_link_libraries(fuzz_manifest PRIVATE qv_native)
  target_link_options(fuzz_manifest PRIVATE -fsanitize=fuzzer)
  add_test(NAME fuzz_manifest COMMAND fuzz_manifest -runs=100000 -max_len=4096 -timeout=10
           -seed_inputs=${CMAKE_SOURCE_DIR}/fuzz/manifest-corpus/example.xml,${CMAKE_SOURCE_DIR}/fuzz/manifest-corpus/rules.bin)
  set_tests_properties(fuzz_manifest PROPERTIES TIMEOUT 300 ENVIRONMENT "${QV_SANITIZER_ENVIRONMENT}")
endif()

# Benchmarks against the floor (make bench, in the optimised build).
if(QV_BENCH)
  include(${CMAKE_SOURCE_DIR}/bench/bench.cmake)
endif()
