// The results as a plot: for every operation on plain images, at three depths, the share of the memory limit at each
// size, at the highest level measured.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "results.h"

namespace {

constexpr const char *DEPTHS[] = {"8U", "16S", "32F"};
struct Series {
    int size;
    const char *color;
};
constexpr Series SERIES[] = {{256, "#9ecae1"}, {1024, "#4292c6"}, {4096, "#084594"}};

constexpr int LABELS = 120;  // width of the operations' names
constexpr int PANEL = 230;   // width of a depth
constexpr int GAP = 24;
constexpr int TOP = 74;
constexpr int BAR = 7;
constexpr int GROUP = 3 * BAR + 7;
// The axis ends here; longer bars are cut and say their value.
constexpr double LONGEST = 1.2;

struct Canvas {
    std::ofstream &out;

    void text(int x, int y, const char *anchor, int size, const std::string &text) {
        out << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\" font-size=\"" << size
            << "\">" << text << "</text>\n";
    }
    void bar(int x, int y, int width, int height, const char *color) {
        out << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << width << "\" height=\"" << height << "\" fill=\""
            << color << "\"/>\n";
    }
    void line(int x, int y, int yEnd, const char *color, const char *dashes) {
        out << "<line x1=\"" << x << "\" y1=\"" << y << "\" x2=\"" << x << "\" y2=\"" << yEnd << "\" stroke=\"" << color
            << "\" stroke-dasharray=\"" << dashes << "\"/>\n";
    }
};

int pixels(double share) {
    return static_cast<int>(std::min(share, LONGEST) / LONGEST * PANEL + 0.5);
}

// Plain images of memory's sizes have a share and neither layout nor level.
bool isShown(const Result &row) {
    return row.layout.empty() && row.share > 0;
}

std::vector<std::string> operationsOf(const std::vector<Result> &results) {
    std::vector<std::string> names;
    for (const Result &row : results) {
        const bool depthShown = std::find(std::begin(DEPTHS), std::end(DEPTHS), row.depth) != std::end(DEPTHS);
        if (isShown(row) && depthShown && std::find(names.begin(), names.end(), row.operation) == names.end())
            names.push_back(row.operation);
    }
    return names;
}

const Result *findRow(const std::vector<Result> &results, const std::string &operation, const char *depth, int size) {
    const auto found = std::find_if(results.begin(), results.end(), [&](const Result &row) {
        return isShown(row) && row.operation == operation && row.depth == depth && row.size == size;
    });
    return found == results.end() ? nullptr : &*found;
}

void drawLegend(Canvas canvas, const std::string &level) {
    canvas.text(12, 22, "start", 15, "Share of the memory limit at level " + level + ", by operation, depth and size");
    int x = LABELS;
    for (const Series &series : SERIES) {
        canvas.bar(x, 34, 12, 12, series.color);
        canvas.text(x + 17, 44, "start", 11, std::to_string(series.size) + " x " + std::to_string(series.size));
        x += 105;
    }
    canvas.text(x + 10, 44, "start", 11, "dashed: the limit (1.0) and 0.85 of it");
}

void drawPanel(Canvas canvas, int x, const char *depth, const std::vector<std::string> &operations,
               const std::vector<Result> &results) {
    const int end = TOP + GROUP * static_cast<int>(operations.size());
    canvas.text(x + PANEL / 2, TOP - 8, "middle", 12, depth);
    for (const int tenths : {0, 5, 10})
        canvas.text(x + pixels(tenths / 10.0), end + 14, "middle", 10, tenths == 0 ? "0" : tenths == 5 ? "0.5" : "1.0");
    int y = TOP;
    for (const std::string &operation : operations) {
        int barY = y + 3;
        for (const Series &series : SERIES) {
            if (const Result *row = findRow(results, operation, depth, series.size)) {
                canvas.bar(x, barY, std::max(pixels(row->share), 1), BAR, series.color);
                if (row->share > LONGEST) {
                    char value[16];
                    std::snprintf(value, sizeof value, "%.2f", row->share);
                    canvas.out << "<text x=\"" << x + PANEL - 3 << "\" y=\"" << barY + BAR - 1
                               << "\" text-anchor=\"end\" font-size=\"7\" fill=\"#fff\">" << value << "</text>\n";
                }
            }
            barY += BAR;
        }
        y += GROUP;
    }
    canvas.line(x, TOP, end, "#333", "none");
    canvas.line(x + pixels(0.85), TOP, end, "#888", "2 3");
    canvas.line(x + pixels(1), TOP, end, "#c00", "4 3");
}

}  // namespace

bool writePlot(const std::string &path, const std::vector<Result> &all) {
    std::ofstream out(path);
    const std::string level = all.empty() ? "" : all.back().level;
    std::vector<Result> results;
    std::copy_if(all.begin(), all.end(), std::back_inserter(results),
                 [&](const Result &row) { return row.level == level; });
    Canvas canvas = {out};
    const std::vector<std::string> operations = operationsOf(results);
    const int panels = static_cast<int>(std::size(DEPTHS));
    const int width = LABELS + panels * (PANEL + GAP);
    const int height = TOP + GROUP * static_cast<int>(operations.size()) + 26;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << " " << height << "\" font-family=\"sans-serif\">\n";
    canvas.bar(0, 0, width, height, "#fff");
    drawLegend(canvas, level);
    for (size_t i = 0; i < operations.size(); ++i) {
        canvas.text(LABELS - 8, TOP + GROUP * static_cast<int>(i) + GROUP / 2 + 4, "end", 12, operations[i]);
    }
    for (int i = 0; i < panels; ++i)
        drawPanel(canvas, LABELS + i * (PANEL + GAP), DEPTHS[i], operations, results);
    out << "</svg>\n";
    return static_cast<bool>(out.flush());
}
