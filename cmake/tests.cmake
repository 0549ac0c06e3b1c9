# GoogleTest comes as source from the system and is built with the same toolchain as the library.
set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

add_executable(keswsec_tests ${TEST_SOURCES} $<TARGET_OBJECTS:keswsec_objects>)
target_include_directories(keswsec_tests PRIVATE
  ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/src ${KESWSEC_MESSAGES_DIR})
target_link_libraries(keswsec_tests PRIVATE cli GTest::gmock ${KESWSEC_SYSTEM_LIBRARIES} rpcrt4 ole32)
target_compile_options(keswsec_tests PRIVATE ${KESWSEC_WARNINGS} -O0) # built often, run briefly
target_precompile_headers(keswsec_tests PRIVATE # half of the time that a test takes to compile
  <windows.h> <gmock/gmock.h> <gtest/gtest.h> <filesystem> <functional> <map> <memory> <optional> <set> <string> <vector>)
target_link_options(keswsec_tests PRIVATE -static)
if(NOT KESWSEC_COVERAGE)
  target_link_options(keswsec_tests PRIVATE -wrapper ${CMAKE_SOURCE_DIR}/cmake/link-with-lld.sh)
endif()
add_dependencies(keswsec_tests keswsec keswsec_cli keswsec_messages)
set_target_properties(keswsec_tests PROPERTIES CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/cmake/run-tests.sh)
# Three processes, which run side by side; not one for each test: a cold one costs Wine a second or two.
set(FAULTS FaultRuns*)
set(HOSTILE Hostile*:Threads*)
add_test(NAME tests COMMAND keswsec_tests --gtest_brief=1 --gtest_filter=-${FAULTS}:${HOSTILE})
add_test(NAME fault-runs COMMAND keswsec_tests --gtest_brief=1 --gtest_filter=${FAULTS})
add_test(NAME hostile-input COMMAND keswsec_tests --gtest_brief=1 --gtest_filter=${HOSTILE})
set_tests_properties(tests fault-runs hostile-input PROPERTIES TIMEOUT 280)
add_test(NAME sdk COMMAND ${CMAKE_SOURCE_DIR}/tests/sdk/check.sh)
add_test(NAME ansible COMMAND ${CMAKE_SOURCE_DIR}/tests/ansible/check.sh)
add_test(NAME windows-bundle COMMAND ${CMAKE_SOURCE_DIR}/tests/windows/check.sh)
set_tests_properties(sdk windows-bundle PROPERTIES TIMEOUT 120)
set_tests_properties(ansible PROPERTIES TIMEOUT 60)
set_tests_properties(windows-bundle PROPERTIES RUN_SERIAL ON) # it removes what any test has left

# The library once more, with traps for undefined behaviour, for the runs in which everything is made to fail. Variables
# that nobody has set hold a pattern instead of what happens to be there.
add_library(keswsec_checked_objects OBJECT ${LIBRARY_SOURCES})
add_dependencies(keswsec_checked_objects keswsec_messages)
target_include_directories(keswsec_checked_objects PRIVATE src ${KESWSEC_MESSAGES_DIR})
target_compile_options(keswsec_checked_objects PRIVATE
  ${KESWSEC_LIBRARY_OPTIONS} -O1 -fsanitize=undefined -fsanitize-undefined-trap-on-error -ftrivial-auto-var-init=pattern)
set(CHECKED_OBJECTS keswsec_checked_objects)
if(KESWSEC_COVERAGE) # counters instead of traps
  set(CHECKED_OBJECTS keswsec_objects)
endif()
add_library(keswsec_checked SHARED
  $<TARGET_OBJECTS:${CHECKED_OBJECTS}> src/resources/exports.def src/resources/library.rc)
add_dependencies(keswsec_checked keswsec_messages)
target_link_libraries(keswsec_checked PRIVATE ${KESWSEC_SYSTEM_LIBRARIES})
target_link_options(keswsec_checked PRIVATE ${KESWSEC_LINK_OPTIONS})
set_target_properties(keswsec_checked PROPERTIES
  PREFIX "" OUTPUT_NAME keswsec${KESWSEC_RELEASE} RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/checked
  ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/checked)
add_dependencies(keswsec_tests keswsec_checked)

# ---- resource-only message modules, as translations ship them ----------------------------------------------------
function(add_message_module CODE)
  set(directory ${CMAKE_BINARY_DIR}/message-modules)
  configure_file(tests/frame/message_module.mc.in ${directory}/${CODE}.mc @ONLY NEWLINE_STYLE CRLF)
  file(WRITE ${directory}/${CODE}.c "")
  add_custom_command(
    OUTPUT ${directory}/${CODE}.rc
    COMMAND ${MESSAGE_COMPILER} -A -h ${directory} -r ${directory} ${directory}/${CODE}.mc
    DEPENDS ${directory}/${CODE}.mc
    VERBATIM)
  add_library(message_module_${CODE} MODULE ${directory}/${CODE}.c ${directory}/${CODE}.rc)
  target_link_options(message_module_${CODE} PRIVATE -nostdlib -Wl,--entry=0)
  set_target_properties(message_module_${CODE} PROPERTIES
    PREFIX "" OUTPUT_NAME KESWSECMSG${CODE} SUFFIX .DLL LIBRARY_OUTPUT_DIRECTORY ${directory})
  add_dependencies(keswsec_tests message_module_${CODE})
endfunction()
add_message_module(JA)
add_message_module(US)

include(cmake/windows-bundle.cmake)
