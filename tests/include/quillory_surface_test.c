/* The header for programs in C, in plain C99 and without a test library, so that it runs wherever a C compiler does:
 * on machines of 32 bits and of the other byte order too. */
#include "quillory_surface.h" /* first, to show that it needs nothing before it */

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { HEADER_BYTES = 20, MODES = 10 };
enum { ROTATION, MODE, WIDTH, HEIGHT, STRIDE, HEADER_WORDS };

static int failures;

/* What a check was about: printed where it fails. */
static const char* context_text = "";
static uint32_t context_values[3];

static void context(const char* text, uint32_t a, uint32_t b, uint32_t c) {
    context_text = text;
    context_values[0] = a;
    context_values[1] = b;
    context_values[2] = c;
}

static void expect_equal(int line, uint32_t expected, uint32_t actual) {
    if (expected != actual) {
        printf("line %d, %s %" PRIu32 " %" PRIu32 " %" PRIu32 ": expected %" PRIx32
               ", but it is %" PRIx32 "\n",
               line, context_text, context_values[0], context_values[1], context_values[2],
               expected, actual);
        ++failures;
    }
}

#define EXPECT_EQUAL(expected, actual) expect_equal(__LINE__, (expected), (actual))

/* ---- Files */

static const uint32_t good[HEADER_WORDS] = {0, QUILLORY_RGB888, 3, 2, 9};
enum { GOOD_BYTES = HEADER_BYTES + 2 * 9 };

/* A file in a buffer of exactly its size, in which a sanitizer sees every read outside: a header, and rows whose bytes
 * are 1, 2, 3, ... */
static uint8_t* make_file(const uint32_t* header, size_t size) {
    uint8_t* const file = (uint8_t*)malloc(size + (size == 0));
    size_t i;
    if (file == NULL) {
        puts("not enough memory");
        exit(1);
    }
    for (i = 0; i < size; ++i) {
        if (i < HEADER_BYTES) {
            file[i] = (uint8_t)(header[i / 4] >> 8 * (i % 4));
        } else {
            file[i] = (uint8_t)(i - HEADER_BYTES + 1);
        }
    }
    return file;
}

/* What a rejected file leaves. */
static void expect_empty(const struct quillory_surface* surface) {
    EXPECT_EQUAL(0, quillory_surface_width(surface));
    EXPECT_EQUAL(0, quillory_surface_height(surface));
    EXPECT_EQUAL(0, quillory_surface_pixel(surface, 0, 0));
}

/* The verdict on a good file but for one word of its header. */
static uint32_t verdict_with(uint32_t field, uint32_t value, size_t size) {
    struct quillory_surface surface;
    uint32_t header[HEADER_WORDS];
    uint8_t* file;
    uint32_t verdict;
    memcpy(header, good, sizeof header);
    header[field] = value;
    file = make_file(header, size);
    verdict = (uint32_t)quillory_surface_open(&surface, file, size);
    if (verdict != QUILLORY_ACCEPTED) {
        expect_empty(&surface);
    }
    free(file);
    return verdict;
}

/* ---- Tests */

static void test_rejects_every_truncation(void) {
    size_t size;
    for (size = 0; size <= GOOD_BYTES + 4; ++size) {
        const uint32_t expected = size < HEADER_BYTES ? QUILLORY_SHORT_HEADER
                                  : size < GOOD_BYTES ? QUILLORY_SHORT_ROWS
                                                      : QUILLORY_ACCEPTED;
        context("size", (uint32_t)size, 0, 0);
        EXPECT_EQUAL(expected, verdict_with(ROTATION, 0, size));
    }
}

static void test_rejects_modes_without_pixels(void) {
    static const uint32_t modes[] = {6, 8, 10, 11, 256, 0x80000000U, 0xFFFFFFFFU};
    size_t i;
    for (i = 0; i < sizeof modes / sizeof modes[0]; ++i) {
        context("mode", modes[i], 0, 0);
        EXPECT_EQUAL(QUILLORY_BAD_MODE, verdict_with(MODE, modes[i], GOOD_BYTES));
    }
}

