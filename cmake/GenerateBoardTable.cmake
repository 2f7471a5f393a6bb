# Turns the board lists into the C++ source of the supported-board table.
#   cmake -DBOARDS_FILE=... -DOUTPUT=... [-DTEST_BOARDS_FILE=...] -P GenerateBoardTable.cmake
# TEST_BOARDS_FILE is given only by the test builds.
include(${CMAKE_CURRENT_LIST_DIR}/ConfigList.cmake)
function(read_boards file out_var)
  qv_read_config_list("${file}" "^[0-9A-F][0-9A-F][0-9A-F][0-9A-F]$"
                      "a board identifier (four upper-case hexadecimal digits)" boards)
  set(${out_var} "${boards}" PARENT_SCOPE)
endfunction()

read_boards("${BOARDS_FILE}" boards)
if(TEST_BOARDS_FILE)
  read_boards("${TEST_BOARDS_FILE}" test_boards)
  list(APPEND boards ${test_boards})
endif()
list(REMOVE_DUPLICATES boards)

set(text "// Generated from config/boards by cmake/GenerateBoardTable.cmake. Do not edit.\n")
string(APPEND text "#include \"areas/companion-launch/SupportedBoards.h\"\n\n")
string(APPEND text "namespace Qv::Bridge::Server::Services::DeviceControl {\n\n")
string(APPEND text "std::span<const wchar_t* const> SupportedBoards() {\n")
string(APPEND text "    static const wchar_t* const boards[] = {\n")
foreach(board IN LISTS boards)
  string(APPEND text "        L\"${board}\",\n")
endforeach()
string(APPEND text "        nullptr,\n    };\n")
string(APPEND text "    return std::span<const wchar_t* const>(boards, sizeof(boards) / sizeof(boards[0]) - 1);\n}\n\n")
string(APPEND text "}  // namespace Qv::Bridge::Server::Services::DeviceControl\n")
file(WRITE "${OUTPUT}.tmp" "${text}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
