# Runs PROGRAM (a list: an emulator may come first) and looks for LINE in what it prints.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
string(FIND "${printed}" "${LINE}" place)
if(place EQUAL -1)
  message(FATAL_ERROR "no '${LINE}' in\n${printed}")
endif()
