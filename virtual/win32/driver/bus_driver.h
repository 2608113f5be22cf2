/* The virtual bus driver's device objects. One bus device (function device of the
   root-enumerated bus, named so that programs can open it) and one physical device
   object per plugged child. All child bookkeeping is under the bus's lock. */
#ifndef VELTRANO_BUS_DRIVER_H
#define VELTRANO_BUS_DRIVER_H

#include <ntddk.h>

#include "../bus_protocol.h"
#include "veltrano_model.h"

#define VVB_POOL_TAG 0x4256764bu /* "KvVB" in a pool dump */

enum node_kind
{
    NODE_BUS = 0x42757321,
    NODE_CHILD = 0x4368696c
};

struct bus_extension
{
    enum node_kind kind;
    DEVICE_OBJECT* self;
    DEVICE_OBJECT* lower;
    DEVICE_OBJECT* pdo;
    /* A spin lock, held only to copy state: wine's kernel mutexes can lose a wake-up
       between its request thread and its plug-and-play thread. */
    KSPIN_LOCK lock;
    uint32_t next_number;
    unsigned count;
    DEVICE_OBJECT* children[VVB_MAX_CHILDREN];
};

/* Plug-and-play requests arrive one at a time, so the interface fields are touched
   only there; everything else is under the bus's lock. */
struct child_extension
{
    enum node_kind kind;
    DEVICE_OBJECT* self;
    struct bus_extension* bus;
    IO_REMOVE_LOCK remove_lock;
    uint32_t number;
    enum vvb_child_state state;
    BOOLEAN present;       /* still on the bus; false once unplugged */
    BOOLEAN reported;      /* the system has seen it in the bus relations */
    BOOLEAN interface_on;
    UNICODE_STRING interface_name;
    FILE_OBJECT* owner;    /* the first opener; requests from other handles are refused */
    struct vv_model model;
};

static inline KIRQL bus_lock (struct bus_extension* bus)
{
    KIRQL irql;
    KeAcquireSpinLock (&bus->lock, &irql);
    return irql;
}

static inline void bus_unlock (struct bus_extension* bus, KIRQL irql)
{
    KeReleaseSpinLock (&bus->lock, irql);
}

NTSTATUS complete_request (IRP* irp, NTSTATUS status, ULONG_PTR information);

NTSTATUS bus_pnp (struct bus_extension* bus, IRP* irp);
NTSTATUS bus_control (struct bus_extension* bus, IRP* irp);

/* Takes a child off the bus and asks the system to remove it. */
NTSTATUS bus_unplug (struct bus_extension* bus, uint32_t number);

/* Drops a child from the bus's list. Call with the lock held. */
void bus_detach_child (struct bus_extension* bus, DEVICE_OBJECT* child);

NTSTATUS child_create_device (struct bus_extension* bus, uint32_t number,
                              const struct vvb_plug* plug, DEVICE_OBJECT** pdo);
/* Withdraws the interface and deletes the device object of a detached child. */
void child_destroy (struct child_extension* child);
NTSTATUS child_pnp (struct child_extension* child, IRP* irp);
NTSTATUS child_open_close (struct child_extension* child, IRP* irp);
NTSTATUS child_control (struct child_extension* child, IRP* irp);

#endif
