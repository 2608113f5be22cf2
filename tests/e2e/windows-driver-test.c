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

#include "bus_client.h"
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
    if (!CreateProcessA (program, command, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &process))
    {
        CloseHandle (reader);
        CloseHandle (writer);
        return 1001;
    }
    CloseHandle (writer);
    DWORD length = 0, got;
    while (length + 1 < size && ReadFile (reader, out + length, size - 1 - length, &got, NULL) && got > 0)
        length += got;
    out[length] = '\0';
    CloseHandle (reader);
    WaitForSingleObject (process.hProcess, INFINITE);
    DWORD code = 1002;
    GetExitCodeProcess (process.hProcess, &code);
    CloseHandle (process.hProcess);
    CloseHandle (process.hThread);
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
    child->path[0] = '\0';
    const int parsed = sscanf (out, "%u %511s", &child->number, child->path) == 2;
    check (code == 0 && parsed, "plug %s -> exit %lu, \"%.*s\"", options, (unsigned long) code,
           (int) strcspn (out, "\n"), out);
    return code == 0 && parsed;
}

/* The interface paths of the class, exactly as the panel lists them. */
static int list_paths (char paths[][512], int capacity)
{
    HDEVINFO set = SetupDiGetClassDevsA (&interface_class, NULL, NULL,
                                         DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE)
        return -1;
    int count = 0;
    SP_DEVICE_INTERFACE_DATA data = { .cbSize = sizeof data };
    for (DWORD i = 0; count < capacity && SetupDiEnumDeviceInterfaces (set, NULL, &interface_class, i, &data); ++i)
    {
        DWORD needed = 0;
        SetupDiGetDeviceInterfaceDetailA (set, &data, NULL, 0, &needed, NULL);
        SP_DEVICE_INTERFACE_DETAIL_DATA_A* detail = malloc (needed);
        if (detail == NULL)
            break;
        detail->cbSize = sizeof *detail;
        if (SetupDiGetDeviceInterfaceDetailA (set, &data, detail, needed, NULL, NULL))
            snprintf (paths[count++], 512, "%s", detail->DevicePath);
        free (detail);
    }
    SetupDiDestroyDeviceInfoList (set);
    return count;
}

static int listed (const char* path)
{
    char paths[VVB_MAX_CHILDREN][512];
    const int count = list_paths (paths, VVB_MAX_CHILDREN);
    for (int i = 0; i < count; ++i)
        if (_stricmp (paths[i], path) == 0)
            return 1;
    return 0;
}

