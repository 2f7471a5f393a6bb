# Benchmarks: each path of ExecuteCommand beside its floor in the same run, memory over a long
# session. Built in the optimised native preset (make bench).
find_package(benchmark REQUIRED)

add_executable(execute_command_bench ${CMAKE_SOURCE_DIR}/bench/ExecuteCommandBench.cpp)
target_link_libraries(execute_command_bench PRIVATE qv_native benchmark::benchmark)
target_include_directories(execute_command_bench PRIVATE ${CMAKE_SOURCE_DIR})

add_executable(memory_bench ${CMAKE_SOURCE_DIR}/bench/MemoryBench.cpp)
target_link_libraries(memory_bench PRIVATE qv_native)
target_include_directories(memory_bench PRIVATE ${CMAKE_SOURCE_DIR})

add_executable(monitor_bench ${CMAKE_SOURCE_DIR}/bench/MonitorBench.cpp)
target_link_libraries(monitor_bench PRIVATE qv_native)
target_include_directories(monitor_bench PRIVATE ${CMAKE_SOURCE_DIR})
