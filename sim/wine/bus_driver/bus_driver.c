/* The bench's virtual-pad bus driver for Wine: the bus protocol as our client speaks it, with
 * its targets kept on the pad board, where the SDL pads inside Wine's device process show them
 * to Wine's XInput and hand back the motors a program sets. Faults come from the board too. */

#include <ntddk.h>

#include "../pad_board.h"

#define CODE(function, access) (0x2Au << 16 | (access) << 14 | (function) << 2)
#define PLUG_TARGET CODE(0x801, 2)
#define UNPLUG_TARGET CODE(0x802, 2)
#define CHECK_VERSION CODE(0x803, 2)
#define WAIT_READY CODE(0x804, 2)
#define AWAIT_X360_NOTIFICATION CODE(0xA01, 3)
#define SUBMIT_X360_REPORT CODE(0xA02, 2)
#define AWAIT_OUTPUT CODE(0xA08, 3)

#define PROTOCOL_VERSION 1
#define MAX_TARGETS 64
#define POLL_100NS (-20000LL) /* 2 ms, relative */
#define INTERFACE L"ROOT#ZESTBUS#0000#{96e42b22-f5e9-42f8-b043-ed0f932f014f}"

/* A target's pad on the board is ours up to its motors, which belong to the SDL side. */
#define PAD_OWN_BYTES FIELD_OFFSET(zest_board_pad, motor_large)
#define PAD_INPUTS FIELD_OFFSET(zest_board_pad, kind)
#define PAD_OFFSET(slot) (FIELD_OFFSET(zest_board, pads) + sizeof(zest_board_pad) * (slot))
#define FAULTS_OFFSET FIELD_OFFSET(zest_board, faults)
#define REFUSE_COUNT_OFFSET FIELD_OFFSET(zest_board, faults.refuse_count)
#define TARGETS_PLUGGED_OFFSET FIELD_OFFSET(zest_board, targets_plugged)
#define REQUESTS_PENDED_OFFSET FIELD_OFFSET(zest_board, requests_pended)

typedef struct target {
    ULONG serial; /* 0: this entry is free */
    PFILE_OBJECT owner;
    LONG slot; /* board pad, or -1 when the board has none left or it never becomes ready */
    zest_board_pad pad;
    BOOLEAN rumble_waiting; /* a rumble came while no notification was pended */
} target;

/* Everything but the pended list is touched at passive level under `state_lock`: the dispatch
 * routines and the polling thread. Pended requests sit in `pended` under `pended_lock`, which
 * cancel routines take too. */
static FAST_MUTEX state_lock;
static HANDLE board;
static target targets[MAX_TARGETS];
static ULONG targets_plugged;
static KSPIN_LOCK pended_lock;
static LIST_ENTRY pended;
static ULONG pended_count;   /* under pended_lock */
static ULONG pended_written; /* what the board says, polling thread */
static KEVENT stop_polling;
static KEVENT polling_done;
static PDEVICE_OBJECT bus_device;
static UNICODE_STRING link_name = RTL_CONSTANT_STRING(L"\\??\\" INTERFACE);

static ULONG u32_at(const UCHAR* bytes, ULONG offset) {
    ULONG value;
    RtlCopyMemory(&value, bytes + offset, sizeof value);
    return value;
}

static NTSTATUS board_io(BOOLEAN write, ULONG offset, void* bytes, ULONG size) {
    IO_STATUS_BLOCK io;
    LARGE_INTEGER at;
    at.QuadPart = offset;
    return write ? ZwWriteFile(board, NULL, NULL, NULL, &io, bytes, size, &at, NULL)
                 : ZwReadFile(board, NULL, NULL, NULL, &io, bytes, size, &at, NULL);
}

static void write_count(void) {
    board_io(TRUE, TARGETS_PLUGGED_OFFSET, &targets_plugged, sizeof targets_plugged);
}

/* The target's inputs first, then its sequence, so that a reader that sees the new sequence
 * sees the inputs with it. */
