# What ships: the library, its header, import libraries for MinGW and MSVC, and a CMake package.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

find_program(LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
if(LLVM_DLLTOOL)
  set(KESWSEC_MSVC_LIB ${CMAKE_BINARY_DIR}/keswsec${KESWSEC_RELEASE}.lib)
  add_custom_command(
    OUTPUT ${KESWSEC_MSVC_LIB}
    COMMAND ${LLVM_DLLTOOL} -m i386:x86-64 -d ${CMAKE_SOURCE_DIR}/src/resources/exports.def -l ${KESWSEC_MSVC_LIB}
    DEPENDS ${CMAKE_SOURCE_DIR}/src/resources/exports.def
    VERBATIM)
  add_custom_target(keswsec_msvc_lib ALL DEPENDS ${KESWSEC_MSVC_LIB})
  install(FILES ${KESWSEC_MSVC_LIB} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(TARGETS keswsec EXPORT keswsecTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT keswsecTargets NAMESPACE keswsec:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/keswsec
  FILE keswsec-targets.cmake)
configure_file(cmake/keswsec-config.cmake.in ${CMAKE_BINARY_DIR}/keswsec-config.cmake @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/keswsec-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/keswsec-config.cmake ${CMAKE_BINARY_DIR}/keswsec-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/keswsec)
