/* veltrano-virtual.exe: plugs virtual interfaces into the virtual bus driver and
   pulls them out again, for tests under wine and on Windows test machines. */
#include <fcntl.h>
#include <io.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "bus_client.h"
#include "interface_paths.h"
#include "veltrano_model.h"
#include "veltrano_options.h"

enum exit_code
{
    EXIT_OK = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
    EXIT_TIMEOUT = 3
};

#define DEFAULT_WAIT_MS VV_DEFAULT_WAIT_MS
_Static_assert (VV_MAX_DELAY_MS == VVB_MAX_DELAY_MS, "the options allow what the bus accepts");

static const char usage[] =
    "usage: veltrano-virtual COMMAND [OPTIONS]\n"
    "Plugs virtual Kelto Veltrano interfaces into the virtual bus driver.\n"
    "\n"
    "  plug [--firmware X.Y.Z] [--driver X.Y.Z] [--block b0 ... b15]\n"
    "       [--delay-ms N] [--fail-after N] [--vanish-after N] [--wait-ms N]\n"
    "        plug one interface; waits until its interface is listed, then\n"
    "        prints its number and interface path on one line\n"
    "  unplug N [--wait-ms N]\n"
    "        pull interface N out; waits until its interface is gone\n"
    "  list  one line per interface on the bus: number, state, firmware, driver,\n"
    "        requests answered, open or closed, interface path\n"
    "  block N\n"
    "        print interface N's 16-byte parameter block as decimal numbers\n"
    "  --help\n"
    "\n"
    "Options of plug:\n";

static const char usage_end[] =
    "  --wait-ms N          plug and unplug: wait at most N ms (0-600000, default\n"
    "                       30000) for the interface, and for the bus itself, which\n"
    "                       wine starts with each session\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 bad command line, 3 timed out waiting.\n";

static void show_usage (FILE* out)
{
    fputs (usage, out);
    fputs (vv_interface_options_help, out);
    fputs (usage_end, out);
}

static void fail (const char* format, ...)
{
    va_list args;
    va_start (args, format);
    fputs ("veltrano-virtual: ", stderr);
    vfprintf (stderr, format, args);
    fputc ('\n', stderr);
    va_end (args);
}

static const char* system_message (DWORD error)
{
    static char text[256];
    DWORD length = FormatMessageA (FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL,
                                   error, 0, text, sizeof text, NULL);
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r' || text[length - 1] == ' '))
        text[--length] = '\0';
    if (length == 0)
        snprintf (text, sizeof text, "error %lu", (unsigned long) error);
    return text;
}

/* What STATUS_NO_SUCH_DEVICE becomes; this SDK's winerror.h lacks the name. */
#define NO_SUCH_DEVICE 433

/* The bus answers an unknown interface number with "no such device". */
static const char* describe (DWORD error)
{
    return error == NO_SUCH_DEVICE || error == ERROR_FILE_NOT_FOUND || error == ERROR_DEV_NOT_EXIST
               ? "no such interface on the bus"
               : system_message (error);
}

/* Wine loads the driver when a session starts, so right after start-up the bus may
   not exist yet: wait for it rather than fail. */
static HANDLE open_bus (unsigned wait_ms)
{
    const ULONGLONG deadline = GetTickCount64 () + wait_ms;
    HANDLE bus;
    DWORD error;
    while ((error = vvb_open (&bus)) == ERROR_FILE_NOT_FOUND && GetTickCount64 () < deadline)
        Sleep (50);
    if (error != 0)
    {
        fail ("cannot open the virtual bus %s: %s (is the driver installed? see "
              "scripts/wine-install-driver)",
              VVB_USER_PATH, system_message (error));
        return NULL;
    }
    return bus;
}

/* Reads the options from argv[first] on: 0, 1 for --help (shown), -1 after a complaint. */
static int parse_options (int argc, char** argv, int first, unsigned groups, struct vv_options* options)
{
    char error[512];
    if (vv_parse_options (argc - first, argv + first, groups, options, error, sizeof error) != 0)
    {
        fail ("%s", error);
        return -1;
    }
    if (options->help)
    {
        show_usage (stdout);
        return 1;
    }
    return 0;
}

