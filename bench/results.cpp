// Results as JSON, one row on a line.
#include "results.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

constexpr const char *GOAL_NAMES[] = {"", "share", "ratio", "nsPerSample", "nsPerCall"};

std::string quoted(const std::string &text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) >= ' ') out += c;
    }
    return out + "\"";
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

// The characters behind a key, up to the end of the line; empty where the line has no such key.
std::string behindKey(const std::string &line, const std::string &key) {
    const std::string mark = quoted(key) + ": ";
    const size_t at = line.find(mark);
    return at == std::string::npos ? std::string() : line.substr(at + mark.size());
}

std::string textOf(const std::string &line, const std::string &key) {
    const std::string rest = behindKey(line, key);
    std::string out;
    for (size_t i = 1; i < rest.size() && rest[i] != '"'; ++i) {
        if (rest[i] == '\\' && i + 1 < rest.size()) ++i;
        out += rest[i];
    }
    return out;
}

double numberOf(const std::string &line, const std::string &key) {
    return std::strtod(behindKey(line, key).c_str(), nullptr);
}

void writeRow(std::ofstream &out, const Result &row) {
    out << "    {\"name\": " << quoted(row.name) << ", \"subject\": " << quoted(row.subject)
        << ", \"operation\": " << quoted(row.operation) << ", \"layout\": " << quoted(row.layout)
        << ", \"depth\": " << quoted(row.depth) << ", \"level\": " << quoted(row.level) << ", \"size\": " << row.size
        << ", \"nsPerCall\": " << number(row.nsPerCall) << ", \"nsPerSample\": " << number(row.nsPerSample)
        << ", \"gbPerSecond\": " << number(row.gbPerSecond) << ", \"share\": " << number(row.share)
        << ", \"ratio\": " << number(row.ratio) << ", \"toLower\": " << number(row.toLower)
        << ", \"limitForm\": " << quoted(row.limitForm) << ", \"goal\": " << quoted(GOAL_NAMES[row.goal.kind])
        << ", \"bound\": " << number(row.goal.bound) << ", \"met\": " << (isMet(row) ? "true" : "false") << "}";
}

Result readRow(const std::string &line) {
    Result row;
    row.name = textOf(line, "name");
    row.subject = textOf(line, "subject");
    row.operation = textOf(line, "operation");
    row.layout = textOf(line, "layout");
    row.depth = textOf(line, "depth");
    row.level = textOf(line, "level");
    row.size = static_cast<int>(numberOf(line, "size"));
    row.nsPerCall = numberOf(line, "nsPerCall");
    row.nsPerSample = numberOf(line, "nsPerSample");
    row.gbPerSecond = numberOf(line, "gbPerSecond");
    row.share = numberOf(line, "share");
    row.ratio = numberOf(line, "ratio");
    row.toLower = numberOf(line, "toLower");
    row.limitForm = textOf(line, "limitForm");
    const std::string goal = textOf(line, "goal");
    for (int kind = GOAL_SHARE; kind <= GOAL_NS_PER_CALL; ++kind) {
        if (goal == GOAL_NAMES[kind]) row.goal = {static_cast<GoalKind>(kind), numberOf(line, "bound")};
    }
    return row;
}

}  // namespace

bool isMet(const Result &result) {
    switch (result.goal.kind) {
        case GOAL_SHARE:
            return result.share >= result.goal.bound;
        case GOAL_RATIO:
            return result.ratio <= result.goal.bound;
        case GOAL_NS_PER_SAMPLE:
            return result.nsPerSample <= result.goal.bound;
        case GOAL_NS_PER_CALL:
            return result.nsPerCall < result.goal.bound;
        default:
            return true;
    }
}

std::string goalText(const Goal &goal) {
    switch (goal.kind) {
        case GOAL_SHARE:
            return "limit >= " + number(goal.bound);
        case GOAL_RATIO:
            return "beside <= " + number(goal.bound);
        case GOAL_NS_PER_SAMPLE:
            return "ns/sample <= " + number(goal.bound);
        case GOAL_NS_PER_CALL:
            return "ns/call < " + number(goal.bound);
        default:
            return "";
    }
}

int levelNumber(const std::string &name) {
    for (int level = 0; level < static_cast<int>(std::size(LEVEL_NAMES)); ++level) {
        if (name == LEVEL_NAMES[level]) return level;
    }
    return -1;
}

bool writeResults(const std::string &path, const Facts &facts, const std::vector<Result> &results) {
    std::ofstream out(path);
    out << "{\n  \"machine\": [\n";
    for (size_t i = 0; i < facts.size(); ++i) {
        out << "    {\"fact\": " << quoted(facts[i].first) << ", \"value\": " << quoted(facts[i].second) << "}"
            << (i + 1 < facts.size() ? ",\n" : "\n");
    }
    out << "  ],\n  \"rows\": [\n";
    for (size_t i = 0; i < results.size(); ++i) {
        writeRow(out, results[i]);
        out << (i + 1 < results.size() ? ",\n" : "\n");
    }
    out << "  ]\n}\n";
    return static_cast<bool>(out.flush());
}

bool readResults(const std::string &path, Facts *facts, std::vector<Result> *results) {
    std::ifstream in(path);
    if (!in) return false;
    for (std::string line; std::getline(in, line);) {
        if (!behindKey(line, "fact").empty()) {
            facts->push_back({textOf(line, "fact"), textOf(line, "value")});
        } else if (!behindKey(line, "nsPerCall").empty()) {
            results->push_back(readRow(line));
        }
    }
    return !results->empty();
}
