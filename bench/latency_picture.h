#pragma once

#include <string>
#include <vector>

namespace bench {

// One sample of press-to-event latencies, in microseconds, under the name it is shown by.
struct LatencySample {
    std::string name;
    std::vector<double> latencies_us;
};

// Draws the samples' distributions on one axis as a PNG, each with its median and p99 marked,
// and `note` (the machine, its load) under them. Needs a QGuiApplication. False when the file
// can't be written.
bool draw_latency_picture(const std::vector<LatencySample>& samples, const std::string& note,
                          const std::string& path);

}  // namespace bench
