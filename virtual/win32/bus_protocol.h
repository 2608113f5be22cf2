/* The virtual bus's control device: what the driver and the programs that plug
   virtual interfaces into it agree on. Every request is METHOD_BUFFERED; all
   integers are little-endian, as the machine is. */
#ifndef VELTRANO_BUS_PROTOCOL_H
#define VELTRANO_BUS_PROTOCOL_H

#include <stdint.h>

/* Kernel name, and the name user mode opens with CreateFileA. */
#define VVB_DEVICE_NAME L"\\Device\\VeltranoVirtualBus"
#define VVB_LINK_NAME L"\\DosDevices\\VeltranoVirtualBus"
#define VVB_USER_PATH "\\\\.\\VeltranoVirtualBus"

/* A child's device instance is VVB_CHILD_DEVICE_ID "\" its decimal number. */
#define VVB_CHILD_DEVICE_ID "VELTRANO\\VIRTUAL"
#define VVB_CHILD_DEVICE_ID_WIDE L"VELTRANO\\VIRTUAL"

#define VVB_MAX_CHILDREN 64

/* The device-interface class of the audio interface's kernel driver: every child
   registers one interface of it, as the hardware's driver does. */
#define VVB_INTERFACE_CLASS \
    { 0x77dcbabf, 0x9b6b, 0x44de, { 0xa9, 0xf1, 0x24, 0xa7, 0x8c, 0xb5, 0xc1, 0x11 } }

/* FILE_DEVICE_UNKNOWN, METHOD_BUFFERED, FILE_ANY_ACCESS, functions from 0x800
   (the range left to vendors). */
#define VVB_CODE(function) ((0x22u << 16) | ((uint32_t) (function) << 2))

/* in: struct vvb_plug; out: uint32_t, the new child's number (1, 2, ...). */
#define VVB_IOCTL_PLUG VVB_CODE (0x800)
/* in: uint32_t number; out: nothing. Unknown number: STATUS_NO_SUCH_DEVICE. */
#define VVB_IOCTL_UNPLUG VVB_CODE (0x801)
/* in: nothing; out: struct vvb_list_header, then `count` struct vvb_child_info.
   A buffer too small for every child: STATUS_BUFFER_TOO_SMALL. */
#define VVB_IOCTL_LIST VVB_CODE (0x802)
/* in: uint32_t number; out: the child's 16-byte parameter block. */
#define VVB_IOCTL_READ_BLOCK VVB_CODE (0x803)

#define VVB_NEVER (-1)

struct vvb_plug
{
    uint8_t firmware[3];     /* major, minor (0..25), patch (0..9) */
    uint8_t reserved;        /* 0 */
    uint32_t driver_version; /* the word the driver-version request returns */
    uint8_t block[16];       /* initial parameter block */
    int32_t fail_after;      /* requests answered before all later ones fail; VVB_NEVER */
    int32_t vanish_after;    /* requests answered before the interface unplugs itself; VVB_NEVER */
    uint32_t delay_ms;       /* wait before each reply, at most VVB_MAX_DELAY_MS */
};

#define VVB_MAX_DELAY_MS 10000u

/* States of a child, in the order it goes through them. */
enum vvb_child_state
{
    VVB_CHILD_PLUGGED = 0, /* created, not yet started by the system */
    VVB_CHILD_STARTED = 1, /* its interface is enabled and can be opened */
    VVB_CHILD_LEAVING = 2  /* unplugged, waiting for the system to remove it */
};

struct vvb_child_info
{
    uint32_t number;
    uint32_t state;          /* enum vvb_child_state */
    uint8_t firmware[3];
    uint8_t open;            /* 1 while a handle is open on it */
    uint32_t driver_version;
    uint32_t answered;       /* control requests answered so far */
};

struct vvb_list_header
{
    uint32_t count;
    uint32_t reserved;
};

#endif
