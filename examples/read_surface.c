/* Reads an untrusted surface file: maps it into memory, checks it, and prints its properties or some of its pixels. You
 * may copy this program. It needs a C compiler, a system with mmap, and one header of this project, which implements
 * the format.
 *
 *     read_surface FILE             prints the image's size, the color mode and the rotation
 *     read_surface FILE X Y ...     prints the pixels at these coordinates of the image, one on each line
 *
 * With --palette NAME.palette before FILE, prints the colors of palette indices.
 *
 * Exit status: 0, or 1 if the file cannot be used, or 2 if the command line is wrong.
 */
#define _POSIX_C_SOURCE 200809L
#define _FILE_OFFSET_BITS 64 /* for files of 2 GiB and more on 32-bit systems */

#include "quillory_surface.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

enum { SUCCESS = 0, REJECTED = 1, USAGE_ERROR = 2 };

static const char* const mode_names[] = {
    [QUILLORY_ARGB8888] = "ARGB8888", [QUILLORY_RGB888] = "RGB888",
    [QUILLORY_RGB565] = "RGB565",     [QUILLORY_ARGB1555] = "ARGB1555",
    [QUILLORY_ARGB4444] = "ARGB4444", [QUILLORY_I8] = "I8",
    [QUILLORY_AI88] = "AI88",         [QUILLORY_A8] = "A8"};

/* The reasons for a rejection. */
static const char* const reasons[] = {
    [QUILLORY_ACCEPTED] = NULL,
    [QUILLORY_SHORT_HEADER] = "it is shorter than the 20-byte header",
    [QUILLORY_BAD_MODE] = "its color mode has no pixels",
    [QUILLORY_BAD_WIDTH] = "its width is not between 1 and 2147483647",
    [QUILLORY_BAD_HEIGHT] = "its height is not between 1 and 2147483647",
    [QUILLORY_BAD_STRIDE] = "its stride is less than the pixels of a row",
    [QUILLORY_SHORT_ROWS] = "it ends before the end of its last row"};

/* ---- Opening a file */

/* Maps an open file and checks it. Returns the reason of a rejection, or null. The mapping stays until the program
 * ends. If another program truncates the file in the meantime, a read beyond the new end raises SIGBUS. A program that
 * must survive that has to read the file into its own memory. */
static const char* map_surface(int file, struct quillory_surface* surface) {
    struct stat status;
    if (fstat(file, &status) != 0) {
        return strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    if (status.st_size == 0) { /* mmap rejects an empty file */
        return reasons[QUILLORY_SHORT_HEADER];
    }
    const uint64_t size = (uint64_t)status.st_size;
    if (size > SIZE_MAX) {
        return "it is larger than the address space";
    }
    void* const bytes = mmap(NULL, (size_t)size, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes == MAP_FAILED) {
        return strerror(errno);
    }
    return reasons[quillory_surface_open(surface, bytes, (size_t)size)];
}

static const char* open_surface(const char* path, struct quillory_surface* surface) {
    /* Without O_NONBLOCK, opening a pipe would wait for a writer. */
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return strerror(errno);
    }
    const char* const fault = map_surface(file, surface);
    close(file); /* the mapping stays valid */
    return fault;
}

/* ---- Palettes */

/* The content of a palette file: 256 entries of blue, green, red and optionally alpha. */
struct palette {
    uint8_t entries[256 * 4 + 1]; /* one more byte, to detect a file that is too long */
    size_t entry_bytes;           /* 0 without a palette */
};

static const char* read_palette(const char* path, struct palette* palette) {
    FILE* const file = fopen(path, "rb");
    if (file == NULL) {
        return strerror(errno);
    }
    const size_t size = fread(palette->entries, 1, sizeof palette->entries, file);
    const int is_broken = ferror(file);
    fclose(file);
    if (is_broken || (size != 256 * 3 && size != 256 * 4)) {
        return "it is not a palette file of 768 or 1024 bytes";
    }
    palette->entry_bytes = size / 256;
    return NULL;
}

static int has_indices(const struct quillory_surface* surface) {
    const uint32_t mode = quillory_surface_mode(surface);
    return mode == QUILLORY_I8 || mode == QUILLORY_AI88;
}

