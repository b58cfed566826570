/* Reads a surface file from anywhere: checks it, maps it into memory, and prints what it holds or some of
 * its pixels. Made to be copied: it needs a C compiler, a system with mmap, and of this project one header, which does
 * all that has to do with the format.
 *
 *     read_surface FILE             prints the image's size, the colour mode and the rotation
 *     read_surface FILE X Y ...     prints the pixels at these places of the image, a line each
 *
 * Exit status: 0, or 1 if the file cannot be used, or 2 if the command line is wrong.
 */
#define _POSIX_C_SOURCE 200809L
#define _FILE_OFFSET_BITS 64 /* files of 2 GiB and more on 32-bit systems too */

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

enum { FINE = 0, REFUSED = 1, WRONG_USE = 2 };

static const char* const mode_names[] = {
    [QUILLORY_ARGB8888] = "ARGB8888", [QUILLORY_RGB888] = "RGB888",
    [QUILLORY_RGB565] = "RGB565",     [QUILLORY_ARGB1555] = "ARGB1555",
    [QUILLORY_ARGB4444] = "ARGB4444", [QUILLORY_I8] = "I8",
    [QUILLORY_AI88] = "AI88",         [QUILLORY_A8] = "A8"};

/* What is wrong with a file that is rejected. */
static const char* const reasons[] = {
    [QUILLORY_ACCEPTED] = NULL,
    [QUILLORY_SHORT_HEADER] = "it is shorter than the header of 20 bytes",
    [QUILLORY_BAD_MODE] = "its colour mode has no pixels",
    [QUILLORY_BAD_WIDTH] = "its width is not between 1 and 2147483647",
    [QUILLORY_BAD_HEIGHT] = "its height is not between 1 and 2147483647",
    [QUILLORY_BAD_STRIDE] = "its stride is less than the pixels of a line",
    [QUILLORY_SHORT_ROWS] = "it ends before its last line does"};

/* ---- Opening a file */

/* Maps an open file and checks it. Returns what is wrong, or null. The mapping stays until the
 * program ends. Should somebody make the file shorter meanwhile, the system ends the program (SIGBUS) where
 * it reads beyond the new end; who has to survive that reads the file into memory of his own. */
static const char* map_surface(int file, struct quillory_surface* surface) {
    struct stat status;
    if (fstat(file, &status) != 0) {
        return strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    if (status.st_size == 0) { /* such a file could not even be mapped */
        return reasons[QUILLORY_SHORT_HEADER];
    }
    const uint64_t size = (uint64_t)status.st_size;
    if (size > SIZE_MAX) {
        return "it is larger than the memory that there could be";
    }
    void* const bytes = mmap(NULL, (size_t)size, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes == MAP_FAILED) {
        return strerror(errno);
    }
    return reasons[quillory_surface_open(surface, bytes, (size_t)size)];
}

static const char* open_surface(const char* path, struct quillory_surface* surface) {
    /* Without O_NONBLOCK a pipe would keep us waiting for somebody to write. */
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return strerror(errno);
    }
    const char* const fault = map_surface(file, surface);
    close(file); /* the mapping stays */
    return fault;
}

/* ---- Printing */

static void print_pixel(const struct quillory_surface* surface, uint32_t x, uint32_t y) {
    const uint32_t argb = quillory_surface_pixel(surface, x, y);
    const uint32_t alpha = argb >> 24;
    const uint32_t blue = argb & 255;
    switch (quillory_surface_mode(surface)) {
    case QUILLORY_I8: /* grey or an index: the file does not say which, and has no palette */
        printf("value %" PRIu32 "\n", blue);
        break;
    case QUILLORY_AI88:
        printf("value %" PRIu32 " alpha %" PRIu32 "\n", blue, alpha);
        break;
    case QUILLORY_A8:
        printf("alpha %" PRIu32 "\n", alpha);
        break;
    default:
        printf("alpha %" PRIu32 " red %" PRIu32 " green %" PRIu32 " blue %" PRIu32 "\n", alpha,
               argb >> 16 & 255, argb >> 8 & 255, blue);
        break;
    }
}

static void print_facts(const struct quillory_surface* surface) {
    const uint32_t mode = quillory_surface_mode(surface);
    printf("size %" PRIu32 " x %" PRIu32 "\n", quillory_surface_width(surface),
           quillory_surface_height(surface));
    printf("mode %" PRIu32 " %s\n", mode, mode_names[mode]);
    printf("rotation %" PRIu32 "\n", quillory_surface_rotation(surface));
}

/* ---- The command line */

/* A number of up to ten digits, or one that no image is as large as. */
static uint64_t number_in(const char* word) {
    const size_t digits = strspn(word, "0123456789");
    if (digits < 1 || digits > 10 || word[digits] != '\0') {
        return UINT64_MAX;
    }
    return strtoull(word, NULL, 10);
}

static int print_pixels(const struct quillory_surface* surface, char** words, int count) {
    for (int i = 0; i < count; i += 2) {
        const uint64_t x = number_in(words[i]);
        const uint64_t y = number_in(words[i + 1]);
        if (x >= quillory_surface_width(surface) || y >= quillory_surface_height(surface)) {
            fprintf(stderr, "read_surface: no pixel of the image: %s %s\n", words[i], words[i + 1]);
            return WRONG_USE;
        }
        print_pixel(surface, (uint32_t)x, (uint32_t)y);
    }
    return FINE;
}

int main(int argc, char** argv) {
    if (argc < 2 || argc % 2 != 0) {
        fputs("usage: read_surface FILE [X Y]...\n", stderr);
        return WRONG_USE;
    }
    struct quillory_surface surface = {0};
    const char* const fault = open_surface(argv[1], &surface);
    if (fault != NULL) {
        fprintf(stderr, "read_surface: %s: %s\n", argv[1], fault);
        return REFUSED;
    }
    int status = FINE;
    if (argc == 2) {
        print_facts(&surface);
    } else {
        status = print_pixels(&surface, argv + 2, argc - 2);
    }
    if (fflush(stdout) != 0) { /* a full disk, for example */
        perror("read_surface: standard output");
        return REFUSED;
    }
    return status;
}