static void test_rejects_sizes_out_of_range(void) {
    static const uint32_t sides[] = {0, 0x80000000U, 0xFFFFFFFFU};
    size_t i;
    for (i = 0; i < sizeof sides / sizeof sides[0]; ++i) {
        context("side", sides[i], 0, 0);
        EXPECT_EQUAL(QUILLORY_BAD_WIDTH, verdict_with(WIDTH, sides[i], GOOD_BYTES));
        EXPECT_EQUAL(QUILLORY_BAD_HEIGHT, verdict_with(HEIGHT, sides[i], GOOD_BYTES));
    }
}

static void test_rejects_products_that_wrap_in_32_bits(void) {
    context("width times bytes a pixel", 0, 0, 0);
    EXPECT_EQUAL(QUILLORY_BAD_STRIDE, verdict_with(WIDTH, 0x55555556U, GOOD_BYTES)); /* 2 */
    EXPECT_EQUAL(QUILLORY_BAD_STRIDE, verdict_with(WIDTH, 0x7FFFFFFFU, GOOD_BYTES));
    context("height times stride", 0, 0, 0);
    EXPECT_EQUAL(QUILLORY_SHORT_ROWS, verdict_with(HEIGHT, 0x38E38E39U, GOOD_BYTES)); /* 1 */
    EXPECT_EQUAL(QUILLORY_SHORT_ROWS, verdict_with(HEIGHT, 0x7FFFFFFFU, GOOD_BYTES));
    EXPECT_EQUAL(QUILLORY_SHORT_ROWS, verdict_with(STRIDE, 0x80000000U, GOOD_BYTES)); /* 0 */
    EXPECT_EQUAL(QUILLORY_SHORT_ROWS, verdict_with(STRIDE, 0xFFFFFFFFU, GOOD_BYTES));
}

static void test_rejects_strides_that_hold_no_row(void) {
    uint32_t stride;
    for (stride = 0; stride <= 10; ++stride) {
        const uint32_t expected = stride < 9    ? QUILLORY_BAD_STRIDE
                                  : stride == 9 ? QUILLORY_ACCEPTED
                                                : QUILLORY_SHORT_ROWS;
        context("stride", stride, 0, 0);
        EXPECT_EQUAL(expected, verdict_with(STRIDE, stride, GOOD_BYTES));
    }
}

/* Where each pixel of the upright picture lies in a stored array of 3 by 2, whose values are 1 to 6 row by row. */
static void expect_picture(uint32_t rotation, uint32_t width, uint32_t height, const char* pixels) {
    const uint32_t header[HEADER_WORDS] = {rotation, QUILLORY_I8, 3, 2, 3};
    uint8_t* const file = make_file(header, HEADER_BYTES + 6);
    struct quillory_surface surface;
    uint32_t x, y;
    context("rotation", rotation, 0, 0);
    EXPECT_EQUAL(QUILLORY_ACCEPTED, quillory_surface_open(&surface, file, HEADER_BYTES + 6));
    EXPECT_EQUAL(rotation, quillory_surface_rotation(&surface));
    EXPECT_EQUAL(QUILLORY_I8, quillory_surface_mode(&surface));
    EXPECT_EQUAL(width, quillory_surface_width(&surface));
    EXPECT_EQUAL(height, quillory_surface_height(&surface));
    for (y = 0; y < height; ++y) {
        for (x = 0; x < width; ++x) {
            const uint32_t value = (uint32_t)(pixels[y * width + x] - '0');
            context("rotation, x, y", rotation, x, y);
            EXPECT_EQUAL(0xFF000000U | value * 0x010101U, quillory_surface_pixel(&surface, x, y));
        }
    }
    context("rotation", rotation, 0, 0);
    EXPECT_EQUAL(0, quillory_surface_pixel(&surface, width, 0));
    EXPECT_EQUAL(0, quillory_surface_pixel(&surface, 0, height));
    EXPECT_EQUAL(0, quillory_surface_pixel(&surface, 0xFFFFFFFFU, 0xFFFFFFFFU));
    free(file);
}

static void test_turns_the_picture_upright(void) {
    expect_picture(0, 3, 2, "123456");
    expect_picture(90, 2, 3, "415263");
    expect_picture(180, 3, 2, "654321");
    expect_picture(270, 2, 3, "362514");
    expect_picture(45, 3, 2, "123456");
    expect_picture(450, 3, 2, "123456");
}

/* The nearest 8-bit value of a field, in fractions; 255 for no field at all. */
static uint32_t nearest(uint32_t value, uint32_t place, uint32_t bits) {
    const uint32_t max = (1U << bits) - 1;
    return bits == 0 ? 255 : (2 * 255 * (value >> place & max) + max) / (2 * max);
}

