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

template <typename Value>
bool addOnce(const Value &value, std::vector<Value> *values) {
    if (std::find(values->begin(), values->end(), value) != values->end()) return false;
    values->push_back(value);
    return true;
}

const char *INTRODUCTION = R"(# Performance

`script/bench --docs` measures this and writes this page and its plot; `script/bench --table` prints a table instead, and
`script/bench --help` says what else there is.

![Share of the memory limit](performance.svg)

## How it is measured

One thread calls the library as an application does. A row is measured in rounds; in every round the operation and what it is
compared with, at each CPU level, and the memory limit are timed one after the other on the same buffers. Times are the thread's own (what
the machine does for others does not count) and medians of the rounds; quotients are medians of the rounds' quotients.

- The levels are those of the machine: `base` is SSE2, `v3` AVX2, `v4` AVX-512. A cell has the figures of all, in this order.
  Goals hold at v3 and v4; at the baseline plain images in memory have one of their own, and so have short calls.
- **ns/sample** is the time of a call divided by the samples that it processes.
- **limit** is the share of the memory limit that is reached: the time of moving the same bytes and doing nothing else, divided
  by the operation's time, with the widest vectors that the machine has, at all levels. As many streams are read and written as the operation has images, by the quickest of plain stores,
  stores past the caches, and `memcpy` or `memset`. Where some samples of a cache line are left alone (masks, channels of
  interest, alpha) the limit reads the destination too, and moves whole pixels: a channel of interest may take 1.3 times as long
  as that, which is 0.77 of the limit. A figure somewhat above 1 says that the operation
  is as quick as moving its bytes, give or take the noise.
- **beside** is the time per sample in units of the row's counterpart: for a region, mask or tile the same operation on whole plain
  images, with as many channels; for `rgb-region`, `rgb-masked` and `alpha` an image
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

// Rows of one subject, layout, level and goal, counted.
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
                   other.worst->level == row.level && goalText(other.worst->goal) == goalText(row.goal);
        });
        if (group == groups.end()) group = groups.insert(groups.end(), {&row, 0, 0});
        group->rows += 1;
        group->met += isMet(row) ? 1 : 0;
        if (excess(row) > excess(*group->worst)) group->worst = &row;
    }
    return groups;
}

void writeGoals(std::ofstream &out, const std::vector<Result> &results) {
    out << "\n## Goals\n\n| Rows | Layout | Level | Goal | Met | Of | Worst | |\n|---|---|---|---|--:|--:|---|--:|\n";
    for (const GoalGroup &group : groupGoals(results)) {
        const Result &worst = *group.worst;
        out << "| " << worst.subject << " | " << (worst.layout.empty() ? "plain" : worst.layout) << " | " << worst.level
            << " | " << goalText(worst.goal) << " | " << group.met << " | " << group.rows << " | " << worst.name
            << " | " << valueText(worst) << " |\n";
    }
}

// Where a level is slower than the one below, as far as one row's rounds can tell.
void writeSlowerLevels(std::ofstream &out, const std::vector<Result> &results) {
    out << "\n## One level and the next\n\nNo level is to be slower than the one below it; `script/deep/check-levels` "
           "tells noise from fact. Rows that took more than "
        << formatted("%.2f", SLOWER) << " times as long here:\n\n";
    int rows = 0;
    for (const Result &row : results) {
        if (row.toLower <= SLOWER) continue;
        if (rows++ == 0) out << "| Row | Level | Times the level below |\n|---|---|--:|\n";
        out << "| " << row.name << " | " << row.level << " | " << formatted("%.2f", row.toLower) << " |\n";
    }
    if (rows == 0) out << "none.\n";
}

std::string whySlow(const Result &row) {
    const char *why = whyBaseIsSlow(row.name);
    return why ? why : "**!** Not explained.";
}

