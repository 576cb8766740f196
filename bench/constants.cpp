// An image and a constant, and unary operations, plain.
#include "rows.h"

void addConstantRows(std::vector<Row> *rows) {
    addPlainRows("An image and a constant", GROUP_CONSTANT, rows);
}
