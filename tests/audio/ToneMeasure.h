#pragma once
// The period of a tone that went through a device, in samples: the median of the intervals
// between rising zero crossings (interpolated), from a tenth of the way in. The median ignores
// the odd gap a dummy-driver overrun leaves; the interpolation is good to half a sample.

#include <algorithm>
#include <vector>

inline double MedianPeriod(const std::vector<float>& s) {
  std::vector<double> periods;
  double last = -1;
  for (size_t i = s.size() / 10; i + 1 < s.size(); ++i)
    if (s[i] < 0 && s[i + 1] >= 0) {
      const double at = static_cast<double>(i) + s[i] / (s[i] - s[i + 1]);
      if (last >= 0) periods.push_back(at - last);
      last = at;
    }
  if (periods.empty()) return 0;
  std::nth_element(periods.begin(), periods.begin() + static_cast<long>(periods.size() / 2), periods.end());
  return periods[periods.size() / 2];
}