static void write_pad(target* t) {
    if (t->slot < 0) return;
    ++t->pad.sequence;
    board_io(TRUE, PAD_OFFSET(t->slot) + PAD_INPUTS, (UCHAR*)&t->pad + PAD_INPUTS,
             PAD_OWN_BYTES - PAD_INPUTS);
    board_io(TRUE, PAD_OFFSET(t->slot), &t->pad.sequence, sizeof t->pad.sequence);
}

static target* find_target(ULONG serial) {
    for (ULONG i = 0; i < MAX_TARGETS; ++i) {
        if (serial != 0 && targets[i].serial == serial) return &targets[i];
    }
    return NULL;
}

/* The lowest target pad that is empty on the board and held by no target of ours. */
static LONG free_slot(void) {
    zest_board_pad pad;
    for (ULONG slot = ZEST_BOARD_FIRST_TARGET; slot < ZEST_BOARD_PADS; ++slot) {
        BOOLEAN held = FALSE;
        for (ULONG i = 0; i < MAX_TARGETS; ++i) {
            held |= targets[i].serial != 0 && targets[i].slot == (LONG)slot;
        }
        if (held || !NT_SUCCESS(board_io(FALSE, PAD_OFFSET(slot), &pad, sizeof pad))) continue;
        if (pad.kind == ZEST_BOARD_EMPTY) return (LONG)slot;
    }
    return -1;
}

/* Pended requests. */

static ULONG request_serial(PIRP irp) {
    return u32_at(irp->AssociatedIrp.SystemBuffer, 4);
}

static ULONG request_code(PIRP irp) {
    return IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode;
}

static void finish(PIRP irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
}

static void NTAPI cancel_pended(PDEVICE_OBJECT device, PIRP irp) {
    KIRQL irql;
    (void)device;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    KeAcquireSpinLock(&pended_lock, &irql);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    InitializeListHead(&irp->Tail.Overlay.ListEntry);
    --pended_count;
    KeReleaseSpinLock(&pended_lock, irql);
    finish(irp, STATUS_CANCELLED, 0);
}

/* Queues `irp` until something completes it; cancelable unless the test wants cancellation
 * ignored, as a stuck driver would. */
static NTSTATUS pend(PIRP irp, BOOLEAN cancelable) {
    KIRQL irql;
    IoMarkIrpPending(irp);
    irp->Tail.Overlay.DriverContext[0] = (PVOID)(ULONG_PTR)cancelable;
    KeAcquireSpinLock(&pended_lock, &irql);
    if (cancelable) {
        IoSetCancelRoutine(irp, cancel_pended);
        if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL) {
            KeReleaseSpinLock(&pended_lock, irql);
            finish(irp, STATUS_CANCELLED, 0);
            return STATUS_PENDING;
        }
    }
    InsertTailList(&pended, &irp->Tail.Overlay.ListEntry);
    ++pended_count;
    KeReleaseSpinLock(&pended_lock, irql);
    return STATUS_PENDING;
}

typedef BOOLEAN (*irp_match)(PIRP irp, ULONG_PTR key);

/* Takes the first pended request that `match` picks and that is not being cancelled. */
static PIRP take_pended(irp_match match, ULONG_PTR key) {
    KIRQL irql;
    PIRP taken = NULL;
    KeAcquireSpinLock(&pended_lock, &irql);
    for (PLIST_ENTRY entry = pended.Flink; entry != &pended && taken == NULL;
         entry = entry->Flink) {
        PIRP irp = CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
        if (!match(irp, key)) continue;
        if (irp->Tail.Overlay.DriverContext[0] && IoSetCancelRoutine(irp, NULL) == NULL) continue;
        RemoveEntryList(entry);
        InitializeListHead(entry);
        --pended_count;
        taken = irp;
    }
    KeReleaseSpinLock(&pended_lock, irql);
    return taken;
}

static BOOLEAN notification_of(PIRP irp, ULONG_PTR serial) {
    return request_code(irp) == AWAIT_X360_NOTIFICATION && request_serial(irp) == serial;
}

static BOOLEAN ready_wait_of(PIRP irp, ULONG_PTR serial) {
    return request_code(irp) == WAIT_READY && request_serial(irp) == serial;
}

