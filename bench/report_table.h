#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The one table the bench prints: each figure of the plug-in beside the peer it is compared
// with, their ratio, and the goal it is held to, if any, with whether the run met it.
class ReportTable {
public:
    struct Row {
        std::string measure;
        std::string ours;
        std::string peer;
        std::string ratio;
        std::string goal;              // empty: shown for information
        std::optional<bool> met = {};  // set together with `goal`
    };

    void add(Row row) { rows_.push_back(std::move(row)); }
    // A Markdown table, so that it goes into the README as it is.
    void print(std::FILE* out) const;
    // Goals not met in this run.
    int misses() const;

private:
    std::vector<Row> rows_;
};

// printf into a std::string.
std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace bench
