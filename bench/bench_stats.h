#pragma once

#include <vector>

namespace bench {

// The value at fraction `p` (0 to 1) of the values in order, by nearest rank; 0 for none.
double percentile(std::vector<double> values, double p);
double median(std::vector<double> values);

// y = intercept + slope * x, by least squares.
struct LineFit {
    double intercept = 0.0;
    double slope = 0.0;
    double at(double x) const { return intercept + slope * x; }
};
LineFit fit_line(const std::vector<double>& x, const std::vector<double>& y);

}  // namespace bench
