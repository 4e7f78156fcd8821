// A console reporter that also keeps each run's time by name, so that a
// benchmark program can print its own table after the runs.
#ifndef TLVSTD_BENCH_COLLECTOR_H
#define TLVSTD_BENCH_COLLECTOR_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

class Collector : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> times;
    void ReportRuns(const std::vector<Run>& runs) override
    {
        // With repetitions, the table takes the medians.
        for (const Run& r : runs) {
            if (r.run_type != Run::RT_Aggregate) {
                times.try_emplace(r.run_name.str(), r.GetAdjustedRealTime());
            } else if (r.aggregate_name == "median") {
                times[r.run_name.str()] = r.GetAdjustedRealTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

#endif
