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

enum exit_code
{
    EXIT_OK = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
    EXIT_TIMEOUT = 3
};

#define DEFAULT_WAIT_MS 30000u

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
    "Defaults: firmware 1.1.1, driver 1.0.4, gains at 0 dB, switches off, wait 30000 ms\n"
    "(also the longest wait for the bus itself, which wine starts with each session).\n"
    "Exit status: 0 done, 1 failed, 2 bad command line, 3 timed out waiting.\n";

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

/* Strict decimal: digits only, at most `limit`. */
static int parse_number (const char* text, unsigned long limit, unsigned long* value)
{
    if (text == NULL || *text < '0' || *text > '9')
        return -1;
    unsigned long n = 0;
    for (; *text != '\0'; ++text)
    {
        if (*text < '0' || *text > '9')
            return -1;
        n = n * 10 + (unsigned long) (*text - '0');
        if (n > limit)
            return -1;
    }
    *value = n;
    return 0;
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

/* Reads the value after option argv[*i]; reports a missing one. */
static const char* option_value (int argc, char** argv, int* i)
{
    if (*i + 1 >= argc)
    {
        fail ("%s needs a value", argv[*i]);
        return NULL;
    }
    return argv[++*i];
}

static int parse_wait (const char* text, unsigned* wait_ms)
{
    unsigned long value;
    if (parse_number (text, 600000, &value) != 0)
    {
        fail ("bad --wait-ms value \"%s\": expected 0 to 600000", text ? text : "");
        return -1;
    }
    *wait_ms = (unsigned) value;
    return 0;
}

static int parse_count (const char* option, const char* text, int32_t* count)
{
    unsigned long value;
    if (parse_number (text, 0x7fffffff, &value) != 0)
    {
        fail ("bad %s value \"%s\": expected a number of requests", option, text ? text : "");
        return -1;
    }
    *count = (int32_t) value;
    return 0;
}

static int parse_plug (int argc, char** argv, struct vvb_plug* plug, unsigned* wait_ms)
{
    struct vv_model defaults;
    vv_model_init (&defaults);
    memset (plug, 0, sizeof *plug);
    memcpy (plug->firmware, defaults.firmware, 3);
    plug->driver_version = defaults.driver_version;
    memcpy (plug->block, defaults.block, sizeof plug->block);
    plug->fail_after = VVB_NEVER;
    plug->vanish_after = VVB_NEVER;

    for (int i = 2; i < argc; ++i)
    {
        const char* option = argv[i];
        if (strcmp (option, "--firmware") == 0 || strcmp (option, "--driver") == 0)
        {
            const char* text = option_value (argc, argv, &i);
            uint8_t v[3];
            if (text == NULL)
                return -1;
            if (vv_parse_version (text, &v[0], &v[1], &v[2]) != 0)
            {
                fail ("bad %s version \"%s\": expected X.Y.Z with X 0-255, Y 0-25, Z 0-9", option,
                      text);
                return -1;
            }
            if (option[2] == 'f')
                memcpy (plug->firmware, v, 3);
            else
                plug->driver_version = vv_version_word (v[0], v[1], v[2]);
        }
        else if (strcmp (option, "--block") == 0)
        {
            for (int b = 0; b < 16; ++b)
            {
                unsigned long value;
                if (i + 1 >= argc || parse_number (argv[i + 1], 255, &value) != 0)
                {
                    fail ("--block needs 16 numbers from 0 to 255; byte %d is %s%s%s", b,
                          i + 1 < argc ? "\"" : "", i + 1 < argc ? argv[i + 1] : "missing",
                          i + 1 < argc ? "\"" : "");
                    return -1;
                }
                plug->block[b] = (uint8_t) value;
                ++i;
            }
        }
        else if (strcmp (option, "--delay-ms") == 0)
        {
            const char* text = option_value (argc, argv, &i);
            unsigned long value;
            if (text == NULL)
                return -1;
            if (parse_number (text, VVB_MAX_DELAY_MS, &value) != 0)
            {
                fail ("bad --delay-ms value \"%s\": expected 0 to %u", text, VVB_MAX_DELAY_MS);
                return -1;
            }
            plug->delay_ms = (uint32_t) value;
        }
        else if (strcmp (option, "--fail-after") == 0 || strcmp (option, "--vanish-after") == 0)
        {
            const char* text = option_value (argc, argv, &i);
            if (text == NULL
                || parse_count (option, text, option[2] == 'f' ? &plug->fail_after : &plug->vanish_after) != 0)
                return -1;
        }
        else if (strcmp (option, "--wait-ms") == 0)
        {
            if (parse_wait (option_value (argc, argv, &i), wait_ms) != 0)
                return -1;
        }
        else
        {
            fail ("unknown option \"%s\" for plug", option);
            return -1;
        }
    }
    return 0;
}

static int command_plug (int argc, char** argv)
{
    struct vvb_plug plug;
    unsigned wait_ms = DEFAULT_WAIT_MS;
    if (parse_plug (argc, argv, &plug, &wait_ms) != 0)
        return EXIT_USAGE;
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
    if (text == NULL || parse_number (text, 0xffffffffu, &value) != 0 || value == 0)
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
    unsigned wait_ms = DEFAULT_WAIT_MS;
    if (argc < 3)
    {
        fail ("unplug takes the interface number that plug printed");
        return EXIT_USAGE;
    }
    if (parse_child (argv[2], &number) != 0)
        return EXIT_USAGE;
    for (int i = 3; i < argc; ++i)
    {
        if (strcmp (argv[i], "--wait-ms") != 0)
        {
            fail ("unknown option \"%s\" for unplug", argv[i]);
            return EXIT_USAGE;
        }
        if (parse_wait (option_value (argc, argv, &i), &wait_ms) != 0)
            return EXIT_USAGE;
    }
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
        fputs (usage, stderr);
        return EXIT_USAGE;
    }
    const char* command = argv[1];
    if (strcmp (command, "--help") == 0 || strcmp (command, "-h") == 0)
    {
        fputs (usage, stdout);
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
