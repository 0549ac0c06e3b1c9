# The message compiler turns the catalogue into a header of message ids and a message-table resource.
find_program(MESSAGE_COMPILER NAMES x86_64-w64-mingw32-windmc windmc REQUIRED)
set(KESWSEC_MESSAGES_DIR ${CMAKE_BINARY_DIR}/messages)
add_custom_command(
  OUTPUT ${KESWSEC_MESSAGES_DIR}/messages.h ${KESWSEC_MESSAGES_DIR}/MSG00409.bin
  COMMAND ${CMAKE_COMMAND} -E make_directory ${KESWSEC_MESSAGES_DIR}
  COMMAND ${MESSAGE_COMPILER} -A -e h -h ${KESWSEC_MESSAGES_DIR} -r ${KESWSEC_MESSAGES_DIR}
          ${CMAKE_SOURCE_DIR}/src/resources/messages.mc
  DEPENDS ${CMAKE_SOURCE_DIR}/src/resources/messages.mc
  VERBATIM)
add_custom_target(keswsec_messages DEPENDS ${KESWSEC_MESSAGES_DIR}/messages.h ${KESWSEC_MESSAGES_DIR}/MSG00409.bin)
