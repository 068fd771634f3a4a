#include "bench_stats.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace bench {

double percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    const double rank = std::ceil(p * static_cast<double>(values.size()));
    const std::size_t index = rank < 1.0 ? 0 : static_cast<std::size_t>(rank) - 1;
    return values[std::min(index, values.size() - 1)];
}

double median(std::vector<double> values) {
    return percentile(std::move(values), 0.5);
}

LineFit fit_line(const std::vector<double>& x, const std::vector<double>& y) {
    const auto n = static_cast<double>(x.size());
    double sx = 0.0, sy = 0.0, sxx = 0.0, sxy = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
    }
    const double spread = n * sxx - sx * sx;
    LineFit fit;
    fit.slope = spread == 0.0 ? 0.0 : (n * sxy - sx * sy) / spread;
    fit.intercept = n == 0.0 ? 0.0 : (sy - fit.slope * sx) / n;
    return fit;
}

}  // namespace bench
