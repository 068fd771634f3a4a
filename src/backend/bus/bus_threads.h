#pragma once

#include "backend/bus/bus_client.h"

// The client's own threads. The output thread keeps one output request in flight for the whole
// bus until the client's termination event is set; a notification thread keeps one rumble
// request in flight for its target until the target's stop event is set, whatever the driver
// answers meanwhile. Failed requests are asked again after a pause that grows, so that a failing
// driver costs no CPU.

// Calling thread. Start the client's output thread, or the target's notification thread, with
// the events they need; on failure BUS_ERROR_OUT_OF_HANDLES or BUS_ERROR_THREAD_NOT_STARTED,
// with nothing left behind.
BusStatus bus_start_output_thread(BusClient& client);
BusStatus bus_start_notification_thread(BusClient& client, BusTarget& target);

// Calling thread. Sets `stop` and waits a while for `thread`, then closes its handle. True when
// the thread has let go of its record (`released`), which the caller then frees; false, with a
// warning, when the thread is still at work and will free the record itself as it ends.
bool bus_end_thread(HANDLE thread, HANDLE stop, std::atomic<bool>& released);

// Close what a record holds and free it. Called by whichever of the owner and the record's
// thread lets go of it second.
void bus_release_client(BusClient* client);
void bus_release_target(BusTarget* target);