static int parse_plug (int argc, char** argv, struct vvb_plug* plug, unsigned* wait_ms)
{
    struct vv_options options;
    const int parsed = parse_options (argc, argv, 2, VV_INTERFACE_OPTIONS | VV_WAIT_OPTION, &options);
    if (parsed != 0)
        return parsed;
    memset (plug, 0, sizeof *plug);
    memcpy (plug->firmware, options.model.firmware, 3);
    plug->driver_version = options.model.driver_version;
    memcpy (plug->block, options.model.block, sizeof plug->block);
    plug->fail_after = options.model.faults.fail_after;
    plug->vanish_after = options.model.faults.vanish_after;
    plug->delay_ms = options.model.faults.reply_delay_ms;
    *wait_ms = options.wait_ms;
    return 0;
}

static int command_plug (int argc, char** argv)
{
    struct vvb_plug plug;
    unsigned wait_ms;
    const int parsed = parse_plug (argc, argv, &plug, &wait_ms);
    if (parsed != 0)
        return parsed > 0 ? EXIT_OK : EXIT_USAGE;
    HANDLE bus = open_bus (wait_ms);
    if (bus == NULL)
        return EXIT_FAILED;
    uint32_t number = 0;
    const DWORD error = vvb_plug (bus, &plug, &number);
    CloseHandle (bus);
    if (error != 0)
    {
        fail ("cannot plug an interface: %s", system_message (error));
        return EXIT_FAILED;
    }
    char path[VVB_PATH_SIZE];
    const int found = vvb_wait_interface (number, 1, wait_ms, path, sizeof path);
    if (found == 1)
    {
        printf ("%lu %s\n", (unsigned long) number, path);
        return EXIT_OK;
    }
    printf ("%lu\n", (unsigned long) number);
    if (found == 0)
        fail ("interface %lu is plugged but its interface did not appear within %u ms",
              (unsigned long) number, wait_ms);
    else
        fail ("interface %lu is plugged but the interfaces cannot be listed: %s",
              (unsigned long) number, system_message (GetLastError ()));
    return found == 0 ? EXIT_TIMEOUT : EXIT_FAILED;
}

static int parse_child (const char* text, uint32_t* number)
{
    unsigned long value;
    if (text == NULL || vv_parse_number (text, 0xffffffffu, &value) != 0 || value == 0)
    {
        fail ("bad interface number \"%s\": expected the number plug printed", text ? text : "");
        return -1;
    }
    *number = (uint32_t) value;
    return 0;
}

static int on_bus (HANDLE bus, uint32_t number)
{
    struct vvb_child_info children[VVB_MAX_CHILDREN];
    uint32_t count = 0;
    if (vvb_list (bus, children, &count) != 0)
        return 0;
    for (uint32_t i = 0; i < count; ++i)
        if (children[i].number == number)
            return 1;
    return 0;
}

static int command_unplug (int argc, char** argv)
{
    uint32_t number;
    struct vv_options options;
    if (argc < 3)
    {
        fail ("unplug takes the interface number that plug printed");
        return EXIT_USAGE;
    }
    if (parse_child (argv[2], &number) != 0)
        return EXIT_USAGE;
    const int parsed = parse_options (argc, argv, 3, VV_WAIT_OPTION, &options);
    if (parsed != 0)
        return parsed > 0 ? EXIT_OK : EXIT_USAGE;
    const unsigned wait_ms = options.wait_ms;
    HANDLE bus = open_bus (wait_ms);
    if (bus == NULL)
        return EXIT_FAILED;
    const DWORD error = vvb_unplug (bus, number);
    if (error != 0)
    {
        CloseHandle (bus);
        fail ("cannot unplug interface %lu: %s", (unsigned long) number,
              describe (error));
        return EXIT_FAILED;
    }
    const ULONGLONG deadline = GetTickCount64 () + wait_ms;
    int gone = vvb_wait_interface (number, 0, wait_ms, NULL, 0);
    while (gone == 1 && on_bus (bus, number))
    {
        if (GetTickCount64 () >= deadline)
        {
            gone = 0;
            break;
        }
        Sleep (20);
    }
    CloseHandle (bus);
    if (gone != 1)
    {
        fail ("interface %lu is unplugged but the system has not removed it within %u ms",
              (unsigned long) number, wait_ms);
        return EXIT_TIMEOUT;
    }
    return EXIT_OK;
}