static BOOLEAN through(PIRP irp, ULONG_PTR file) {
    return IoGetCurrentIrpStackLocation(irp)->FileObject == (PFILE_OBJECT)file;
}

static BOOLEAN any(PIRP irp, ULONG_PTR unused) {
    (void)irp;
    (void)unused;
    return TRUE;
}

static void finish_all(irp_match match, ULONG_PTR key, NTSTATUS status) {
    for (PIRP irp; (irp = take_pended(match, key)) != NULL;)
        finish(irp, status, 0);
}

/* A notification carries the motors' high bytes; the third byte, the pad's user index on a
 * real bus, is unknown here. */
static NTSTATUS fill_notification(PIRP irp, const target* t) {
    UCHAR* bytes = irp->AssociatedIrp.SystemBuffer;
    bytes[8] = (UCHAR)(t->pad.motor_large >> 8);
    bytes[9] = (UCHAR)(t->pad.motor_small >> 8);
    bytes[10] = 0;
    bytes[11] = 0;
    irp->IoStatus.Information = 12;
    return STATUS_SUCCESS;
}

/* Requests. */

static NTSTATUS plug(const UCHAR* in, PFILE_OBJECT owner, const zest_board_faults* faults) {
    const ULONG serial = u32_at(in, 4);
    target* t = NULL;
    if (serial == 0 || serial > 0xFFFF) return STATUS_INVALID_PARAMETER;
    if (find_target(serial) != NULL) return STATUS_OBJECT_NAME_COLLISION;
    for (ULONG i = 0; i < MAX_TARGETS && t == NULL; ++i) {
        if (targets[i].serial == 0) t = &targets[i];
    }
    if (t == NULL) return STATUS_INSUFFICIENT_RESOURCES;
    RtlZeroMemory(t, sizeof *t);
    t->serial = serial;
    t->owner = owner;
    t->slot = faults->never_ready ? -1 : free_slot();
    if (t->slot >= 0) {
        zest_board_pad now;
        board_io(FALSE, PAD_OFFSET(t->slot), &now, sizeof now);
        t->pad = now; /* its sequence goes on, and only later rumbles count */
        RtlZeroMemory((UCHAR*)&t->pad + PAD_INPUTS, PAD_OWN_BYTES - PAD_INPUTS);
        t->pad.kind = ZEST_BOARD_TARGET;
        t->pad.serial = (USHORT)serial;
        write_pad(t);
    }
    ++targets_plugged;
    write_count();
    return STATUS_SUCCESS;
}

static void unplug_target(target* t) {
    const ULONG serial = t->serial;
    if (t->slot >= 0) {
        RtlZeroMemory((UCHAR*)&t->pad + PAD_INPUTS, PAD_OWN_BYTES - PAD_INPUTS);
        write_pad(t);
    }
    t->serial = 0;
    --targets_plugged;
    write_count();
    /* The target's requests end with it. */
    finish_all(notification_of, serial, STATUS_ACCESS_DENIED);
    finish_all(ready_wait_of, serial, STATUS_DEVICE_DOES_NOT_EXIST);
}

static NTSTATUS submit(const UCHAR* in) {
    target* t = find_target(u32_at(in, 4));
    if (t == NULL) return STATUS_ACCESS_DENIED;
    RtlCopyMemory((UCHAR*)&t->pad + FIELD_OFFSET(zest_board_pad, buttons), in + 8, 12);
    write_pad(t);
    return STATUS_SUCCESS;
}

static NTSTATUS await_notification(PIRP irp, const zest_board_faults* faults) {
    target* t = find_target(request_serial(irp));
    if (t == NULL) return STATUS_ACCESS_DENIED;
    if (t->rumble_waiting) {
        t->rumble_waiting = FALSE;
        return fill_notification(irp, t);
    }
    return pend(irp, !faults->ignore_cancel);
}

