/* End to end through the virtual bus driver, the way the panel reaches hardware:
   interfaces plugged by veltrano-virtual.exe are found with SetupDi, opened with
   CreateFileA and driven with DeviceIoControl; the device's side is read back
   through the program. Exits non-zero on any mismatch. */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>
#include <setupapi.h>

#include "bus_protocol.h"
#include "interface_paths.h"

#define IOCTL_VENDOR_REQUEST 0x00220008u
#define IOCTL_DRIVER_VERSION 0x002200A4u

static const GUID interface_class = VVB_INTERFACE_CLASS;
static char program[MAX_PATH];
static int failures;

static void check (int ok, const char* format, ...)
{
    va_list args;
    va_start (args, format);
    printf ("%s: ", ok ? "ok" : "FAILED");
    vprintf (format, args);
    putchar ('\n');
    va_end (args);
    fflush (stdout);
    failures += !ok;
}

/* Runs veltrano-virtual.exe with `arguments`; its output goes to `out`. */
static DWORD run (const char* arguments, char* out, DWORD size)
{
    SECURITY_ATTRIBUTES inherit = { sizeof inherit, NULL, TRUE };
    HANDLE reader, writer;
    out[0] = '\0';
    if (!CreatePipe (&reader, &writer, &inherit, 0))
        return 1000;
    SetHandleInformation (reader, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA startup = { .cb = sizeof startup, .dwFlags = STARTF_USESTDHANDLES };
    startup.hStdInput = GetStdHandle (STD_INPUT_HANDLE);
    startup.hStdOutput = writer;
    startup.hStdError = GetStdHandle (STD_ERROR_HANDLE);
    PROCESS_INFORMATION process;
    char command[1024];
    snprintf (command, sizeof command, "\"%s\" %s", program, arguments);
    const BOOL started = CreateProcessA (program, command, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &process);
    CloseHandle (writer);
    DWORD length = 0, got, code = 1001;
    while (started && length + 1 < size && ReadFile (reader, out + length, size - 1 - length, &got, NULL) && got > 0)
        length += got;
    out[length] = '\0';
    CloseHandle (reader);
    if (started)
    {
        WaitForSingleObject (process.hProcess, INFINITE);
        GetExitCodeProcess (process.hProcess, &code);
        CloseHandle (process.hProcess);
        CloseHandle (process.hThread);
    }
    return code;
}

struct plugged
{
    unsigned number;
    char path[512];
};

static int plug (const char* options, struct plugged* child)
{
    char command[512], out[1024];
    snprintf (command, sizeof command, "plug %s", options);
    const DWORD code = run (command, out, sizeof out);
    const int parsed = sscanf (out, "%u %511s", &child->number, child->path) == 2;
    check (code == 0 && parsed, "plug %s -> exit %lu", options, (unsigned long) code);
    return code == 0 && parsed;
}

static DWORD unplug (const struct plugged* child)
{
    char command[32], out[256];
    snprintf (command, sizeof command, "unplug %u", child->number);
    return run (command, out, sizeof out);
}

/* Whether SetupDi lists `path` among the class's interfaces, as the panel lists them. */
static int listed (const char* path)
{
    HDEVINFO set = SetupDiGetClassDevsA (&interface_class, NULL, NULL, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE)
        return 0;
    int found = 0;
    SP_DEVICE_INTERFACE_DATA data = { .cbSize = sizeof data };
    for (DWORD i = 0; !found && SetupDiEnumDeviceInterfaces (set, NULL, &interface_class, i, &data); ++i)
    {
        DWORD needed = 0;
        SetupDiGetDeviceInterfaceDetailA (set, &data, NULL, 0, &needed, NULL);
        SP_DEVICE_INTERFACE_DETAIL_DATA_A* detail = malloc (needed);
        if (detail == NULL)
            break;
        detail->cbSize = sizeof *detail;
        found = SetupDiGetDeviceInterfaceDetailA (set, &data, detail, needed, NULL, NULL)
                && _stricmp (detail->DevicePath, path) == 0;
        free (detail);
    }
    SetupDiDestroyDeviceInfoList (set);
    return found;
}

static HANDLE open_interface (const char* path)
{
    return CreateFileA (path, GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_ALWAYS, 0, NULL);
}

static BOOL control (HANDLE h, DWORD code, void* in, DWORD in_size, void* out, DWORD out_size)
{
    DWORD returned = 0;
    return DeviceIoControl (h, code, in, in_size, out, out_size, &returned, NULL);
}

static BOOL driver_version (HANDLE h, DWORD* version)
{
    return control (h, IOCTL_DRIVER_VERSION, NULL, 0, version, sizeof *version);
}

static BOOL transfer (HANDLE h, BOOL write, BYTE block[16])
{
    BYTE buffer[24] = { write ? 0x40 : 0xC0, 0x4E, 0, 0, 0, 0, 16, 0 };
    if (write)
        memcpy (buffer + 8, block, 16);
    const BOOL ok = control (h, IOCTL_VENDOR_REQUEST, buffer, sizeof buffer, buffer, sizeof buffer);
    if (ok && !write)
        memcpy (block, buffer + 8, 16);
    return ok;
}

/* The device's own view of its block, through veltrano-virtual.exe. */
static void check_device_block (unsigned number, const BYTE expected[16])
{
    char command[32], out[256], wanted[80] = "";
    snprintf (command, sizeof command, "block %u", number);
    const DWORD code = run (command, out, sizeof out);
    for (int i = 0; i < 16; ++i)
        sprintf (wanted + strlen (wanted), i ? " %u" : "%u", expected[i]);
    strcat (wanted, "\n");
    check (code == 0 && strcmp (out, wanted) == 0, "block %u reads back \"%.*s\" (expected \"%.*s\")",
           number, (int) strcspn (out, "\n"), out, (int) strcspn (wanted, "\n"), wanted);
}

int main (int argc, char** argv)
{
    if (argc > 1)
        snprintf (program, sizeof program, "%s", argv[1]);
    else
    {
        GetModuleFileNameA (NULL, program, sizeof program);
        strcpy (strrchr (program, '\\') + 1, "veltrano-virtual.exe");
    }

    struct plugged a, b;
    if (!plug ("--firmware 1.1.1 --driver 1.0.4 --block 0 40 34 34 1 1 1 1 0 0 0 0 0 0 0 7", &a)
        || !plug ("--firmware 1.2.3 --driver 2.5.1 --block 9 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15", &b))
        return 1;

    check (listed (a.path) && listed (b.path), "SetupDi lists both interfaces");
    HANDLE ha = open_interface (a.path), hb = open_interface (b.path);
    check (ha != INVALID_HANDLE_VALUE && hb != INVALID_HANDLE_VALUE, "CreateFileA opens both interfaces exclusively");

    /* Both control codes, each answered by its own interface. */
    DWORD version_a = 0, version_b = 0, version = 0;
    const BOOL got_a = driver_version (ha, &version_a), got_b = driver_version (hb, &version_b);
    check (got_a && version_a == 0x01000400u, "driver version of A 0x%08lx", version_a);
    check (got_b && version_b == 0x02050100u, "driver version of B 0x%08lx", version_b);
    BYTE firmware[11] = { 0xC0, 0x56, 0, 0, 0, 0, 3, 0 };
    const BOOL got_firmware = control (hb, IOCTL_VENDOR_REQUEST, firmware, 11, firmware, 11);
    check (got_firmware && firmware[8] == 0 && firmware[9] == 1 && firmware[10] == 23,
           "firmware reply of B %u %u %u", firmware[8], firmware[9], firmware[10]);
    const BYTE plugged_a[16] = { 0, 40, 34, 34, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 7 };
    const BYTE plugged_b[16] = { 9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };
    BYTE block[16], back[16];
    check (transfer (ha, FALSE, block) && memcmp (block, plugged_a, 16) == 0, "block of A as plugged");

    /* Windows refuses the second exclusive open; wine lets it through, and the driver then
       refuses every request on it. Either way the second opener cannot talk to the device. */
    HANDLE second = open_interface (a.path);
    const BOOL answered = second != INVALID_HANDLE_VALUE && driver_version (second, &version);
    const DWORD refusal = GetLastError ();
    check (!answered && refusal == ERROR_SHARING_VIOLATION, "a second opener is refused with %lu", refusal);
    if (second != INVALID_HANDLE_VALUE)
        CloseHandle (second);
    check (driver_version (ha, &version), "the first opener still works after the second closed");

    block[10] = 255; /* phantom power, channel 1 */
    block[4] = 13;
    check (transfer (ha, TRUE, block), "write the changed block to A");
    check (transfer (ha, FALSE, back) && memcmp (back, block, 16) == 0, "A reads the write back");
    check_device_block (a.number, block);
    check_device_block (b.number, plugged_b);

    /* A request the device does not know fails, and changes nothing. */
    BYTE bad_write[24] = { 0x40, 0x4E, 1, 0, 0, 0, 16, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, bad_write, 24, bad_write, 24), "a write with a value field fails");
    BYTE short_length[11] = { 0xC0, 0x56, 0, 0, 0, 0, 16, 0 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, short_length, 11, short_length, 11),
           "a setup packet whose length does not match the buffer fails");
    check (transfer (ha, FALSE, back) && memcmp (back, block, 16) == 0, "the block is as it was and A answers");

    check (unplug (&b) == 0, "unplug B");
    check (!listed (b.path) && listed (a.path), "B's path has left SetupDi, A's has not");
    check (!driver_version (hb, &version) && driver_version (ha, &version),
           "a request on B's handle fails after unplugging, A still answers");
    CloseHandle (hb);
    check (unplug (&b) == 1, "unplugging B again is an error");
    CloseHandle (ha);
    check (unplug (&a) == 0 && !listed (a.path), "unplug A: its path has left SetupDi");

    printf ("%d failed\n", failures);
    return failures == 0 ? 0 : 1;
}
