# hrtf_tables makes hrtf/generated from the measurement, hrtf_report tells how good it is. The
# library needs neither: what they write is committed.
find_file(EARSHOT_KEMAR MIT_KEMAR_normal_pinna.sofa PATHS /usr/share /usr/local/share
  PATH_SUFFIXES libmysofa)

# Sanitizers would make minutes of the seconds that the design takes.
if(TARGET earshot_preparation AND EARSHOT_KEMAR
    AND NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(tools ${PROJECT_SOURCE_DIR}/tools/hrtf_tables)
  add_library(hrtf_tool_parts STATIC
    ${tools}/diffuse_set.cpp
    ${tools}/figures.cpp
    ${tools}/head_geometry.cpp
    ${tools}/layout.cpp
    ${tools}/measurement.cpp)
  # In a build for debugging too.
  target_compile_options(hrtf_tool_parts PRIVATE -O2)
  target_link_libraries(hrtf_tool_parts
    PUBLIC earshot_options earshot_preparation)
  foreach(tool hrtf_tables hrtf_report head_report)
    add_executable(${tool} ${tools}/${tool}.cpp)
    target_link_libraries(${tool} PRIVATE hrtf_tool_parts)
  endforeach()
endif()
