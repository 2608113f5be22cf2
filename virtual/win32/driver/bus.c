/* The bus device: its plug-and-play requests, the children it reports, and the
   control requests that plug, unplug, list and inspect children. */
#include "bus_driver.h"

static NTSTATUS signal_completion (DEVICE_OBJECT* device, IRP* irp, void* event)
{
    (void) device;
    (void) irp;
    KeSetEvent (event, IO_NO_INCREMENT, FALSE);
    return STATUS_MORE_PROCESSING_REQUIRED;
}

/* Lets the lower driver (the root enumerator) finish first, as a start must. */
static NTSTATUS forward_and_wait (struct bus_extension* bus, IRP* irp)
{
    KEVENT event;
    KeInitializeEvent (&event, NotificationEvent, FALSE);
    IoCopyCurrentIrpStackLocationToNext (irp);
    IoSetCompletionRoutine (irp, signal_completion, &event, TRUE, TRUE, TRUE);
    NTSTATUS status = IoCallDriver (bus->lower, irp);
    if (status == STATUS_PENDING)
        KeWaitForSingleObject (&event, Executive, KernelMode, FALSE, NULL);
    return irp->IoStatus.Status;
}

static NTSTATUS pass_down (struct bus_extension* bus, IRP* irp, NTSTATUS status)
{
    irp->IoStatus.Status = status;
    IoSkipCurrentIrpStackLocation (irp);
    return IoCallDriver (bus->lower, irp);
}

void bus_detach_child (struct bus_extension* bus, DEVICE_OBJECT* child)
{
    for (unsigned i = 0; i < bus->count; ++i)
        if (bus->children[i] == child)
        {
            bus->children[i] = bus->children[--bus->count];
            bus->children[bus->count] = NULL;
            return;
        }
}

static struct child_extension* find_child (struct bus_extension* bus, uint32_t number)
{
    for (unsigned i = 0; i < bus->count; ++i)
    {
        struct child_extension* child = bus->children[i]->DeviceExtension;
        if (child->number == number)
            return child;
    }
    return NULL;
}

/* The present children, each referenced for the system. Children that were unplugged
   before the system ever saw them are deleted here: no removal will come for them. */
static NTSTATUS report_children (struct bus_extension* bus, IRP* irp)
{
    DEVICE_RELATIONS* relations = ExAllocatePoolWithTag (
        PagedPool, sizeof (DEVICE_RELATIONS) + VVB_MAX_CHILDREN * sizeof (DEVICE_OBJECT*),
        VVB_POOL_TAG);
    if (relations == NULL)
        return complete_request (irp, STATUS_INSUFFICIENT_RESOURCES, 0);
    relations->Count = 0;

    DEVICE_OBJECT* unseen[VVB_MAX_CHILDREN];
    unsigned unseen_count = 0;
    const KIRQL irql = bus_lock (bus);
    for (unsigned i = 0; i < bus->count;)
    {
        struct child_extension* child = bus->children[i]->DeviceExtension;
        if (!child->present && !child->reported)
        {
            unseen[unseen_count++] = child->self;
            bus_detach_child (bus, child->self);
            continue;
        }
        if (child->present)
        {
            child->reported = TRUE;
            ObReferenceObject (child->self);
            relations->Objects[relations->Count++] = child->self;
        }
        ++i;
    }
    bus_unlock (bus, irql);

    for (unsigned i = 0; i < unseen_count; ++i)
        child_destroy (unseen[i]->DeviceExtension);
    irp->IoStatus.Information = (ULONG_PTR) relations;
    return pass_down (bus, irp, STATUS_SUCCESS);
}

static NTSTATUS remove_bus (struct bus_extension* bus, IRP* irp)
{
    DEVICE_OBJECT* children[VVB_MAX_CHILDREN];
    const KIRQL irql = bus_lock (bus);
    const unsigned count = bus->count;
    RtlCopyMemory (children, bus->children, count * sizeof *children);
    bus->count = 0;
    bus_unlock (bus, irql);
    for (unsigned i = 0; i < count; ++i)
        child_destroy (children[i]->DeviceExtension);

    UNICODE_STRING link;
    RtlInitUnicodeString (&link, VVB_LINK_NAME);
    IoDeleteSymbolicLink (&link);

    DEVICE_OBJECT* lower = bus->lower;
    DEVICE_OBJECT* self = bus->self;
    const NTSTATUS status = pass_down (bus, irp, STATUS_SUCCESS);
    IoDetachDevice (lower);
    IoDeleteDevice (self);
    return status;
}

NTSTATUS bus_pnp (struct bus_extension* bus, IRP* irp)
{
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    switch (stack->MinorFunction)
    {
    case IRP_MN_START_DEVICE:
    {
        NTSTATUS status = forward_and_wait (bus, irp);
        if (status == STATUS_NOT_SUPPORTED)
            status = STATUS_SUCCESS;
        return complete_request (irp, status, 0);
    }
    case IRP_MN_QUERY_DEVICE_RELATIONS:
        if (stack->Parameters.QueryDeviceRelations.Type == BusRelations)
            return report_children (bus, irp);
        break;
    case IRP_MN_REMOVE_DEVICE:
        return remove_bus (bus, irp);
    case IRP_MN_QUERY_REMOVE_DEVICE:
    case IRP_MN_CANCEL_REMOVE_DEVICE:
    case IRP_MN_SURPRISE_REMOVAL:
    case IRP_MN_QUERY_STOP_DEVICE:
    case IRP_MN_CANCEL_STOP_DEVICE:
    case IRP_MN_STOP_DEVICE:
        return pass_down (bus, irp, STATUS_SUCCESS);
    default:
        break;
    }
    IoSkipCurrentIrpStackLocation (irp);
    return IoCallDriver (bus->lower, irp);
}

