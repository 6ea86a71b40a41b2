# Builds and runs project/ against earshot in the way named by WAY, in a fresh folder WORK.
set(ENV{LD_LIBRARY_PATH})
function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
if(NOT WAY STREQUAL "add_subdirectory")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
endif()

set(source ${CMAKE_CURRENT_LIST_DIR}/project)
if(WAY STREQUAL "pkg_config")
  file(GLOB pc ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
  set(ENV{PKG_CONFIG_PATH} ${pc})
  execute_process(COMMAND pkg-config --define-prefix --cflags --libs earshot
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND pkg-config --define-prefix --variable=libdir earshot
    OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(sanitizers UNIX_COMMAND "${FLAGS}")
  file(MAKE_DIRECTORY ${WORK}/build)
  set(warnings -Wall -Wextra -Wpedantic -Werror ${sanitizers})
  run(${C_COMPILER} -std=c99 ${warnings} ${source}/main.c
    -o ${WORK}/build/consumer_c ${flags} -Wl,-rpath,${libdir})
  run(${CXX_COMPILER} -std=c++17 ${warnings} ${source}/main.cpp
    -o ${WORK}/build/consumer_cpp ${flags} -Wl,-rpath,${libdir})
else()
  run(${CMAKE_COMMAND} -S ${source} -B ${WORK}/build -D WAY=${WAY} -D EARSHOT_SOURCE=${PROJECT}
    -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_C_COMPILER=${C_COMPILER}
    -D CMAKE_CXX_COMPILER=${CXX_COMPILER} -D CMAKE_C_FLAGS=${FLAGS} -D CMAKE_CXX_FLAGS=${FLAGS})
  run(${CMAKE_COMMAND} --build ${WORK}/build)
endif()
run(${WORK}/build/consumer_c)
run(${WORK}/build/consumer_cpp)
