/*
 * A program that names the library's tables. Where it is linked to fixed addresses, it gets copies
 * of its own; the library must go on with the tables that lie in it, in their order.
 */
#include <earshot/hrtf.h>

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void expect(int holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

int main(int argc, char **argv) {
    /* The library's own symbols come first in its handle, whatever the program defines. */
    void *library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) : NULL;
    const char *filters, *amb, *rows;
    const s32(*const *used)[2];
    hrtf_filter_info record = {0, 0, 0, 0, 0, 0, NULL, NULL}, *info = &record;

    if (library == NULL) {
        fprintf(stderr, "usage: table_copies LIBRARY, the one that the program is linked with\n");
        return 1;
    }
    filters = (const char *)dlsym(library, "hrtf_kemar_diffuse_rfft256");
    amb = (const char *)dlsym(library, "hrtf_kemar_amb_rfft256");
    rows = (const char *)dlsym(library, "hrtf_kemar_diffuse_table_info");
    used = (const s32(*const *)[2])dlsym(library, "hrtf_fft_filter");
    expect(filters != NULL && amb != NULL && rows != NULL && used != NULL, "dlsym");
    if (failures != 0) return 1;

    expect((const char *)hrtf_kemar_diffuse_rfft256 != filters, "the program has its own copy");
    expect(memcmp(hrtf_kemar_diffuse_rfft256, filters, sizeof hrtf_kemar_diffuse_rfft256) == 0,
           "the copy is one");

    expect((uintptr_t)amb == (uintptr_t)filters + 1007616 &&
               (uintptr_t)rows == (uintptr_t)amb + 51200,
           "the order of the tables");
    expect((const char *)used[0] == filters && (const char *)used[1] == amb,
           "the filter pointers of the library");
    expect((const char *)hrtf_fft_filter[0] == filters && (const char *)hrtf_fft_filter[1] == amb,
           "the filter pointers that the program sees");
    expect((const char *)hrtf_table_info[0] == rows, "the row pointer that the program sees");
    expect(get_filter_info(&info) == 0 && (const char *)record.filters == filters &&
               (const char *)record.table_info == rows,
           "the tables of get_filter_info");
    return failures != 0;
}