static int wait_until_unlisted (const char* path, DWORD timeout_ms)
{
    const ULONGLONG deadline = GetTickCount64 () + timeout_ms;
    while (listed (path))
    {
        if (GetTickCount64 () > deadline)
            return 0;
        Sleep (20);
    }
    return 1;
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

static BOOL firmware (HANDLE h, BYTE reply[3])
{
    BYTE buffer[11] = { 0xC0, 0x56, 0, 0, 0, 0, 3, 0 };
    const BOOL ok = control (h, IOCTL_VENDOR_REQUEST, buffer, sizeof buffer, buffer, sizeof buffer);
    memcpy (reply, buffer + 8, 3);
    return ok;
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

static void format_block (const BYTE block[16], char* text)
{
    text[0] = '\0';
    for (int i = 0; i < 16; ++i)
        sprintf (text + strlen (text), i ? " %u" : "%u", block[i]);
    strcat (text, "\n");
}

/* The device's own view of its block, through veltrano-virtual.exe. */
static void check_device_block (unsigned number, const BYTE expected[16])
{
    char command[32], out[256], wanted[80];
    snprintf (command, sizeof command, "block %u", number);
    const DWORD code = run (command, out, sizeof out);
    format_block (expected, wanted);
    check (code == 0 && strcmp (out, wanted) == 0, "block %u reads back \"%.*s\" (expected \"%.*s\")",
           number, (int) strcspn (out, "\n"), out, (int) strcspn (wanted, "\n"), wanted);
}

static void opening_and_versions (const struct plugged* a, const struct plugged* b,
                                  HANDLE* ha, HANDLE* hb)
{
    check (listed (a->path) && listed (b->path), "SetupDi lists both interfaces");
    *ha = open_interface (a->path);
    *hb = open_interface (b->path);
    const DWORD error = GetLastError ();
    check (*ha != INVALID_HANDLE_VALUE && *hb != INVALID_HANDLE_VALUE,
           "CreateFileA opens both interfaces exclusively (last error %lu)", error);

    DWORD version = 0;
    BYTE reply[3] = { 9, 9, 9 };
    int ok = driver_version (*ha, &version);
    check (ok && version == 0x01000400u, "driver version of A 0x%08lx", (unsigned long) version);
    ok = driver_version (*hb, &version);
    check (ok && version == 0x02050100u, "driver version of B 0x%08lx", (unsigned long) version);
    ok = firmware (*ha, reply);
    check (ok && reply[0] == 0 && reply[1] == 1 && reply[2] == 11, "firmware reply of A %u %u %u",
           reply[0], reply[1], reply[2]);
    ok = firmware (*hb, reply);
    check (ok && reply[0] == 0 && reply[1] == 1 && reply[2] == 23, "firmware reply of B %u %u %u",
           reply[0], reply[1], reply[2]);

    BYTE block[16], wanted_a[16] = { 0, 40, 34, 34, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 7 };
    BYTE wanted_b[16] = { 9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };
    check (transfer (*ha, FALSE, block) && memcmp (block, wanted_a, 16) == 0, "block of A as plugged");
    check (transfer (*hb, FALSE, block) && memcmp (block, wanted_b, 16) == 0, "block of B as plugged");
}

/* Windows refuses the second exclusive open; wine lets it through, and the driver then
   refuses every request on it. Either way the second opener cannot talk to the device. */
static void second_opener_refused (const struct plugged* a, HANDLE ha)
{
    HANDLE second = open_interface (a->path);
    DWORD version = 0;
    if (second == INVALID_HANDLE_VALUE)
    {
        const DWORD error = GetLastError ();
        check (error == ERROR_SHARING_VIOLATION, "second open fails with %lu", error);
    }
    else
    {
        const BOOL answered = driver_version (second, &version);
        const DWORD error = GetLastError ();
        check (!answered && error == ERROR_SHARING_VIOLATION, "a request on a second handle fails with %lu",
               error);
        CloseHandle (second);
    }
    check (driver_version (ha, &version), "the first opener still works after the second closed");
}

static void write_and_read_back (const struct plugged* a, const struct plugged* b, HANDLE ha)
{
    BYTE block[16] = { 0 }, back[16] = { 0 };
    check (transfer (ha, FALSE, block), "read A before the write");
    block[10] = 255; /* phantom power, channel 1 */
    block[4] = 13;
    block[15] = 99;
    check (transfer (ha, TRUE, block), "write the changed block to A");
    check (transfer (ha, FALSE, back) && memcmp (back, block, 16) == 0, "A reads the write back");
    check_device_block (a->number, block);
    const BYTE untouched_b[16] = { 9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };
    check_device_block (b->number, untouched_b);
}

static void malformed_requests (const struct plugged* a, HANDLE ha)
{
    BYTE before[16], after[16];
    transfer (ha, FALSE, before);

    BYTE short_length[11] = { 0xC0, 0x56, 0, 0, 0, 0, 16, 0 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, short_length, 11, short_length, 11),
           "a setup packet whose length does not match the buffer fails");
    BYTE unknown[11] = { 0xC0, 0x99, 0, 0, 0, 0, 3, 0 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, unknown, 11, unknown, 11), "an unknown vendor request fails");
    BYTE uneven[24] = { 0xC0, 0x4E, 0, 0, 0, 0, 16, 0 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, uneven, 24, uneven, 16),
           "output and input of different sizes fail");
    BYTE truncated[4] = { 0xC0, 0x56, 0, 0 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, truncated, 4, truncated, 4), "a truncated setup packet fails");
    WORD small = 0;
    check (!control (ha, IOCTL_DRIVER_VERSION, NULL, 0, &small, sizeof small),
           "a driver version request with 2 bytes of room fails");
    DWORD nothing = 0;
    check (!control (ha, 0x00220010u, NULL, 0, &nothing, sizeof nothing), "an unknown control code fails");
    BYTE bad_write[24] = { 0x40, 0x4E, 1, 0, 0, 0, 16, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 };
    check (!control (ha, IOCTL_VENDOR_REQUEST, bad_write, 24, bad_write, 24), "a write with a value field fails");

    check (transfer (ha, FALSE, after) && memcmp (before, after, 16) == 0,
           "malformed requests leave the block as it was and the device answering");
    check_device_block (a->number, before);
}

