# Header-only libraries of the build system (JSON, command line), offered to the cross compiler without the rest of
# /usr/include, which belongs to another platform.
set(HEADERS_DIR ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${HEADERS_DIR})
foreach(library nlohmann CLI)
  if(NOT EXISTS /usr/include/${library})
    message(FATAL_ERROR "/usr/include/${library} is missing: install nlohmann-json3-dev and libcli11-dev")
  endif()
  file(CREATE_LINK /usr/include/${library} ${HEADERS_DIR}/${library} SYMBOLIC)
endforeach()
add_library(header_libraries INTERFACE)
target_include_directories(header_libraries SYSTEM INTERFACE ${HEADERS_DIR})
