#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/invalidation.h"

// The host kit: the 31 host functions of host_api.h, recording every call. Tests and zesthost
// drive and inspect it through these functions and the classes Store, Node, Registry, Panel.
namespace hostkit {

// The one host handle that the kit gives out; the host functions check it.
ZestHost host_handle();

// Forgets the kit's global state: violations, the translation table (keys translate to
// themselves again), interned texts, builders, strings, events, preferences invalidations.
// Main thread, while no plug-in thread runs. Kit objects that live on are not touched.
void reset();

// Everything wrong since the last reset, in words: contract violations, then builders never
// ended, zest_tr_end strings never destroyed, events never destroyed. Empty when all is well.
std::vector<std::string> check();

// Replaces the translation table by the file's, a JSON object of key to text. False, and the
// table unchanged, if the file can't be read or holds anything else.
bool load_translations(const std::string& path);
// Sets one key's text; with none, zest_plugin_tr gives null for the key.
void set_translation(const std::string& key, std::optional<std::string> text);

// Events as the host makes them, for instance to hand one to a node's receive_event.
ZestEvent create_event();
// The id that sinks record for a live event; none for a destroyed or unknown one.
std::optional<std::uint64_t> event_id(ZestEvent event);
std::size_t live_event_count();

InvalidationCount preferences_invalidations();

}  // namespace hostkit
