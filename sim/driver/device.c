/* The stand-in driver's device: what a client opens as "\\.\" and the device's name. */
#include "commands.h"
#include "pending.h"
#include "request_log.h"

#include "contracts/protocol.h"

static UNICODE_STRING device_name = RTL_CONSTANT_STRING(L"\\Device\\" VFL_DEVICE_NAME);
static UNICODE_STRING link_name = RTL_CONSTANT_STRING(L"\\DosDevices\\" VFL_DEVICE_NAME);

static NTSTATUS NTAPI open_or_close(PDEVICE_OBJECT device, PIRP irp) {
    const outcome done = {.status = STATUS_SUCCESS};
    (void)device;
    return complete_now(irp, &done);
}

/* The last handle of an open file is closed: nothing waits for its requests any more. */
static NTSTATUS NTAPI cleanup(PDEVICE_OBJECT device, PIRP irp) {
    cancel_pending(IoGetCurrentIrpStackLocation(irp)->FileObject);
    return open_or_close(device, irp);
}

static NTSTATUS NTAPI device_control(PDEVICE_OBJECT device, PIRP irp) {
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    settings now;
    outcome result = {.status = STATUS_INVALID_DEVICE_REQUEST};
    BOOLEAN trace = TRUE;
    log_entry entry = {
        .code = stack->Parameters.DeviceIoControl.IoControlCode,
        .in_size = stack->Parameters.DeviceIoControl.InputBufferLength,
        .out_size = stack->Parameters.DeviceIoControl.OutputBufferLength,
    };
    (void)device;
    entry.input = log_copy_input(irp->AssociatedIrp.SystemBuffer, entry.in_size);
    if (!entry.input) {
        result.status = STATUS_INSUFFICIENT_RESOURCES;
        return complete_now(irp, &result);
    }
    const request r = {entry.input, entry.in_size, irp->AssociatedIrp.SystemBuffer, entry.out_size,
                       stack->FileObject};
    /* What the command changes applies from the next request. */
    now = *settings_lock();
    settings_unlock();
    if (entry.code == VFL_TEXT_COMMAND_IOCTL)
        trace = text_command(&r, &result);
    else if (entry.code == VFL_BIN_COMMAND_IOCTL)
        binary_command(&r, &now, &result);

    entry.pending = now.pending || result.pending || result.never;
    entry.status = result.never ? STATUS_PENDING : result.status;
    entry.information = result.information;
    if (trace)
        log_add(&entry);
    else
        log_free_input(entry.input);
    return entry.pending ? complete_later(irp, &result, now.pending ? now.pending_ms : 0)
                         : complete_now(irp, &result);
}

static VOID NTAPI unload(PDRIVER_OBJECT driver) {
    IoDeleteSymbolicLink(&link_name);
    pending_drain();
    IoDeleteDevice(driver->DeviceObject);
    log_destroy();
}

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registry_path) {
    PDEVICE_OBJECT device;
    (void)registry_path;
    pending_init();
    log_init();
    settings_init();
    driver->DriverUnload = unload;
    driver->MajorFunction[IRP_MJ_CREATE] = open_or_close;
    driver->MajorFunction[IRP_MJ_CLOSE] = open_or_close;
    driver->MajorFunction[IRP_MJ_CLEANUP] = cleanup;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = device_control;
    NTSTATUS status =
        IoCreateDevice(driver, 0, &device_name, 0x8000, FILE_DEVICE_SECURE_OPEN, FALSE, &device);
    if (!NT_SUCCESS(status))
        return status;
    status = IoCreateSymbolicLink(&link_name, &device_name);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(device);
        return status;
    }
    device->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}
