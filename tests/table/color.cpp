// Example calls: colour models, gray, the twist; depths and thresholds; fewer bits and levels.

#include <algorithm>
#include <cstring>

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, PIXELS = Touches::PIXELS;

void reduceBits(Call &call) {
    static const int dithers[] = {MOX_DITHER_FS, MOX_DITHER_NONE, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};
    const int dither = dithers[call.random ? call.random->below(5) : 0], noise = call.choice(20, 101);
    moxReduceBits(call.src(), call.dst(), noise, dither, call.choice(6, 256));
}

// Up to four characters, the rest zeros.
void nameField(char (&field)[4], const char *name) {
    memset(field, 0, sizeof field);
    memcpy(field, name, std::min(strlen(name), sizeof field));
}

// A header that for one call names a colour model and has no region, which no colour model takes. Drawn calls have
// other names and their regions now and then.
class NamedImage {
  public:
    NamedImage(Call &call, MoxImage *image, const char *model, const char *sequence) : image_(image) {
        if (!image) return;
        kept_ = *image;
        if (call.random && call.random->oneIn(12)) return;
        nameField(image->colorModel, model);
        nameField(image->channelSeq, sequence);
        image->roi = nullptr;
    }
    ~NamedImage() {
        if (!image_) return;
        memcpy(image_->colorModel, kept_.colorModel, sizeof kept_.colorModel);
        memcpy(image_->channelSeq, kept_.channelSeq, sizeof kept_.channelSeq);
        image_->roi = kept_.roi;
    }
    NamedImage(const NamedImage &) = delete;
    NamedImage &operator=(const NamedImage &) = delete;

  private:
    MoxImage *image_;
    MoxImage kept_ = {};
};

const char *drawSequence(Call &call) {
    return call.random && call.random->oneIn(2) ? "RGB" : "BGR";
}

using Convert = void(MOX_CALL *)(MoxImage *, MoxImage *);

// Of one image that is both, the source's names count.
template <Convert convert>
Example fromRGB(const char *name, Example::More more) {
    more.wholeImages = true;
    return {name, PIXELS, 2,
            [](Call &call) {
                const NamedImage dst(call, call.dst(), "any", "any"), src(call, call.src(), "RGB", drawSequence(call));
                convert(call.src(), call.dst());
            },
            more};
}
template <Convert convert>
Example toRGB(const char *name, const char *model, Example::More more) {
    more.wholeImages = true;
    return {name, PIXELS, 2,
            [model](Call &call) {
                const NamedImage dst(call, call.dst(), "RGB", drawSequence(call)), src(call, call.src(), model, model);
                convert(call.src(), call.dst());
            },
            more};
}

void colorToGray(Call &call) {
    const NamedImage dst(call, call.dst(), "GRAY", "G"), src(call, call.src(), "RGB", drawSequence(call));
    moxColorToGray(call.src(), call.dst());
}
void grayToColor(Call &call) {
    const NamedImage dst(call, call.dst(), "RGB", drawSequence(call)), src(call, call.src(), "GRAY", "G");
    const float r = call.real(0.5f), g = call.real(0.25f), b = call.real(1);
    moxGrayToColor(call.src(), call.dst(), r, g, b);
}

// A turn of the hue, in 14 bits.
struct ExampleTwist {
    int data[16], scalingValue;
    explicit ExampleTwist(Call &call) : scalingValue(call.choice(14, 32)) {
        static const int usual[16] = {13000, 5000,  -1600, 70000, -2000, 15000, 3400, 0,
                                      4000,  -3000, 15000, -5000, 1,     2,     3,    4};
        for (int i = 0; i < 16; ++i)
            data[i] = call.number(usual[i]);
    }
};

void deleteTwist(Call &call) {
    const ExampleTwist twist(call);
    moxDeleteColorTwist(moxCreateColorTwist(twist.data, twist.scalingValue));
}
void setTwist(Call &call) {
    const ExampleTwist twist(call);
    MoxColorTwist record = {};
    moxSetColorTwist(&record, twist.data, twist.scalingValue);
}
void applyTwist(Call &call) {
    const ExampleTwist twist(call);
    MoxColorTwist record;
    memcpy(&record, &twist, sizeof record);
    // Whoever fills a record by hand keeps to its range.
    record.scalingValue &= 31;
    moxApplyColorTwist(call.src(), call.dst(), &record, call.number(0));
}
void applyTwistFP(Call &call) {
    float matrix[16];
    for (int i = 0; i < 16; ++i)
        matrix[i] = call.real(static_cast<float>(i % 5) / 4);
    moxColorTwistFP(call.src(), call.dst(), matrix);
}

