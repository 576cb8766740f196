// The frame of comparisons: a bit of the result for each pixel.
#include "stat/owncomp.h"

#include <algorithm>

#include "core/owncpu.h"
#include "frame/ownmeasure.h"
#include "frame/ownmove.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"
#include "frame/ownrows.h"

OWN_DECLARE_LEVELS(OwnCompareRows, compareRows)

const OwnCompareRows &ownCompareRows() {
    static constexpr const OwnCompareRows *tables[] = OWN_LEVEL_TABLES(compareRows);
    return *tables[ownCpuLevel()];
}

// ------------------------------------------------------------------------------------------------------------ checks

static constexpr const char *INCORRECT = " Incorrect Image";

MoxStatus OwnCompare::refuse(MoxStatus reported, const char *message, MoxStatus returned) const {
    ownReport(caller, reported, message);
    return returned;
}

MoxStatus OwnCompare::checkHeader(const MoxImage *image) const {
    const MoxStatus fault = ownFindHeaderFault(image);
    return fault != MOX_StatusNoError ? refuse(fault, INCORRECT, fault) : fault;
}

MoxStatus OwnCompare::checkTwo() const {
    for (const MoxImage *image : {img1, img2, res}) {
        if (const MoxStatus fault = checkHeader(image)) return fault;
    }
    if (res->depth != MOX_DEPTH_1U)
        return refuse(MOX_StatusBadArgument, "(res->depth!=MOX_DEPTH_1U)", MOX_StatusHeaderDepth);
    if (img1->depth != img2->depth)
        return refuse(MOX_StatusBadArgument, "(img1->depth!=img2->depth)", MOX_StatusHeaderDepth);
    if (img1 == res || img2 == res)
        return refuse(MOX_StatusBadArgument, "(img1==res || img2==res)", MOX_StatusBadArgument);
    if (img1->dataOrder != img2->dataOrder)
        return refuse(MOX_StatusBadArgument, "(img1->dataOrder!=img2->dataOrder)", MOX_StatusHeaderOrder);
    if (img1->origin != img2->origin)
        return refuse(MOX_StatusBadArgument, "(img1->origin!=img2->origin)", MOX_StatusHeaderOrigin);
    return checkChannels();
}

MoxStatus OwnCompare::checkOne(bool real) const {
    for (const MoxImage *image : {img1, res}) {
        if (const MoxStatus fault = checkHeader(image)) return fault;
    }
    if (img1 == res) return refuse(MOX_StatusBadArgument, "(img==res)", MOX_StatusBadArgument);
    if (res->depth != MOX_DEPTH_1U)
        return refuse(MOX_StatusBadArgument, "(res->depth!=MOX_DEPTH_1U)", MOX_StatusHeaderDepth);
    if (real && img1->depth != MOX_DEPTH_32F)
        return refuse(MOX_StatusBadArgument, "(img->depth!=MOX_DEPTH_32F)", MOX_StatusHeaderDepth);
    if (!real && img1->depth == MOX_DEPTH_32F)
        return refuse(MOX_StatusBadArgument, "(img->depth==MOX_DEPTH_32F)", MOX_StatusHeaderDepth);
    return MOX_StatusNoError;
}

MoxStatus OwnCompare::checkReal() const {
    if (img1->depth == MOX_DEPTH_32F && img2->depth == MOX_DEPTH_32F) return MOX_StatusNoError;
    return refuse(MOX_StatusBadArgument, "((img1->depth!= MOX_DEPTH_32F)|| (img2->depth!= MOX_DEPTH_32F))",
                  MOX_StatusHeaderDepth);
}

MoxStatus OwnCompare::checkEpsilon(float eps) const {
    if (eps <= 0) return refuse(MOX_StatusBadArgument, "(eps<=0.)", MOX_StatusBadArgument);
    return MOX_StatusNoError;
}

// A single channel that is alpha leaves nothing to compare.
static bool hasChannels(const MoxImage *image) {
    return ownChannels(image) > 0;
}