/* Every request opens with its own size, which must be the one its control code has. */
static ULONG size_of(ULONG code) {
    switch (code) {
        case CHECK_VERSION:
        case UNPLUG_TARGET:
        case WAIT_READY:
            return 8;
        case PLUG_TARGET:
            return 16;
        case AWAIT_X360_NOTIFICATION:
            return 12;
        case SUBMIT_X360_REPORT:
            return 20;
        case AWAIT_OUTPUT:
            return 72;
        default:
            return 0;
    }
}

static NTSTATUS handle(PIRP irp, const zest_board_faults* faults) {
    const PIO_STACK_LOCATION stack = IoGetCurrentIrpStackLocation(irp);
    const ULONG code = stack->Parameters.DeviceIoControl.IoControlCode;
    const ULONG size = size_of(code);
    const UCHAR* in = irp->AssociatedIrp.SystemBuffer;
    const BOOLEAN echoes = code == AWAIT_X360_NOTIFICATION || code == AWAIT_OUTPUT;
    target* t;
    if (size == 0) return STATUS_INVALID_DEVICE_REQUEST;
    if (in == NULL || stack->Parameters.DeviceIoControl.InputBufferLength != size ||
        u32_at(in, 0) != size ||
        (echoes && stack->Parameters.DeviceIoControl.OutputBufferLength < size)) {
        return STATUS_INVALID_PARAMETER;
    }
    switch (code) {
        case CHECK_VERSION:
            return u32_at(in, 4) == PROTOCOL_VERSION ? STATUS_SUCCESS : STATUS_NOT_SUPPORTED;
        case PLUG_TARGET:
            return plug(in, stack->FileObject, faults);
        case UNPLUG_TARGET:
            if ((t = find_target(u32_at(in, 4))) == NULL) return STATUS_INVALID_PARAMETER;
            unplug_target(t);
            return STATUS_SUCCESS;
        case WAIT_READY:
            if (find_target(u32_at(in, 4)) == NULL) return STATUS_INVALID_PARAMETER;
            return faults->never_ready ? pend(irp, !faults->ignore_cancel) : STATUS_SUCCESS;
        case SUBMIT_X360_REPORT:
            return submit(in);
        case AWAIT_X360_NOTIFICATION:
            return await_notification(irp, faults);
        default:
            return pend(irp, !faults->ignore_cancel);
    }
}

/* The test's faults, read afresh for every request; a refusal it asked for is counted down on
 * the board. True when this request is to be refused. */
static BOOLEAN refused(ULONG code, zest_board_faults* faults) {
    if (!NT_SUCCESS(board_io(FALSE, FAULTS_OFFSET, faults, sizeof *faults))) {
        RtlZeroMemory(faults, sizeof *faults);
    }
    if (faults->refuse_code == 0 || faults->refuse_code != code || faults->refuse_count == 0) {
        return FALSE;
    }
    if (faults->refuse_count != 0xFFFFFFFFu) {
        const ULONG left = faults->refuse_count - 1;
        board_io(TRUE, REFUSE_COUNT_OFFSET, (void*)&left, sizeof left);
    }
    return TRUE;
}

static NTSTATUS NTAPI device_control(PDEVICE_OBJECT device, PIRP irp) {
    const ULONG code = request_code(irp);
    zest_board_faults faults;
    NTSTATUS status;
    (void)device;
    irp->IoStatus.Information = 0;
    ExAcquireFastMutex(&state_lock);
    status = refused(code, &faults) ? (NTSTATUS)faults.refuse_status : handle(irp, &faults);
    ExReleaseFastMutex(&state_lock);
    if (status != STATUS_PENDING) finish(irp, status, irp->IoStatus.Information);
    return status;
}

/* A handle closing takes its targets and its requests with it, as when a client's process
 * ends; a driver that ignores cancellation keeps the requests. Wine sends only the close. */
static NTSTATUS NTAPI cleanup(PDEVICE_OBJECT device, PIRP irp) {
    const PFILE_OBJECT file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    zest_board_faults faults;
    (void)device;
    ExAcquireFastMutex(&state_lock);
    for (ULONG i = 0; i < MAX_TARGETS; ++i) {
        if (targets[i].serial != 0 && targets[i].owner == file) unplug_target(&targets[i]);
    }
    if (!NT_SUCCESS(board_io(FALSE, FAULTS_OFFSET, &faults, sizeof faults)) ||
        !faults.ignore_cancel) {
        finish_all(through, (ULONG_PTR)file, STATUS_CANCELLED);
    }
    ExReleaseFastMutex(&state_lock);
    finish(irp, STATUS_SUCCESS, 0);
    return STATUS_SUCCESS;
}

