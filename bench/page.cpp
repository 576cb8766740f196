// The results as a page: docs/performance.md. Nothing in it is written by hand, so that it cannot tell other figures
// than were measured.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "results.h"

namespace {

std::string formatted(const char *format, double value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

const char *INTRODUCTION = R"(# Performance

`script/bench` measures this and prints the table; `mox_bench --report=FILE --docs=docs` makes this page and its plot from a
file that `mox_bench --json=FILE` wrote.

![Share of the memory limit](performance.svg)

## How it is measured

One thread calls the library as an application does. A row is measured in rounds; in every round the operation, what it is
compared with, and the memory limit are timed one after the other on the same buffers. Times are the thread's own (what
the machine does for others does not count) and medians of the rounds; quotients are medians of the rounds' quotients.

- **ns/sample** is the time of a call divided by the samples that it processes.
- **limit** is the share of the memory limit that is reached: the time of moving the same bytes and doing nothing else, divided
  by the operation's time. As many streams are read and written as the operation has images, by the quickest of plain stores,
  stores past the caches, and `memcpy` or `memset`. Where some samples of a cache line are left alone (masks, channels of
  interest, alpha) the limit reads the destination too, and moves whole pixels. A figure somewhat above 1 says that the operation
  is as quick as moving its bytes, give or take the noise.
- **beside** is the time per sample in units of the row's counterpart: for a region, mask or tile the same operation on whole plain
  images, with as many channels; for a channel of interest an image of one channel; for `rgb-region`, `rgb-masked` and `alpha` an image
  of three channels in pixel order; for bits at an offset the same at byte boundaries; for `beside-3x3` the smallest
  window, for `with-rim` a region that has neighbours on all sides.
- Regions begin at a cache line in every row (`region`, `rgb-region`) or anywhere, and elsewhere in each image (`odd-region`).
- The sizes are 256 x 256, which fits in L2 at 8 bits, 1024 x 1024, which fits in a last-level cache, and 4096 x 4096,
  which is in memory only (but for one or two 8-bit images, which a large last-level cache may hold).

Float images hold numbers from 1 to 2, all others random bytes; masks are random bits, the least convenient ones.
A goal that was missed is marked with **!** in the tables.
)";

void writeFacts(std::ofstream &out, const Facts &facts) {
    out << "\n## The machine\n\n| | |\n|---|---|\n";
    for (const auto &[fact, value] : facts)
        out << "| " << fact << " | " << value << " |\n";
}

// How far a row is from its goal: above 1 it misses.
double excess(const Result &row) {
    switch (row.goal.kind) {
        case GOAL_SHARE:
            return row.goal.bound / row.share;
        case GOAL_RATIO:
            return row.ratio / row.goal.bound;
        case GOAL_NS_PER_SAMPLE:
            return row.nsPerSample / row.goal.bound;
        case GOAL_NS_PER_CALL:
            return row.nsPerCall / row.goal.bound;
        default:
            return 0;
    }
}

std::string valueText(const Result &row) {
    switch (row.goal.kind) {
        case GOAL_SHARE:
            return formatted("%.2f", row.share);
        case GOAL_RATIO:
            return formatted("%.2f", row.ratio);
        case GOAL_NS_PER_SAMPLE:
            return formatted("%.4f", row.nsPerSample);
        default:
            return formatted("%.0f", row.nsPerCall);
    }
}

// Rows of one subject, layout and goal, counted.
struct GoalGroup {
    const Result *worst;
    int rows, met;
};

std::vector<GoalGroup> groupGoals(const std::vector<Result> &results) {
    std::vector<GoalGroup> groups;
    for (const Result &row : results) {
        if (row.goal.kind == GOAL_NONE) continue;
        auto group = std::find_if(groups.begin(), groups.end(), [&](const GoalGroup &other) {
            return other.worst->subject == row.subject && other.worst->layout == row.layout &&
                   goalText(other.worst->goal) == goalText(row.goal);
        });
        if (group == groups.end()) group = groups.insert(groups.end(), {&row, 0, 0});
        group->rows += 1;
        group->met += isMet(row) ? 1 : 0;
        if (excess(row) > excess(*group->worst)) group->worst = &row;
    }
    return groups;
}