/* The color of an index. AI88 has its own alpha beside the index. */
static uint32_t color_of(const struct palette* palette, uint32_t mode, uint32_t value) {
    const uint8_t* const entry = palette->entries + (value & 255) * palette->entry_bytes;
    uint32_t alpha = palette->entry_bytes == 4 ? entry[3] : 255;
    if (mode == QUILLORY_AI88) {
        alpha = value >> 24;
    }
    return alpha << 24 | (uint32_t)entry[2] << 16 | (uint32_t)entry[1] << 8 | entry[0];
}

/* ---- Printing */

static void print_color(uint32_t argb) {
    printf("alpha %" PRIu32 " red %" PRIu32 " green %" PRIu32 " blue %" PRIu32 "\n", argb >> 24,
           argb >> 16 & 255, argb >> 8 & 255, argb & 255);
}

static void print_pixel(const struct quillory_surface* surface, const struct palette* palette,
                        uint32_t x, uint32_t y) {
    const uint32_t argb = quillory_surface_pixel(surface, x, y);
    const uint32_t mode = quillory_surface_mode(surface);
    const uint32_t alpha = argb >> 24;
    const uint32_t blue = argb & 255;
    if (palette->entry_bytes != 0) {
        print_color(color_of(palette, mode, argb));
        return;
    }
    switch (mode) {
    case QUILLORY_I8: /* a gray value or an index: the file does not distinguish them */
        printf("value %" PRIu32 "\n", blue);
        break;
    case QUILLORY_AI88:
        printf("value %" PRIu32 " alpha %" PRIu32 "\n", blue, alpha);
        break;
    case QUILLORY_A8:
        printf("alpha %" PRIu32 "\n", alpha);
        break;
    default:
        print_color(argb);
        break;
    }
}

static void print_properties(const struct quillory_surface* surface) {
    const uint32_t mode = quillory_surface_mode(surface);
    printf("size %" PRIu32 " x %" PRIu32 "\n", quillory_surface_width(surface),
           quillory_surface_height(surface));
    printf("mode %" PRIu32 " %s\n", mode, mode_names[mode]);
    printf("rotation %" PRIu32 "\n", quillory_surface_rotation(surface));
}

/* ---- The command line */

/* The number in a word of up to ten digits. For other words, a number larger than every image. */
static uint64_t parse_number(const char* word) {
    const size_t digits = strspn(word, "0123456789");
    if (digits < 1 || digits > 10 || word[digits] != '\0') {
        return UINT64_MAX;
    }
    return strtoull(word, NULL, 10);
}

static int print_pixels(const struct quillory_surface* surface, const struct palette* palette,
                        char** words, int count) {
    for (int i = 0; i < count; i += 2) {
        const uint64_t x = parse_number(words[i]);
        const uint64_t y = parse_number(words[i + 1]);
        if (x >= quillory_surface_width(surface) || y >= quillory_surface_height(surface)) {
            fprintf(stderr, "read_surface: no pixel of the image: %s %s\n", words[i], words[i + 1]);
            return USAGE_ERROR;
        }
        print_pixel(surface, palette, (uint32_t)x, (uint32_t)y);
    }
    return SUCCESS;
}

static int reject(const char* path, const char* fault) {
    fprintf(stderr, "read_surface: %s: %s\n", path, fault);
    return REJECTED;
}

/* Reads the surface file words[0]. Coordinates follow it. */
static int read_surface(const struct palette* palette, char** words, int count) {
    struct quillory_surface surface = {0};
    const char* const fault = open_surface(words[0], &surface);
    if (fault != NULL) {
        return reject(words[0], fault);
    }
    if (palette->entry_bytes != 0 && !has_indices(&surface)) {
        return reject(words[0], "its color mode has no palette indices");
    }
    if (count > 1) {
        return print_pixels(&surface, palette, words + 1, count - 1);
    }
    print_properties(&surface);
    return SUCCESS;
}

int main(int argc, char** argv) {
    const int has_palette = argc > 1 && strcmp(argv[1], "--palette") == 0;
    const int first = has_palette ? 3 : 1; /* the surface file */
    if (argc <= first || (argc - first) % 2 == 0) {
        fputs("usage: read_surface [--palette FILE] FILE [X Y]...\n", stderr);
        return USAGE_ERROR;
    }
    struct palette palette = {{0}, 0};
    const char* const fault = has_palette ? read_palette(argv[2], &palette) : NULL;
    if (fault != NULL) {
        return reject(argv[2], fault);
    }
    const int status = read_surface(&palette, argv + first, argc - first);
    if (fflush(stdout) != 0) { /* for example, a full disk */
        perror("read_surface: standard output");
        return REJECTED;
    }
    return status;
}
