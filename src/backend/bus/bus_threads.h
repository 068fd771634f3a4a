#pragma once

#include "backend/bus/bus_client.h"

// The client's own threads. The output thread keeps one output request in flight for the whole
// bus until the client's termination event is set; a notification thread keeps one rumble
// request in flight for its target until the target's stop event is set or the driver ends it.

DWORD WINAPI bus_output_thread(LPVOID client);

// Calling thread. Starts the target's notification thread.
void bus_start_notification_thread(BusClient& client, BusTarget& target);
// Calling thread. Ends the target's notification thread, if any, and waits for it.
void bus_stop_notification_thread(BusTarget& target);
