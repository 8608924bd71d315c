#pragma once
// Latency samples in milliseconds and the table rows the benchmarks print them in.
#include <time.h>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

namespace Sonvik::bench {

class Latencies {
 public:
  void Add(double ms) { ms_.push_back(ms); }
  size_t size() const { return ms_.size(); }
  // Nearest-rank percentile, p from 0 to 100; 0 for no samples.
  double Percentile(double p) const {
    if (ms_.empty()) return 0;
    std::vector<double> sorted = ms_;
    std::sort(sorted.begin(), sorted.end());
    const size_t index = std::min(
        sorted.size() - 1, static_cast<size_t>(p / 100.0 * static_cast<double>(sorted.size())));
    return sorted[index];
  }

 private:
  std::vector<double> ms_;
};

inline double MsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

// CPU time of this thread: what a query costs without the waits a busy machine adds.
inline double ThreadCpuMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// "  label   p50   p95   p99   max   n"
inline void PrintLatencyRow(const std::string& label, const Latencies& l, int label_width = 46) {
  std::cout << "  " << std::left << std::setw(label_width) << label << std::right << std::fixed
            << std::setprecision(2) << std::setw(9) << l.Percentile(50) << std::setw(9)
            << l.Percentile(95) << std::setw(9) << l.Percentile(99) << std::setw(10)
            << l.Percentile(100) << std::setw(7) << l.size() << "\n";
}

}  // namespace Sonvik::bench
