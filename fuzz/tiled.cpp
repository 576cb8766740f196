// One call on images of which some are tiled: tiles are requested and released as promised, also after one that is not
// delivered, and the result is that of plain images.
#include "core/owncpu.h"
#include "support/scene.h"
#include "support/tilelog.h"
#include "target.h"
#include "variant.h"

static void requirePromises(const Example &example, Scene &scene, const TileLog &log, const std::string &reports,
                            const std::string &what) {
    requireThat(log.clean(), what);
    if (log.refused()) {
        requireThat(!reports.empty(), what + "no report of a tile that was not delivered");
        if (example.more.releasesTiles) requireThat(log.paired(), what);
    } else {
        requireThat(log.paired(), what);
    }
    for (TestImage *image : scene.entries()) {
        image->abandonTiles();
        requireThat(image->headerIsUntouched(), what);
    }
}

void fuzzOne(Random &random) {
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    const Example &example = drawPixelExample(random);
    const int refuseAt = random.oneIn(3) ? random.between(1, 60) : 0;
    SceneOptions options;
    options.images = example.images;
    options.depth = random.oneIn(3) ? example.more.depth : 0;
    options.tiledAlways = true;
    options.maxWidth = 50;
    options.maxHeight = 40;
    Scene scene(random, options);
    const std::string what = std::string(example.name) + "\n" + scene.describe();
    runningNow = what;
    const Variant plain(scene.entries(), {});
    const bool tilesAgree = !example.more.tiledNearest || !random.oneIn(4);
    Random arguments = random, again = random;

    TileLog log(refuseAt);
    const std::string reports = runExample(example, scene.entries(), &arguments, tilesAgree);
    requirePromises(example, scene, log, reports, what);
    if (log.refused()) return;

    const std::string wanted = runExample(example, plain.entries(), &again, tilesAgree);
    const bool mayDiffer = mayDifferInTiles(example, plain.entries());
    if (!(mayDiffer && example.more.tiledOneSize))
        requireThat(reports == wanted, what + "tiled it reports\n" + reports + "and plain\n" + wanted);
    if (!tilesAgree || mayDiffer) return;
    for (size_t i = 0; i < plain.count(); ++i)
        requireThat(sameSamples(*scene.entries()[i], plain[i]), what);
}