MoxStatus OwnCompare::checkChannels() const {
    constexpr const char *alpha = "bad alpha channel's number";
    if (!hasChannels(img1) || (img2 && !hasChannels(img2)))
        return refuse(MOX_StatusHeaderAlpha, alpha, MOX_StatusBadArgument);
    if (img2 && ownChannels(img1) != ownChannels(img2))
        return refuse(MOX_StatusHeaderChannels, "bad channel's number", MOX_StatusHeaderChannels);
    bool results = hasChannels(res);
    for (const MoxImage *image : {img1, img2, res})
        results = results && (!image || !image->maskROI || hasChannels(image->maskROI));
    return results ? MOX_StatusNoError : refuse(MOX_StatusHeaderAlpha, alpha, MOX_StatusHeaderAlpha);
}

// --------------------------------------------------------------------------------------------------------------- rows

namespace {

constexpr size_t PART = 8192;  // pixels whose bits are kept before they are stored

// The result's rows. A stretch of the sources finds its bits there by its place in the region.
struct Results {
    const OwnRelation &relation;
    const OwnConstant &constant;
    int depthBits;
    OwnSpan res, mask;
    bool masked;
    alignas(64) uint8_t bits[PART / 8];

    void compare(const OwnFold &stretch);
    void run(const OwnFold &stretch, size_t from, size_t pixels, uint8_t *out) const;
    void store(const OwnFold &stretch, size_t from, size_t pixels);
};

// A place further on in a row of bits.
OwnSpan spanAt(const OwnSpan &span, int64_t x, int64_t y) {
    OwnSpan at = span;
    at.start += y * span.rowStep + (span.bit + x) / 8;
    at.bit = static_cast<int>((span.bit + x) % 8);
    return at;
}

void Results::run(const OwnFold &stretch, size_t from, size_t pixels, uint8_t *out) const {
    const size_t at = from * static_cast<size_t>(stretch.channels) * static_cast<size_t>(depthBits) / 8;
    const uint8_t *a = stretch.a + at, *b = stretch.b ? stretch.b + at : nullptr;
    if (stretch.channels == 1) {
        relation.bits(a, b, pixels, constant, out);
    } else {
        relation.pixelBits(a, b, pixels, stretch.channels, constant, out);
    }
}

// Bits that are whole bytes are written where they stand, others are kept and copied. Channels that come one after the
// other only clear what those before them have left.
void Results::compare(const OwnFold &stretch) {
    const size_t pixels = stretch.samples / static_cast<size_t>(stretch.channels);
    const OwnSpan at = spanAt(res, stretch.x, stretch.y);
    if (!masked && stretch.channel == 0 && at.bit == 0 && pixels % 8 == 0) {
        run(stretch, 0, pixels, at.start);
        return;
    }
    for (size_t from = 0; from < pixels; from += PART) {
        const size_t n = std::min(PART, pixels - from);
        run(stretch, from, n, bits);
        store(stretch, from, n);
    }
}

void Results::store(const OwnFold &stretch, size_t from, size_t pixels) {
    const int64_t x = stretch.x + static_cast<int64_t>(from);
    OwnRows rows = {};
    rows.spans[0].start = bits;
    rows.spans[0].step = 1;
    rows.spans[1] = spanAt(res, x, stretch.y);
    rows.count = 2;
    rows.masked = masked;
    if (masked) rows.mask = spanAt(mask, x, stretch.y);
    rows.width = static_cast<int>(pixels);
    rows.height = rows.channels = rows.planes = 1;
    if (stretch.channel > 0) {
        uint8_t before[PART / 8];
        ownAlignBits(rows.spans[1].start, rows.spans[1].bit, before, 0, rows.width);
        for (size_t k = 0; k < (pixels + 7) / 8; ++k)
            bits[k] &= before[k];
    }
    ownRunRows(rows, ownMoveRows().copy[OWN_1_BYTE], {});
}

void fold(void *state, const OwnFold &stretch) {
    static_cast<Results *>(state)->compare(stretch);
}

// A part of the common region in plain images.
struct Area {
    MoxImage *img1, *img2, *res, *mask;
};

void compareArea(const Area &area, const OwnRelation &relation, const OwnConstant &constant) {
    OwnMeasure measure = {};
    measure.images[0] = area.img1;
    measure.images[1] = area.img2;
    measure.first[0] = ownFirstChannel(area.img1);
    measure.first[1] = area.img2 ? ownFirstChannel(area.img2) : 0;
    measure.channels = ownChannels(area.img1);
    ownMeasureSize(&measure);
    int width, height;
    Results results = {relation,
                       constant,
                       ownDepthBits(area.img1->depth),
                       ownSpan(area.res, 0, &width, &height),
                       {},
                       area.mask != nullptr,
                       {}};
    measure.width = std::min<int64_t>(measure.width, width);
    measure.height = std::min<int64_t>(measure.height, height);
    if (area.mask) {
        results.mask = ownSpan(area.mask, 0, &width, &height);
        measure.width = std::min<int64_t>(measure.width, width);
        measure.height = std::min<int64_t>(measure.height, height);
    }
    // Rows of whole bytes may come as one, where the result's do as well.
    measure.anyRows =
        !area.mask && results.res.bit == 0 && measure.width % 8 == 0 && results.res.rowStep == measure.width / 8;
    measure.fold = fold;
    measure.state = &results;
    ownRunMeasure(measure);
}

struct SharedCall {
    const OwnCompare &compare;
    const OwnRelation &relation;
    const OwnConstant &constant;
    MoxImage *mask;

