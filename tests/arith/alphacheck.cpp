// Images for calls with opacities, and calls watched.
#include "arith/alphacheck.h"

#include <algorithm>

// Of colours: mostly as many as pictures have.
int AlphaScene::drawCount() {
    return random_.oneIn(16) ? random_.between(5, 40) : random_.between(1, 4);
}

AlphaScene::AlphaScene(Random &random, const AlphaSceneOptions &options)
    : random_(random),
      options_(options),
      colours_(random.oneIn(20) ? 0 : drawCount()),
      width_(random.between(1, options.maxWidth)),
      height_(random.between(1, options.maxHeight)),
      coi_(random.oneIn(4)) {
    if (options.scales) colours_ = std::max(colours_, 1);
    drawSources();
    if (options.composes) drawOpacities();
    if (options.masks && random.oneIn(2)) drawMasks();
}

TestImage *AlphaScene::add(const TestLayout &layout) {
    owned_.push_back(std::make_unique<TestImage>(layout, random_.next()));
    all_.push_back(owned_.back().get());
    TestImage &image = *all_.back();
    // What imageSize says counts for nothing.
    if (!layout.tiled() && layout.depth != MOX_DEPTH_1U && random_.oneIn(8)) {
        image.header()->imageSize = random_.between(1, 100000);
        image.keepHeader();
    }
    return &image;
}

// Most images reach as far as the size that the scene has in common, and some not.
void AlphaScene::reach(TestLayout &layout) {
    if (random_.oneIn(10)) return;
    layout.width = std::max(layout.width, layout.regionX() + width_);
    layout.height = std::max(layout.height, layout.regionY() + height_);
    if (!layout.hasRoi) return;
    layout.roi.width = std::max(layout.roi.width, random_.oneIn(2) ? 1000 : width_);
    layout.roi.height = std::max(layout.roi.height, random_.oneIn(2) ? 1000 : height_);
}

void AlphaScene::place(TestLayout &layout, int coi) {
    layout.depth = options_.depth;
    layout.order = random_.below(2);
    layout.origin = random_.below(2);
    layout.align = drawAlign(random_);
    layout.width = random_.oneIn(2) ? width_ : random_.between(1, options_.maxWidth);
    layout.height = random_.oneIn(2) ? height_ : random_.between(1, options_.maxHeight);
    if (coi != 0 || random_.oneIn(2)) drawRegion(random_, layout, coi, random_.oneIn(4));
    reach(layout);
    drawPlacement(random_, layout, options_.tiled);
    if (options_.tiled == 1 && random_.oneIn(3)) layout.tileWidth = layout.tileHeight = 0;
}

// Colours of one number in all images, or a channel of interest in all of them.
TestLayout AlphaScene::drawColours(bool needsAlpha) {
    TestLayout layout;
    int coi = 0;
    if (coi_) {
        layout.channels = drawCount();
        coi = random_.between(1, layout.channels);
    } else {
        layout.channels = colours_;
    }
    if (needsAlpha || layout.channels == 0 || random_.oneIn(3)) layout.alpha = ++layout.channels;
    place(layout, coi);
    return layout;
}

// One colour may be a channel of interest, alpha too, of an image with as many channels as it likes.
TestLayout AlphaScene::drawScaled() {
    TestLayout layout;
    int coi = 0;
    if (colours_ == 1 && random_.oneIn(2)) {
        layout.channels = random_.between(1, 4);
        if (random_.oneIn(3)) layout.alpha = layout.channels;
        coi = random_.between(1, layout.channels);
    } else {
        layout.channels = colours_;
        if (random_.oneIn(3)) layout.alpha = ++layout.channels;
    }
    place(layout, coi);
    return layout;
}

TestLayout AlphaScene::drawOpacity(bool needsAlpha) {
    TestLayout layout;
    layout.channels = random_.oneIn(2) ? 1 : drawCount();
    if (needsAlpha || random_.oneIn(2)) layout.alpha = layout.channels;
    // Whatever it names, opacities are read elsewhere.
    place(layout, random_.oneIn(3) ? random_.between(1, layout.channels) : 0);
    return layout;
}

TestImage *AlphaScene::known(const std::function<bool(const TestImage &)> &suits) {
    if (!options_.sharing || all_.empty() || !random_.oneIn(4)) return nullptr;
    TestImage *image = all_[static_cast<size_t>(random_.below(static_cast<int>(all_.size())))];
    return suits(*image) ? image : nullptr;
}

