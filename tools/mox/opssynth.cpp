// Pixels by functions of the tool's own, noise, and the test image.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "image.h"
#include "memory.h"
#include "numbers.h"
#include "operations.h"

namespace {

// A smooth curve through points that never leaves the range of two neighbours (Fritsch and Carlson, "Monotone piecewise
// cubic interpolation", 1980). Level before the first point and behind the last.
class Curve {
  public:
    explicit Curve(const std::vector<double> &points) {
        if (points.size() < 4 || points.size() % 2 != 0)
            fail(exitUsage, "curve: two points are needed at least, each a level and what it becomes");
        for (std::size_t i = 0; i < points.size(); i += 2) {
            if (i > 0 && !(points[i] > levels_.back())) fail(exitUsage, "curve: the levels must rise");
            levels_.push_back(points[i]);
            values_.push_back(points[i + 1]);
        }
        findSlopes();
    }

    double at(double level) const {
        if (!(level > levels_.front())) return values_.front();
        if (level >= levels_.back()) return values_.back();
        const auto next = std::upper_bound(levels_.begin(), levels_.end(), level);
        const auto k = static_cast<std::size_t>(next - levels_.begin()) - 1;
        const double width = levels_[k + 1] - levels_[k], t = (level - levels_[k]) / width;
        const double rest = 1 - t;
        return values_[k] * (1 + 2 * t) * rest * rest + values_[k + 1] * (3 - 2 * t) * t * t +
               width * (slopes_[k] * t * rest * rest - slopes_[k + 1] * t * t * rest);
    }

  private:
    // 0 at extremes, the harmonic mean of both sides between them.
    void findSlopes() {
        std::vector<double> sides;
        for (std::size_t k = 0; k + 1 < levels_.size(); k++)
            sides.push_back((values_[k + 1] - values_[k]) / (levels_[k + 1] - levels_[k]));
        slopes_.assign(levels_.size(), 0.0);
        slopes_.front() = sides.front();
        slopes_.back() = sides.back();
        for (std::size_t k = 1; k + 1 < levels_.size(); k++) {
            const double before = sides[k - 1], behind = sides[k];
            if (before * behind > 0) slopes_[k] = 2 * before * behind / (before + behind);
        }
    }

