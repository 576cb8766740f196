// How many tiles of an image are in hand at once: no more than is promised at MoxTileCallback, whatever the grids.
// An application makes its cache from that promise, and a place too few is a tile that it must refuse.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>

#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"
#include "table/examples.h"

namespace {

// ---------------------------------------------------------------------------------------------------------- the
// promise

using Images = std::vector<TestImage *>;

int partsOf(const TestImage *image, const Images &call) {
    return static_cast<int>(std::count(call.begin(), call.end(), image));
}

int roundedUp(int size, int part) {
    return (size + part - 1) / part;
}

// All tiles of an image that one of the largest in the call touches.
int blockOf(const TestImage &image, const Images &call) {
    int width = 0, height = 0;
    for (const TestImage *each : call) {
        width = std::max(width, each->layout().tileWidth);
        height = std::max(height, each->layout().tileHeight);
    }
    const int across = roundedUp(width, image.layout().tileWidth) + 1;
    const int down = roundedUp(height, image.layout().tileHeight) + 1;
    return std::min(across, image.tileColumns()) * std::min(down, image.tileRows());
}

int promised(TilesInHand kind, const TestImage &image, const Images &call) {
    switch (kind) {
        case TilesInHand::ONE:
            return partsOf(&image, call);
        case TilesInHand::BLOCK:
            return blockOf(image, call);
        default:
            return image.tileColumns() + partsOf(&image, call) - 1;
    }
}

bool haveOneGrid(const Images &call) {
    const TestLayout *first = nullptr;
    for (const TestImage *image : call) {
        const TestLayout &layout = image->layout();
        if (!layout.tiled()) continue;
        if (first && (layout.tileWidth != first->tileWidth || layout.tileHeight != first->tileHeight)) return false;
        first = &layout;
    }
    return true;
}

std::map<const TestImage *, int> mostInHand(const TileLog &log) {
    std::map<const TestImage *, int> now, most;
    for (const TileEvent &event : log.events) {
        int &inHand = now[event.image];
        inHand += event.mode == MOX_TileRelease ? -1 : 1;
        most[event.image] = std::max(most[event.image], inHand);
    }
    return most;
}

// Of a row the last one goes back first, of a block the first one.
void expectOrder(TilesInHand kind, const TileLog &log) {
    std::map<const TestImage *, std::vector<TileEvent>> held;
    for (const TileEvent &event : log.events) {
        std::vector<TileEvent> &tiles = held[event.image];
        if (event.mode != MOX_TileRelease) {
            tiles.push_back(event);
            continue;
        }
        ASSERT_FALSE(tiles.empty());
        const auto next = kind == TilesInHand::BLOCK ? tiles.begin() : tiles.end() - 1;
        ASSERT_TRUE(next->column == event.column && next->row == event.row) << event.image->layout().describe();
        tiles.erase(next);
    }
}

void expectPromise(TilesInHand kind, const Images &call, const TileLog &log) {
    for (const auto &[image, inHand] : mostInHand(log)) {
        EXPECT_LE(inHand, promised(kind, *image, call)) << image->layout().describe();
        // The one rule for all operations.
        if (haveOneGrid(call)) {
            EXPECT_LE(inHand, image->tileColumns() + 2) << image->layout().describe();
        }
    }
    if (kind != TilesInHand::ONE) expectOrder(kind, log);
}

// -------------------------------------------------------------------------------------------------------------- calls

struct Grid {
    int width, height;  // 0 for a plain image
};
using Grids = Grid[3];

const Grids gridsOfCalls[] = {
    {{8, 8}, {8, 8}, {64, 64}},     {{64, 64}, {64, 64}, {8, 8}},   {{24, 16}, {16, 24}, {16, 16}},
    {{16, 16}, {24, 24}, {24, 16}}, {{16, 16}, {16, 16}, {16, 16}}, {{8, 8}, {64, 8}, {40, 24}},
    {{64, 8}, {8, 8}, {8, 64}},     {{16, 8}, {24, 8}, {0, 0}},     {{0, 0}, {8, 16}, {16, 16}},
    {{16, 16}, {0, 0}, {0, 0}},
};

// Which of a call's images are the same one.
enum Sharing { NONE, IN_PLACE, BOTH_SOURCES, ALL, SHARINGS };

bool isShared(Sharing sharing, int index, int count) {
    const bool last = index == count - 1;
    return index > 0 && (sharing == ALL || (sharing == IN_PLACE && last) || (sharing == BOTH_SOURCES && !last));
}

class CallImages {
  public:
    // Regions begin at places of their own, so that grids of one size do not agree either.
    CallImages(const Example &example, const Grids &grids, Sharing sharing, bool masked, unsigned depth,
               Random *random) {
        const int channels = random && random->oneIn(2) ? random->between(1, 3) : example.more.channels;
        const int order = random ? random->below(2) : MOX_DATA_ORDER_PIXEL;
        const bool whole = random && random->oneIn(3);
        for (int i = 0; i < example.images; ++i) {
            if (isShared(sharing, i, example.images)) {
                images_.push_back(images_[0]);
                continue;
            }
            const bool last = i == example.images - 1;
            TestLayout layout;
            layout.depth = last && example.more.resultDepth ? example.more.resultDepth : depth;
            layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : channels;
            layout.order = order;
            layout.width = 72;
            layout.height = 56;
            if (!whole) layout.setRoi(0, 3 + 5 * i, 2 + 3 * i, 60, 45);
            // One image is the last one and a source at once.
            const Grid &grid = grids[last && i > 0 ? 2 : i];
            layout.tileWidth = grid.width;
            layout.tileHeight = grid.height;
            for (int &mode : layout.borderMode)
                mode = random ? random->below(4) : MOX_BORDER_CONSTANT;
            add(layout, masked);
        }
    }

