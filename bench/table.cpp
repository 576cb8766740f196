// The table on the terminal.
#include "table.h"

#include <cstdio>

namespace {

std::string optional(const char *format, double value) {
    char text[32] = "";
    if (value > 0) std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

bool TableReporter::ReportContext(const Context &) {
    for (const auto &[fact, value] : machineFacts())
        std::printf("%-26s %s\n", fact.c_str(), value.c_str());
    std::printf("\n%-34s %-4s %10s %11s %8s %7s %7s %7s  %s\n", "row", "at", "ns/sample", "ns/call", "GB/s", "limit",
                "beside", "lower", "goal");
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run> &runs) {
    for (const Run &run : runs) {
        if (run.error_occurred) {
            std::printf("%-34s %s\n", run.run_name.function_name.c_str(), run.error_message.c_str());
            continue;
        }
        if (run.run_type != Run::RT_Iteration || results_.empty()) continue;
        const Result &row = results_.back();
        const bool hasGoal = row.goal.kind != GOAL_NONE;
        std::printf("%-34s %-4s %10.4f %11.0f %8s %7s %7s %7s  %s\n", row.name.c_str(), row.level.c_str(),
                    row.nsPerSample, row.nsPerCall, optional("%.1f", row.gbPerSecond).c_str(),
                    optional("%.2f", row.share).c_str(), optional("%.2f", row.ratio).c_str(),
                    optional("%.2f", row.toLower).c_str(),
                    !hasGoal ? "" : (goalText(row.goal) + (isMet(row) ? ": met" : ": MISSED")).c_str());
    }
    std::fflush(stdout);
}

void TableReporter::Finalize() {
    int goals = 0, missed = 0;
    for (const Result &row : results_) {
        goals += row.goal.kind != GOAL_NONE ? 1 : 0;
        missed += isMet(row) ? 0 : 1;
    }
    std::printf("\n%zu rows, %d with a goal, %d missed\n", results_.size(), goals, missed);
    for (const Result &row : results_) {
        if (isMet(row)) continue;
        std::printf("  %-34s %-4s limit %.2f, beside %.2f, %.4f ns/sample, %.0f ns/call; goal %s\n", row.name.c_str(),
                    row.level.c_str(), row.share, row.ratio, row.nsPerSample, row.nsPerCall,
                    goalText(row.goal).c_str());
    }
    for (const Result &row : results_) {
        if (row.toLower > SLOWER)
            std::printf("  %-34s %-4s takes %.2f times what the level below takes\n", row.name.c_str(),
                        row.level.c_str(), row.toLower);
        if (isBaseSlow(row) && !whyBaseIsSlow(row.name))
            std::printf("  %-34s base takes %.1f times what v3 takes\n", row.name.c_str(), 1 / row.toLower);
    }
}
