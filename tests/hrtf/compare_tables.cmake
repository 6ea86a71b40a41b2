# The committed HRTF tables are what their generator makes of the measurement, and nothing else lies
# beside them.
file(GLOB committed RELATIVE ${SOURCES}
  ${SOURCES}/hrtf/generated/* ${SOURCES}/head/generated/*)
if(NOT committed STREQUAL
    "head/generated/kemar.bin;hrtf/generated/amb.bin;hrtf/generated/diffuse.bin")
  message(FATAL_ERROR "committed: ${committed}")
endif()
execute_process(COMMAND ${GENERATOR} --compare ${MEASUREMENT}
  ${SOURCES}/hrtf/generated ${SOURCES}/head/generated
  COMMAND_ERROR_IS_FATAL ANY)
