/* Reads a surface file from anywhere: checks it, maps it into memory, and prints what it holds or some of
 * its pixels. Made to be copied: it needs a C compiler and a system with mmap, and nothing of this project.
 *
 *     read_surface FILE             prints the image's size, the colour mode and the rotation
 *     read_surface FILE X Y ...     prints the pixels at these places of the image, a line each
 *
 * Exit status: 0, or 1 if the file cannot be used, or 2 if the command line is wrong.
 */
#define _POSIX_C_SOURCE 200809L
#define _FILE_OFFSET_BITS 64 /* files of 2 GiB and more on 32-bit systems too */

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

enum { FINE = 0, REFUSED = 1, WRONG_USE = 2 };
enum { ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88 = 7, A8 = 9, MODE_COUNT };
enum { HEADER_BYTES = 20, WORD_BYTES = 4 };

static const char* const mode_names[MODE_COUNT] = {
    [ARGB8888] = "ARGB8888", [RGB888] = "RGB888", [RGB565] = "RGB565", [ARGB1555] = "ARGB1555",
    [ARGB4444] = "ARGB4444", [I8] = "I8",         [AI88] = "AI88",     [A8] = "A8"};

/* Bytes a pixel; 0 for the two modes without pixels. */
static const uint32_t pixel_bytes[MODE_COUNT] = {
    [ARGB8888] = 4, [RGB888] = 3, [RGB565] = 2, [ARGB1555] = 2,
    [ARGB4444] = 2, [I8] = 1,     [AI88] = 2,   [A8] = 1};

struct surface {
    uint32_t rotation, mode;
    uint32_t width, height; /* of the stored array, which may be turned */
    uint32_t stride;
    const uint8_t* lines;
};

/* Byte by byte, so that it works at any address and on machines of either byte order. */
static uint32_t little_endian(const uint8_t* bytes, uint32_t count) {
    uint32_t word = 0;
    while (count > 0) {
        word = word << 8 | bytes[--count];
    }
    return word;
}

/* ---- Opening a file */

/* Fills in the surface that lies in `size` bytes, at least a header. Returns what is wrong with it, or
 * null; only what has been checked may be read later. */
static const char* read_header(const uint8_t* file, uint64_t size, struct surface* surface) {
    uint32_t header[HEADER_BYTES / WORD_BYTES];
    for (size_t i = 0; i < HEADER_BYTES / WORD_BYTES; ++i) {
        header[i] = little_endian(file + WORD_BYTES * i, WORD_BYTES);
    }
    *surface = (struct surface){.rotation = header[0],
                                .mode = header[1],
                                .width = header[2],
                                .height = header[3],
                                .stride = header[4],
                                .lines = file + HEADER_BYTES};
    if (surface->mode >= MODE_COUNT || pixel_bytes[surface->mode] == 0) {
        return "its colour mode has no pixels";
    }
    if (surface->width < 1 || surface->width > INT32_MAX) {
        return "its width is not between 1 and 2147483647";
    }
    if (surface->height < 1 || surface->height > INT32_MAX) {
        return "its height is not between 1 and 2147483647";
    }
    /* Products of two header words need 64 bits, and fit. */
    if (surface->stride < (uint64_t)surface->width * pixel_bytes[surface->mode]) {
        return "its stride is less than the pixels of a line";
    }
    if ((uint64_t)surface->height * surface->stride > size - HEADER_BYTES) {
        return "it ends before its last line does";
    }
    return NULL;
}

/* Maps an open file and reads its header. Returns what is wrong, or null. The mapping stays until the
 * program ends. Should somebody make the file shorter meanwhile, the system ends the program (SIGBUS) where
 * it reads beyond the new end; who has to survive that reads the file into memory of his own. */
static const char* map_surface(int file, struct surface* surface) {
    struct stat status;
    if (fstat(file, &status) != 0) {
        return strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    if (status.st_size < HEADER_BYTES) { /* an empty file could not even be mapped */
        return "it is shorter than the header of 20 bytes";
    }
    const uint64_t size = (uint64_t)status.st_size;
    if (size > SIZE_MAX) {
        return "it is larger than the memory that there could be";
    }
    void* const bytes = mmap(NULL, (size_t)size, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes == MAP_FAILED) {
        return strerror(errno);
    }
    return read_header(bytes, size, surface);
}

static const char* open_surface(const char* path, struct surface* surface) {
    /* Without O_NONBLOCK a pipe would keep us waiting for somebody to write. */
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return strerror(errno);
    }
    const char* const fault = map_surface(file, surface);
    close(file); /* the mapping stays */
    return fault;
}