NTSTATUS bus_unplug (struct bus_extension* bus, uint32_t number)
{
    const KIRQL irql = bus_lock (bus);
    struct child_extension* child = find_child (bus, number);
    const BOOLEAN found = child != NULL && child->present;
    if (found)
    {
        child->present = FALSE;
        child->state = VVB_CHILD_LEAVING;
    }
    bus_unlock (bus, irql);
    if (!found)
        return STATUS_NO_SUCH_DEVICE;
    IoInvalidateDeviceRelations (bus->pdo, BusRelations);
    return STATUS_SUCCESS;
}

static BOOLEAN valid_plug (const struct vvb_plug* plug)
{
    return plug->firmware[1] <= 25 && plug->firmware[2] <= 9 && plug->reserved == 0
           && plug->fail_after >= VVB_NEVER && plug->vanish_after >= VVB_NEVER
           && plug->delay_ms <= VVB_MAX_DELAY_MS;
}

static NTSTATUS plug (struct bus_extension* bus, const struct vvb_plug* plug, uint32_t* number)
{
    if (!valid_plug (plug))
        return STATUS_INVALID_PARAMETER;
    KIRQL irql = bus_lock (bus);
    const BOOLEAN full = bus->count >= VVB_MAX_CHILDREN;
    if (!full)
        *number = bus->next_number++;
    bus_unlock (bus, irql);
    if (full)
        return STATUS_INSUFFICIENT_RESOURCES;

    DEVICE_OBJECT* pdo = NULL;
    const NTSTATUS status = child_create_device (bus, *number, plug, &pdo);
    if (!NT_SUCCESS (status))
        return status;
    irql = bus_lock (bus);
    const BOOLEAN added = bus->count < VVB_MAX_CHILDREN;
    if (added)
        bus->children[bus->count++] = pdo;
    bus_unlock (bus, irql);
    if (!added)
    {
        IoDeleteDevice (pdo);
        return STATUS_INSUFFICIENT_RESOURCES;
    }
    IoInvalidateDeviceRelations (bus->pdo, BusRelations);
    return STATUS_SUCCESS;
}

static NTSTATUS list (struct bus_extension* bus, uint8_t* buffer, ULONG capacity, ULONG* length)
{
    const KIRQL irql = bus_lock (bus);
    const ULONG needed =
        sizeof (struct vvb_list_header) + bus->count * sizeof (struct vvb_child_info);
    if (capacity < needed)
    {
        bus_unlock (bus, irql);
        return STATUS_BUFFER_TOO_SMALL;
    }
    struct vvb_list_header* header = (struct vvb_list_header*) buffer;
    struct vvb_child_info* info = (struct vvb_child_info*) (header + 1);
    header->count = bus->count;
    header->reserved = 0;
    for (unsigned i = 0; i < bus->count; ++i)
    {
        const struct child_extension* child = bus->children[i]->DeviceExtension;
        info[i].number = child->number;
        info[i].state = child->state;
        RtlCopyMemory (info[i].firmware, child->model.firmware, 3);
        info[i].open = child->owner != NULL;
        info[i].driver_version = child->model.driver_version;
        info[i].answered = child->model.answered;
    }
    bus_unlock (bus, irql);
    *length = needed;
    return STATUS_SUCCESS;
}

static NTSTATUS read_block (struct bus_extension* bus, uint32_t number, uint8_t* block)
{
    const KIRQL irql = bus_lock (bus);
    const struct child_extension* child = find_child (bus, number);
    if (child != NULL)
        RtlCopyMemory (block, child->model.block, VV_BLOCK_SIZE);
    bus_unlock (bus, irql);
    return child != NULL ? STATUS_SUCCESS : STATUS_NO_SUCH_DEVICE;
}

NTSTATUS bus_control (struct bus_extension* bus, IRP* irp)
{
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    const ULONG in = stack->Parameters.DeviceIoControl.InputBufferLength;
    const ULONG out = stack->Parameters.DeviceIoControl.OutputBufferLength;
    uint8_t* buffer = irp->AssociatedIrp.SystemBuffer;
    uint32_t number = 0;
    ULONG length = 0;
    NTSTATUS status = STATUS_INVALID_PARAMETER;

    switch (stack->Parameters.DeviceIoControl.IoControlCode)
    {
    case VVB_IOCTL_PLUG:
        if (in == sizeof (struct vvb_plug) && out >= sizeof number)
        {
            struct vvb_plug request;
            RtlCopyMemory (&request, buffer, sizeof request);
            status = plug (bus, &request, &number);
            if (NT_SUCCESS (status))
            {
                RtlCopyMemory (buffer, &number, sizeof number);
                length = sizeof number;
            }
        }
        break;
    case VVB_IOCTL_UNPLUG:
        if (in == sizeof number)
        {
            RtlCopyMemory (&number, buffer, sizeof number);
            status = bus_unplug (bus, number);
        }
        break;
    case VVB_IOCTL_LIST:
        if (in == 0 && out >= sizeof (struct vvb_list_header))
            status = list (bus, buffer, out, &length);
        break;
    case VVB_IOCTL_READ_BLOCK:
        if (in == sizeof number && out >= VV_BLOCK_SIZE)
        {
            RtlCopyMemory (&number, buffer, sizeof number);
            status = read_block (bus, number, buffer);
            if (NT_SUCCESS (status))
                length = VV_BLOCK_SIZE;
        }
        break;
    default:
        status = STATUS_INVALID_DEVICE_REQUEST;
        break;
    }
    return complete_request (irp, status, length);
}
