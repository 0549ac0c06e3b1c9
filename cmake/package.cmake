# The SDK as one file: `ninja -C build package`, or `cpack --preset mingw-w64` after a build, makes
# keswsec-19.0.0-win64.zip and its SHA-256 of what cmake/install.cmake lays out.
install(FILES docs/sdk.md DESTINATION . RENAME README.md)

set(CPACK_GENERATOR External)
set(CPACK_PACKAGE_FILE_NAME keswsec-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_VENDOR Kestel)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_SOURCE_DIR}/cmake/pack.cmake)
include(CPack)