    const Images &call() const { return images_; }

    void run(const Example &example, Random *random) const {
        ExampleCall call;
        call.count = example.images;
        call.random = random;
        for (int i = 0; i < example.images; ++i)
            call.images[i] = images_[static_cast<size_t>(i)]->header();
        example.run(call);
    }

  private:
    void add(const TestLayout &layout, bool masked) {
        const auto seed = static_cast<uint64_t>(owned_.size()) + 1;
        owned_.push_back(std::make_unique<TestImage>(layout, seed));
        TestImage *image = owned_.back().get();
        memcpy(image->header()->channelSeq, "BGR", 4);
        image->keepHeader();
        images_.push_back(image);
        if (!masked) return;
        owned_.push_back(std::make_unique<TestImage>(TestLayout::ofMask(70, 50), seed + 1));
        image->setMask(owned_.back().get());
    }

    std::vector<std::unique_ptr<TestImage>> owned_;
    Images images_;
};

class TilesOf : public testing::TestWithParam<Example> {
  protected:
    // Runs a call, holds it to the promise, and notes how far it went.
    void run(const Grids &grids, Sharing sharing, bool masked, unsigned depth, Random *random) {
        const Example &example = GetParam();
        const CallImages images(example, grids, sharing, masked, depth, random);
        const Images &call = images.call();
        std::string trace = sharing == NONE ? "" : "sharing " + std::to_string(sharing);
        for (const TestImage *image : call)
            trace += "\n" + image->layout().describe();
        SCOPED_TRACE(trace);
        ReportRecorder reports;
        TileLog log;
        images.run(example, random);
        if (!random && !masked && sharing == NONE && depth == example.more.depth && !example.more.plainOnly) {
            EXPECT_TRUE(reports.none());
        }
        EXPECT_TRUE(log.paired());
        expectPromise(example.more.tiles, call, log);
        const bool writes = example.touches == Touches::PIXELS && !example.more.readsOnly;
        for (const auto &[image, inHand] : mostInHand(log)) {
            if (writes && image == call.back() && partsOf(image, call) == 1 && call.size() > 1) {
                EXPECT_EQ(inHand, 1) << "of what is written alone";
            }
            requested_ = true;
            beyondParts_ = beyondParts_ || inHand > partsOf(image, call);
            beyondRow_ = beyondRow_ || inHand > promised(TilesInHand::ROW, *image, call);
        }
    }