    std::vector<double> levels_, values_, slopes_;
};

// The library's functions are told nothing but samples.
std::optional<Curve> curveAtWork;
int brightest;
int channelsAtWork;

int MOX_CALL curveInteger(int sample) {
    return static_cast<int>(std::lrint(std::clamp(curveAtWork->at(sample), -2147483648.0, 2147483647.0)));
}
float MOX_CALL curveFloat(float sample) {
    return static_cast<float>(curveAtWork->at(static_cast<double>(sample)));
}

// The largest sample of a pixel follows the curve, and the others it: the hue stays.
template <typename Sample>
void MOX_CALL curvePixel(MoxImage *, void *, MoxImage *, void *pixel) {
    auto *samples = static_cast<Sample *>(pixel);
    const int largest = *std::max_element(samples, samples + channelsAtWork);
    const double becomes = curveAtWork->at(largest);
    for (int c = 0; c < channelsAtWork; c++) {
        const double value = largest == 0 ? becomes : samples[c] * becomes / largest;
        samples[c] = static_cast<Sample>(std::clamp<long>(std::lrint(value), 0, brightest));
    }
}

void curve(Call *call) {
    MoxImage *image = call->image;
    curveAtWork.emplace(call->arguments[0].samples);
    if (call->arguments[1].integer != 0) {
        const bool bytes = image->depth == MOX_DEPTH_8U;
        if (!bytes && image->depth != MOX_DEPTH_16U) fail(exitOperation, "curve: hues are kept at depths 8u and 16u");
        brightest = bytes ? 255 : 65535;
        channelsAtWork = image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
        if (image->roi && image->roi->coi != 0) channelsAtWork = 1;
        moxUserProcessPixel(image, image, bytes ? curvePixel<std::uint8_t> : curvePixel<std::uint16_t>);
    } else if (image->depth == MOX_DEPTH_32F) {
        moxUserProcessFP(image, image, curveFloat);
    } else {
        moxUserProcess(image, image, curveInteger);
    }
}

void checkNoise(const std::vector<Argument> &arguments) {
    const std::string &kind = arguments[0].text;
    if (kind != "uniform" && kind != "gauss") fail(exitUsage, "noise: KIND is uniform or gauss");
}

void noise(Call *call) {
    const std::string &kind = call->arguments[0].text;
    const bool floats = call->image->depth == MOX_DEPTH_32F;
    const auto seed = static_cast<unsigned>(call->arguments[1].integer);
    const float a = call->arguments[2].real, b = call->arguments[3].real;
    const auto whole = [](float value) {
        if (!(std::fabs(value) < 2147483648.0f)) fail(exitUsage, "noise: LOW and HIGH are too large");
        return static_cast<int>(std::lrint(value));
    };
    MoxNoiseParam param = {};
    if (kind == "uniform") {
        floats ? moxNoiseUniformInitFP(&param, seed, a, b) : moxNoiseUniformInit(&param, seed, whole(a), whole(b));
    } else {
        floats ? moxNoiseGaussianInitFP(&param, seed, a, b) : moxNoiseGaussianInit(&param, seed, whole(a), whole(b));
    }
    // The numbers go to the samples in their order, which is another one in tiles.
    const ImagePtr copy = wholeOf(call->image);
    moxNoiseImage(copy ? copy.get() : call->image, &param);
    if (copy) putWhole(copy, call->image);
}

// The test image in each channel, at the region's corner.
void testImage(Call *call) {
    int sides[2];
    const std::string &size = call->arguments[0].text;
    if (!parseNumbers(size, 'x', sides, 2) || std::min(sides[0], sides[1]) < 1)
        fail(exitUsage, "testimage: " + size + " is no size, as 256x256 is one");
    const auto [width, height] = sides;
    MoxImage *image = call->image;
    checkMemory("the test image", 4 * static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height));
    const ImagePtr rings(moxCreateImageJaehne(static_cast<int>(image->depth), width, height));
    if (!rings) return;
    rings->origin = image->origin;
    MoxROI *const before = image->roi;
    MoxROI region = before ? *before : MoxROI{0, 0, 0, image->width, image->height};
    const int chosen = region.coi, channels = image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
    // One channel in another order is the same.
    rings->dataOrder = image->dataOrder;
    image->roi = &region;
    for (int c = 1; c <= channels; c++) {
        if (chosen != 0 && c != chosen) continue;
        region.coi = c;
        moxCopy(rings.get(), image);
    }
    image->roi = before;
}

}  // namespace

const Family &synthFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Curves, noise, and a test image",
        {
            {"curve",
             {{K::samples, "L,V,L,V,..."}, {K::keyword, "hue"}},
             "a smooth tone curve: level L becomes V; with hue the lightest channel's, which the others follow",
             curve,
             {{"Shadows and lights gain contrast, smoothly.", "curve 0,0,64,40,192,220,255,255"},
              {"The same, hues kept.", "curve 0,0,64,40,192,220,255,255 hue"}},
             [](const std::vector<Argument> &arguments) { Curve(arguments[0].samples); }},
            {"noise",
             {{K::word, "KIND"}, {K::count, "SEED"}, {K::real, "LOW"}, {K::real, "HIGH"}},
             "adds noise: uniform from LOW to HIGH, or gauss with the mean LOW and the deviation HIGH",
             noise,
             {{"Gaussian noise of deviation 25.", "noise gauss 1 0 25"},
              {"Uniform noise, and a median of it.", "noise uniform 7 -60 60 border-replicate median-filter 3 3"}},
             checkNoise},
            {"testimage",
             {{K::word, "WxH"}},
             "rings whose frequency grows outward, W x H large, from the corner on",
             testImage,
             {{"As it is.", "testimage {w100}x{h100}"},
              {"Blurred: fine rings are gone.", "testimage {w100}x{h100} border-replicate blur 5 5"}}},
        }};
    return family;
}
