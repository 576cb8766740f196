// The same operations at every CPU level that the machine has.
#include "rows.h"

void addLevelRows(std::vector<Row> *rows) {
    static constexpr const char *NAMES[OWN_LEVELS] = {"at-base", "at-v3", "at-v4"};
    for (const char *name : {"copy", "add", "multiply", "multiply-s"}) {
        const Operation &operation = findOperation(name);
        for (const int depth : {OWN_8U, OWN_8S, OWN_16S, OWN_32F}) {
            for (int level = 0; level <= ownHighestCpuLevel(); ++level) {
                Row row = makeRow("CPU levels", operation, NAMES[level], depth, 256);
                row.level = level;
                const bool byteSum = operation.group == GROUP_TWO && row.name.rfind("add-at-v3/8", 0) == 0;
                if (byteSum) row.goal = {GOAL_NS_PER_SAMPLE, 0.15};
                rows->push_back(row);
            }
        }
    }
}
