# The exported classes for Visual C++ programs (include/qv): compiled by clang for the Microsoft
# C++ ABI against our own declarations of the standard types they pass (src/abi/msvc/std),
# linked into DeviceControlService.dll by GNU ld beside the g++ module, and described to Visual
# C++ linkers by DeviceControlService.lib. docs/binary-interface.md has the why and the rules.
find_program(QV_MSVC_CLANG NAMES clang-14 clang REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(QV_LLVM_DLLTOOL NAMES llvm-dlltool-14 llvm-dlltool REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(QV_LLD_LINK NAMES lld-link-14 lld-link REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(QV_MINGW_DLLTOOL NAMES x86_64-w64-mingw32-dlltool REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(QV_MSVC_DIR ${CMAKE_BINARY_DIR}/msvc)
file(MAKE_DIRECTORY ${QV_MSVC_DIR})
set(QV_MSVC_TOOL ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/msvc-boundary)
# A release /MD build's view: _DLL, no iterator debugging (our std declares it), and no
# thread-safe statics (their helpers live in the static part of the Visual C++ runtime; the
# classes build their tables once by InitOnceExecuteOnce).
set(QV_MSVC_FLAGS --target=x86_64-pc-windows-msvc -std=c++20 -O2 -D_DLL -fexceptions -fcxx-exceptions
    -fno-threadsafe-statics -nostdinc++ -isystem ${CMAKE_SOURCE_DIR}/src/abi/msvc/std
    -I${CMAKE_SOURCE_DIR}/include -I${CMAKE_SOURCE_DIR}/src -Wall -Wextra -Werror -Wno-return-type-c-linkage)

# Compiles Microsoft-ABI sources into objects: qv_msvc_objects(OUT DIRECTORY FLAGS... SOURCES...);
# OUT names the list of objects made.
function(qv_msvc_objects out directory)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "FLAGS;SOURCES")
  set(objects)
  foreach(source ${arg_SOURCES})
    get_filename_component(name ${source} NAME_WE)
    set(object ${QV_MSVC_DIR}/${directory}/${name}.obj)
    add_custom_command(
      OUTPUT ${object}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_MSVC_DIR}/${directory}
      COMMAND ${QV_MSVC_CLANG} ${QV_MSVC_FLAGS} ${arg_FLAGS} -MD -MF ${object}.d -c ${source} -o ${object}
      COMMAND ${QV_MSVC_TOOL} gnu-exports ${object}
      DEPFILE ${object}.d
      DEPENDS ${source} ${CMAKE_SOURCE_DIR}/scripts/msvc-boundary
      COMMENT "Compiling ${name} for the Microsoft C++ ABI"
      VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  set_source_files_properties(${objects} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
  set(${out} ${objects} PARENT_SCOPE)
endfunction()

file(GLOB QV_BOUNDARY_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/abi/msvc/*.cpp)
qv_msvc_objects(QV_BOUNDARY_OBJECTS boundary FLAGS -DQV_BUILDING_BOUNDARY SOURCES ${QV_BOUNDARY_SOURCES})

# What the objects import: the Visual C++ runtime's exception support, and the Universal C
# runtime's malloc and free under names of their own (GNU dlltool renames; llvm-dlltool 14 does not).
set(QV_VCRUNTIME_LIB ${QV_MSVC_DIR}/vcruntime140.lib)
set(QV_UCRT_HEAP_LIB ${QV_MSVC_DIR}/libucrt_heap.a)
add_custom_command(
  OUTPUT ${QV_VCRUNTIME_LIB} ${QV_UCRT_HEAP_LIB}
  COMMAND ${QV_LLVM_DLLTOOL} -m i386:x86-64 -d ${CMAKE_SOURCE_DIR}/src/abi/msvc/vcruntime140.def -l ${QV_VCRUNTIME_LIB}
  COMMAND ${QV_MINGW_DLLTOOL} -m i386:x86-64 -d ${CMAKE_SOURCE_DIR}/src/abi/msvc/ucrt-heap.def -l ${QV_UCRT_HEAP_LIB}
  DEPENDS ${CMAKE_SOURCE_DIR}/src/abi/msvc/vcruntime140.def ${CMAKE_SOURCE_DIR}/src/abi/msvc/ucrt-heap.def
  COMMENT "Import libraries of the Visual C++ runtime"
  VERBATIM)
add_custom_target(qv_msvc_runtime_libs DEPENDS ${QV_VCRUNTIME_LIB} ${QV_UCRT_HEAP_LIB})
