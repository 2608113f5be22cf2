#include "veltrano_model.h"

#include <string.h>

#define SETUP_SIZE 8
#define READ_TYPE 0xC0
#define WRITE_TYPE 0x40
#define REQUEST_FIRMWARE 0x56
#define REQUEST_BLOCK 0x4E
#define FIRMWARE_LENGTH 3

void vv_model_init (struct vv_model* model)
{
    memset (model, 0, sizeof *model);
    model->firmware[0] = 1;
    model->firmware[1] = 1;
    model->firmware[2] = 1;
    model->driver_version = vv_version_word (1, 0, 4);
    model->block[1] = 40;               /* output 1/2: 0 dB */
    model->block[2] = 34;               /* headset 1/2: 0 dB */
    model->block[3] = 34;               /* headset 3/4: 0 dB */
    model->block[4] = 1;                /* input gains: 0 dB */
    model->block[5] = 1;
    model->block[6] = 1;
    model->block[7] = 1;
    model->faults.fail_after = VV_NEVER;
    model->faults.vanish_after = VV_NEVER;
}

static int parse_number (const char** text, unsigned limit, uint8_t* value)
{
    unsigned n = 0;
    int digits = 0;
    while (**text >= '0' && **text <= '9')
    {
        n = n * 10 + (unsigned) (**text - '0');
        if (n > limit)
            return -1;
        ++*text;
        ++digits;
    }
    if (digits == 0)
        return -1;
    *value = (uint8_t) n;
    return 0;
}

int vv_parse_version (const char* text, uint8_t* major, uint8_t* minor, uint8_t* patch)
{
    if (text == 0 || parse_number (&text, 255, major) != 0 || *text++ != '.'
        || parse_number (&text, 25, minor) != 0 || *text++ != '.'
        || parse_number (&text, 9, patch) != 0 || *text != '\0')
        return -1;
    return 0;
}

uint32_t vv_version_word (uint8_t major, uint8_t minor, uint8_t patch)
{
    return ((uint32_t) major << 24) | ((uint32_t) minor << 16) | ((uint32_t) patch << 8);
}

static uint16_t read_u16 (const uint8_t* p)
{
    return (uint16_t) (p[0] | (p[1] << 8));
}

static enum vv_status vendor_request (struct vv_model* model, uint8_t* buffer, uint32_t in_length,
                                      uint32_t out_capacity, uint32_t* out_length,
                                      uint32_t* changed_mask)
{
    if (in_length < SETUP_SIZE || out_capacity != in_length)
        return VV_FAILED;
    const uint8_t type = buffer[0];
    const uint8_t request = buffer[1];
    const uint16_t value = read_u16 (buffer + 2);
    const uint16_t index = read_u16 (buffer + 4);
    const uint16_t length = read_u16 (buffer + 6);
    if (value != 0 || index != 0 || in_length != (uint32_t) SETUP_SIZE + length)
        return VV_FAILED;

    uint8_t* data = buffer + SETUP_SIZE;
    if (type == READ_TYPE && request == REQUEST_FIRMWARE && length == FIRMWARE_LENGTH)
    {
        data[0] = 0;
        data[1] = model->firmware[0];
        data[2] = (uint8_t) (model->firmware[1] * 10 + model->firmware[2]);
    }
    else if (type == READ_TYPE && request == REQUEST_BLOCK && length == VV_BLOCK_SIZE)
    {
        memcpy (data, model->block, VV_BLOCK_SIZE);
    }
    else if (type == WRITE_TYPE && request == REQUEST_BLOCK && length == VV_BLOCK_SIZE)
    {
        for (unsigned i = 0; i < VV_BLOCK_SIZE; ++i)
            if (model->block[i] != data[i])
                *changed_mask |= 1u << i;
        memcpy (model->block, data, VV_BLOCK_SIZE);
    }
    else
    {
        return VV_FAILED;
    }
    *out_length = in_length;
    return VV_OK;
}

enum vv_status vv_model_request (struct vv_model* model, uint32_t code, uint8_t* buffer,
                                 uint32_t in_length, uint32_t out_capacity,
                                 uint32_t* out_length, uint32_t* changed_mask)
{
    *out_length = 0;
    *changed_mask = 0;
    if (model->faults.vanish_after != VV_NEVER && model->answered >= (uint32_t) model->faults.vanish_after)
        return VV_VANISHED;
    if (model->faults.fail_after != VV_NEVER && model->answered >= (uint32_t) model->faults.fail_after)
        return VV_FAILED;

    enum vv_status status = VV_FAILED;
    if (code == VV_IOCTL_DRIVER_VERSION)
    {
        if (in_length == 0 && out_capacity >= 4)
        {
            const uint32_t v = model->driver_version;
            buffer[0] = (uint8_t) v;
            buffer[1] = (uint8_t) (v >> 8);
            buffer[2] = (uint8_t) (v >> 16);
            buffer[3] = (uint8_t) (v >> 24);
            *out_length = 4;
            status = VV_OK;
        }
    }
    else if (code == VV_IOCTL_VENDOR_REQUEST)
    {
        status = vendor_request (model, buffer, in_length, out_capacity, out_length, changed_mask);
    }
    if (status == VV_OK)
        ++model->answered;
    return status;
}

const char* vv_parameter_name (unsigned index)
{
    static const char* const names[VV_BLOCK_SIZE] = {
        "unused",
        "attenuation, output 1/2",
        "attenuation, headset channel 1/2",
        "attenuation, headset channel 3/4",
        "balanced input level, channel 1",
        "balanced input level, channel 2",
        "input level, channel 3/4",
        "Hi-Z input level, channel 2",
        "zero-latency monitoring",
        "Hi-Z instrument input 2",
        "48 V phantom power, channel 1",
        "48 V phantom power, channel 2",
        "headset source",
        "unused",
        "unused",
        "unused",
    };
    return index < VV_BLOCK_SIZE ? names[index] : "unknown";
}
