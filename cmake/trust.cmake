# The trusted-key tables, generated from config/trust. The test build (QV_TEST_TRUST) first makes
# a test CA and three code-signing certificates with openssl in build/<preset>/trust/test and adds
# the "signing" key to the tables; nothing of it exists in any other build.
set(QV_TRUST_DIR ${CMAKE_BINARY_DIR}/trust)
set(QV_TRUST_TABLES_SOURCE ${QV_TRUST_DIR}/TrustTables.cpp)
file(GLOB QV_TRUST_KEY_FILES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/config/trust/*.keys)
set(qv_trust_args -DCONFIG_DIR=${CMAKE_SOURCE_DIR}/config/trust -DOUTPUT=${QV_TRUST_TABLES_SOURCE})
set(qv_trust_deps ${QV_TRUST_KEY_FILES} ${CMAKE_SOURCE_DIR}/cmake/GenerateTrustTables.cmake ${CMAKE_SOURCE_DIR}/cmake/ConfigList.cmake)

if(QV_TEST_TRUST)
  set(QV_TEST_CERT_DIR ${QV_TRUST_DIR}/test)
  add_custom_command(
    OUTPUT ${QV_TEST_CERT_DIR}/signing.hex ${QV_TEST_CERT_DIR}/signing.pem ${QV_TEST_CERT_DIR}/signing.key
           ${QV_TEST_CERT_DIR}/extended.hex ${QV_TEST_CERT_DIR}/extended.pem ${QV_TEST_CERT_DIR}/extended.key
           ${QV_TEST_CERT_DIR}/other.hex ${QV_TEST_CERT_DIR}/other.pem ${QV_TEST_CERT_DIR}/other.key
    COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-test-certs ${QV_TEST_CERT_DIR}
    DEPENDS ${CMAKE_SOURCE_DIR}/scripts/make-test-certs
    COMMENT "Making the test signing certificates")
  list(APPEND qv_trust_args -DTEST_KEY_FILE=${QV_TEST_CERT_DIR}/signing.hex
       -DTEST_EXTENDED_KEY_FILE=${QV_TEST_CERT_DIR}/extended.hex)
  list(APPEND qv_trust_deps ${QV_TEST_CERT_DIR}/signing.hex ${QV_TEST_CERT_DIR}/extended.hex)
endif()

# The test build's signed client manifests: the example manifest signed by the trusted test key
# (with and without signed attributes), by the unlisted key and by the extended tables' key.
if(QV_TEST_TRUST)
  set(QV_MANIFEST_TEST_DIR ${CMAKE_BINARY_DIR}/manifest-test)
  set(qv_manifest ${CMAKE_SOURCE_DIR}/tests/data/manifest/QVManifest.xml)
  set(qv_sign_manifest ${CMAKE_SOURCE_DIR}/scripts/sign-manifest ${QV_TEST_CERT_DIR})
  add_custom_command(
    OUTPUT ${QV_MANIFEST_TEST_DIR}/QVManifest.xml ${QV_MANIFEST_TEST_DIR}/signing.p7s
           ${QV_MANIFEST_TEST_DIR}/signing-noattr.p7s ${QV_MANIFEST_TEST_DIR}/other.p7s
           ${QV_MANIFEST_TEST_DIR}/extended.p7s
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_MANIFEST_TEST_DIR}
    COMMAND ${CMAKE_COMMAND} -E copy ${qv_manifest} ${QV_MANIFEST_TEST_DIR}/QVManifest.xml
    COMMAND ${qv_sign_manifest} signing ${qv_manifest} ${QV_MANIFEST_TEST_DIR}/signing.p7s
    COMMAND ${qv_sign_manifest} signing ${qv_manifest} ${QV_MANIFEST_TEST_DIR}/signing-noattr.p7s noattr
    COMMAND ${qv_sign_manifest} other ${qv_manifest} ${QV_MANIFEST_TEST_DIR}/other.p7s
    COMMAND ${qv_sign_manifest} extended ${qv_manifest} ${QV_MANIFEST_TEST_DIR}/extended.p7s
    DEPENDS ${qv_manifest} ${QV_TEST_CERT_DIR}/signing.pem ${QV_TEST_CERT_DIR}/other.pem ${QV_TEST_CERT_DIR}/extended.pem
            ${CMAKE_SOURCE_DIR}/scripts/sign-manifest
    COMMENT "Signing the test client manifests")
  add_custom_target(manifest_test_files ALL DEPENDS ${QV_MANIFEST_TEST_DIR}/signing.p7s)
endif()

add_custom_command(
  OUTPUT ${QV_TRUST_TABLES_SOURCE}
  COMMAND ${CMAKE_COMMAND} ${qv_trust_args} -P ${CMAKE_SOURCE_DIR}/cmake/GenerateTrustTables.cmake
  DEPENDS ${qv_trust_deps}
  COMMENT "Generating the trusted-key tables")

# The supported-board table of the companion launch, generated from config/boards; the test
# builds add the boards of tests/data/test.boards.
set(QV_BOARD_TABLE_SOURCE ${CMAKE_BINARY_DIR}/boards/SupportedBoards.cpp)
set(qv_board_args -DBOARDS_FILE=${CMAKE_SOURCE_DIR}/config/boards/supported.boards -DOUTPUT=${QV_BOARD_TABLE_SOURCE})
set(qv_board_deps ${CMAKE_SOURCE_DIR}/config/boards/supported.boards ${CMAKE_SOURCE_DIR}/cmake/GenerateBoardTable.cmake
    ${CMAKE_SOURCE_DIR}/cmake/ConfigList.cmake)
if(QV_TEST_TRUST)
  list(APPEND qv_board_args -DTEST_BOARDS_FILE=${CMAKE_SOURCE_DIR}/tests/data/test.boards)
  list(APPEND qv_board_deps ${CMAKE_SOURCE_DIR}/tests/data/test.boards)
endif()
add_custom_command(
  OUTPUT ${QV_BOARD_TABLE_SOURCE}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/boards
  COMMAND ${CMAKE_COMMAND} ${qv_board_args} -P ${CMAKE_SOURCE_DIR}/cmake/GenerateBoardTable.cmake
  DEPENDS ${qv_board_deps}
  COMMENT "Generating the supported-board table")