static NTSTATUS NTAPI open_handle(PDEVICE_OBJECT device, PIRP irp) {
    (void)device;
    finish(irp, STATUS_SUCCESS, 0);
    return STATUS_SUCCESS;
}

/* A rumble set on a target's pad completes one of its pended notifications, or waits for the
 * next one. */
static void poll_motors(void) {
    zest_board_pad pads[ZEST_BOARD_PADS];
    BOOLEAN shown = FALSE;
    for (ULONG i = 0; i < MAX_TARGETS; ++i)
        shown |= targets[i].serial != 0 && targets[i].slot >= 0;
    if (!shown || !NT_SUCCESS(board_io(FALSE, PAD_OFFSET(0), pads, sizeof pads))) return;
    for (ULONG i = 0; i < MAX_TARGETS; ++i) {
        target* t = &targets[i];
        PIRP irp;
        if (t->serial == 0 || t->slot < 0) continue;
        if (pads[t->slot].motor_sequence == t->pad.motor_sequence) continue;
        t->pad.motor_sequence = pads[t->slot].motor_sequence;
        t->pad.motor_large = pads[t->slot].motor_large;
        t->pad.motor_small = pads[t->slot].motor_small;
        irp = take_pended(notification_of, t->serial);
        t->rumble_waiting = irp == NULL;
        if (irp != NULL) finish(irp, fill_notification(irp, t), 12);
    }
}

/* Tests wait on this count to know that a client's requests are in flight. */
static void publish_pended(void) {
    KIRQL irql;
    ULONG count;
    KeAcquireSpinLock(&pended_lock, &irql);
    count = pended_count;
    KeReleaseSpinLock(&pended_lock, irql);
    if (count == pended_written) return;
    pended_written = count;
    board_io(TRUE, REQUESTS_PENDED_OFFSET, &count, sizeof count);
}

/* Every ~2 ms. */
static void NTAPI polling_thread(PVOID unused) {
    LARGE_INTEGER period;
    (void)unused;
    period.QuadPart = POLL_100NS;
    while (KeWaitForSingleObject(&stop_polling, Executive, KernelMode, FALSE, &period) ==
           STATUS_TIMEOUT) {
        ExAcquireFastMutex(&state_lock);
        poll_motors();
        publish_pended();
        ExReleaseFastMutex(&state_lock);
    }
    KeSetEvent(&polling_done, IO_NO_INCREMENT, FALSE);
    PsTerminateSystemThread(STATUS_SUCCESS);
}

static void NTAPI unload(PDRIVER_OBJECT driver) {
    (void)driver;
    KeSetEvent(&stop_polling, IO_NO_INCREMENT, FALSE);
    KeWaitForSingleObject(&polling_done, Executive, KernelMode, FALSE, NULL);
    finish_all(any, 0, STATUS_CANCELLED);
    IoDeleteSymbolicLink(&link_name);
    IoDeleteDevice(bus_device);
    ZwClose(board);
}