void writeGoals(std::ofstream &out, const std::vector<Result> &results) {
    out << "\n## Goals\n\n| Rows | Layout | Goal | Met | Of | Worst | |\n|---|---|---|--:|--:|---|--:|\n";
    for (const GoalGroup &group : groupGoals(results)) {
        const Result &worst = *group.worst;
        out << "| " << worst.subject << " | " << (worst.layout.empty() ? "plain" : worst.layout) << " | "
            << goalText(worst.goal) << " | " << group.met << " | " << group.rows << " | " << worst.name << " | "
            << valueText(worst) << " |\n";
    }
}

std::string rowLabel(const Result &row) {
    return row.operation + (row.layout.empty() ? "" : "-" + row.layout) + " | " + row.depth;
}

std::vector<int> sizesOf(const std::vector<Result> &rows) {
    std::vector<int> sizes;
    for (const Result &row : rows) {
        if (std::find(sizes.begin(), sizes.end(), row.size) == sizes.end()) sizes.push_back(row.size);
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

// Which columns a subject needs.
struct Columns {
    std::vector<int> sizes;
    bool share, ratio, call;
};

Columns columnsOf(const std::vector<Result> &rows) {
    const auto any = [&](auto has) { return std::any_of(rows.begin(), rows.end(), has); };
    return {sizesOf(rows), any([](const Result &row) { return row.share > 0; }),
            any([](const Result &row) { return row.ratio > 0; }),
            any([](const Result &row) { return row.goal.kind == GOAL_NS_PER_CALL; })};
}

void writeHead(std::ofstream &out, const Columns &columns) {
    std::string head = "| Operation | Depth |", line = "|---|---|";
    const auto column = [&](const std::string &title) {
        head += " " + title + " |";
        line += "--:|";
    };
    for (const int size : columns.sizes) {
        const std::string prefix = columns.sizes.size() > 1 ? std::to_string(size) + ": " : "";
        column(prefix + (columns.call ? "ns/call" : "ns/sample"));
        if (columns.share) column("limit");
        if (columns.ratio) column("beside");
    }
    out << head << "\n" << line << "\n";
}

void writeCells(std::ofstream &out, const Columns &columns, const Result *row) {
    const auto cell = [&](const char *format, double value, GoalKind kind) {
        const bool missed = row && row->goal.kind == kind && !isMet(*row);
        out << " " << (row && value > 0 ? formatted(format, value) : "") << (missed ? " **!**" : "") << " |";
    };
    if (columns.call) {
        cell("%.0f", row ? row->nsPerCall : 0, GOAL_NS_PER_CALL);
    } else {
        cell("%.4f", row ? row->nsPerSample : 0, GOAL_NS_PER_SAMPLE);
    }
    if (columns.share) cell("%.2f", row ? row->share : 0, GOAL_SHARE);
    if (columns.ratio) cell("%.2f", row ? row->ratio : 0, GOAL_RATIO);
}

void writeSubject(std::ofstream &out, const std::string &subject, const std::vector<Result> &rows) {
    const Columns columns = columnsOf(rows);
    out << "\n## " << subject << "\n\n";
    writeHead(out, columns);
    std::vector<std::string> labels;
    for (const Result &row : rows) {
        const std::string label = rowLabel(row);
        if (std::find(labels.begin(), labels.end(), label) != labels.end()) continue;
        labels.push_back(label);
        out << "| " << label << " |";
        for (const int size : columns.sizes) {
            const auto found = std::find_if(rows.begin(), rows.end(), [&](const Result &other) {
                return other.size == size && rowLabel(other) == label;
            });
            writeCells(out, columns, found == rows.end() ? nullptr : &*found);
        }
        out << "\n";
    }
}

}  // namespace

bool writePage(const std::string &folder, const Facts &facts, const std::vector<Result> &results) {
    std::ofstream out(folder + "/performance.md");
    out << INTRODUCTION;
    writeFacts(out, facts);
    writeGoals(out, results);
    std::vector<std::string> subjects;
    for (const Result &row : results) {
        if (std::find(subjects.begin(), subjects.end(), row.subject) == subjects.end()) subjects.push_back(row.subject);
    }
    for (const std::string &subject : subjects) {
        std::vector<Result> rows;
        std::copy_if(results.begin(), results.end(), std::back_inserter(rows),
                     [&](const Result &row) { return row.subject == subject; });
        writeSubject(out, subject, rows);
    }
    return writePlot(folder + "/performance.svg", results) && static_cast<bool>(out.flush());
}
