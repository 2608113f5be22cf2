/* Finding the virtual interfaces the way the panel finds hardware: through the setup
   API's list of present interfaces of the device-interface class. */
#ifndef VELTRANO_INTERFACE_PATHS_H
#define VELTRANO_INTERFACE_PATHS_H

#include <stddef.h>
#include <stdint.h>

#define VVB_PATH_SIZE 512

struct vvb_interface
{
    char path[VVB_PATH_SIZE];
    uint32_t number; /* the bus child behind it; 0 for an interface of another bus */
};

/* Fills up to `capacity` entries; returns how many interfaces are present (which may
   exceed `capacity`), or -1 with GetLastError() set. */
int vvb_list_interfaces (struct vvb_interface* out, int capacity);

/* Waits up to `timeout_ms` until child `number`'s interface is present (`present` 1)
   or gone (`present` 0), polling. Returns 1 when it is so, 0 on timeout, -1 on error.
   When present, its path is copied into `path` (`size` bytes) if `path` is not null. */
int vvb_wait_interface (uint32_t number, int present, unsigned timeout_ms, char* path, size_t size);

#endif
