/* The virtual interface's behaviour, shared by the Linux host and the Windows
   kernel-mode driver. Plain C without a C library beyond memcpy and memset, so
   that it builds for kernel mode too. */
#ifndef VELTRANO_MODEL_H
#define VELTRANO_MODEL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VV_IOCTL_VENDOR_REQUEST 0x00220008u
#define VV_IOCTL_DRIVER_VERSION 0x002200A4u

#define VV_BLOCK_SIZE 16
#define VV_NEVER (-1)

struct vv_faults
{
    uint32_t reply_delay_ms; /* applied by the host before each reply */
    int32_t fail_after;      /* requests answered before every later one fails; VV_NEVER */
    int32_t vanish_after;    /* requests answered before the interface disappears; VV_NEVER */
};

struct vv_model
{
    uint8_t firmware[3];     /* major, minor, patch */
    uint32_t driver_version; /* major in bits 31-24, minor 23-16, patch 15-8 */
    uint8_t block[VV_BLOCK_SIZE];
    struct vv_faults faults;
    uint32_t answered;       /* requests answered so far */
};

enum vv_status
{
    VV_OK = 0,
    VV_FAILED = 1,   /* the request stalls, as an unknown USB control request does */
    VV_VANISHED = 2  /* the interface is gone; the host unplugs it */
};

/* Power-on state: firmware 1.1.1, driver 1.0.4, gains at 0 dB, switches off, no faults. */
void vv_model_init (struct vv_model* model);

/* Parses "major.minor.patch" (each 0..255; minor and patch 0..25 and 0..9 to fit the
   firmware reply). Returns 0 on success, -1 on malformed text. */
int vv_parse_version (const char* text, uint8_t* major, uint8_t* minor, uint8_t* patch);

/* Packs a version the way the driver-version word carries it. */
uint32_t vv_version_word (uint8_t major, uint8_t minor, uint8_t patch);

/* Answers one device I/O control request. `buffer` holds `in_length` bytes on the way in
   and receives up to `out_capacity` bytes; `*out_length` is set to what was written.
   `*changed_mask` gets bit i set for every block byte i that a write changed. */
enum vv_status vv_model_request (struct vv_model* model, uint32_t code, uint8_t* buffer,
                                 uint32_t in_length, uint32_t out_capacity,
                                 uint32_t* out_length, uint32_t* changed_mask);

/* What block byte `index` means, in words ("48 V phantom power, channel 1"). */
const char* vv_parameter_name (unsigned index);

#ifdef __cplusplus
}
#endif

#endif
