# libearshot.so, and its objects for the tests and benchmarks that look inside.

# A WebAssembly module is one piece.
set(EARSHOT_LIBRARY_KIND SHARED)
set(EARSHOT_IS_SHARED ON)
if(EMSCRIPTEN)
  set(EARSHOT_LIBRARY_KIND STATIC)
  set(EARSHOT_IS_SHARED OFF)
endif()

add_library(earshot_objects OBJECT
  binaural/instance.cpp
  binaural/kernels.cpp
  binaural/kernels_scalar.cpp
  binaural/process.cpp
  fft/complex.cpp
  fft/kernels.cpp
  fft/kernels_scalar.cpp
  fft/real.cpp
  fft/stages.cpp
  fft/tables.cpp
  fft/transform16.cpp
  fft/twiddle_rows.cpp
  field/harmonics.cpp
  field/kernels.cpp
  field/kernels_scalar.cpp
  field/rotate.cpp
  field/rotation.cpp
  filters/all_pass.cpp
  filters/biquad.cpp
  filters/dc_block.cpp
  head/builtin.cpp
  head/checksum.cpp
  head/filter.cpp
  head/kemar.S
  head/kernels.cpp
  head/kernels_scalar.cpp
  head/open.cpp
  head/shorten.cpp
  hoa_effect/instance.cpp
  hoa_effect/layout.cpp
  hoa_effect/matrices.cpp
  hoa_effect/mix.cpp
  hoa_effect/mix_scalar.cpp
  hoa_effect/process.cpp
  hrtf/back_instance.cpp
  hrtf/back_process.cpp
  hrtf/crossfade.cpp
  hrtf/front_instance.cpp
  hrtf/front_process.cpp
  hrtf/instance.cpp
  hrtf/kernels.cpp
  hrtf/kernels_scalar.cpp
  hrtf/selection.cpp
  hrtf/table_groups.cpp
  hrtf/tables.S
  kernel/exports.cpp
  kernel/isa.cpp
  kernel/memory.cpp
  kernel/overflow_flag.cpp
  math/division.cpp
  math/power.cpp
  math/tables.cpp
  math/trigonometry.cpp
  spatial/gain.cpp
  spatial/gain_scalar.cpp
  spatial/geometry.cpp
  spatial/panner.cpp
  spatial/rolloff.cpp)

# It asks the operating system.
if(NOT EMSCRIPTEN)
  target_sources(earshot_objects PRIVATE profiler/profiler.cpp)
endif()

# The assembler takes the binary tables in; it must look for them from the root of the sources.
set_source_files_properties(hrtf/tables.S PROPERTIES OBJECT_DEPENDS
  "${PROJECT_SOURCE_DIR}/hrtf/generated/amb.bin;${PROJECT_SOURCE_DIR}/hrtf/generated/diffuse.bin")
set_source_files_properties(head/kemar.S PROPERTIES OBJECT_DEPENDS
  "${PROJECT_SOURCE_DIR}/head/generated/kemar.bin")

target_include_directories(earshot_objects
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_definitions(earshot_objects PRIVATE EARSHOT_VERSION="${PROJECT_VERSION}")
# Nothing throws and nothing needs type information, so that libc is all that is left to need.
target_compile_options(earshot_objects PRIVATE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics>
  $<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-O2>)
set_target_properties(earshot_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ${EARSHOT_IS_SHARED}
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_link_libraries(earshot_objects PRIVATE $<BUILD_INTERFACE:earshot_options>)

# The vectorised kernels, a file each per instruction set, compiled for its own: the rest of the
# library runs on any processor of the target. Loops over the channels of a matrix want to be
# unrolled, or its coefficients live in memory; anything more only makes the code longer.
function(earshot_add_isa name)
  foreach(kernels binaural/kernels fft/kernels field/kernels head/kernels hoa_effect/mix
      hrtf/kernels spatial/gain)
    target_sources(earshot_objects PRIVATE ${kernels}_${name}.cpp)
    set_source_files_properties(${kernels}_${name}.cpp PROPERTIES COMPILE_OPTIONS
      "${ARGN};-O2;$<$<CXX_COMPILER_ID:GNU>:-fpeel-loops>")
  endforeach()
endfunction()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
  earshot_add_isa(sse41 -msse4.1)
  earshot_add_isa(avx2 -mavx2)
  earshot_add_isa(avx512
    -mavx512f -mavx512dq -mavx512bw -mavx512vl -mavx512vbmi -mprefer-vector-width=512)
  target_compile_definitions(earshot_objects PRIVATE EARSHOT_HAVE_X86)
elseif(EMSCRIPTEN)
  if(EARSHOT_WASM_SIMD)
    earshot_add_isa(wasm -msimd128)
    target_compile_definitions(earshot_objects PRIVATE EARSHOT_HAVE_WASM)
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  earshot_add_isa(neon -march=armv8-a)
  target_compile_definitions(earshot_objects PRIVATE EARSHOT_HAVE_NEON)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  earshot_add_isa(neon -mfpu=neon)
  target_compile_definitions(earshot_objects PRIVATE EARSHOT_HAVE_NEON)
endif()

add_library(earshot ${EARSHOT_LIBRARY_KIND} $<TARGET_OBJECTS:earshot_objects>)
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
