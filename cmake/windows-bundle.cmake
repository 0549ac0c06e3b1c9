# The tests for a Windows machine as one file: `ninja -C build windows-bundle`. The test program looks for the project's
# files beside the folder that it lies in.
set(BUNDLE keswsec-${PROJECT_VERSION}-windows-tests)
configure_file(tests/windows/run-tests.cmd.in ${CMAKE_BINARY_DIR}/run-tests.cmd @ONLY NEWLINE_STYLE CRLF)
function(into_bundle FOLDER)
  install(PROGRAMS ${ARGN} DESTINATION ${FOLDER} COMPONENT windows-bundle EXCLUDE_FROM_ALL)
endfunction()
into_bundle(. ${CMAKE_BINARY_DIR}/run-tests.cmd)
into_bundle(bin $<TARGET_FILE:keswsec_tests> $<TARGET_FILE:keswsec_cli> $<TARGET_FILE:keswsec>)
into_bundle(bin/checked $<TARGET_FILE:keswsec_checked>)
into_bundle(bin/message-modules $<TARGET_FILE:message_module_JA> $<TARGET_FILE:message_module_US>)
file(GLOB TEXTS RELATIVE ${CMAKE_SOURCE_DIR} CONFIGURE_DEPENDS
  docs/*.md examples/*.ini examples/*.txt examples/fleet/nodes/*.ini)
foreach(file ${TEXTS} src/keswsec.h src/resources/exports.def src/resources/messages.mc tests/faults/node.ini
    tests/whatif/node.ini)
  get_filename_component(folder ${file} DIRECTORY)
  install(FILES ${file} DESTINATION ${folder} COMPONENT windows-bundle EXCLUDE_FROM_ALL)
endforeach()
install(FILES docs/windows.md DESTINATION . RENAME README.md COMPONENT windows-bundle EXCLUDE_FROM_ALL)

set(BUNDLE_FOLDER ${CMAKE_BINARY_DIR}/windows-bundle/${BUNDLE})
add_custom_target(windows-bundle
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${BUNDLE_FOLDER}
  COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --component windows-bundle --prefix ${BUNDLE_FOLDER}
  COMMAND ${CMAKE_STRIP} ${BUNDLE_FOLDER}/bin/keswsec_tests.exe
  COMMAND ${CMAKE_COMMAND} -DCPACK_TOPLEVEL_DIRECTORY=${CMAKE_BINARY_DIR} -DCPACK_PACKAGE_FILE_NAME=${BUNDLE}
          -DCPACK_TEMPORARY_DIRECTORY=${BUNDLE_FOLDER} -P ${CMAKE_SOURCE_DIR}/cmake/pack.cmake
  DEPENDS keswsec_tests keswsec_cli keswsec keswsec_checked message_module_JA message_module_US
  VERBATIM)
