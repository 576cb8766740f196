// One-bit images: plain, and as regions that begin within a byte, beside regions that begin at one.
#include "rows.h"

namespace {

void addRows(const char *name, const Layout &layout, const Layout *reference, std::vector<Row> *rows) {
    for (const Operation &operation : allOperations()) {
        if (!supports(operation, OWN_1U)) continue;
        for (const int size : SIZES) {
            Row row = makeRow("Bits", operation, name, OWN_1U, size);
            row.layout = layout;
            if (reference) {
                row.hasReference = true;
                row.reference = *reference;
                row.goal = {GOAL_RATIO, 2};
            } else if (size == LARGE) {
                row.goal = AT_THE_LIMIT;
            }
            rows->push_back(row);
        }
    }
}

}  // namespace

void addBitRows(std::vector<Row> *rows) {
    addRows("", {}, nullptr, rows);

    Layout aligned;
    aligned.region = true;
    aligned.x[0] = aligned.x[1] = aligned.x[2] = 8;
    aligned.y = 3;
    addRows("aligned", aligned, nullptr, rows);

    Layout same = aligned;
    same.x[0] = same.x[1] = same.x[2] = 11;
    addRows("same-offset", same, &aligned, rows);

    Layout other = aligned;
    other.x[0] = 11;
    other.x[1] = 13;
    other.x[2] = 9;
    addRows("any-offset", other, &aligned, rows);
}
