/*
 * A field of third order: a wave comes from azimuth 60, and the listener's head turns towards it
 * within half a second, a rotation for the end of every block of 96 samples. Prints from where the
 * listener hears it.
 */
#include <earshot/field.h>

#include <math.h>
#include <stdio.h>

#define ORDER 3
#define CHANNELS 16 /* (ORDER + 1)^2 */
#define BLOCK 96
#define BLOCKS 250 /* half a second */

static const double degree = 3.14159265358979323846 / 180;

/* Of a head that has turned to the left. */
static u32 rotation_at(double yaw, earshot_field_rotation *rotation) {
    const double half = yaw / 2 * degree;
    const s32 quaternion[4] = {(s32)(cos(half) * 2147483647), 0, 0, (s32)(sin(half) * 2147483647)};
    return earshot_field_rotation_of(ORDER, quaternion, rotation);
}

int main(void) {
    static s32 planes[CHANNELS][BLOCK];
    s32 *channels[CHANNELS], gains[CHANNELS];
    earshot_field_rotation from, to;
    u64 clipped = 0;
    int block, k, i;
    for (k = 0; k < CHANNELS; ++k) channels[k] = planes[k];
    if (earshot_field_gains(ORDER, 715827883 /* 60 / 360 2^32 */, 0, gains) != EARSHOT_OK ||
        rotation_at(0, &from) != EARSHOT_OK)
        return 1;
    for (block = 1; block <= BLOCKS; ++block) {
        /* A wave at half of full scale; any samples would do. */
        for (k = 0; k < CHANNELS; ++k)
            for (i = 0; i < BLOCK; ++i) planes[k][i] = gains[k];
        if (rotation_at(60.0 * block / BLOCKS, &to) != EARSHOT_OK ||
            earshot_field_rotate(&from, &to, BLOCK, 0, BLOCK, channels, &clipped) != EARSHOT_OK)
            return 1;
        from = to;
        if (block % 50 == 0) /* Y and X are channels 1 and 3 */
            printf("%.1f s: azimuth %.1f\n", block * BLOCK / 48000.0,
                   fabs(atan2(planes[1][BLOCK - 1], planes[3][BLOCK - 1]) / degree));
    }
    return clipped != 0;
}
