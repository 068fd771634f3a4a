#include "kit/translator.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

#include <algorithm>
#include <cstring>
#include <string_view>

#include "kit/violations.h"

namespace hostkit::detail {

namespace {

constexpr std::size_t buffer_size = 256;

// The number n of a "%n" marker starting at `at`, or 0 if none starts there.
std::size_t marker_at(std::string_view text, std::size_t at) {
    if (at + 1 >= text.size() || text[at] != '%') return 0;
    char digit = text[at + 1];
    return digit >= '1' && digit <= '9' ? static_cast<std::size_t>(digit - '0') : 0;
}

// The arguments that a key takes: its highest marker.
std::size_t argument_count(std::string_view key) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < key.size(); ++at)
        count = std::max(count, marker_at(key, at));
    return count;
}

// One pass from left to right, so an argument that itself holds "%2" stays as it is.
std::string substitute(std::string_view text, const std::vector<std::string>& arguments) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::size_t marker = marker_at(text, at);
        if (marker != 0 && marker <= arguments.size()) {
            result += arguments[marker - 1];
            ++at;
        } else {
            result += text[at];
        }
    }
    return result;
}

}  // namespace

Translator::OwnedText::OwnedText(const std::string& text)
    : size(text.size() + 1), bytes(std::make_unique<char[]>(size)) {
    std::memcpy(bytes.get(), text.c_str(), size);
}

Translator::OwnedText::~OwnedText() {
#if defined(__SANITIZE_ADDRESS__)
    ASAN_UNPOISON_MEMORY_REGION(bytes.get(), size);
#endif
}

void Translator::OwnedText::poison() {
#if defined(__SANITIZE_ADDRESS__)
    ASAN_POISON_MEMORY_REGION(bytes.get(), size);
#endif
}

void Translator::set_table(const std::unordered_map<std::string, std::string>& table) {
    std::lock_guard lock(mutex_);
    table_.clear();
    for (const auto& [key, text] : table)
        table_.emplace(key, text);
}

void Translator::set_text(const std::string& key, std::optional<std::string> text) {
    std::lock_guard lock(mutex_);
    table_.insert_or_assign(key, std::move(text));
}

const char* Translator::translate(const char* key) {
    if (key == nullptr) return nullptr;
    std::lock_guard lock(mutex_);
    std::optional<std::string> text = lookup(key);
    return text ? interned_.insert(*text).first->c_str() : nullptr;
}

ZestTrBuilder Translator::begin(const char* key, const char* function) {
    if (key == nullptr) record_violation(function, "null key");
    std::string name = key == nullptr ? std::string() : std::string(key);
    std::lock_guard lock(mutex_);
    auto builder = std::make_unique<Builder>(Builder{name, lookup(name).value_or(name), {}});
    auto handle = reinterpret_cast<ZestTrBuilder>(builder.get());
    builders_.add(handle, std::move(builder));
    return handle;
}

void Translator::append(ZestTrBuilder builder, std::string argument, const char* function) {
    std::lock_guard lock(mutex_);
    if (Builder* open = open_builder(builder, function)) {
        open->arguments.push_back(std::move(argument));
    }
}

char* Translator::end(ZestTrBuilder builder, const char* function) {
    std::lock_guard lock(mutex_);
    auto text = std::make_unique<OwnedText>(finish(builder, function));
    char* bytes = text->bytes.get();
    strings_.add(bytes, std::move(text));
    return bytes;
}

void Translator::end_into(ZestTrBuilder builder, char* buffer, const char* function) {
    std::lock_guard lock(mutex_);
    std::string text = finish(builder, function);
    if (buffer == nullptr) {
        record_violation(function, "null buffer");
        return;
    }
    std::size_t length = std::min(text.size(), buffer_size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

void Translator::destroy(char* text, const char* function) {
    std::lock_guard lock(mutex_);
    if (OwnedText* owned = strings_.release(text)) {
        owned->poison();
    } else if (text == nullptr) {
        record_violation(function, "null string");
    } else if (strings_.status(text) == Ledger<OwnedText>::Status::Released) {
        record_violation(function, "string destroyed twice");
    } else {
        record_violation(function, "string not made by zest_tr_end");
    }
}

std::vector<std::string> Translator::problems() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> problems;
    for (const Builder* builder : builders_.live_payloads()) {
        problems.push_back("translation builder of " + quoted(builder->key.c_str()) +
                           " never ended");
    }
    for (const OwnedText* text : strings_.live_payloads()) {
        problems.push_back("string " + quoted(text->bytes.get()) +
                           " from zest_tr_end never destroyed");
    }
    return problems;
}

void Translator::reset() {
    std::lock_guard lock(mutex_);
    table_.clear();
    interned_.clear();
    builders_.clear();
    strings_.clear();
}

std::optional<std::string> Translator::lookup(const std::string& key) const {
    auto found = table_.find(key);
    return found == table_.end() ? key : found->second;
}

Translator::Builder* Translator::open_builder(ZestTrBuilder builder, const char* function) {
    if (Builder* open = builders_.live(builder)) return open;
    bool ended = builders_.status(builder) == Ledger<Builder>::Status::Released;
    record_violation(
        function, ended ? "translation builder used after its end" : "unknown translation builder");
    return nullptr;
}

// The finished text, with the builder released; empty for a builder that is not open.
std::string Translator::finish(ZestTrBuilder builder, const char* function) {
    Builder* open = open_builder(builder, function);
    if (open == nullptr) return {};
    std::size_t expected = argument_count(open->key);
    if (open->arguments.size() != expected) {
        record_violation(function, quoted(open->key.c_str()) + ": " +
                                       std::to_string(open->arguments.size()) + " arguments for " +
                                       std::to_string(expected) + " markers");
    }
    std::string text = substitute(open->text, open->arguments);
    builders_.release(builder);
    return text;
}

}  // namespace hostkit::detail