void AlphaScene::drawSources() {
    const auto draw = [&](bool needsAlpha) {
        TestImage *shared = known([&](const TestImage &image) { return !needsAlpha || image.layout().alpha != 0; });
        return shared ? shared : add(options_.scales ? drawScaled() : drawColours(needsAlpha));
    };
    const bool own = options_.composes && random_.oneIn(2);  // the first source brings its opacity
    dst = draw(options_.sources == 0 && options_.needsAlphaA);
    a = b = dst;
    if (options_.sources > 0) a = draw(options_.needsAlphaA || own);
    if (options_.sources > 0) b = options_.sources == 2 ? draw(options_.needsAlphaB) : nullptr;
}

bool AlphaScene::overwritesOpacity(const TestImage *image) const {
    const TestLayout &layout = dst->layout();
    return image == dst && layout.alpha == 0 && (!layout.hasRoi || layout.roi.coi < 2);
}

void AlphaScene::drawOpacities() {
    const auto draw = [&](bool needsAlpha) {
        TestImage *shared = known([&](const TestImage &image) {
            return needsAlpha ? image.layout().alpha != 0 : options_.overwritten || !overwritesOpacity(&image);
        });
        return shared ? shared : add(drawOpacity(needsAlpha));
    };
    if (a->layout().alpha == 0 || random_.oneIn(2)) alphaA = draw(false);
    if (random_.oneIn(2)) alphaB = draw(false);
    if (random_.oneIn(3)) alphaDst = draw(true);
    if (!options_.overwritten) return;
    alphaA = random_.oneIn(2) ? dst : alphaA;
    alphaB = random_.oneIn(2) ? dst : alphaB;
}

// Masks that are merged have one order.
void AlphaScene::drawMasks() {
    const int order = random_.below(2), every = random_.between(2, 4);
    for (TestImage *image : std::vector<TestImage *>(all_)) {
        if (!random_.oneIn(every)) continue;
        TestLayout layout = drawMaskLayout(random_, image->layout().width, image->layout().height);
        layout.order = order;
        reach(layout);
        image->setMask(random_.oneIn(5) && all_.back()->layout().depth == MOX_DEPTH_1U ? all_.back() : add(layout));
    }
}

std::string AlphaScene::describe() const {
    std::string text;
    for (size_t i = 0; i < all_.size(); ++i) {
        text += "image " + std::to_string(i) + ": " + all_[i]->layout().describe();
        if (all_[i] == a) text += " is A";
        if (all_[i] == b) text += " is B";
        if (all_[i] == dst) text += " is the destination";
        if (all_[i] == alphaA) text += " is A's opacity";
        if (all_[i] == alphaB) text += " is B's opacity";
        if (all_[i] == alphaDst) text += " is the destination's opacity";
        const auto mask = std::find(all_.begin(), all_.end(), all_[i]->mask());
        if (mask != all_.end()) text += " has mask " + std::to_string(mask - all_.begin());
        text += "\n";
    }
    return text;
}

RefRule drawRule(Random &random) {
    RefRule rule;
    rule.type = random.below(6);
    rule.premulAlpha = random.below(2);
    rule.divideMode = random.below(2);
    return rule;
}

std::string describeRule(const RefRule &rule) {
    static const char *const names[] = {"over", "in", "out", "atop", "xor", "plus"};
    return std::string(names[rule.type]) + (rule.premulAlpha ? " premultiplied" : " straight") +
           (rule.divideMode ? " divided" : "");
}

static MoxImage *headerOf(TestImage *image) {
    return image ? image->header() : nullptr;
}

void runComposite(const RefComposite &call) {
    moxAlphaComposite(call.srcA->header(), call.srcB->header(), call.dst->header(), call.rule.type,
                      headerOf(call.alphaA), headerOf(call.alphaB), headerOf(call.alphaDst), call.rule.premulAlpha,
                      call.rule.divideMode);
}

