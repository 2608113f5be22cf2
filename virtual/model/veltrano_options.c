#include "veltrano_options.h"

#include <stdarg.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

const char vv_interface_options_help[] =
    "  --firmware X.Y.Z     firmware version (default 1.1.1; Y 0-25, Z 0-9); below\n"
    "                       1.1.1 the panel shows only the update picture\n"
    "  --driver X.Y.Z       kernel driver version reported (default 1.0.4)\n"
    "  --block V0 ... V15   the 16 parameter bytes at power-on, 0-255 each, as sixteen\n"
    "                       arguments or one (\"0 40 34 ...\" or \"0,40,34,...\");\n"
    "                       default: gains at 0 dB, switches off\n"
    "  --delay-ms N         wait N ms (0-10000) before each reply; the panel gives up\n"
    "                       after 2000\n"
    "  --fail-after N       answer N requests, then fail every later one\n"
    "  --vanish-after N     answer N requests, then unplug at the next one\n";

enum kind
{
    NAME,
    BUS,
    STATE_FILE,
    FIRMWARE,
    DRIVER,
    BLOCK,
    DELAY,
    FAIL_AFTER,
    VANISH_AFTER,
    WAIT
};

static const struct
{
    const char* option;
    unsigned group;
    enum kind kind;
} known[] = {
    { "--name", VV_HOST_OPTIONS, NAME },
    { "--bus", VV_HOST_OPTIONS, BUS },
    { "--state-file", VV_HOST_OPTIONS, STATE_FILE },
    { "--firmware", VV_INTERFACE_OPTIONS, FIRMWARE },
    { "--driver", VV_INTERFACE_OPTIONS, DRIVER },
    { "--block", VV_INTERFACE_OPTIONS, BLOCK },
    { "--delay-ms", VV_INTERFACE_OPTIONS, DELAY },
    { "--fail-after", VV_INTERFACE_OPTIONS, FAIL_AFTER },
    { "--vanish-after", VV_INTERFACE_OPTIONS, VANISH_AFTER },
    { "--wait-ms", VV_WAIT_OPTION, WAIT },
};

#define SEPARATORS " ,\t\n"

static int refuse (char* error, size_t size, const char* format, ...)
{
    va_list args;
    va_start (args, format);
    vsnprintf (error, size, format, args);
    va_end (args);
    return -1;
}

/* Decimal digits only, at most `limit`. */
static bool parse_count (const char* text, size_t length, unsigned long limit, unsigned long* value)
{
    unsigned long n = 0;
    if (length == 0)
        return false;
    for (size_t i = 0; i < length; ++i)
    {
        if (text[i] < '0' || text[i] > '9')
            return false;
        n = n * 10 + (unsigned long) (text[i] - '0');
        if (n > limit)
            return false;
    }
    *value = n;
    return true;
}

int vv_parse_number (const char* text, unsigned long limit, unsigned long* value)
{
    return parse_count (text, strlen (text), limit, value) ? 0 : -1;
}

/* Sixteen byte values, as one argument ("0 40 34 ..." or "0,40,34,...") or as the
   sixteen arguments from arguments[*at] on; *at ends on the last one taken. */
static int parse_block (int count, char* const* arguments, int* at, uint8_t* block, char* error, size_t size)
{
    const char* text[VV_BLOCK_SIZE];
    size_t length[VV_BLOCK_SIZE];
    int found = 0;
    const char* first = arguments[*at];
    if (strpbrk (first, SEPARATORS) != NULL)
    {
        for (const char* p = first + strspn (first, SEPARATORS); *p != '\0'; p += strspn (p, SEPARATORS))
        {
            const size_t n = strcspn (p, SEPARATORS);
            if (found < VV_BLOCK_SIZE)
            {
                text[found] = p;
                length[found] = n;
            }
            ++found;
            p += n;
        }
    }
    else
    {
        for (;;)
        {
            text[found] = arguments[*at];
            length[found] = strlen (arguments[*at]);
            if (++found == VV_BLOCK_SIZE || *at + 1 >= count || strncmp (arguments[*at + 1], "--", 2) == 0)
                break;
            ++*at;
        }
    }
    if (found != VV_BLOCK_SIZE)
        return refuse (error, size, "--block needs 16 byte values, got %d", found);
    for (int b = 0; b < VV_BLOCK_SIZE; ++b)
    {
        unsigned long value;
        if (! parse_count (text[b], length[b], 255, &value))
            return refuse (error, size, "--block: value %d ('%.*s') is not 0-255", b, (int) length[b], text[b]);
        block[b] = (uint8_t) value;
    }
    return 0;
}

int vv_parse_options (int count, char* const* arguments, unsigned groups, struct vv_options* out,
                      char* error, size_t size)
{
    memset (out, 0, sizeof *out);
    vv_model_init (&out->model);
    out->wait_ms = VV_DEFAULT_WAIT_MS;

    for (int i = 0; i < count; ++i)
    {
        const char* option = arguments[i];
        if (strcmp (option, "--help") == 0 || strcmp (option, "-h") == 0)
        {
            out->help = 1;
            return 0;
        }
        const size_t options = sizeof known / sizeof *known;
        size_t k = 0;
        while (k < options && (strcmp (known[k].option, option) != 0 || (known[k].group & groups) == 0))
            ++k;
        if (k == options)
            return refuse (error, size, "unknown option '%s' (see --help)", option);
        if (i + 1 >= count)
            return refuse (error, size, "%s needs a value", option);
        const char* value = arguments[++i];
        unsigned long number = 0;
        uint8_t v[3];

        switch (known[k].kind)
        {
        case NAME:
            if (value[0] == '\0' || value[0] == '.' || strchr (value, '/') != NULL)
                return refuse (error, size, "--name: '%s' is not a plain file name", value);
            out->name = value;
            break;
        case BUS:
        case STATE_FILE:
            if (value[0] == '\0')
                return refuse (error, size, "%s needs a value", option);
            *(known[k].kind == BUS ? &out->bus : &out->state_file) = value;
            break;
        case FIRMWARE:
        case DRIVER:
            if (vv_parse_version (value, &v[0], &v[1], &v[2]) != 0)
                return refuse (error, size, "%s: '%s' is not X.Y.Z (X 0-255, Y 0-25, Z 0-9)", option, value);
            if (known[k].kind == FIRMWARE)
                memcpy (out->model.firmware, v, sizeof out->model.firmware);
            else
                out->model.driver_version = vv_version_word (v[0], v[1], v[2]);
            break;
        case BLOCK:
            if (parse_block (count, arguments, &i, out->model.block, error, size) != 0)
                return -1;
            break;
        case DELAY:
            if (vv_parse_number (value, VV_MAX_DELAY_MS, &number) != 0)
                return refuse (error, size, "--delay-ms: '%s' is not a number from 0 to %u", value, VV_MAX_DELAY_MS);
            out->model.faults.reply_delay_ms = (uint32_t) number;
            break;
        case FAIL_AFTER:
        case VANISH_AFTER:
            if (vv_parse_number (value, 0x7FFFFFFF, &number) != 0)
                return refuse (error, size, "%s: '%s' is not a number of requests", option, value);
            *(known[k].kind == FAIL_AFTER ? &out->model.faults.fail_after : &out->model.faults.vanish_after) =
                (int32_t) number;
            break;
        case WAIT:
            if (vv_parse_number (value, VV_MAX_WAIT_MS, &number) != 0)
                return refuse (error, size, "--wait-ms: '%s' is not a number from 0 to %u", value, VV_MAX_WAIT_MS);
            out->wait_ms = (uint32_t) number;
            break;
        }
    }
    return 0;
}
