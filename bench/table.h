// A compact table on the terminal, row by row as they are measured.
#pragma once

#include <benchmark/benchmark.h>

#include "results.h"

class TableReporter : public benchmark::BenchmarkReporter {
  public:
    explicit TableReporter(const std::vector<Result> &results) : results_(results) {}
    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

  private:
    const std::vector<Result> &results_;
};
