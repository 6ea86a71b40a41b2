/*
 * Integer types and linkage of the earshot interface.
 *
 * earshot is plain C functions over memory that the caller owns. Throughout the library:
 *
 *  - nothing allocates, locks, prints, aborts or calls the system in a processing call;
 *  - Qn means n fractional bits: a value v stands for v / 2^n. Samples are Q15 in 16 bits and Q31
 *    in 32 bits;
 *  - right shifts of signed values are arithmetic (they round toward minus infinity), products
 *    truncate and sums wrap (two's complement), unless a name says otherwise: "sat" clamps to the
 *    range of the result, "rnd" rounds half up;
 *  - the result of every function is the same on every processor, compiler and instruction set.
 *
 * This header is C99 and C++.
 */
#ifndef EARSHOT_TYPES_H
#define EARSHOT_TYPES_H

#include <stdint.h>

typedef int16_t s16;
typedef int32_t s32;
typedef int64_t s64;
typedef uint16_t u16;
typedef uint32_t u32;
typedef uint64_t u64;

#if defined(__GNUC__)
#define EARSHOT_API __attribute__((visibility("default")))
#else
#define EARSHOT_API
#endif

#ifdef __cplusplus
#define EARSHOT_BEGIN_C extern "C" {
#define EARSHOT_END_C }
#else
#define EARSHOT_BEGIN_C
#define EARSHOT_END_C
#endif

/* Status words of all calls that have one. */
#define EARSHOT_OK 0u         /* done */
#define EARSHOT_BAD_VALUE 2u  /* invalid or unsupported value, unknown parameter, wrong count */
#define EARSHOT_BAD_MEMORY 3u /* missing pointer, wrong record size, too little memory */
#define EARSHOT_BAD_CHANNEL_COUNT 4u /* buffers do not have the instance's number of channels */

#endif
