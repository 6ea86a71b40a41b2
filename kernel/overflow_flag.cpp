// The process-wide overflow flag.
#include <earshot/kernel.h>

extern "C" {

s32 giOverflow = 0;
s32 giOldOverflow = 0;

s32 clearOverflow(void) {
    giOldOverflow = giOverflow;
    giOverflow = 0;
    return giOldOverflow;
}

s32 setOverflow(void) {
    giOldOverflow = giOverflow;
    giOverflow = 1;
    return giOldOverflow;
}

s32 isOverflow(void) { return giOverflow; }

s32 popOverflow(void) {
    const s32 before = giOverflow;
    giOverflow = giOldOverflow;
    return before;
}

} // extern "C"
