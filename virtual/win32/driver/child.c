/* A plugged child: the physical device object of one virtual interface. It needs no
   function driver (raw), shows the interface class at start, answers the audio
   interface's two control codes from the shared model, and serves one opener. */
#include "bus_driver.h"

static const GUID interface_class = VVB_INTERFACE_CLASS;

static unsigned format_number (WCHAR* out, uint32_t n)
{
    WCHAR digits[10];
    unsigned count = 0;
    do
    {
        digits[count++] = (WCHAR) (L'0' + n % 10);
        n /= 10;
    } while (n != 0);
    for (unsigned i = 0; i < count; ++i)
        out[i] = digits[count - 1 - i];
    return count;
}

NTSTATUS child_create_device (struct bus_extension* bus, uint32_t number,
                              const struct vvb_plug* plug, DEVICE_OBJECT** pdo)
{
    static const WCHAR prefix[] = L"\\Device\\VeltranoVirtual";
    WCHAR text[sizeof prefix / sizeof *prefix + 10];
    RtlCopyMemory (text, prefix, sizeof prefix);
    const unsigned length = sizeof prefix / sizeof *prefix - 1;
    text[length + format_number (text + length, number)] = 0;
    UNICODE_STRING name;
    RtlInitUnicodeString (&name, text);

    const NTSTATUS status = IoCreateDevice (bus->self->DriverObject, sizeof (struct child_extension),
                                            &name, FILE_DEVICE_UNKNOWN, FILE_DEVICE_SECURE_OPEN,
                                            FALSE, pdo);
    if (!NT_SUCCESS (status))
        return status;

    struct child_extension* child = (*pdo)->DeviceExtension;
    RtlZeroMemory (child, sizeof *child);
    child->kind = NODE_CHILD;
    child->self = *pdo;
    child->bus = bus;
    child->number = number;
    child->state = VVB_CHILD_PLUGGED;
    child->present = TRUE;
    IoInitializeRemoveLock (&child->remove_lock, VVB_POOL_TAG, 0, 0);

    vv_model_init (&child->model);
    RtlCopyMemory (child->model.firmware, plug->firmware, 3);
    child->model.driver_version = plug->driver_version;
    RtlCopyMemory (child->model.block, plug->block, VV_BLOCK_SIZE);
    child->model.faults.fail_after = plug->fail_after;
    child->model.faults.vanish_after = plug->vanish_after;
    child->model.faults.reply_delay_ms = plug->delay_ms;

    (*pdo)->Flags |= DO_BUFFERED_IO;
    (*pdo)->Flags &= ~DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

static void disable_interface (struct child_extension* child)
{
    if (child->interface_on)
    {
        IoSetDeviceInterfaceState (&child->interface_name, FALSE);
        child->interface_on = FALSE;
    }
}

void child_destroy (struct child_extension* child)
{
    disable_interface (child);
    RtlFreeUnicodeString (&child->interface_name);
    IoDeleteDevice (child->self);
}

static BOOLEAN still_present (struct child_extension* child)
{
    const KIRQL irql = bus_lock (child->bus);
    const BOOLEAN present = child->present;
    bus_unlock (child->bus, irql);
    return present;
}

static void set_state (struct child_extension* child, enum vvb_child_state state)
{
    const KIRQL irql = bus_lock (child->bus);
    child->state = child->present ? state : VVB_CHILD_LEAVING;
    bus_unlock (child->bus, irql);
}

static NTSTATUS start (struct child_extension* child)
{
    if (!still_present (child))
        return STATUS_NO_SUCH_DEVICE;
    NTSTATUS status = STATUS_SUCCESS;
    if (child->interface_name.Buffer == NULL)
        status = IoRegisterDeviceInterface (child->self, &interface_class, NULL,
                                            &child->interface_name);
    if (NT_SUCCESS (status) && !child->interface_on)
    {
        status = IoSetDeviceInterfaceState (&child->interface_name, TRUE);
        child->interface_on = NT_SUCCESS (status);
    }
    if (NT_SUCCESS (status))
        set_state (child, VVB_CHILD_STARTED);
    return status;
}

/* A child still on the bus only stops (its bus is going away); one that was unplugged
   is deleted once the requests in flight on it are done. */
static NTSTATUS remove (struct child_extension* child, IRP* irp)
{
    disable_interface (child);
    set_state (child, VVB_CHILD_PLUGGED);
    if (still_present (child))
        return complete_request (irp, STATUS_SUCCESS, 0);

    IoAcquireRemoveLock (&child->remove_lock, irp);
    IoReleaseRemoveLockAndWait (&child->remove_lock, irp);
    const KIRQL irql = bus_lock (child->bus);
    bus_detach_child (child->bus, child->self);
    bus_unlock (child->bus, irql);
    complete_request (irp, STATUS_SUCCESS, 0);
    child_destroy (child);
    return STATUS_SUCCESS;
}

static NTSTATUS wide_copy (const WCHAR* text, size_t count, ULONG_PTR* result)
{
    WCHAR* copy = ExAllocatePoolWithTag (PagedPool, count * sizeof (WCHAR), VVB_POOL_TAG);
    if (copy == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    RtlCopyMemory (copy, text, count * sizeof (WCHAR));
    *result = (ULONG_PTR) copy;
    return STATUS_SUCCESS;
}

static NTSTATUS query_id (struct child_extension* child, BUS_QUERY_ID_TYPE type, IRP* irp)
{
    static const WCHAR device_id[] = VVB_CHILD_DEVICE_ID_WIDE;
    /* Multi-strings: the identifier, then an empty string. */
    static const WCHAR hardware_ids[] = VVB_CHILD_DEVICE_ID_WIDE L"\0";
    static const WCHAR compatible_ids[] = L"\0";
    WCHAR instance[11];
    ULONG_PTR result = 0;
    NTSTATUS status;

    switch (type)
    {
    case BusQueryDeviceID:
        status = wide_copy (device_id, sizeof device_id / sizeof *device_id, &result);
        break;
    case BusQueryInstanceID:
        instance[format_number (instance, child->number)] = 0;
        status = wide_copy (instance, 11, &result);
        break;
    case BusQueryHardwareIDs:
        status = wide_copy (hardware_ids, sizeof hardware_ids / sizeof *hardware_ids, &result);
        break;
    case BusQueryCompatibleIDs:
        status = wide_copy (compatible_ids, sizeof compatible_ids / sizeof *compatible_ids, &result);
        break;
    default:
        return complete_request (irp, irp->IoStatus.Status, irp->IoStatus.Information);
    }
    return complete_request (irp, status, result);
}

static NTSTATUS query_capabilities (struct child_extension* child, IRP* irp)
{
    DEVICE_CAPABILITIES* caps =
        IoGetCurrentIrpStackLocation (irp)->Parameters.DeviceCapabilities.Capabilities;
    caps->RawDeviceOK = 1;
    caps->SurpriseRemovalOK = 1;
    caps->Removable = 1;
    caps->UniqueID = 0;
    caps->Address = child->number;
    caps->UINumber = child->number;
    caps->DeviceState[PowerSystemWorking] = PowerDeviceD0;
    for (int s = PowerSystemSleeping1; s < PowerSystemMaximum; ++s)
        caps->DeviceState[s] = PowerDeviceD3;
    caps->SystemWake = PowerSystemUnspecified;
    caps->DeviceWake = PowerDeviceUnspecified;
    return complete_request (irp, STATUS_SUCCESS, 0);
}

static NTSTATUS query_target (struct child_extension* child, IRP* irp)
{
    DEVICE_RELATIONS* relations =
        ExAllocatePoolWithTag (PagedPool, sizeof (DEVICE_RELATIONS), VVB_POOL_TAG);
    if (relations == NULL)
        return complete_request (irp, STATUS_INSUFFICIENT_RESOURCES, 0);
    relations->Count = 1;
    relations->Objects[0] = child->self;
    ObReferenceObject (child->self);
    return complete_request (irp, STATUS_SUCCESS, (ULONG_PTR) relations);
}

NTSTATUS child_pnp (struct child_extension* child, IRP* irp)
{
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    switch (stack->MinorFunction)
    {
    case IRP_MN_START_DEVICE:
        return complete_request (irp, start (child), 0);
    case IRP_MN_QUERY_STOP_DEVICE:
    case IRP_MN_CANCEL_STOP_DEVICE:
    case IRP_MN_STOP_DEVICE:
    case IRP_MN_QUERY_REMOVE_DEVICE:
    case IRP_MN_CANCEL_REMOVE_DEVICE:
        return complete_request (irp, STATUS_SUCCESS, 0);
    case IRP_MN_SURPRISE_REMOVAL:
        disable_interface (child);
        set_state (child, VVB_CHILD_PLUGGED);
        return complete_request (irp, STATUS_SUCCESS, 0);
    case IRP_MN_REMOVE_DEVICE:
        return remove (child, irp);
    case IRP_MN_QUERY_ID:
        return query_id (child, stack->Parameters.QueryId.IdType, irp);
    case IRP_MN_QUERY_CAPABILITIES:
        return query_capabilities (child, irp);
    case IRP_MN_QUERY_DEVICE_RELATIONS:
        if (stack->Parameters.QueryDeviceRelations.Type == TargetDeviceRelation)
            return query_target (child, irp);
        break;
    default:
        break;
    }
    return complete_request (irp, irp->IoStatus.Status, irp->IoStatus.Information);
}

NTSTATUS child_open_close (struct child_extension* child, IRP* irp)
{
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    FILE_OBJECT* file = stack->FileObject;
    NTSTATUS status = STATUS_SUCCESS;

    /* Closing never fails; opening a child on its way out does. */
    if (!NT_SUCCESS (IoAcquireRemoveLock (&child->remove_lock, irp)))
        return complete_request (irp, stack->MajorFunction == IRP_MJ_CREATE ? STATUS_DELETE_PENDING
                                                                          : STATUS_SUCCESS,
                                 0);
    const KIRQL irql = bus_lock (child->bus);
    if (stack->MajorFunction == IRP_MJ_CREATE)
    {
        if (!child->present || child->state != VVB_CHILD_STARTED)
            status = STATUS_NO_SUCH_DEVICE;
        else if (child->owner != NULL)
            status = STATUS_SHARING_VIOLATION;
        else
            child->owner = file;
    }
    else if (child->owner == file)
    {
        child->owner = NULL;
    }
    bus_unlock (child->bus, irql);
    IoReleaseRemoveLock (&child->remove_lock, irp);
    return complete_request (irp, status, 0);
}

static NTSTATUS status_of (enum vv_status result)
{
    switch (result)
    {
    case VV_OK:
        return STATUS_SUCCESS;
    case VV_VANISHED:
        return STATUS_DEVICE_REMOVED;
    default:
        return STATUS_UNSUCCESSFUL;
    }
}

NTSTATUS child_control (struct child_extension* child, IRP* irp)
{
    const NTSTATUS held = IoAcquireRemoveLock (&child->remove_lock, irp);
    if (!NT_SUCCESS (held))
        return complete_request (irp, held, 0);

    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    NTSTATUS status = STATUS_SUCCESS;
    KIRQL irql = bus_lock (child->bus);
    if (!child->present || child->state != VVB_CHILD_STARTED)
        status = STATUS_DEVICE_REMOVED;
    else if (child->owner != stack->FileObject)
        status = STATUS_SHARING_VIOLATION;
    const uint32_t delay_ms = child->model.faults.reply_delay_ms;
    bus_unlock (child->bus, irql);

    if (NT_SUCCESS (status) && delay_ms > 0)
    {
        LARGE_INTEGER interval;
        interval.QuadPart = -(LONGLONG) delay_ms * 10000;
        KeDelayExecutionThread (KernelMode, FALSE, &interval);
    }

    uint32_t length = 0;
    enum vv_status result = VV_OK;
    if (NT_SUCCESS (status))
    {
        uint32_t changed = 0;
        irql = bus_lock (child->bus);
        if (child->present)
            result = vv_model_request (&child->model, stack->Parameters.DeviceIoControl.IoControlCode,
                                       irp->AssociatedIrp.SystemBuffer,
                                       stack->Parameters.DeviceIoControl.InputBufferLength,
                                       stack->Parameters.DeviceIoControl.OutputBufferLength, &length,
                                       &changed);
        else
            result = VV_VANISHED;
        bus_unlock (child->bus, irql);
        status = status_of (result);
    }
    const uint32_t number = child->number;
    struct bus_extension* bus = child->bus;
    IoReleaseRemoveLock (&child->remove_lock, irp);
    if (result == VV_VANISHED)
        bus_unplug (bus, number);
    return complete_request (irp, status, NT_SUCCESS (status) ? length : 0);
}
