// The table of example calls, put together from the families' tables.
#include "table/examples.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

// families.inc has one FAMILY(name) for each file; CMakeLists.txt makes it.
#define FAMILY(name) std::vector<Example> name##Examples();
#include "families.inc"
#undef FAMILY

int ExampleCall::number(int usual) {
    return random ? drawInt(*random) : usual;
}
int ExampleCall::size(int usual) {
    return random ? (random->oneIn(16) ? random->between(-2, 40) : random->between(1, 8)) : usual;
}
int ExampleCall::choice(int usual, int choices) {
    if (!random) return usual;
    return random->oneIn(16) ? drawInt(*random) : random->below(choices);
}
float ExampleCall::real(float usual) {
    if (!random) return usual;
    const uint32_t bits = drawSample(*random, MOX_DEPTH_32F);
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

static void runPoint(const RefOperation &operation, ExampleCall &call) {
    RefCall point(operation, 0, operation.flips);
    switch (operation.constant) {
        case RefConstant::NONE:
            break;
        case RefConstant::INTEGER:
            point.value = call.number(operation.usual);
            break;
        case RefConstant::SHIFT:
            point.value = call.choice(operation.usual, 34);
            break;
        case RefConstant::REAL: {
            const float value = call.real(0.5f);
            memcpy(&point.floatBits, &value, sizeof value);
            break;
        }
    }
    operation.call(point, call.a(), call.b(), call.dst());
}

Example exampleOf(const RefOperation &operation) {
    Example example = {operation.name, Touches::PIXELS, operation.sources + 1,
                       [&operation](ExampleCall &call) { runPoint(operation, call); }};
    example.more.depth = operation.usualDepth();
    example.more.reportsAs = operation.becomes;
    if (operation.copies == RefCopies::NEVER) example.more.tiles = TilesInHand::ONE;
    example.point = &operation;
    return example;
}

static std::vector<Example> gatherFamilies() {
    std::vector<Example> all;
    const auto add = [&all](const char *family, const std::vector<Example> &examples) {
        for (const Example &example : examples) {
            all.push_back(example);
            all.back().family = family;
        }
    };
#define FAMILY(name) add(#name, name##Examples());
#include "families.inc"
#undef FAMILY
    return all;
}

const std::vector<Example> &allExamples() {
    static const std::vector<Example> examples = gatherFamilies();
    return examples;
}

std::vector<RefOperation> pointOperations(const std::string &family) {
    std::vector<RefOperation> operations;
    for (const Example &example : allExamples()) {
        if (example.point && family == example.family) operations.push_back(*example.point);
    }
    return operations;
}

const RefOperation &pointOperation(const std::string &name) {
    for (const Example &example : allExamples()) {
        if (example.point && name == example.name) return *example.point;
    }
    fprintf(stderr, "%s is no element-wise operation of the table\n", name.c_str());
    abort();
}

static bool isCapital(char c) {
    return c >= 'A' && c <= 'Z';
}

std::string toolName(const Example &example) {
    if (example.more.tool) return example.more.tool;
    const std::string name = example.name + strlen("mox");
    std::string text;
    for (size_t i = 0; i < name.size(); ++i) {
        if (i > 0 && isCapital(name[i]) && !isCapital(name[i - 1])) text += '-';
        text += static_cast<char>(isCapital(name[i]) ? name[i] - 'A' + 'a' : name[i]);
    }
    return text;
}

// FNV-1a, by Fowler, Noll and Vo.
uint32_t exampleKey(const char *name) {
    uint32_t hash = 2166136261u;
    for (const char *c = name; *c; ++c)
        hash = (hash ^ static_cast<uint8_t>(*c)) * 16777619u;
    return hash;
}

// Of a key that nobody has, the example wins whose own key mixes best with it: a new one takes its share and leaves the
// others theirs.
const Example &exampleOfKey(const std::vector<const Example *> &examples, uint32_t key) {
    const Example *best = examples.front();
    uint64_t highest = 0;
    for (const Example *example : examples) {
        const uint32_t own = exampleKey(example->name);
        if (own == key) return *example;
        const uint64_t score = Random(uint64_t{own} << 32 | key).next();
        if (score < highest) continue;
        highest = score;
        best = example;
    }
    return *best;
}
