# Turns the key files under config/trust into the C++ source of the trusted-key tables.
#   cmake -DCONFIG_DIR=... -DOUTPUT=... [-DTEST_KEY_FILE=... -DTEST_EXTENDED_KEY_FILE=...] -P GenerateTrustTables.cmake
# The test keys are given only by the test build: TEST_KEY_FILE's joins the main table (and so
# every table built on it), TEST_EXTENDED_KEY_FILE's the extended keys alone.
include(${CMAKE_CURRENT_LIST_DIR}/ConfigList.cmake)
function(read_keys file out_var)
  qv_read_config_list("${file}" "^[0-9a-f][0-9a-f]( [0-9a-f][0-9a-f])*$"
                      "a key (two-digit lowercase hex bytes separated by single blanks)" keys)
  set(${out_var} "${keys}" PARENT_SCOPE)
endfunction()

function(emit_table name keys out_var)
  set(text "const char* const ${name}[] = {\n")
  foreach(key IN LISTS keys)
    string(APPEND text "    \"${key}\",\n")
  endforeach()
  string(APPEND text "    nullptr,\n};\n")
  set(${out_var} "${text}" PARENT_SCOPE)
endfunction()

read_keys("${CONFIG_DIR}/main.keys" main)
read_keys("${CONFIG_DIR}/extended.keys" extended)
read_keys("${CONFIG_DIR}/extended-extra.keys" extended_extra)
read_keys("${CONFIG_DIR}/launch-argument.keys" launch_argument)
set(includes_test_key false)
if(TEST_KEY_FILE)
  read_keys("${TEST_KEY_FILE}" test_key)
  list(APPEND main ${test_key})
  set(includes_test_key true)
endif()
if(TEST_EXTENDED_KEY_FILE)
  read_keys("${TEST_EXTENDED_KEY_FILE}" test_extended_key)
  list(APPEND extended ${test_extended_key})
endif()

emit_table(kMainKeys "${main}" main_text)
emit_table(kExtendedKeys "${extended}" extended_text)
emit_table(kExtendedExtraKeys "${extended_extra}" extended_extra_text)
emit_table(kLaunchArgumentKeys "${launch_argument}" launch_argument_text)

file(WRITE "${OUTPUT}.tmp" "// Generated from config/trust by cmake/GenerateTrustTables.cmake. Do not edit.
#include \"security/TrustMaterial.h\"

namespace Qv::Bridge::Security::TrustMaterial {

${main_text}
${extended_text}
${extended_extra_text}
${launch_argument_text}
const bool kIncludesTestKey = ${includes_test_key};

}  // namespace Qv::Bridge::Security::TrustMaterial
")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
