# Packs what CPack has staged. The same files give the same bytes: sorted, all of one time, nothing of their owner.
set(archive ${CPACK_TOPLEVEL_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
get_filename_component(parent ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${parent} ${CPACK_TEMPORARY_DIRECTORY}/*)
list(SORT files)
file(REMOVE ${archive})
execute_process(COMMAND touch -d 2000-01-01T00:00:00Z ${files} WORKING_DIRECTORY ${parent} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env TZ=UTC zip -q -X ${archive} ${files}
  WORKING_DIRECTORY ${parent} COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${archive})
