/*
 * Batches for the Python package: the manifest, the work of a line and the records are those of the
 * command-line tool, so that either goes on where the other has stopped. Who does which line, and
 * where, is for the caller.
 *
 * Texts that come back live until the next call with the same batch, or in the same thread.
 */
#ifndef EARSHOT_PYTHON_BATCH_H
#define EARSHOT_PYTHON_BATCH_H

#include <earshot/scene.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct earshot_batch earshot_batch;

/*
 * What all lines have in common, as texts: the folder that names in the manifest start from, the
 * folder of the outputs, and of each option that is given its name and its value, {"gain", "-3"}.
 */
typedef struct earshot_batch_setting {
    const char *const *texts;
    u32 count; /* an even number */
} earshot_batch_setting;

/* Reads a manifest, and what is known of its outputs. Returns a status; error tells why. */
u32 earshot_batch_open(const char *manifest, const earshot_batch_setting *setting,
                       earshot_batch **batch, earshot_scene_error *error);
void earshot_batch_close(earshot_batch *batch);

s64 earshot_batch_count(const earshot_batch *batch); /* of lines, blank ones left out */

/* The output of a line, which starts from the folder of the outputs; empty where it has none. */
const char *earshot_batch_output(earshot_batch *batch, s64 line);

/* All that a process needs to know of a line, itself a line of text. */
const char *earshot_batch_task(earshot_batch *batch, s64 line);

/* Does a task, in any process that sees the files. The answer is the record. */
const char *earshot_batch_do(const earshot_batch_setting *setting, const char *task);

/* The record of a line whose processes have ended early, again and again; how: the last of them. */
const char *earshot_batch_lost(earshot_batch *batch, s64 line, const char *how);

/* Before the first record, with each, and after the last. */
u32 earshot_batch_begin(earshot_batch *batch, earshot_scene_error *error);
u32 earshot_batch_add(earshot_batch *batch, const char *record, earshot_scene_error *error);
u32 earshot_batch_finish(earshot_batch *batch, earshot_scene_error *error);

#ifdef __cplusplus
}
#endif

#endif