/* All values of a mode of two bytes, as a picture of one row. The fields are alpha, red, green and blue. */
static void expect_fields(uint32_t mode, const uint32_t places[4], const uint32_t bits[4]) {
    const uint32_t header[HEADER_WORDS] = {0, mode, 0x10000, 1, 0x20000};
    const size_t size = HEADER_BYTES + 0x20000;
    uint8_t* const file = make_file(header, size);
    struct quillory_surface surface;
    uint32_t value;
    for (value = 0; value < 0x10000; ++value) {
        file[HEADER_BYTES + 2 * value] = (uint8_t)value;
        file[HEADER_BYTES + 2 * value + 1] = (uint8_t)(value >> 8);
    }
    context("mode", mode, 0, 0);
    EXPECT_EQUAL(QUILLORY_ACCEPTED, quillory_surface_open(&surface, file, size));
    for (value = 0; value < 0x10000; ++value) {
        uint32_t expected = 0, channel;
        for (channel = 0; channel < 4; ++channel) {
            expected = expected << 8 | nearest(value, places[channel], bits[channel]);
        }
        context("mode, value", mode, value, 0);
        EXPECT_EQUAL(expected, quillory_surface_pixel(&surface, value, 0));
    }
    free(file);
}

static void test_widens_every_value_of_two_bytes(void) {
    static const uint32_t places_565[] = {0, 11, 5, 0}, bits_565[] = {0, 5, 6, 5};
    static const uint32_t places_1555[] = {15, 10, 5, 0}, bits_1555[] = {1, 5, 5, 5};
    static const uint32_t places_4444[] = {12, 8, 4, 0}, bits_4444[] = {4, 4, 4, 4};
    static const uint32_t places_88[] = {8, 0, 0, 0}, bits_88[] = {8, 8, 8, 8};
    expect_fields(QUILLORY_RGB565, places_565, bits_565);
    expect_fields(QUILLORY_ARGB1555, places_1555, bits_1555);
    expect_fields(QUILLORY_ARGB4444, places_4444, bits_4444);
    expect_fields(QUILLORY_AI88, places_88, bits_88);
}

/* The second pixel of the second row, at any address; rows have a byte of padding, so that addresses are odd too. */
static void test_reads_pixels_of_every_mode(void) {
    static const uint32_t bytes[MODES] = {4, 3, 2, 2, 2, 1, 0, 2, 0, 1};
    /* Of the stored bytes 0xC1, 0xC2, ... */
    static const uint32_t argb[MODES] = {0xC4C3C2C1U, 0xFFC3C2C1U, 0xFFC55908U, 0xFF84B508U,
                                         0xCC22CC11U, 0xFFC1C1C1U, 0,           0xC2C1C1C1U,
                                         0,           0xC1000000U};
    uint32_t mode, i;
    for (mode = 0; mode < MODES; ++mode) {
        const uint32_t stride = 2 * bytes[mode] + 1;
        const uint32_t header[HEADER_WORDS] = {0, mode, 2, 2, stride};
        const size_t size = HEADER_BYTES + 2 * stride;
        uint8_t* const file = make_file(header, size);
        struct quillory_surface surface;
        for (i = 0; i < bytes[mode]; ++i) {
            file[HEADER_BYTES + stride + bytes[mode] + i] = (uint8_t)(0xC1 + i);
        }
        context("mode", mode, 0, 0);
        EXPECT_EQUAL(bytes[mode], quillory_pixel_bytes(mode));
        if (bytes[mode] != 0) {
            EXPECT_EQUAL(QUILLORY_ACCEPTED, quillory_surface_open(&surface, file, size));
            EXPECT_EQUAL(argb[mode], quillory_surface_pixel(&surface, 1, 1));
        }
        free(file);
    }
}

int main(void) {
    test_rejects_every_truncation();
    test_rejects_modes_without_pixels();
    test_rejects_sizes_out_of_range();
    test_rejects_products_that_wrap_in_32_bits();
    test_rejects_strides_that_hold_no_row();
    test_turns_the_picture_upright();
    test_widens_every_value_of_two_bytes();
    test_reads_pixels_of_every_mode();
    return failures == 0 ? 0 : 1;
}
