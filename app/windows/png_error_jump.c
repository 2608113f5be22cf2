/* Debian's JUCE, built against the system libpng, answers a libpng error by
   calling setjmp inside its error callback and returning; libpng then jumps
   into that finished frame. Glibc survives this by luck; on Windows the jump
   unwinds to a frame that no longer exists and the process dies
   (STATUS_INVALID_UNWIND_TARGET). So a damaged PNG beside the program would
   end it. The link wraps png_set_error_fn (see cmake/windows_juce.cmake) so
   that errors jump to the buffer JUCE hands over as error_ptr, which it has
   set with setjmp in a frame that is still live: what JUCE does with its
   bundled libpng.
   The jump restores registers only, as on Linux: an unwinding longjmp runs
   the C++ personality over JUCE's noexcept frames and crashes there. Only
   libpng's C frames lie between the two ends, so nothing is skipped. */
#include <png.h>
#include <setjmp.h>
#include <string.h>

void __real_png_set_error_fn (png_structrp png, png_voidp error_ptr,
                              png_error_ptr error_fn, png_error_ptr warning_fn);

static void jump_to_error_buffer (png_structp png, png_const_charp message)
{
    (void) message;
    jmp_buf target;
    memcpy (target, png_get_error_ptr (png), sizeof target);
    /* No frame to unwind to: msvcrt's longjmp then just restores the registers. */
    ((_JUMP_BUFFER*) target)->Frame = 0;
    longjmp (target, 1);
}

void __wrap_png_set_error_fn (png_structrp png, png_voidp error_ptr,
                              png_error_ptr error_fn, png_error_ptr warning_fn)
{
    __real_png_set_error_fn (png, error_ptr,
                             error_ptr != NULL && error_fn != NULL ? jump_to_error_buffer : error_fn,
                             warning_fn);
}
