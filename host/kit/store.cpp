#include "kit/store.h"

#include <utility>

namespace hostkit {

void Store::set(const std::string& key, Value value) {
    values_.insert_or_assign(key, std::move(value));
}

void Store::erase(const std::string& key) {
    values_.erase(key);
}

void Store::clear() {
    values_.clear();
}

}  // namespace hostkit