static void round_trip_time (HANDLE ha)
{
    enum { ROUNDS = 2000 };
    LARGE_INTEGER frequency, start, end;
    BYTE reply[3];
    int ok = 1;
    QueryPerformanceFrequency (&frequency);
    QueryPerformanceCounter (&start);
    for (int i = 0; i < ROUNDS; ++i)
        ok &= firmware (ha, reply) != FALSE;
    QueryPerformanceCounter (&end);
    const double us = (double) (end.QuadPart - start.QuadPart) * 1e6 / (double) frequency.QuadPart / ROUNDS;
    check (ok, "%d firmware requests answered", ROUNDS);
    printf ("figure: control request round trip %.1f us (mean of %d)\n", us, ROUNDS);
}

static void faults (void)
{
    struct plugged failing, vanishing;
    BYTE reply[3];
    if (plug ("--fail-after 2", &failing))
    {
        HANDLE h = open_interface (failing.path);
        const BOOL first = firmware (h, reply), second = firmware (h, reply);
        check (first && second && !firmware (h, reply), "--fail-after 2: two requests answered, then failures");
        CloseHandle (h);
        char command[32], out[256];
        snprintf (command, sizeof command, "unplug %u", failing.number);
        check (run (command, out, sizeof out) == 0, "unplug the failing interface");
    }
    if (plug ("--vanish-after 1", &vanishing))
    {
        HANDLE h = open_interface (vanishing.path);
        check (firmware (h, reply) && !firmware (h, reply), "--vanish-after 1: one request answered, then failure");
        check (wait_until_unlisted (vanishing.path, 30000), "the vanished interface leaves SetupDi");
        CloseHandle (h);
    }
}

static void delayed_replies (void)
{
    struct plugged slow;
    BYTE reply[3];
    if (!plug ("--delay-ms 60", &slow))
        return;
    HANDLE h = open_interface (slow.path);
    const ULONGLONG start = GetTickCount64 ();
    const BOOL ok = firmware (h, reply);
    const ULONGLONG elapsed = GetTickCount64 () - start;
    check (ok && elapsed >= 50, "--delay-ms 60: the reply took %llu ms", elapsed);
    CloseHandle (h);
    char command[32], out[256];
    snprintf (command, sizeof command, "unplug %u", slow.number);
    check (run (command, out, sizeof out) == 0, "unplug the slow interface");
}

static volatile LONG listing_stop;

/* Keeps the bus's request path busy while plug-and-play work goes on beside it. */
static DWORD WINAPI keep_listing (void* bus)
{
    static struct vvb_child_info children[VVB_MAX_CHILDREN];
    uint32_t count;
    while (!listing_stop)
        vvb_list (bus, children, &count);
    return 0;
}

/* Many plug and unplug cycles, with requests in flight and handles closed before or
   after the unplug, leave nothing behind on the bus or in SetupDi and never hang. */
