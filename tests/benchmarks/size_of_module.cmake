# Fails unless a library without its symbols takes less than so many bytes.
#
#   cmake -DSTRIP=PROGRAM -DMODULE=FILE -DMOST=BYTES -DSTRIPPED=FILE -P size_of_module.cmake
execute_process(COMMAND ${STRIP} --strip-unneeded -o ${STRIPPED} ${MODULE} COMMAND_ERROR_IS_FATAL ANY)
file(SIZE ${STRIPPED} size)
file(REMOVE ${STRIPPED})
if(NOT size LESS MOST)
  message(FATAL_ERROR "${MODULE} takes ${size} bytes without its symbols, expected less than ${MOST}")
endif()
message(STATUS "${MODULE} takes ${size} bytes without its symbols, and may take less than ${MOST}")
