#include "bus_client.h"

#include <string.h>

static DWORD control (HANDLE bus, DWORD code, void* in, DWORD in_size, void* out, DWORD out_size)
{
    DWORD returned = 0;
    return DeviceIoControl (bus, code, in, in_size, out, out_size, &returned, NULL) ? 0
                                                                                    : GetLastError ();
}

DWORD vvb_open (HANDLE* bus)
{
    *bus = CreateFileA (VVB_USER_PATH, GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_EXISTING, 0, NULL);
    return *bus == INVALID_HANDLE_VALUE ? GetLastError () : 0;
}

DWORD vvb_plug (HANDLE bus, const struct vvb_plug* plug, uint32_t* number)
{
    struct vvb_plug request = *plug;
    uint8_t buffer[sizeof request];
    memcpy (buffer, &request, sizeof request);
    const DWORD error = control (bus, VVB_IOCTL_PLUG, buffer, sizeof buffer, buffer, sizeof *number);
    if (error == 0)
        memcpy (number, buffer, sizeof *number);
    return error;
}

DWORD vvb_unplug (HANDLE bus, uint32_t number)
{
    return control (bus, VVB_IOCTL_UNPLUG, &number, sizeof number, NULL, 0);
}

DWORD vvb_list (HANDLE bus, struct vvb_child_info* children, uint32_t* count)
{
    static uint8_t buffer[sizeof (struct vvb_list_header)
                          + VVB_MAX_CHILDREN * sizeof (struct vvb_child_info)];
    const DWORD error = control (bus, VVB_IOCTL_LIST, NULL, 0, buffer, sizeof buffer);
    if (error != 0)
        return error;
    struct vvb_list_header header;
    memcpy (&header, buffer, sizeof header);
    if (header.count > VVB_MAX_CHILDREN)
        return ERROR_INVALID_DATA;
    memcpy (children, buffer + sizeof header, header.count * sizeof *children);
    *count = header.count;
    return 0;
}

DWORD vvb_read_block (HANDLE bus, uint32_t number, uint8_t block[16])
{
    uint8_t buffer[16];
    memcpy (buffer, &number, sizeof number);
    const DWORD error = control (bus, VVB_IOCTL_READ_BLOCK, buffer, sizeof number, buffer, sizeof buffer);
    if (error == 0)
        memcpy (block, buffer, sizeof buffer);
    return error;
}
