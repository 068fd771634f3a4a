#include "report_table.h"

#include <algorithm>
#include <array>
#include <cstdarg>

namespace bench {
namespace {

// Characters as a terminal shows them: UTF-8 continuation bytes take no room.
std::size_t shown_width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

}  // namespace

void ReportTable::print(std::FILE* out) const {
    constexpr std::size_t columns = 6;
    const std::array<std::string, columns> head{
        "Measure", "io.zestworks.gamepad", "Peer", "Ratio", "Goal", "Met"};
    std::vector<std::array<std::string, columns>> cells;
    for (const Row& row : rows_) {
        const std::string met = row.met ? (*row.met ? "met" : "**not met**") : "";
        cells.push_back({row.measure, row.ours, row.peer, row.ratio, row.goal, met});
    }
    std::array<std::size_t, columns> width{};
    for (std::size_t c = 0; c < columns; ++c) {
        width[c] = shown_width(head[c]);
        for (const auto& line : cells)
            width[c] = std::max(width[c], shown_width(line[c]));
    }
    const auto print_line = [&](const std::array<std::string, columns>& line) {
        for (std::size_t c = 0; c < columns; ++c) {
            const std::string padding(width[c] - shown_width(line[c]), ' ');
            std::fprintf(out, "| %s%s ", line[c].c_str(), padding.c_str());
        }
        std::fprintf(out, "|\n");
    };
    print_line(head);
    for (std::size_t c = 0; c < columns; ++c)
        std::fprintf(out, "|%s", std::string(width[c] + 2, '-').c_str());
    std::fprintf(out, "|\n");
    for (const auto& line : cells)
        print_line(line);
}

int ReportTable::misses() const {
    return static_cast<int>(
        std::count_if(rows_.begin(), rows_.end(), [](const Row& r) { return r.met == false; }));
}

std::string format(const char* pattern, ...) {
    std::va_list args;
    va_start(args, pattern);
    std::va_list again;
    va_copy(again, args);
    const int size = std::vsnprintf(nullptr, 0, pattern, args);
    va_end(args);
    std::string text(static_cast<std::size_t>(std::max(size, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, pattern, again);
    va_end(again);
    return text;
}

}  // namespace bench
