// Copy, set and exchange, plain.
#include "rows.h"

void addMoveRows(std::vector<Row> *rows) {
    addPlainRows("Moving pixels", GROUP_MOVE, rows);
}
