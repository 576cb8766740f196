// The table of operations, put together from its families.
#include "operations.h"

const std::vector<const Family *> &families() {
    static const std::vector<const Family *> all = {
        &everydayFamily(),    //
        &movingFamily(),      //
        &arithmeticPair(),    //
        &arithmeticOne(),     //
        &alphaFamily(),       //
        &colorModelFamily(),  //
        &depthFamily(),       //
        &filterFamily(),      //
        &rankFamily(),        //
        &findingFamily(),     //
        &geometryFamily(),    //
        &transformFamily(),   //
        &comparisonFamily(),  //
        &measureFamily(),     //
        &bitmapFamily(),      //
        &synthFamily(),       //
    };
    return all;
}

const Operation *findOperation(const std::string &name) {
    for (const Family *family : families()) {
        for (const Operation &operation : family->operations) {
            if (name == operation.name) return &operation;
        }
    }
    return nullptr;
}

std::string usageOf(const Operation &operation) {
    std::string text = operation.name;
    for (const ArgumentSpec &argument : operation.arguments) {
        const bool optional = argument.kind == ArgumentKind::keyword;
        text += optional ? std::string(" [") + argument.name + "]" : std::string(" ") + argument.name;
    }
    return text;
}
