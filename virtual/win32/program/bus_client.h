/* User-mode side of the bus's control device. Each call returns 0 on success or the
   Windows error code of the failure. */
#ifndef VELTRANO_BUS_CLIENT_H
#define VELTRANO_BUS_CLIENT_H

#include <windows.h>

#include "../bus_protocol.h"

DWORD vvb_open (HANDLE* bus);
DWORD vvb_plug (HANDLE bus, const struct vvb_plug* plug, uint32_t* number);
DWORD vvb_unplug (HANDLE bus, uint32_t number);
/* Fills `children` (room for VVB_MAX_CHILDREN) and sets `*count`. */
DWORD vvb_list (HANDLE bus, struct vvb_child_info* children, uint32_t* count);
DWORD vvb_read_block (HANDLE bus, uint32_t number, uint8_t block[16]);

#endif
