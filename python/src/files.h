/*
 * Sound files and measured heads for the Python package, read by the code of the command-line
 * tool, so that a scene gives the same samples here and there.
 */
#ifndef EARSHOT_PYTHON_FILES_H
#define EARSHOT_PYTHON_FILES_H

#include <earshot/scene.h>

EARSHOT_BEGIN_C

typedef struct earshot_sounds earshot_sounds;

/*
 * Opens the files of a scene's sources and makes inputs of them, for streams that end before the
 * sounds are closed. Names in the scene start from the folder. given: a byte for each source, not 0
 * where its sound comes from elsewhere, whose input is left alone. name: of the scene, which
 * messages begin with. Returns a status; error tells why.
 */
u32 earshot_sounds_open(const earshot_scene *scene, const char *name, const char *folder,
                        const unsigned char *given, earshot_scene_input *inputs,
                        earshot_sounds **sounds, earshot_scene_error *error);
void earshot_sounds_close(earshot_sounds *sounds);

/* Why a sound could not be read on; empty where none failed. */
const char *earshot_sounds_fault(const earshot_sounds *sounds);

/* What there is to say of how the files are taken, a line for each; and samples that were clipped
 * on reading and by the conversion of their rate so far. */
const char *earshot_sounds_notes(const earshot_sounds *sounds);
u64 earshot_sounds_clipped(const earshot_sounds *sounds);

typedef struct earshot_made_head earshot_made_head;

/* Prepares a head from the bytes of a SOFA file as 'earshot head' does; name: for messages. */
u32 earshot_head_prepare(const char *name, const void *sofa, size_t size, earshot_made_head **made,
                         earshot_scene_error *error);
const void *earshot_made_head_bytes(const earshot_made_head *made, size_t *size);
const char *earshot_made_head_notes(const earshot_made_head *made);
void earshot_made_head_free(earshot_made_head *made);

EARSHOT_END_C

#endif
