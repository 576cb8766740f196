// Images once more in another form.
#include "variant.h"

#include <algorithm>
#include <cmath>

#include "frame/ownimage.h"
#include "support/allocations.h"
#include "target.h"

static std::unique_ptr<TestImage> copyOf(const TestImage &image, const VariantTiles &tiles) {
    TestLayout layout = image.layout();
    layout.tileWidth = tiles.width;
    layout.tileHeight = tiles.height;
    layout.transientTiles = tiles.transient;
    auto copy = std::make_unique<TestImage>(layout);
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < layout.channels; ++c)
                copy->set(c, x, y, image.get(c, x, y));
        }
    }
    copy->setMask(image.mask());
    return copy;
}

Variant::Variant(const std::vector<TestImage *> &images, const VariantTiles &tiles) {
    for (size_t i = 0; i < images.size(); ++i) {
        const auto first = std::find(images.begin(), images.end(), images[i]);
        const auto before = static_cast<size_t>(first - images.begin());
        if (before < i) {
            entries_.push_back(entries_[before]);
            continue;
        }
        owned_.push_back(copyOf(*images[i], tiles));
        entries_.push_back(owned_.back().get());
    }
}

static bool areUnequalRun(const std::vector<TestImage *> &images) {
    if (images.size() != 3) return false;
    const MoxImage *a = images[0]->header(), *b = images[1]->header(), *c = images[2]->header();
    return ownCanRunFlat(a, b, c, false) &&
           !(ownCanRunFlat(a, b, nullptr, false) && ownCanRunFlat(a, c, nullptr, false));
}

static bool areOneSize(const std::vector<TestImage *> &images) {
    std::vector<OwnImageRect> rects(images.size());
    for (size_t i = 0; i < images.size(); ++i)
        ownImageRect(images[i]->header(), &rects[i]);
    return std::all_of(rects.begin(), rects.end(), [&](const OwnImageRect &rect) {
        return rect.width == rects[0].width && rect.height == rects[0].height;
    });
}

bool mayDifferInTiles(const Example &example, const std::vector<TestImage *> &images) {
    if (example.more.tiledOneSize && !areOneSize(images)) return true;
    for (const TestImage *image : images) {
        if (differsInTiles(example, image->layout().depth)) return true;
    }
    return areUnequalRun(images);
}

std::string runExample(const Example &example, const std::vector<TestImage *> &images, Random *random,
                       bool tilesAgree) {
    ExampleCall call;
    call.tilesAgree = tilesAgree;
    call.count = example.images;
    call.random = random;
    for (size_t i = 0; i < images.size(); ++i)
        call.images[i] = images[i]->header();
    ReportRecorder reports;
    AllocationWindow window;
    example.run(call);
    window.close();
    requireThat(window.live() == 0, std::string(example.name) + ": memory was not given back");
    ++callsMade;
    if (reports.seen.empty()) ++callsUnreported;
    std::string text;
    for (const ReportSeen &report : reports.seen) {
        text += std::to_string(report.status) + " " + report.function + " \"" + report.message + "\"\n";
    }
    for (const double answer : call.answers)
        text += std::isnan(answer) ? "NaN\n" : std::to_string(answer) + "\n";
    return text;
}

static bool isNaN(uint32_t bits) {
    return (bits & 0x7FFFFFFF) > 0x7F800000;
}

testing::AssertionResult sameSamples(const TestImage &one, const TestImage &other) {
    const TestLayout &layout = one.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < layout.channels; ++c) {
                const uint32_t a = one.get(c, x, y), b = other.get(c, x, y);
                if (a == b || (layout.depth == MOX_DEPTH_32F && isNaN(a) && isNaN(b))) continue;
                return testing::AssertionFailure()
                       << "channel " << c << " of (" << x << ", " << y << ") is " << a << " and " << b << " in "
                       << layout.describe() << " and " << other.layout().describe();
            }
        }
    }
    return testing::AssertionSuccess();
}

void takeNaNs(TestImage *image, const TestImage &from) {
    const TestLayout &layout = image->layout();
    if (layout.depth != MOX_DEPTH_32F) return;
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < layout.channels; ++c) {
                const uint32_t here = image->get(c, x, y), there = from.get(c, x, y);
                if (here != there && isNaN(here) && isNaN(there)) image->set(c, x, y, there);
            }
        }
    }
}

const Example &drawPixelExample(Random &random) {
    static const std::vector<const Example *> list = [] {
        std::vector<const Example *> found;
        for (const Example &example : allExamples()) {
            if (example.touches == Touches::PIXELS) found.push_back(&example);
        }
        return found;
    }();
    return exampleOfKey(list, random.bits());
}
