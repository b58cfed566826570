/* Reads surface files in C and C++. This header needs no library. It is valid C99 and C++, allocates nothing, and
 * accepts files at any address, on machines of either byte order.
 *
 *     struct quillory_surface surface;
 *     if (quillory_surface_open(&surface, bytes, size) == QUILLORY_ACCEPTED) {
 *         uint32_t argb = quillory_surface_pixel(&surface, x, y);
 *     }
 *
 * The file may be untrusted: no content makes these functions read outside its bytes.
 */
#ifndef QUILLORY_SURFACE_H
#define QUILLORY_SURFACE_H

#include <stddef.h>
#include <stdint.h>

/* The color modes with pixels. */
enum quillory_mode {
    QUILLORY_ARGB8888 = 0,
    QUILLORY_RGB888 = 1,
    QUILLORY_RGB565 = 2,
    QUILLORY_ARGB1555 = 3,
    QUILLORY_ARGB4444 = 4,
    QUILLORY_I8 = 5,
    QUILLORY_AI88 = 7,
    QUILLORY_A8 = 9
};

/* Why a file is rejected. The checks are made in this order. */
enum quillory_verdict {
    QUILLORY_ACCEPTED,
    QUILLORY_SHORT_HEADER, /* the file ends inside its header of 20 bytes */
    QUILLORY_BAD_MODE,     /* the mode has no pixels */
    QUILLORY_BAD_WIDTH,    /* the width is not between 1 and 2147483647 */
    QUILLORY_BAD_HEIGHT,   /* likewise for the height */
    QUILLORY_BAD_STRIDE,   /* the stride is less than the bytes of a row's pixels */
    QUILLORY_SHORT_ROWS    /* the file ends before the end of its last row */
};

/* A surface file in memory. Only the functions below use the fields. */
struct quillory_surface {
    const uint8_t* rows; /* in the caller's buffer */
    uint32_t rotation, mode, stride;
    uint32_t stored_width, stored_height; /* of the stored array, which may be rotated */
};

/* Bytes per pixel; 0 for a mode without pixels. */
static inline uint32_t quillory_pixel_bytes(uint32_t mode) {
    static const uint8_t bytes[] = {4, 3, 2, 2, 2, 1, 0, 2, 0, 1};
    return mode < sizeof bytes ? bytes[mode] : 0U;
}

/* `count` bytes, up to 4, as a little-endian word. */
static inline uint32_t quillory_word(const uint8_t* bytes, uint32_t count) {
    uint32_t word = 0;
    while (count > 0) {
        --count;
        word = word << 8 | bytes[count];
    }
    return word;
}

/* Checks the header of a file that has `row_bytes` bytes after it. */
static inline enum quillory_verdict quillory_judge(const struct quillory_surface* surface,
                                                   size_t row_bytes) {
    const uint32_t max_pixels = 0x7FFFFFFF;
    const uint32_t pixel_bytes = quillory_pixel_bytes(surface->mode);
    if (pixel_bytes == 0) {
        return QUILLORY_BAD_MODE;
    }
    if (surface->stored_width < 1 || surface->stored_width > max_pixels) {
        return QUILLORY_BAD_WIDTH;
    }
    if (surface->stored_height < 1 || surface->stored_height > max_pixels) {
        return QUILLORY_BAD_HEIGHT;
    }
    /* The product of two header words fits 64 bits. */
    if (surface->stride < (uint64_t)surface->stored_width * pixel_bytes) {
        return QUILLORY_BAD_STRIDE;
    }
    if ((uint64_t)surface->stored_height * surface->stride > row_bytes) {
        return QUILLORY_SHORT_ROWS;
    }
    return QUILLORY_ACCEPTED;
}

/* Checks the surface file of `size` bytes at `file` and fills in `surface`, which is valid as long as these bytes
 * are. If the file is rejected, the surface has 0 by 0 pixels. */
static inline enum quillory_verdict quillory_surface_open(struct quillory_surface* surface,
                                                          const void* file, size_t size) {
    const struct quillory_surface empty = {NULL, 0, 0, 0, 0, 0};
    const size_t header_bytes = 20;
    const uint8_t* const bytes = (const uint8_t*)file;
    enum quillory_verdict verdict;
    *surface = empty;
    if (size < header_bytes) {
        return QUILLORY_SHORT_HEADER;
    }
    surface->rows = bytes + header_bytes;
    surface->rotation = quillory_word(bytes, 4);
    surface->mode = quillory_word(bytes + 4, 4);
    surface->stored_width = quillory_word(bytes + 8, 4);
    surface->stored_height = quillory_word(bytes + 12, 4);
    surface->stride = quillory_word(bytes + 16, 4);
    verdict = quillory_judge(surface, size - header_bytes);
    if (verdict != QUILLORY_ACCEPTED) {
        *surface = empty;
    }
    return verdict;
}

