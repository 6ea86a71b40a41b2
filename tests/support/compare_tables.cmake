# The committed tables are what their generator writes.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${GENERATOR} ${WORK} COMMAND_ERROR_IS_FATAL ANY)
file(GLOB written RELATIVE ${WORK} ${WORK}/*)
file(GLOB committed RELATIVE ${COMMITTED} ${COMMITTED}/*)
if(NOT written STREQUAL committed OR NOT written)
  message(FATAL_ERROR "written: ${written}\ncommitted: ${committed}")
endif()
foreach(table ${written})
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/${table} ${COMMITTED}/${table}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
