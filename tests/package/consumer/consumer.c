/* Uses only the C header: prints the size of the picture in a surface file. */
#include <inttypes.h>
#include <quillory_surface.h>
#include <stdio.h>

int main(int argc, char** argv) {
    static uint8_t bytes[1 << 20];
    struct quillory_surface surface;
    FILE* const file = argc == 2 ? fopen(argv[1], "rb") : NULL;
    if (file == NULL ||
        quillory_surface_open(&surface, bytes, fread(bytes, 1, sizeof bytes, file)) !=
            QUILLORY_ACCEPTED) {
        return 1;
    }
    printf("%" PRIu32 " x %" PRIu32 "\n", quillory_surface_width(&surface),
           quillory_surface_height(&surface));
    return 0;
}
