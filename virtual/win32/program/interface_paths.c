#include "interface_paths.h"

#include <windows.h>
#include <setupapi.h>
#include <stdlib.h>
#include <string.h>

#include "../bus_protocol.h"

static const GUID interface_class = VVB_INTERFACE_CLASS;

/* "VELTRANO\VIRTUAL\12" gives 12; anything else 0. */
static uint32_t child_number (const char* instance_id)
{
    const size_t prefix = strlen (VVB_CHILD_DEVICE_ID);
    if (_strnicmp (instance_id, VVB_CHILD_DEVICE_ID, prefix) != 0 || instance_id[prefix] != '\\')
        return 0;
    const char* digits = instance_id + prefix + 1;
    char* end = NULL;
    const unsigned long n = strtoul (digits, &end, 10);
    return (end != digits && *end == '\0' && n <= UINT32_MAX) ? (uint32_t) n : 0;
}

int vvb_list_interfaces (struct vvb_interface* out, int capacity)
{
    HDEVINFO set = SetupDiGetClassDevsA (&interface_class, NULL, NULL,
                                         DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE)
        return -1;

    int count = 0;
    DWORD error = ERROR_SUCCESS;
    for (DWORD index = 0;; ++index)
    {
        SP_DEVICE_INTERFACE_DATA data = { .cbSize = sizeof data };
        if (!SetupDiEnumDeviceInterfaces (set, NULL, &interface_class, index, &data))
        {
            if (GetLastError () != ERROR_NO_MORE_ITEMS)
                error = GetLastError ();
            break;
        }
        if (count < capacity)
        {
            union
            {
                SP_DEVICE_INTERFACE_DETAIL_DATA_A detail;
                char bytes[sizeof (DWORD) + VVB_PATH_SIZE];
            } buffer;
            buffer.detail.cbSize = sizeof buffer.detail;
            SP_DEVINFO_DATA device = { .cbSize = sizeof device };
            char instance_id[256] = "";
            if (!SetupDiGetDeviceInterfaceDetailA (set, &data, &buffer.detail, sizeof buffer, NULL,
                                                   &device))
            {
                /* An interface whose path does not fit is not one of ours. */
                continue;
            }
            SetupDiGetDeviceInstanceIdA (set, &device, instance_id, sizeof instance_id, NULL);
            strncpy (out[count].path, buffer.detail.DevicePath, VVB_PATH_SIZE - 1);
            out[count].path[VVB_PATH_SIZE - 1] = '\0';
            out[count].number = child_number (instance_id);
        }
        ++count;
    }
    SetupDiDestroyDeviceInfoList (set);
    if (error != ERROR_SUCCESS)
    {
        SetLastError (error);
        return -1;
    }
    return count;
}

int vvb_wait_interface (uint32_t number, int present, unsigned timeout_ms, char* path, size_t size)
{
    static struct vvb_interface found[VVB_MAX_CHILDREN * 2];
    const ULONGLONG deadline = GetTickCount64 () + timeout_ms;
    for (;;)
    {
        const int count = vvb_list_interfaces (found, VVB_MAX_CHILDREN * 2);
        if (count < 0)
            return -1;
        int seen = 0;
        for (int i = 0; i < count && i < VVB_MAX_CHILDREN * 2 && !seen; ++i)
            if (found[i].number == number)
            {
                seen = 1;
                if (path != NULL && size > 0)
                {
                    strncpy (path, found[i].path, size - 1);
                    path[size - 1] = '\0';
                }
            }
        if (seen == present)
            return 1;
        if (GetTickCount64 () >= deadline)
            return 0;
        Sleep (20);
    }
}