    bool requested_ = false, beyondParts_ = false, beyondRow_ = false;
};

std::vector<Example> examplesWithImages() {
    std::vector<Example> examples = allExamples();
    std::erase_if(examples, [](const Example &example) { return example.images == 0; });
    return examples;
}

INSTANTIATE_TEST_SUITE_P(InHand, TilesOf, testing::ValuesIn(examplesWithImages()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(TilesOf, areNoMoreThanPromised) {
    const Example &example = GetParam();
    for (const Grids &grids : gridsOfCalls) {
        for (int sharing = NONE; sharing < SHARINGS; ++sharing) {
            if (example.images == 1 && sharing != NONE) continue;
            if (example.images == 2 && sharing == BOTH_SOURCES) continue;
            for (const bool masked : {false, true})
                run(grids, static_cast<Sharing>(sharing), masked, example.more.depth, nullptr);
        }
        if (HasFailure()) return;
    }
    // Where it takes another way at another depth.
    for (const unsigned depth : allDepths)
        run(gridsOfCalls[0], NONE, false, depth, nullptr);
    forEachCase(40, [&](Random &random) {
        Grids grids;
        for (Grid &grid : grids)
            grid = {8 * random.below(10), 8 * random.between(1, 8)};
        for (Grid &grid : grids)
            grid.height = grid.width == 0 ? 0 : grid.height;
        const unsigned depth = random.oneIn(2) ? allDepths[random.below(7)] : example.more.depth;
        run(grids, static_cast<Sharing>(random.below(SHARINGS)), random.oneIn(3), depth, &random);
    });
    // Nor is more promised than is needed.
    if (example.touches == Touches::HEADERS || example.more.plainOnly) {
        EXPECT_FALSE(requested_);
        return;
    }
    EXPECT_TRUE(requested_);
    EXPECT_EQ(beyondParts_, example.more.tiles != TilesInHand::ONE);
    EXPECT_EQ(beyondRow_, example.more.tiles == TilesInHand::BLOCK);
}

// ------------------------------------------------------------------------------------------------- images beside those

TestLayout layoutOf(unsigned depth, int channels, int tileWidth, int tileHeight) {
    TestLayout layout = TestLayout::of(depth, 72, 56, channels);
    layout.setRoi(0, 3, 5, 64, 48);
    layout.tileWidth = tileWidth;
    layout.tileHeight = tileHeight;
    return layout;
}

TEST(TilesInHand, ofMaps) {
    for (const int side : {8, 64}) {
        TestImage src(layoutOf(MOX_DEPTH_8U, 3, 16, 24)), x(layoutOf(MOX_DEPTH_32F, 1, 8, 16)),
            y(layoutOf(MOX_DEPTH_32F, 1, 24, 8)), dst(layoutOf(MOX_DEPTH_8U, 3, side, side));
        for (int row = 0; row < 56; ++row) {
            for (int column = 0; column < 72; ++column) {
                x.set(0, column, row, 0x41200000);  // 10
                y.set(0, column, row, 0x41200000);
            }
        }
        TileLog log;
        ReportRecorder reports;
        moxRemap(src.header(), x.header(), y.header(), dst.header(), MOX_INTER_LINEAR);
        EXPECT_TRUE(reports.none());
        expectPromise(TilesInHand::ROW, {&src, &x, &y, &dst}, log);
    }
}

TEST(TilesInHand, ofOpacities) {
    for (const int side : {8, 16, 64}) {
        TestImage a(layoutOf(MOX_DEPTH_8U, 1, 8, 16), 1), b(layoutOf(MOX_DEPTH_8U, 1, 16, 16), 2),
            dst(layoutOf(MOX_DEPTH_8U, 1, side, side), 3), alphaA(layoutOf(MOX_DEPTH_8U, 1, 8, 8), 4),
            alphaB(layoutOf(MOX_DEPTH_8U, 1, 24, 8), 5);
        TestLayout withAlpha = layoutOf(MOX_DEPTH_8U, 2, 16, 8);
        withAlpha.alpha = 2;
        TestImage alphaOut(withAlpha, 6);
        alphaA.roi()->xOffset = alphaOut.roi()->yOffset = 7;
        TileLog log;
        ReportRecorder reports;
        moxAlphaComposite(a.header(), b.header(), dst.header(), MOX_COMPOSITE_OVER, alphaA.header(), alphaB.header(),
                          alphaOut.header(), 0, 1);
        EXPECT_TRUE(reports.none()) << reports.text();
        expectPromise(TilesInHand::BLOCK, {&dst, &alphaOut, &a, &b, &alphaA, &alphaB}, log);
        EXPECT_EQ(mostInHand(log).size(), 6u);
    }
}

// -------------------------------------------------------------------------------------------------------- what is said

// The functions that a paragraph of the promise names, by the word that it begins with.
std::set<std::string> namesUnder(const std::string &word) {
    std::set<std::string> names;
    std::ifstream file(std::string(MOX_SOURCE_FOLDER) + "/include/mox.h");
    bool inPromise = false, inParagraph = false;
    for (std::string line; std::getline(file, line);) {
        inPromise = line == " * The tile access function." || line.rfind(" * The tile access function. ", 0) == 0 ||
                    (inPromise && line != " */");
        if (!inPromise) continue;
        if (line.rfind(" *   ", 0) != 0) inParagraph = false;
        if (line.size() > 5 && line.rfind(" *   ", 0) == 0 && line[5] != ' ')
            inParagraph = line.rfind(" *   " + word + " ", 0) == 0;
        static const std::regex name("moxw?[A-Z]\\w*");
        for (std::sregex_iterator at(line.begin(), line.end(), name), end; inParagraph && at != end; ++at)
            names.insert(at->str());
    }
    return names;
}

// Arithmetic and logic are told as such, but for moxAbs, whose depths are not alike.
std::set<std::string> namesOf(TilesInHand kind) {
    std::set<std::string> names;
    for (const Example &example : allExamples()) {
        const bool named = !example.point || example.point->copies == RefCopies::UNSIGNED;
        const bool isOfKind = example.more.tiles == kind || (example.point && kind == TilesInHand::ONE);
        if (named && isOfKind) names.insert(example.name);
    }
    return names;
}

TEST(TilesInHand, areToldInTheHeaderAsHere) {
    EXPECT_EQ(namesUnder("one"), namesOf(TilesInHand::ONE));
    EXPECT_EQ(namesUnder("block"), namesOf(TilesInHand::BLOCK));
}

}  // namespace
