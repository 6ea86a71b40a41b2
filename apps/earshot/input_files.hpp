// The files that this run has opened to read, so that none of them is written over.
//
// Sounds, scenes and tables are opened in many places, some by way of each other; a list that each
// of them had to be passed on to would sooner or later miss one.
#pragma once

#include <sys/stat.h>

namespace earshot_tool {

// Takes note of a file, by whatever name it was opened. A terminal or /dev/null is none.
void note_input(int descriptor);

bool is_input(const struct stat &status);

// Where the next rendering of the same process begins: what was read before is not its input.
void forget_inputs();

} // namespace earshot_tool
