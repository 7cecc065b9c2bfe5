#pragma once
// The console report of a benchmark program, and at the end each figure beside the baseline
// measured in the same run, as a ratio. With --benchmark_repetitions the median stands for a
// benchmark.

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace kvn::bench {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  enum class Clock { kReal, kCpu };
  // `label`: the line's name; `subject` and `baseline`: benchmark function names.
  struct Ratio {
    std::string label;
    std::string subject;
    std::string baseline;
  };

  RatioReporter(Clock clock, std::vector<Ratio> ratios);

  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  struct Figure {
    double time = 0;
    const char* unit = "";
  };

  Clock clock_;
  std::vector<Ratio> ratios_;
  std::map<std::string, Figure> perIteration_;
  std::map<std::string, Figure> median_;
};

}  // namespace kvn::bench
