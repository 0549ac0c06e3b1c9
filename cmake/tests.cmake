# GoogleTest comes as source from the system and is built with the same toolchain as the library.
set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

add_executable(keswsec_tests ${TEST_SOURCES} $<TARGET_OBJECTS:keswsec_objects>)
target_include_directories(keswsec_tests PRIVATE
  ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/src ${KESWSEC_MESSAGES_DIR})
target_link_libraries(keswsec_tests PRIVATE whatif GTest::gmock_main ${KESWSEC_SYSTEM_LIBRARIES} rpcrt4 ole32)
target_compile_options(keswsec_tests PRIVATE ${KESWSEC_WARNINGS})
target_link_options(keswsec_tests PRIVATE -static)
add_dependencies(keswsec_tests keswsec keswsec_messages)
