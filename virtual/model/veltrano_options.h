/* The options of veltrano-virtual, read the same way by the Linux host and by the
   Windows program, so that a command line means the same on both. */
#ifndef VELTRANO_OPTIONS_H
#define VELTRANO_OPTIONS_H

#include "veltrano_model.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VV_MAX_DELAY_MS 10000u
#define VV_MAX_WAIT_MS 600000u
#define VV_DEFAULT_WAIT_MS 30000u

/* The options a command takes; --help is always taken. */
enum vv_option_groups
{
    VV_INTERFACE_OPTIONS = 1, /* --firmware, --driver, --block, --delay-ms, --fail-after, --vanish-after */
    VV_HOST_OPTIONS = 2,      /* --name, --bus, --state-file: the Linux host */
    VV_WAIT_OPTION = 4        /* --wait-ms: the Windows program's plug and unplug */
};

struct vv_options
{
    struct vv_model model;  /* versions, block and faults as given */
    const char* name;       /* NULL unless given; points into argv */
    const char* bus;
    const char* state_file;
    uint32_t wait_ms;
    int help;               /* --help or -h: nothing after it was read */
};

/* Reads `count` arguments (options only, no program name or command). Returns 0, or
   -1 with the reason, one line without the program's name, in `error`. */
int vv_parse_options (int count, char* const* arguments, unsigned groups, struct vv_options* out,
                      char* error, size_t error_size);

/* Decimal digits only, at most `limit`: 0, or -1 for anything else. */
int vv_parse_number (const char* text, unsigned long limit, unsigned long* value);

/* The interface's own options, for a program's --help. */
extern const char vv_interface_options_help[];

#ifdef __cplusplus
}
#endif

#endif
