#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "hostapi/host_api.h"
#include "kit/handles.h"

namespace hostkit {

// A key-value store of one node or of the preferences; its address is the ZestStore handle.
// One value per key; a set replaces what the key held, type included. Main thread.
class Store : public detail::HandleOwner<Store, ZestStore, detail::HandleKind::Store> {
public:
    using Value = std::variant<std::int32_t, std::string, bool, double>;

    Store() = default;

    // A string set here keeps its address until the key is set again or erased.
    void set(const std::string& key, Value value);
    void erase(const std::string& key);
    void clear();

    // The value under a key if it has type T, else null.
    template <typename T>
    const T* find(const std::string& key) const {
        auto found = values_.find(key);
        return found == values_.end() ? nullptr : std::get_if<T>(&found->second);
    }

    template <typename T>
    std::optional<T> get(const std::string& key) const {
        const T* value = find<T>(key);
        return value == nullptr ? std::nullopt : std::optional<T>(*value);
    }

    bool contains(const std::string& key) const { return values_.contains(key); }
    const std::map<std::string, Value>& values() const { return values_; }

private:
    std::map<std::string, Value> values_;  // node-based: a value never moves
};

}  // namespace hostkit
