#include <earshot/earshot.h>

#include <stdio.h>

int main(void) {
    printf("earshot %s on %s: sin 90 = %ld\n", earshot_version(), earshot_instruction_set(),
           (long)high_precision_sin(EARSHOT_HALF_PI_Q31));
    return high_precision_sin(EARSHOT_HALF_PI_Q31) == 0x7FFFFFFF ? 0 : 1;
}
