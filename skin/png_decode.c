#include "skin/png_decode.h"

#include <png.h>
#include <setjmp.h>
#include <stdlib.h>
#include <string.h>

struct source
{
    const unsigned char* bytes;
    size_t size;
    size_t at;
};

static void read_bytes (png_structp png, png_bytep out, size_t count)
{
    struct source* from = (struct source*) png_get_io_ptr (png);
    if (count > from->size - from->at)
        png_error (png, "truncated");
    memcpy (out, from->bytes + from->at, count);
    from->at += count;
}

static void fail (png_structp png, png_const_charp message)
{
    (void) message;
    png_longjmp (png, 1);
}

static void ignore (png_structp png, png_const_charp message)
{
    (void) png;
    (void) message;
}

unsigned char* png_decode_bgra (const void* bytes, size_t size, unsigned long long max_pixels,
                                unsigned* width, unsigned* height)
{
    struct source from = { (const unsigned char*) bytes, size, 0 };
    png_structp png = png_create_read_struct (PNG_LIBPNG_VER_STRING, NULL, fail, ignore);
    png_infop info = png != NULL ? png_create_info_struct (png) : NULL;
    /* volatile: they change between setjmp and a jump back to it */
    unsigned char* volatile pixels = NULL;
    png_bytepp volatile rows = NULL;
    png_uint_32 w, h, y;

    if (png == NULL || info == NULL)
    {
        png_destroy_read_struct (&png, &info, NULL);
        return NULL;
    }
    if (setjmp (png_jmpbuf (png)))
    {
        free (rows);
        free (pixels);
        png_destroy_read_struct (&png, &info, NULL);
        return NULL;
    }

    png_set_read_fn (png, &from, read_bytes);
    png_read_info (png, info);
    w = png_get_image_width (png, info);
    h = png_get_image_height (png, info);
    /* libpng itself refuses a side of 0 */
    if ((unsigned long long) w * h > max_pixels)
        png_error (png, "size");

    png_set_expand (png);
    png_set_strip_16 (png);
    png_set_gray_to_rgb (png);
    png_set_bgr (png);
    png_set_add_alpha (png, 0xff, PNG_FILLER_AFTER);
    png_set_interlace_handling (png);
    png_read_update_info (png, info);
    if (png_get_rowbytes (png, info) != (size_t) w * 4)
        png_error (png, "layout");

    pixels = (unsigned char*) malloc ((size_t) w * h * 4);
    rows = (png_bytepp) malloc (sizeof (png_bytep) * h);
    if (pixels == NULL || rows == NULL)
        png_error (png, "memory");
    for (y = 0; y < h; ++y)
        rows[y] = pixels + (size_t) y * w * 4;
    png_read_image (png, rows);

    free (rows);
    png_destroy_read_struct (&png, &info, NULL);
    *width = w;
    *height = h;
    return pixels;
}
