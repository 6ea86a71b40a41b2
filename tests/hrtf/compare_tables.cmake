# The committed HRTF tables are what their generator makes of the measurement, and nothing else lies
# beside them.
file(GLOB committed RELATIVE ${COMMITTED} ${COMMITTED}/*)
if(NOT committed STREQUAL "amb.bin;diffuse.bin")
  message(FATAL_ERROR "committed: ${committed}")
endif()
execute_process(COMMAND ${GENERATOR} --compare ${MEASUREMENT} ${COMMITTED}
  COMMAND_ERROR_IS_FATAL ANY)
