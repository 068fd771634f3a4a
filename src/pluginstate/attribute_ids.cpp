#include "pluginstate/attribute_ids.h"

#include "pluginstate/plugin_state.h"

namespace {

constexpr const char* attribute_key = "!attribute";

}  // namespace

std::int32_t intern_attribute_id(const char* name) {
    const QByteArray key(name);
    const auto found = plugin_state->attribute_ids.constFind(key);
    if (found != plugin_state->attribute_ids.constEnd()) return found.value();
    const auto id = static_cast<std::int32_t>(plugin_state->attribute_names.size());
    plugin_state->attribute_names.push_back(key);
    plugin_state->attribute_ids.insert(key, id);
    return id;
}

void after_load(void*, ZestStore store) {
    if (!zest_store_has_string(store, attribute_key)) return;
    const char* name = zest_store_get_string(store, attribute_key);
    if (name == nullptr) return;
    zest_store_set_int(store, attribute_key, intern_attribute_id(name));
}

// An id this run never gave out, -1 for none included, stays an int.
void before_save(void*, ZestStore store) {
    if (!zest_store_has_int(store, attribute_key)) return;
    const std::int32_t id = zest_store_get_int(store, attribute_key);
    if (id < 0 || static_cast<std::size_t>(id) >= plugin_state->attribute_names.size()) return;
    zest_store_set_string(store, attribute_key,
                          plugin_state->attribute_names[static_cast<std::size_t>(id)].constData());
}
