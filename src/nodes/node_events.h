#pragma once

#include "hostapi/host_api.h"

// Events as nodes send them. Main thread.

// Posts an event that the node received to its parent sink and frees it: the callback that
// received an event owns it.
void pass_event_on(ZestNode node, ZestEvent event);
// Sends a new event from the node to its child sink.
void originate_event(ZestNode node);
