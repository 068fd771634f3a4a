#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/ledger.h"

namespace hostkit::detail {

// Keys to texts, builders for texts with arguments, and the strings given to the caller. All
// operations lock, for the plug-in translates on its polling thread too. `function` names the
// host function in violation reports.
class Translator {
public:
    // A key absent from the table translates to itself; one mapped to no text gives null.
    void set_table(const std::unordered_map<std::string, std::string>& table);
    void set_text(const std::string& key, std::optional<std::string> text);

    // Interned: the pointer stays valid until reset.
    const char* translate(const char* key);
    ZestTrBuilder begin(const char* key, const char* function);
    void append(ZestTrBuilder builder, std::string argument, const char* function);
    char* end(ZestTrBuilder builder, const char* function);
    void end_into(ZestTrBuilder builder, char* buffer, const char* function);
    void destroy(char* text, const char* function);

    // Builders never ended and strings never destroyed.
    std::vector<std::string> problems() const;
    void reset();

private:
    struct Builder {
        std::string key;
        std::string text;
        std::vector<std::string> arguments;
    };

    // A string from zest_tr_end. Under AddressSanitizer its bytes are poisoned once destroyed,
    // so that a read after zest_string_destroy is reported where it happens.
    struct OwnedText {
        explicit OwnedText(const std::string& text);
        ~OwnedText();
        void poison();

        std::size_t size;
        std::unique_ptr<char[]> bytes;
    };

    std::optional<std::string> lookup(const std::string& key) const;
    Builder* open_builder(ZestTrBuilder builder, const char* function);
    std::string finish(ZestTrBuilder builder, const char* function);

    mutable std::mutex mutex_;
    std::unordered_map<std::string, std::optional<std::string>> table_;
    std::unordered_set<std::string> interned_;  // node-based: a text never moves
    Ledger<Builder> builders_;
    Ledger<OwnedText> strings_;
};

}  // namespace hostkit::detail