void scaleFP(Call &call) {
    const float least = call.real(-1), most = call.real(1);
    moxScaleFP(call.src(), call.dst(), least, most);
}

}  // namespace

std::vector<Example> colorExamples() {
    return {
        {"moxReduceBits",
         PIXELS,
         2,
         reduceBits,
         {.quietMemory = true, .processDraws = true, .tiles = TilesInHand::ONE, .neighbours = true}},

        {"moxConvert",
         PIXELS,
         2,
         [](Call &c) { moxConvert(c.src(), c.dst()); },
         {.depth = MOX_DEPTH_16S,
          .resultDepth = MOX_DEPTH_8U,
          .tiles = TilesInHand::ONE,
          .wholeImages = true,
          .sameSize = true}},
        {"moxBitonalToGray",
         PIXELS,
         2,
         [](Call &c) {
             const int zero = c.number(3);
             moxBitonalToGray(c.src(), c.dst(), zero, c.number(200));
         },
         {.depth = MOX_DEPTH_1U, .resultDepth = MOX_DEPTH_8U, .tiles = TilesInHand::ONE, .sameSize = true}},
        {"moxScale",
         PIXELS,
         2,
         [](Call &c) { moxScale(c.src(), c.dst()); },
         {.resultDepth = MOX_DEPTH_16S, .tiles = TilesInHand::ONE}},
        {"moxScaleFP",
         PIXELS,
         2,
         scaleFP,
         {.resultDepth = MOX_DEPTH_32F, .tiledOneSize = true, .tiles = TilesInHand::ONE}},
        {"moxThreshold",
         PIXELS,
         2,
         [](Call &c) { moxThreshold(c.src(), c.dst(), c.number(100)); },
         {.resultDepth = MOX_DEPTH_1U, .channels = 1, .tiles = TilesInHand::ONE}},

        fromRGB<moxRGB2HSV>("moxRGB2HSV", {.tool = "to-hsv"}),
        fromRGB<moxRGB2HLS>("moxRGB2HLS", {.tool = "to-hls"}),
        fromRGB<moxRGB2XYZ>("moxRGB2XYZ", {.tool = "to-xyz"}),
        fromRGB<moxRGB2YUV>("moxRGB2YUV", {.tool = "to-yuv"}),
        fromRGB<moxRGB2YCrCb>("moxRGB2YCrCb", {.tool = "to-ycrcb"}),
        fromRGB<moxRGB2LUV>("moxRGB2LUV", {.depth = MOX_DEPTH_32F, .tool = "to-luv"}),
        toRGB<moxHSV2RGB>("moxHSV2RGB", "HSV", {.tool = "from-hsv"}),
        toRGB<moxHLS2RGB>("moxHLS2RGB", "HLS", {.tool = "from-hls"}),
        toRGB<moxXYZ2RGB>("moxXYZ2RGB", "XYZ", {.tool = "from-xyz"}),
        toRGB<moxYUV2RGB>("moxYUV2RGB", "YUV", {.tool = "from-yuv"}),
        toRGB<moxYCrCb2RGB>("moxYCrCb2RGB", "YCr", {.tool = "from-ycrcb"}),
        toRGB<moxYCC2RGB>("moxYCC2RGB", "YCC", {.tool = "from-ycc"}),
        toRGB<moxLUV2RGB>("moxLUV2RGB", "LUV", {.depth = MOX_DEPTH_32F, .tool = "from-luv"}),
        {"moxColorToGray", PIXELS, 2, colorToGray, {.resultDepth = MOX_DEPTH_1U, .wholeImages = true, .tool = "gray"}},
        {"moxGrayToColor",
         PIXELS,
         2,
         grayToColor,
         {.depth = MOX_DEPTH_1U, .resultDepth = MOX_DEPTH_8U, .wholeImages = true, .tool = "tint"}},

        {"moxCreateColorTwist", NOTHING, 0, deleteTwist},
        {"moxSetColorTwist", NOTHING, 0, setTwist},
        {"moxDeleteColorTwist", NOTHING, 0, deleteTwist, {.reportsAs = "moxCreateColorTwist"}},
        {"moxApplyColorTwist", PIXELS, 2, applyTwist, {.tiles = TilesInHand::ONE, .tool = "sepia"}},
        {"moxColorTwistFP", PIXELS, 2, applyTwistFP, {.tiles = TilesInHand::ONE, .tool = "twist"}},
    };
}