/* ---- Pixels of the image, which is upright whatever the rotation of the stored array */

static bool is_on_its_side(const struct surface* surface) {
    return surface->rotation == 90 || surface->rotation == 270;
}

static uint32_t image_width(const struct surface* surface) {
    return is_on_its_side(surface) ? surface->height : surface->width;
}

static uint32_t image_height(const struct surface* surface) {
    return is_on_its_side(surface) ? surface->width : surface->height;
}

/* The stored bytes of the image's pixel (x, y), which must be inside. */
static const uint8_t* pixel_at(const struct surface* surface, uint32_t x, uint32_t y) {
    uint32_t column = x;
    uint32_t line = y;
    switch (surface->rotation) {
    case 90:
        column = y;
        line = surface->height - 1 - x;
        break;
    case 180:
        column = surface->width - 1 - x;
        line = surface->height - 1 - y;
        break;
    case 270:
        column = surface->width - 1 - y;
        line = x;
        break;
    default: /* 0, and any other value means the same */
        break;
    }
    return surface->lines + (size_t)line * surface->stride +
           (size_t)column * pixel_bytes[surface->mode];
}

/* Fields of fewer bits become 8 bits wide, to the nearest value: all zeros become 0, all ones 255. */
static uint32_t widen_4(uint32_t field) {
    return field * 17;
}

static uint32_t widen_5(uint32_t field) {
    return (field * 527 + 23) >> 6;
}

static uint32_t widen_6(uint32_t field) {
    return (field * 259 + 33) >> 6;
}

static void print_color(uint32_t alpha, uint32_t red, uint32_t green, uint32_t blue) {
    printf("alpha %" PRIu32 " red %" PRIu32 " green %" PRIu32 " blue %" PRIu32 "\n", alpha, red,
           green, blue);
}

static void print_pixel(const struct surface* surface, uint32_t x, uint32_t y) {
    const uint32_t word = little_endian(pixel_at(surface, x, y), pixel_bytes[surface->mode]);
    switch (surface->mode) {
    case ARGB8888:
        print_color(word >> 24, word >> 16 & 255, word >> 8 & 255, word & 255);
        break;
    case RGB888:
        print_color(255, word >> 16, word >> 8 & 255, word & 255);
        break;
    case RGB565:
        print_color(255, widen_5(word >> 11), widen_6(word >> 5 & 63), widen_5(word & 31));
        break;
    case ARGB1555:
        print_color((word >> 15) * 255, widen_5(word >> 10 & 31), widen_5(word >> 5 & 31),
                    widen_5(word & 31));
        break;
    case ARGB4444:
        print_color(widen_4(word >> 12), widen_4(word >> 8 & 15), widen_4(word >> 4 & 15),
                    widen_4(word & 15));
        break;
    case I8: /* grey or an index: the file does not say which, and has no palette */
        printf("value %" PRIu32 "\n", word);
        break;
    case AI88:
        printf("value %" PRIu32 " alpha %" PRIu32 "\n", word & 255, word >> 8);
        break;
    default: /* A8, since all others have been refused */
        printf("alpha %" PRIu32 "\n", word);
        break;
    }
}

static void print_facts(const struct surface* surface) {
    printf("size %" PRIu32 " x %" PRIu32 "\n", image_width(surface), image_height(surface));
    printf("mode %" PRIu32 " %s\n", surface->mode, mode_names[surface->mode]);
    printf("rotation %" PRIu32 "\n", surface->rotation);
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

static int print_pixels(const struct surface* surface, char** words, int count) {
    for (int i = 0; i < count; i += 2) {
        const uint64_t x = number_in(words[i]);
        const uint64_t y = number_in(words[i + 1]);
        if (x >= image_width(surface) || y >= image_height(surface)) {
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
    struct surface surface = {0};
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
