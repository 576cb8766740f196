// A chain of operations on four images of two depths, run side by side on plain and tiled copies of them and at several
// CPU levels: after every step all copies hold the same samples, and every step reports the same.
#include "core/owncpu.h"
#include "support/scene.h"
#include "target.h"
#include "variant.h"

static constexpr int PER_DEPTH = 2, IMAGES = 2 * PER_DEPTH;

struct Runner {
    Variant images;
    OwnCpuLevel level;
    bool tiled;
};

static std::vector<TestImage *> imagesOf(const Example &example, const Runner &runner, const int *indexes) {
    std::vector<TestImage *> images;
    for (int i = 0; i < example.images; ++i)
        images.push_back(&runner.images[static_cast<size_t>(indexes[i])]);
    return images;
}

static std::string runStep(const Example &example, const Runner &runner, const int *indexes, Random *random) {
    const std::vector<TestImage *> images = imagesOf(example, runner, indexes);
    ownForceCpuLevel(runner.level);
    return runExample(example, images, random, true);
}

// On tiles a fault may be found by the function that works on one of them, and told again on the way back: of such
// reports only the first one's status and message.
static std::string onTiles(const std::string &reports) {
    const size_t message = reports.find('"');
    if (message == std::string::npos) return reports;
    return reports.substr(0, reports.find(' ')) + reports.substr(message, reports.find('\n') - message);
}

void fuzzOne(Random &random) {
    SceneOptions options;
    options.images = PER_DEPTH;
    options.tiles = options.sharing = false;
    options.sameOrigin = true;
    options.maxWidth = 40;
    options.maxHeight = 24;
    const int steps = random.between(1, 10), tileWidth = 8 * random.between(1, 3),
              tileHeight = 8 * random.between(1, 3);
    Scene scene(random, options);
    if (!random.oneIn(4)) options.order = scene[0].layout().order;
    Scene more(random, options);
    std::vector<TestImage *> entries = scene.entries();
    entries.insert(entries.end(), more.entries().begin(), more.entries().end());
    const OwnCpuLevel highest = ownHighestCpuLevel();
    const bool swapped = random.oneIn(2);
    const OwnCpuLevel one = swapped ? OWN_LEVEL_V3 : OWN_LEVEL_BASE, other = swapped ? OWN_LEVEL_BASE : OWN_LEVEL_V3;
    const Runner runners[] = {{{entries, {}}, highest, false},
                              {{entries, {}}, one, false},
                              {{entries, {tileWidth, tileHeight, true}}, highest, true},
                              {{entries, {16, 8, false}}, other, true}};
    std::string what = scene.describe() + more.describe();
    for (int step = 0; step < steps; ++step) {
        const Example &example = drawPixelExample(random);
        const int indexes[] = {random.below(IMAGES), random.below(IMAGES), random.below(IMAGES)};
        if (mayDifferInTiles(example, imagesOf(example, runners[0], indexes))) continue;
        what += std::string(example.name) + " " + std::to_string(indexes[0]) + " " + std::to_string(indexes[1]) + " " +
                std::to_string(indexes[2]) + "\n";
        runningNow = what;
        const Random start = random;
        std::string reports;
        for (const Runner &runner : runners) {
            random = start;
            const std::string now = runStep(example, runner, indexes, &random);
            if (&runner == &runners[0]) reports = now;
            const bool same = runner.tiled ? onTiles(now) == onTiles(reports) : now == reports;
            requireThat(same, what + "reports differ:\n" + now + "and\n" + reports);
            for (size_t i = 0; i < IMAGES; ++i) {
                requireThat(sameSamples(runner.images[i], runners[0].images[i]), what);
                takeNaNs(&runner.images[i], runners[0].images[i]);
            }
        }
    }
}