// All images as they were, but for those that are told, which hold what is told.
static void expectImages(const std::vector<TestImage *> &images, const std::vector<TestBytes> &before,
                         const RefWrites &wanted) {
    for (size_t i = 0; i < images.size(); ++i) {
        EXPECT_TRUE(images[i]->headerIsUntouched());
        const TestBytes *expected = &before[i];
        for (const RefWrite &write : wanted) {
            if (write.image == images[i]) expected = &write.expected;
        }
        EXPECT_TRUE(images[i]->holds(*expected)) << "image " << i;
    }
}

static std::vector<TestBytes> bytesOf(const std::vector<TestImage *> &images) {
    std::vector<TestBytes> bytes;
    for (const TestImage *image : images)
        bytes.push_back(image->bytes());
    return bytes;
}

static void restore(const std::vector<TestImage *> &images, const std::vector<TestBytes> &before) {
    for (size_t i = 0; i < images.size(); ++i) {
        images[i]->abandonTiles();
        images[i]->setBytes(before[i]);
    }
}

void checkAlphaCall(const std::vector<TestImage *> &images, const RefWrites &wanted,
                    const std::vector<TileEvent> &events, const std::function<void()> &call) {
    const std::vector<TestBytes> before = bytesOf(images);
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        call();
        window.close();
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.is(events));
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0) << "leaked blocks";
        expectImages(images, before, wanted);
        restore(images, before);
    });
}

// What was wanted within the blocks that were done, and what was there before elsewhere.
static RefWrites upTo(const RefWrites &wanted, const RefSession &session) {
    RefWrites partial;
    for (const RefWrite &write : wanted) {
        const TestImage &image = *write.image;
        TestBytes bytes = image.bytes();
        for (const RefBlock &block : session.done) {
            for (int j = block.y; j < block.y + block.height; ++j) {
                for (int i = block.x; i < block.x + block.width; ++i) {
                    const int x = image.layout().regionX() + i, y = image.layout().regionY() + j;
                    for (int c = 0; c < image.layout().channels; ++c)
                        image.setIn(bytes, c, x, y, image.getIn(write.expected, c, x, y));
                }
            }
        }
        partial.push_back({write.image, bytes});
    }
    return partial;
}

void checkRefusedTile(const std::vector<TestImage *> &images, const RefWrites &wanted, const RefSession &session,
                      int refuseAt, const char *name, const std::function<void()> &call) {
    SCOPED_TRACE("refused request " + std::to_string(refuseAt));
    const std::vector<TestBytes> before = bytesOf(images);
    const RefWrites partial = upTo(wanted, session);
    ReportRecorder reports;
    TileLog log(refuseAt);
    AllocationWindow window;
    call();
    window.close();
    EXPECT_TRUE(reports.are({{-2, name, "ERROR in Tiling callBack"}}));
    EXPECT_EQ(moxGetErrStatus(), -2);
    EXPECT_TRUE(log.is(session.events));
    EXPECT_TRUE(log.paired());
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    expectImages(images, before, partial);
    restore(images, before);
}

void expectAlphaReport(const std::vector<TestImage *> &images, const std::vector<ReportExpected> &expected,
                       const std::function<void()> &call) {
    const std::vector<TestBytes> before = bytesOf(images);
    ReportRecorder reports;
    TileLog log;
    AllocationWindow window;
    call();
    window.close();
    EXPECT_TRUE(reports.are(expected));
    MoxStatus stored = 0;
    for (const ReportExpected &report : expected)
        stored = report.status == MOX_StatusBacktrace ? stored : report.status;
    EXPECT_EQ(moxGetErrStatus(), stored);
    EXPECT_TRUE(log.is({}));
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    for (size_t i = 0; i < images.size(); ++i)
        EXPECT_TRUE(images[i]->holds(before[i]));
}

void fillChannel(TestImage &image, int channel, uint32_t value) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x)
            image.set(channel, x, y, value);
    }
}

TestLayout coloursLayout(unsigned depth, int count, bool alpha) {
    TestLayout layout = TestLayout::of(depth, 9, 4, count + (alpha ? 1 : 0));
    layout.alpha = alpha ? layout.channels : 0;
    return layout;
}

testing::AssertionResult channelIs(const TestImage &image, int channel, uint32_t value) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            if (image.get(channel, x, y) == value) continue;
            return testing::AssertionFailure() << "channel " << channel << " is " << image.get(channel, x, y) << " at "
                                               << x << ", " << y << ", expected " << value;
        }
    }
    return testing::AssertionSuccess();
}
