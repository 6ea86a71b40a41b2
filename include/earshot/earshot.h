/*
 * The whole earshot interface, and what this build of the library is.
 */
#ifndef EARSHOT_EARSHOT_H
#define EARSHOT_EARSHOT_H

#include <earshot/binaural.h>
#include <earshot/fft.h>
#include <earshot/field.h>
#include <earshot/filters.h>
#include <earshot/head.h>
#include <earshot/hoa_effect.h>
#include <earshot/hrtf.h>
#include <earshot/kernel.h>
#include <earshot/math.h>
#include <earshot/profiler.h>
#include <earshot/spatial.h>
#include <earshot/types.h>

EARSHOT_BEGIN_C

/* The version of the library at run time, "MAJOR.MINOR.PATCH". The string is constant. */
EARSHOT_API const char *earshot_version(void);

/*
 * The instruction set that the processing kernels use on this processor: "scalar", "sse41", "avx2",
 * "avx512", "neon" or "wasm". It is found once, when the library is loaded. It changes how fast a
 * call is and never what it computes. The string is constant.
 */
EARSHOT_API const char *earshot_instruction_set(void);

EARSHOT_END_C

#endif