/* The NT path of the board, from the service's Parameters value "Board". */
static NTSTATUS board_path(PUNICODE_STRING service, UNICODE_STRING* path, UCHAR* storage,
                           ULONG storage_size) {
    static const WCHAR suffix[] = L"\\Parameters";
    WCHAR name[512];
    UNICODE_STRING key_name = {0, sizeof name, name};
    UNICODE_STRING value_name = RTL_CONSTANT_STRING(L"Board");
    OBJECT_ATTRIBUTES attributes;
    HANDLE key;
    ULONG size;
    NTSTATUS status;
    PKEY_VALUE_PARTIAL_INFORMATION value = (PKEY_VALUE_PARTIAL_INFORMATION)storage;
    if (service->Length + sizeof suffix > sizeof name) return STATUS_NAME_TOO_LONG;
    RtlCopyMemory(name, service->Buffer, service->Length);
    RtlCopyMemory((UCHAR*)name + service->Length, suffix, sizeof suffix);
    key_name.Length = (USHORT)(service->Length + sizeof suffix - sizeof(WCHAR));
    InitializeObjectAttributes(&attributes, &key_name, OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE,
                               NULL, NULL);
    status = ZwOpenKey(&key, KEY_READ, &attributes);
    if (!NT_SUCCESS(status)) return status;
    status =
        ZwQueryValueKey(key, &value_name, KeyValuePartialInformation, value, storage_size, &size);
    ZwClose(key);
    if (!NT_SUCCESS(status)) return status;
    if (value->Type != REG_SZ || value->DataLength < sizeof(WCHAR))
        return STATUS_OBJECT_TYPE_MISMATCH;
    path->Buffer = (PWSTR)value->Data;
    path->Length = (USHORT)(value->DataLength - sizeof(WCHAR));
    path->MaximumLength = (USHORT)value->DataLength;
    return STATUS_SUCCESS;
}

static NTSTATUS open_board(PUNICODE_STRING service) {
    ULONG storage[256];
    UNICODE_STRING path;
    OBJECT_ATTRIBUTES attributes;
    IO_STATUS_BLOCK io;
    ULONG header[2];
    NTSTATUS status = board_path(service, &path, (UCHAR*)storage, sizeof storage);
    if (!NT_SUCCESS(status)) return status;
    InitializeObjectAttributes(&attributes, &path, OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE, NULL,
                               NULL);
    status =
        ZwCreateFile(&board, GENERIC_READ | GENERIC_WRITE | SYNCHRONIZE, &attributes, &io, NULL,
                     FILE_ATTRIBUTE_NORMAL, FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_OPEN,
                     FILE_NON_DIRECTORY_FILE | FILE_SYNCHRONOUS_IO_NONALERT, NULL, 0);
    if (!NT_SUCCESS(status)) return status;
    status = board_io(FALSE, 0, header, sizeof header);
    if (NT_SUCCESS(status) && (header[0] != ZEST_BOARD_MAGIC || header[1] != ZEST_BOARD_VERSION)) {
        status = STATUS_FILE_INVALID;
    }
    if (!NT_SUCCESS(status)) ZwClose(board);
    return status;
}

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING service) {
    UNICODE_STRING device_name = RTL_CONSTANT_STRING(L"\\Device\\ZestBus");
    HANDLE thread;
    NTSTATUS status = open_board(service);
    if (!NT_SUCCESS(status)) return status;
    status =
        IoCreateDevice(driver, 0, &device_name, FILE_DEVICE_BUS_EXTENDER, 0, FALSE, &bus_device);
    if (NT_SUCCESS(status)) {
        status = IoCreateSymbolicLink(&link_name, &device_name);
        if (!NT_SUCCESS(status)) IoDeleteDevice(bus_device);
    }
    if (!NT_SUCCESS(status)) {
        ZwClose(board);
        return status;
    }
    ExInitializeFastMutex(&state_lock);
    KeInitializeSpinLock(&pended_lock);
    InitializeListHead(&pended);
    KeInitializeEvent(&stop_polling, NotificationEvent, FALSE);
    KeInitializeEvent(&polling_done, NotificationEvent, FALSE);
    driver->MajorFunction[IRP_MJ_CREATE] = open_handle;
    driver->MajorFunction[IRP_MJ_CLOSE] = cleanup;
    driver->MajorFunction[IRP_MJ_CLEANUP] = cleanup;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = device_control;
    driver->DriverUnload = unload;
    status =
        PsCreateSystemThread(&thread, THREAD_ALL_ACCESS, NULL, NULL, NULL, polling_thread, NULL);
    if (!NT_SUCCESS(status)) {
        KeSetEvent(&polling_done, IO_NO_INCREMENT, FALSE);
        unload(driver);
        return status;
    }
    ZwClose(thread);
    return STATUS_SUCCESS;
}
