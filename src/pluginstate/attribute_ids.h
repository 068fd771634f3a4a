#pragma once

#include <cstdint>

#include "hostapi/host_api.h"

// Attribute ids: a pad attribute is a small int in a running store and its id string in a saved
// file. Ids count from 0 in order of first use and hold for this run only. Main thread, with a
// plugin_state.

// The id of `name`; a name not seen before in this run gets the next one.
std::int32_t intern_attribute_id(const char* name);

// The two store hooks of every node type; they read only the store.
void after_load(void* instance, ZestStore store);
void before_save(void* instance, ZestStore store);