static const char* state_name (uint32_t state)
{
    switch (state)
    {
    case VVB_CHILD_PLUGGED:
        return "plugged";
    case VVB_CHILD_STARTED:
        return "started";
    case VVB_CHILD_LEAVING:
        return "leaving";
    default:
        return "unknown";
    }
}

static int command_list (int argc)
{
    if (argc != 2)
    {
        fail ("list takes no arguments");
        return EXIT_USAGE;
    }
    HANDLE bus = open_bus (DEFAULT_WAIT_MS);
    if (bus == NULL)
        return EXIT_FAILED;
    static struct vvb_child_info children[VVB_MAX_CHILDREN];
    static struct vvb_interface interfaces[VVB_MAX_CHILDREN * 2];
    uint32_t count = 0;
    const DWORD error = vvb_list (bus, children, &count);
    CloseHandle (bus);
    if (error != 0)
    {
        fail ("cannot list the interfaces: %s", system_message (error));
        return EXIT_FAILED;
    }
    int paths = vvb_list_interfaces (interfaces, VVB_MAX_CHILDREN * 2);
    if (paths > VVB_MAX_CHILDREN * 2)
        paths = VVB_MAX_CHILDREN * 2;
    for (uint32_t i = 0; i < count; ++i)
    {
        const struct vvb_child_info* c = &children[i];
        const char* path = "-";
        for (int p = 0; p < paths; ++p)
            if (interfaces[p].number == c->number)
                path = interfaces[p].path;
        printf ("%lu %s firmware %u.%u.%u driver %u.%u.%u requests %lu %s %s\n",
                (unsigned long) c->number, state_name (c->state), c->firmware[0], c->firmware[1],
                c->firmware[2], (unsigned) (c->driver_version >> 24) & 0xff,
                (unsigned) (c->driver_version >> 16) & 0xff, (unsigned) (c->driver_version >> 8) & 0xff,
                (unsigned long) c->answered, c->open ? "open" : "closed", path);
    }
    return EXIT_OK;
}

static int command_block (int argc, char** argv)
{
    uint32_t number;
    if (argc != 3)
    {
        fail ("block takes one interface number");
        return EXIT_USAGE;
    }
    if (parse_child (argv[2], &number) != 0)
        return EXIT_USAGE;
    HANDLE bus = open_bus (DEFAULT_WAIT_MS);
    if (bus == NULL)
        return EXIT_FAILED;
    uint8_t block[16];
    const DWORD error = vvb_read_block (bus, number, block);
    CloseHandle (bus);
    if (error != 0)
    {
        fail ("cannot read the block of interface %lu: %s", (unsigned long) number,
              describe (error));
        return EXIT_FAILED;
    }
    for (int i = 0; i < 16; ++i)
        printf (i ? " %u" : "%u", block[i]);
    putchar ('\n');
    return EXIT_OK;
}

int main (int argc, char** argv)
{
    /* Plain line feeds, so that scripts on the host read the output as it is. */
    _setmode (_fileno (stdout), _O_BINARY);
    _setmode (_fileno (stderr), _O_BINARY);

    if (argc < 2)
    {
        show_usage (stderr);
        return EXIT_USAGE;
    }
    const char* command = argv[1];
    if (strcmp (command, "--help") == 0 || strcmp (command, "-h") == 0)
    {
        show_usage (stdout);
        return EXIT_OK;
    }
    int result;
    if (strcmp (command, "plug") == 0)
        result = command_plug (argc, argv);
    else if (strcmp (command, "unplug") == 0)
        result = command_unplug (argc, argv);
    else if (strcmp (command, "list") == 0)
        result = command_list (argc);
    else if (strcmp (command, "block") == 0)
        result = command_block (argc, argv);
    else
    {
        fail ("unknown command \"%s\"; try --help", command);
        result = EXIT_USAGE;
    }
    fflush (stdout);
    return result;
}
