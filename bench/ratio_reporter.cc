#include "bench/ratio_reporter.h"

#include <cstdio>
#include <utility>

namespace kvn::bench {

RatioReporter::RatioReporter(Clock clock, std::vector<Ratio> ratios)
    : clock_(clock), ratios_(std::move(ratios)) {}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) continue;
    const Figure figure{
        clock_ == Clock::kReal ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime(),
        benchmark::GetTimeUnitString(run.time_unit)};
    const std::string& name = run.run_name.function_name;
    if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
      median_[name] = figure;
    else if (run.run_type == Run::RT_Iteration)
      perIteration_[name] = figure;
  }
  ConsoleReporter::ReportRuns(runs);
}

void RatioReporter::Finalize() {
  ConsoleReporter::Finalize();
  for (const auto& entry : median_) perIteration_[entry.first] = entry.second;
  for (const Ratio& ratio : ratios_) {
    const auto subject = perIteration_.find(ratio.subject);
    const auto baseline = perIteration_.find(ratio.baseline);
    if (subject == perIteration_.end() || baseline == perIteration_.end() ||
        baseline->second.time <= 0)
      continue;
    std::printf("%s: %.1f %s against %.1f %s: %.2fx\n", ratio.label.c_str(), subject->second.time,
                subject->second.unit, baseline->second.time, baseline->second.unit,
                subject->second.time / baseline->second.time);
  }
}

}  // namespace kvn::bench
