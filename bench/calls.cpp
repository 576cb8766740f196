// Small images: what a call costs from its checks to its return.
#include "rows.h"

static constexpr Goal SHORT = {GOAL_NS_PER_CALL, 100, 100};

void addCallRows(std::vector<Row> *rows) {
    for (const Operation &operation : allOperations()) {
        Row row = makeRow("Calls", operation, "", OWN_8U, 16);
        row.goal = SHORT;
        row.checked = true;
        rows->push_back(row);
    }
    for (const char *name : {"copy", "add", "not"}) {
        Row row = makeRow("Calls", findOperation(name), "region", OWN_8U, 16);
        row.layout.region = true;
        row.layout.x[0] = row.layout.x[1] = row.layout.x[2] = 64;
        row.goal = SHORT;
        row.checked = true;
        rows->push_back(row);
    }
}
