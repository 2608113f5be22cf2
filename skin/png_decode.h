#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Decodes PNG bytes to rows of blue, green, red, alpha (not premultiplied), each byte
   value 0 to 255. Returns a buffer of width * height * 4 bytes that the caller frees with
   free(), or NULL when the bytes are not a PNG that decodes whole or its header declares
   more than max_pixels pixels (then nothing is decoded). Errors come back here through
   libpng's own jump buffer, never through an error pointer (the Windows link redirects
   handlers that carry one). */
unsigned char* png_decode_bgra (const void* bytes, size_t size, unsigned long long max_pixels,
                                unsigned* width, unsigned* height);

#ifdef __cplusplus
}
#endif