    bool run(const OwnShare &share, MoxImage *res) const {
        OwnSourceShare first, second;
        OwnScratchImage maskShare;
        if (!first.open(compare.img1, share) || (compare.img2 && !second.open(compare.img2, share))) return false;
        if (mask) ownShareOfPlain(mask, share, &maskShare);
        compareArea({first.header(), compare.img2 ? second.header() : nullptr, res, mask ? &maskShare.header : nullptr},
                    relation, constant);
        return true;
    }
};

}  // namespace

MoxStatus OwnCompare::runShares(const OwnRelation &relation, const OwnConstant &constant, MoxImage *mask) const {
    const SharedCall call = {*this, relation, constant, mask};
    const auto refuseMemory = [&] { return refuse(MOX_StatusNoMemory, "Allocation failure", MOX_StatusNoMemory); };
    int64_t width = INT32_MAX, height = INT32_MAX;
    for (const MoxImage *image : {img1, img2, res, mask}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    }
    if (width <= 0 || height <= 0) return MOX_StatusNoError;
    OwnScratchImage scratch;
    if (!res->tileInfo) {
        const OwnShare share = {0, 0, width, height};
        ownShareOfPlain(res, share, &scratch);
        return call.run(share, &scratch.header) ? MOX_StatusNoError : refuseMemory();
    }
    OwnTileGrid grid(res, width, height);
    while (grid.next()) {
        char *tile = ownRequestTile(res, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return refuse(MOX_StatusGeneral, "Error get tile to write", MOX_StatusGeneral);
        ownShareOfTile(res, grid.share(), tile, &scratch);
        const bool done = call.run(grid.share(), &scratch.header);
        ownReleaseTile(res, grid.column(), grid.row(), tile);
        if (!done) return refuseMemory();
    }
    return MOX_StatusNoError;
}

static bool hasNoArea(const MoxImage *image) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    return rect.width <= 0 || rect.height <= 0;
}

MoxStatus OwnCompare::run(const OwnRelation &relation, const OwnConstant &constant) const {
    // An empty region is no fault, whatever the headers.
    for (const MoxImage *image : {img1, img2, res}) {
        if (image && (hasNoArea(image) || (image->maskROI && hasNoArea(image->maskROI)))) return MOX_StatusNoError;
    }
    for (const MoxImage *image : {img1, img2, res}) {
        const MoxStatus excess = image ? ownFindExcess(image) : MOX_StatusNoError;
        if (excess != MOX_StatusNoError) return refuse(excess, INCORRECT, excess);
    }
    OwnMaskState state;
    MoxImage *mask = ownCombineMasks(img1->maskROI, img2 ? img2->maskROI : nullptr, res->maskROI, &state);
    if (state == OWN_MASK_NO_MEMORY) return refuse(MOX_StatusNoMemory, "Allocation failure", MOX_StatusNoMemory);
    if (state == OWN_MASK_EMPTY) return MOX_StatusNoError;
    MoxStatus status = MOX_StatusNoError;
    if (img1->tileInfo || (img2 && img2->tileInfo) || res->tileInfo) {
        status = runShares(relation, constant, mask);
    } else {
        compareArea({img1, img2, res, mask}, relation, constant);
    }
    ownFreeMask(mask, state);
    return status;
}
