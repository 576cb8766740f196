// Two images into a third, plain.
#include "rows.h"

// The sum of bytes is what the processor has an instruction for: within the caches it is held to a time.
void addArithmeticRows(std::vector<Row> *rows) {
    addPlainRows("Two images", GROUP_TWO, rows);
    for (Row &row : *rows) {
        if (row.name != "add/8U/256" && row.name != "add/8S/256") continue;
        row.goal = {GOAL_NS_PER_SAMPLE, 0.15};
    }
}
