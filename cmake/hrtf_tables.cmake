# hrtf_tables makes hrtf/generated from the measurement, hrtf_report tells how good it is. The
# library needs neither: what they write is committed.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(EARSHOT_MYSOFA QUIET IMPORTED_TARGET libmysofa)
  pkg_check_modules(EARSHOT_FFTW QUIET IMPORTED_TARGET fftw3)
endif()
find_package(Eigen3 QUIET NO_MODULE)
find_file(EARSHOT_KEMAR MIT_KEMAR_normal_pinna.sofa PATHS /usr/share /usr/local/share
  PATH_SUFFIXES libmysofa)

# Sanitizers would make minutes of the seconds that the design takes.
if(EARSHOT_MYSOFA_FOUND AND EARSHOT_FFTW_FOUND AND TARGET Eigen3::Eigen AND EARSHOT_KEMAR
    AND NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(tools ${PROJECT_SOURCE_DIR}/tools/hrtf_tables)
  add_library(hrtf_tool_parts STATIC
    ${tools}/amb_set.cpp
    ${tools}/diffuse_set.cpp
    ${tools}/figures.cpp
    ${tools}/harmonics.cpp
    ${tools}/layout.cpp
    ${tools}/measurement.cpp
    ${tools}/shorten.cpp
    ${tools}/spectrum.cpp)
  # In a build for debugging too.
  target_compile_options(hrtf_tool_parts PRIVATE -O2)
  target_link_libraries(hrtf_tool_parts
    PUBLIC earshot_options
    PRIVATE PkgConfig::EARSHOT_MYSOFA PkgConfig::EARSHOT_FFTW Eigen3::Eigen)
  foreach(tool hrtf_tables hrtf_report)
    add_executable(${tool} ${tools}/${tool}.cpp)
    target_link_libraries(${tool} PRIVATE hrtf_tool_parts)
  endforeach()
endif()
