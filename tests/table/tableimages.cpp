// Images for an example call.
#include <cstring>

#include "table/tabletest.h"

static TestLayout layoutOf(const Example &example, ExampleForm form, int index) {
    const bool result = example.more.resultDepth && index == example.images - 1;
    const unsigned depth = result ? example.more.resultDepth : example.more.depth;
    const int channels = depth == MOX_DEPTH_1U ? 1 : example.more.channels;
    const int other = example.more.sameSize ? 0 : index;
    TestLayout layout = TestLayout::of(depth, 40 - other, 20 + other, channels);
    if (form != ExampleForm::PLAIN) layout.setRoi(0, 3 + index, 2, 34, 17);
    if (form == ExampleForm::TILED) {
        layout.tileWidth = 16;
        layout.tileHeight = 8;
        layout.transientTiles = index % 2 == 0;
    }
    return layout;
}

ExampleImages::ExampleImages(const Example &example, ExampleForm form) : example_(example) {
    for (int i = 0; i < example.images; ++i) {
        images_.push_back(std::make_unique<TestImage>(layoutOf(example, form, i), 1 + static_cast<uint64_t>(i)));
        memcpy(images_.back()->header()->channelSeq, "BGR", 4);
        images_.back()->keepHeader();
    }
    for (int i = 0; i < example.images && form != ExampleForm::PLAIN; ++i) {
        images_.push_back(std::make_unique<TestImage>(TestLayout::ofMask(36, 18 + i), 11 + static_cast<uint64_t>(i)));
        images_[static_cast<size_t>(i)]->setMask(images_.back().get());
    }
    before_ = bytes();
}

void ExampleImages::run() {
    ExampleCall call;
    call.count = example_.images;
    for (int i = 0; i < example_.images; ++i)
        call.images[i] = images_[static_cast<size_t>(i)]->header();
    example_.run(call);
    answers_ = call.answers;
}

std::vector<TestBytes> ExampleImages::bytes() const {
    std::vector<TestBytes> all;
    for (const auto &image : images_)
        all.push_back(image->bytes());
    return all;
}

void ExampleImages::restore() {
    for (size_t i = 0; i < images_.size(); ++i)
        images_[i]->setBytes(before_[i]);
}

void ExampleImages::abandonTiles() {
    for (const auto &image : images_)
        image->abandonTiles();
}

testing::AssertionResult ExampleImages::headersAreUntouched() const {
    for (const auto &image : images_) {
        if (testing::AssertionResult result = image->headerIsUntouched(); !result) return result;
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult ExampleImages::areBetween(const std::vector<TestBytes> &after) const {
    for (size_t i = 0; i < images_.size(); ++i) {
        const TestBytes &now = images_[i]->bytes();
        const bool bits = images_[i]->layout().depth == MOX_DEPTH_1U;
        for (size_t k = 0; k < now.size(); ++k) {
            if (now[k] == before_[i][k] || now[k] == after[i][k]) continue;
            // Tiles may end within a byte of bits.
            if (bits && ((now[k] ^ before_[i][k]) & (now[k] ^ after[i][k])) == 0) continue;
            return testing::AssertionFailure()
                   << "byte " << k << " of image " << i << " is neither as before nor as after a call that succeeds";
        }
    }
    return testing::AssertionSuccess();
}

std::vector<ExampleForm> formsOf(const Example &example) {
    if (example.images == 0) return {ExampleForm::PLAIN};
    if (example.more.plainOnly) return {ExampleForm::PLAIN, ExampleForm::MASKED};
    return {ExampleForm::PLAIN, ExampleForm::MASKED, ExampleForm::TILED};
}

const char *formName(ExampleForm form) {
    return form == ExampleForm::PLAIN ? "plain" : form == ExampleForm::MASKED ? "masked" : "tiled";
}