/* One of enum quillory_mode. */
static inline uint32_t quillory_surface_mode(const struct quillory_surface* surface) {
    return surface->mode;
}

/* The file's rotation in degrees counter-clockwise. Any value except 90, 180 and 270 means 0. Callers can ignore the
 * rotation: sizes and positions below are those of the upright picture. */
static inline uint32_t quillory_surface_rotation(const struct quillory_surface* surface) {
    return surface->rotation;
}

static inline uint32_t quillory_surface_width(const struct quillory_surface* surface) {
    return surface->rotation == 90 || surface->rotation == 270 ? surface->stored_height
                                                               : surface->stored_width;
}

static inline uint32_t quillory_surface_height(const struct quillory_surface* surface) {
    return surface->rotation == 90 || surface->rotation == 270 ? surface->stored_width
                                                               : surface->stored_height;
}

/* The stored bytes of pixel (x, y), or null outside the picture. */
static inline const uint8_t* quillory_surface_pixel_at(const struct quillory_surface* surface,
                                                       uint32_t x, uint32_t y) {
    uint32_t column = x, row = y;
    if (x >= quillory_surface_width(surface) || y >= quillory_surface_height(surface)) {
        return NULL;
    }
    switch (surface->rotation) {
    case 90:
        column = y;
        row = surface->stored_height - 1 - x;
        break;
    case 180:
        column = surface->stored_width - 1 - x;
        row = surface->stored_height - 1 - y;
        break;
    case 270:
        column = surface->stored_width - 1 - y;
        row = x;
        break;
    default:
        break;
    }
    /* The offset is less than the checked size, so both products fit a size_t. */
    return surface->rows + (size_t)row * surface->stride +
           (size_t)column * quillory_pixel_bytes(surface->mode);
}

/* Alpha in bits 24-31, red in 16-23, green in 8-15, blue in 0-7. */
static inline uint32_t quillory_argb(uint32_t alpha, uint32_t red, uint32_t green, uint32_t blue) {
    return alpha << 24 | red << 16 | green << 8 | blue;
}

/* These functions widen a field to 8 bits, to the nearest value: all zeros become 0, all ones 255. */
static inline uint32_t quillory_widen_4(uint32_t field) {
    return field * 17;
}

static inline uint32_t quillory_widen_5(uint32_t field) {
    return (field * 527 + 23) >> 6;
}

static inline uint32_t quillory_widen_6(uint32_t field) {
    return (field * 259 + 33) >> 6;
}

/* Pixel (x, y) of the picture as 0xAARRGGBB, not premultiplied; 0 outside the picture. Modes without alpha are
 * opaque. Red, green and blue of an I8 or AI88 pixel all have its gray value or palette index: the file does not say
 * which of the two it is, and has no palette. A8 pixels are black with alpha. */
static inline uint32_t quillory_surface_pixel(const struct quillory_surface* surface, uint32_t x,
                                              uint32_t y) {
    const uint8_t* const pixel = quillory_surface_pixel_at(surface, x, y);
    uint32_t word;
    if (pixel == NULL) {
        return 0;
    }
    word = quillory_word(pixel, quillory_pixel_bytes(surface->mode));
    switch (surface->mode) {
    case QUILLORY_ARGB8888:
        return word;
    case QUILLORY_RGB888:
        return 0xFF000000U | word;
    case QUILLORY_RGB565:
        return quillory_argb(255, quillory_widen_5(word >> 11), quillory_widen_6(word >> 5 & 63),
                             quillory_widen_5(word & 31));
    case QUILLORY_ARGB1555:
        return quillory_argb((word >> 15) * 255, quillory_widen_5(word >> 10 & 31),
                             quillory_widen_5(word >> 5 & 31), quillory_widen_5(word & 31));
    case QUILLORY_ARGB4444:
        return quillory_argb(quillory_widen_4(word >> 12), quillory_widen_4(word >> 8 & 15),
                             quillory_widen_4(word >> 4 & 15), quillory_widen_4(word & 15));
    case QUILLORY_I8:
        return quillory_argb(255, word, word, word);
    case QUILLORY_AI88:
        return quillory_argb(word >> 8, word & 255, word & 255, word & 255);
    default: /* QUILLORY_A8, since other modes are rejected */
        return quillory_argb(word, 0, 0, 0);
    }
}

#endif
