# libearshot.so, and its objects for the tests and benchmarks that look inside.

add_library(earshot_objects OBJECT
  hoa_effect/layout.cpp
  hoa_effect/matrices.cpp
  hoa_effect/mix.cpp
  hoa_effect/mix_scalar.cpp
  hoa_effect/module.cpp
  hoa_effect/process.cpp
  kernel/exports.cpp
  kernel/level.cpp
  kernel/memory.cpp
  kernel/overflow_flag.cpp
  math/division.cpp
  math/tables.cpp
  math/trigonometry.cpp)

target_include_directories(earshot_objects
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_definitions(earshot_objects PRIVATE EARSHOT_VERSION="${PROJECT_VERSION}")
# Nothing throws and nothing needs type information, so that libc is all that is left to need.
target_compile_options(earshot_objects PRIVATE
  -fno-exceptions -fno-rtti -fno-threadsafe-statics
  $<$<CONFIG:Release>:-O2>)
set_target_properties(earshot_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_link_libraries(earshot_objects PRIVATE $<BUILD_INTERFACE:earshot_options>)

# The vectorised kernels, one file per instruction set, each compiled for its own: the rest of the
# library runs on any processor of the target.
function(earshot_add_instruction_set name flag)
  set(source hoa_effect/mix_${name}.cpp)
  target_sources(earshot_objects PRIVATE ${source})
  set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flag};-O3")
  string(TOUPPER ${name} upper)
  target_compile_definitions(earshot_objects PRIVATE EARSHOT_HAVE_${upper})
endfunction()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
  earshot_add_instruction_set(avx2 -mavx2)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  earshot_add_instruction_set(neon -march=armv8-a)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  earshot_add_instruction_set(neon -mfpu=neon)
endif()

add_library(earshot SHARED $<TARGET_OBJECTS:earshot_objects>)
add_library(earshot::earshot ALIAS earshot)
target_include_directories(earshot INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

set(EARSHOT_SYMBOL_MAP ${PROJECT_SOURCE_DIR}/cmake/libearshot.map)
target_link_options(earshot PRIVATE
  -Wl,--version-script=${EARSHOT_SYMBOL_MAP} -Wl,--as-needed -static-libgcc)
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  target_link_options(earshot PRIVATE -Wl,-z,defs)
endif()
set_target_properties(earshot PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${EARSHOT_SYMBOL_MAP}
  LINKER_LANGUAGE CXX
  LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
