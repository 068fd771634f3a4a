#include "kit/kit.h"

#include "kit/kit_state.h"
#include "kit/translation_file.h"
#include "kit/violations.h"

namespace hostkit {

namespace detail {

KitState& kit() {
    static KitState state;
    return state;
}

}  // namespace detail

ZestHost host_handle() {
    static char identity = 0;
    return reinterpret_cast<ZestHost>(&identity);
}

void reset() {
    detail::clear_violations();
    detail::kit().translator.reset();
    detail::kit().events.reset();
    detail::kit().preferences_invalidations = {};
}

std::vector<std::string> check() {
    std::vector<std::string> problems = detail::recorded_violations();
    for (const auto& more :
         {detail::kit().translator.problems(), detail::kit().events.problems()}) {
        problems.insert(problems.end(), more.begin(), more.end());
    }
    return problems;
}

bool load_translations(const std::string& path) {
    auto table = detail::read_translation_file(path);
    if (table) detail::kit().translator.set_table(*table);
    return table.has_value();
}

void set_translation(const std::string& key, std::optional<std::string> text) {
    detail::kit().translator.set_text(key, std::move(text));
}

ZestEvent create_event() {
    return detail::kit().events.create();
}

std::optional<std::uint64_t> event_id(ZestEvent event) {
    return detail::kit().events.id_of(event);
}

std::size_t live_event_count() {
    return detail::kit().events.live_count();
}

InvalidationCount preferences_invalidations() {
    return detail::kit().preferences_invalidations;
}

}  // namespace hostkit