// Rows that are slow at the baseline, under the sentences that say why.
void writeSlowBase(std::ofstream &out, const std::vector<Result> &results) {
    out << "\nThe baseline takes more than " << formatted("%.0f", SLOW_BASE) << " times what v3 takes in these rows:\n";
    std::vector<std::string> sentences;
    for (const Result &row : results) {
        if (isBaseSlow(row)) addOnce(whySlow(row), &sentences);
    }
    if (sentences.empty()) out << "\nnone.\n";
    for (const std::string &sentence : sentences) {
        out << "\n- " << sentence << " ";
        const char *separator = "";
        for (const Result &row : results) {
            if (!isBaseSlow(row) || sentence != whySlow(row)) continue;
            out << separator << row.name << " (" << formatted("%.1f", 1 / row.toLower) << ")";
            separator = ", ";
        }
        out << "\n";
    }
}

std::string rowLabel(const Result &row) {
    return row.operation + (row.layout.empty() ? "" : "-" + row.layout) + " | " + row.depth;
}

std::vector<int> sizesOf(const std::vector<Result> &rows) {
    std::vector<int> sizes;
    for (const Result &row : rows)
        addOnce(row.size, &sizes);
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

// A row's figures at all levels.
using Cell = std::vector<const Result *>;

void writeCell(std::ofstream &out, const Cell &cell, const char *format, double Result::*value, GoalKind kind) {
    std::string text;
    for (const Result *row : cell) {
        if (row->*value <= 0) continue;
        const bool missed = row->goal.kind == kind && !isMet(*row);
        text += (text.empty() ? "" : " / ") + formatted(format, row->*value) + (missed ? " **!**" : "");
    }
    out << " " << text << " |";
}

void writeCells(std::ofstream &out, const Columns &columns, const Cell &cell) {
    if (columns.call) {
        writeCell(out, cell, "%.0f", &Result::nsPerCall, GOAL_NS_PER_CALL);
    } else {
        writeCell(out, cell, "%.4f", &Result::nsPerSample, GOAL_NS_PER_SAMPLE);
    }
    if (columns.share) writeCell(out, cell, "%.2f", &Result::share, GOAL_SHARE);
    if (columns.ratio) writeCell(out, cell, "%.2f", &Result::ratio, GOAL_RATIO);
}

void writeSubject(std::ofstream &out, const std::string &subject, const std::vector<Result> &rows) {
    const Columns columns = columnsOf(rows);
    out << "\n## " << subject << "\n\n";
    writeHead(out, columns);
    std::vector<std::string> labels;
    for (const Result &row : rows) {
        const std::string label = rowLabel(row);
        if (!addOnce(label, &labels)) continue;
        out << "| " << label << " |";
        for (const int size : columns.sizes) {
            Cell cell;
            for (const Result &other : rows) {
                if (other.size == size && rowLabel(other) == label) cell.push_back(&other);
            }
            writeCells(out, columns, cell);
        }
        out << "\n";
    }
}

// The levels in the order of the cells.
void writeLevels(std::ofstream &out, const std::vector<Result> &results) {
    std::vector<std::string> levels;
    for (const Result &row : results)
        addOnce(row.level, &levels);
    out << "\nLevels measured: ";
    for (size_t i = 0; i < levels.size(); ++i)
        out << (i > 0 ? " / " : "") << levels[i];
    out << ".\n";
}

}  // namespace

bool writePage(const std::string &folder, const Facts &facts, const std::vector<Result> &results) {
    std::ofstream out(folder + "/performance.md");
    out << INTRODUCTION;
    writeFacts(out, facts);
    writeLevels(out, results);
    writeGoals(out, results);
    writeSlowerLevels(out, results);
    writeSlowBase(out, results);
    std::vector<std::string> subjects;
    for (const Result &row : results)
        addOnce(row.subject, &subjects);
    for (const std::string &subject : subjects) {
        std::vector<Result> rows;
        std::copy_if(results.begin(), results.end(), std::back_inserter(rows),
                     [&](const Result &row) { return row.subject == subject; });
        writeSubject(out, subject, rows);
    }
    return writePlot(folder + "/performance.svg", results) && static_cast<bool>(out.flush());
}
