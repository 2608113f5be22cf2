/* Entry points: the system loads the driver for the root device key the installer
   writes, adds the bus device, and sends every request through one dispatcher that
   hands it to the bus or to a child. */
#include "bus_driver.h"

NTSTATUS complete_request (IRP* irp, NTSTATUS status, ULONG_PTR information)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest (irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS add_device (DRIVER_OBJECT* driver, DEVICE_OBJECT* pdo)
{
    UNICODE_STRING name, link;
    RtlInitUnicodeString (&name, VVB_DEVICE_NAME);
    RtlInitUnicodeString (&link, VVB_LINK_NAME);

    DEVICE_OBJECT* self = NULL;
    NTSTATUS status = IoCreateDevice (driver, sizeof (struct bus_extension), &name,
                                      FILE_DEVICE_UNKNOWN, FILE_DEVICE_SECURE_OPEN, FALSE, &self);
    if (!NT_SUCCESS (status))
        return status;

    struct bus_extension* bus = self->DeviceExtension;
    RtlZeroMemory (bus, sizeof *bus);
    bus->kind = NODE_BUS;
    bus->self = self;
    bus->pdo = pdo;
    bus->next_number = 1;
    KeInitializeSpinLock (&bus->lock);

    status = IoCreateSymbolicLink (&link, &name);
    if (!NT_SUCCESS (status))
    {
        IoDeleteDevice (self);
        return status;
    }
    bus->lower = IoAttachDeviceToDeviceStack (self, pdo);
    if (bus->lower == NULL)
    {
        IoDeleteSymbolicLink (&link);
        IoDeleteDevice (self);
        return STATUS_NO_SUCH_DEVICE;
    }
    self->Flags |= DO_BUFFERED_IO;
    self->Flags &= ~DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

static NTSTATUS dispatch (DEVICE_OBJECT* device, IRP* irp)
{
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation (irp);
    const enum node_kind kind = *(const enum node_kind*) device->DeviceExtension;

    if (kind == NODE_BUS)
    {
        struct bus_extension* bus = device->DeviceExtension;
        switch (stack->MajorFunction)
        {
        case IRP_MJ_PNP:
            return bus_pnp (bus, irp);
        case IRP_MJ_DEVICE_CONTROL:
            return bus_control (bus, irp);
        case IRP_MJ_CREATE:
        case IRP_MJ_CLEANUP:
        case IRP_MJ_CLOSE:
            return complete_request (irp, STATUS_SUCCESS, 0);
        case IRP_MJ_POWER:
            PoStartNextPowerIrp (irp);
            IoSkipCurrentIrpStackLocation (irp);
            return PoCallDriver (bus->lower, irp);
        default:
            IoSkipCurrentIrpStackLocation (irp);
            return IoCallDriver (bus->lower, irp);
        }
    }

    struct child_extension* child = device->DeviceExtension;
    switch (stack->MajorFunction)
    {
    case IRP_MJ_PNP:
        return child_pnp (child, irp);
    case IRP_MJ_DEVICE_CONTROL:
        return child_control (child, irp);
    case IRP_MJ_CREATE:
    case IRP_MJ_CLEANUP:
    case IRP_MJ_CLOSE:
        return child_open_close (child, irp);
    case IRP_MJ_POWER:
    {
        PoStartNextPowerIrp (irp);
        const NTSTATUS status = (stack->MinorFunction == IRP_MN_SET_POWER
                                 || stack->MinorFunction == IRP_MN_QUERY_POWER)
                                    ? STATUS_SUCCESS
                                    : irp->IoStatus.Status;
        return complete_request (irp, status, irp->IoStatus.Information);
    }
    default:
        return complete_request (irp, irp->IoStatus.Status, irp->IoStatus.Information);
    }
}

static void unload (DRIVER_OBJECT* driver)
{
    (void) driver;
}

NTSTATUS DriverEntry (DRIVER_OBJECT* driver, UNICODE_STRING* registry_path)
{
    (void) registry_path;
    for (unsigned i = 0; i <= IRP_MJ_MAXIMUM_FUNCTION; ++i)
        driver->MajorFunction[i] = dispatch;
    driver->DriverExtension->AddDevice = add_device;
    driver->DriverUnload = unload;
    return STATUS_SUCCESS;
}
