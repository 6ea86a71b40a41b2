# cmake --install, find_package(earshot) and pkg-config.

install(TARGETS earshot EXPORT earshot-targets)
# Those of scenes belong to a library of their own.
install(DIRECTORY include/earshot TYPE INCLUDE
  PATTERN scene.h EXCLUDE PATTERN scene.hpp EXCLUDE)
install(FILES LICENSE NOTICE TYPE DOC)

set(EARSHOT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/earshot)
install(EXPORT earshot-targets NAMESPACE earshot:: FILE earshot-config.cmake
  DESTINATION ${EARSHOT_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/earshot-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/earshot-config-version.cmake DESTINATION ${EARSHOT_CMAKE_DIR})

# Absolute directories are allowed in GNUInstallDirs; the file must name them as they are.
foreach(dir INCLUDEDIR LIBDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(EARSHOT_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(EARSHOT_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
function(earshot_install_pkg_config name)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
earshot_install_pkg_config(earshot)