static void cycles (void)
{
    enum { CYCLES = 30 };
    HANDLE bus;
    if (vvb_open (&bus) != 0)
    {
        check (0, "open the bus for the plug cycles");
        return;
    }
    HANDLE lister = CreateThread (NULL, 0, keep_listing, bus, 0, NULL);
    struct vvb_plug settings = { .firmware = { 1, 1, 1 }, .fail_after = VVB_NEVER, .vanish_after = VVB_NEVER };
    const char* failed = NULL;
    const ULONGLONG start = GetTickCount64 ();
    for (int i = 0; i < CYCLES && failed == NULL; ++i)
    {
        uint32_t number;
        char path[512];
        DWORD version;
        if (vvb_plug (bus, &settings, &number) != 0)
            failed = "plug";
        else if (vvb_wait_interface (number, 1, 30000, path, sizeof path) != 1)
            failed = "interface listed";
        else
        {
            HANDLE h = open_interface (path);
            for (int k = 0; k < 10; ++k)
                driver_version (h, &version);
            if (i % 2)
                CloseHandle (h);
            if (vvb_unplug (bus, number) != 0)
                failed = "unplug";
            if (!(i % 2))
                CloseHandle (h);
            if (failed == NULL && vvb_wait_interface (number, 0, 30000, NULL, 0) != 1)
                failed = "interface gone";
        }
    }
    const ULONGLONG elapsed = GetTickCount64 () - start;
    listing_stop = 1;
    WaitForSingleObject (lister, INFINITE);
    CloseHandle (lister);
    CloseHandle (bus);

    char paths[VVB_MAX_CHILDREN][512], out[1024];
    const int left = list_paths (paths, VVB_MAX_CHILDREN);
    check (failed == NULL && left == 0, "%d plug and unplug cycles beside a busy bus (%s; %d paths left)",
           CYCLES, failed ? failed : "all steps done", left);
    check (run ("list", out, sizeof out) == 0 && out[0] == '\0', "the bus is empty after the cycles");
    printf ("figure: plug, open, 10 requests, unplug until gone: %.0f ms per cycle (mean of %d)\n",
            (double) elapsed / CYCLES, CYCLES);
}

static void unplugging (const struct plugged* a, const struct plugged* b, HANDLE ha, HANDLE hb)
{
    char command[32], out[256];
    snprintf (command, sizeof command, "unplug %u", b->number);
    check (run (command, out, sizeof out) == 0, "unplug B");
    check (!listed (b->path), "B's path has left SetupDi");
    check (listed (a->path), "A's path is still listed");
    DWORD version = 0;
    check (!driver_version (hb, &version), "a request on B's handle fails after unplugging");
    check (driver_version (ha, &version), "A still answers");
    CloseHandle (hb);
    check (run (command, out, sizeof out) == 1, "unplugging B again is an error");

    CloseHandle (ha);
    snprintf (command, sizeof command, "unplug %u", a->number);
    check (run (command, out, sizeof out) == 0, "unplug A");
    check (!listed (a->path), "A's path has left SetupDi");
}

static void command_line_errors (void)
{
    static const char* const bad[] = {
        "", "frobnicate", "plug --firmware 1.2", "plug --firmware 1.26.0", "plug --block 1 2 3",
        "plug --block 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 256", "plug --fail-after -1", "unplug",
        "unplug x", "block 0", "block 1 2", "list extra",
    };
    char out[256];
    for (size_t i = 0; i < sizeof bad / sizeof *bad; ++i)
    {
        const DWORD code = run (bad[i], out, sizeof out);
        check (code == 2 && out[0] == '\0', "veltrano-virtual %s -> exit %lu", bad[i], (unsigned long) code);
    }
    check (run ("block 4000000", out, sizeof out) == 1, "block of an unknown interface -> exit 1");
    check (run ("--help", out, sizeof out) == 0 && strstr (out, "usage:") != NULL, "--help");
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
    HANDLE ha, hb;
    opening_and_versions (&a, &b, &ha, &hb);
    second_opener_refused (&a, ha);
    write_and_read_back (&a, &b, ha);
    malformed_requests (&a, ha);
    round_trip_time (ha);
    faults ();
    delayed_replies ();
    unplugging (&a, &b, ha, hb);
    cycles ();
    command_line_errors ();

    printf ("%d failed\n", failures);
    return failures == 0 ? 0 : 1;
}
