// Pictures composed by their opacities. The last of 2 or 4 channels is alpha; a picture without it hides all.
#include "operations.h"

namespace {

// An image whose alpha is called so while this lives.
class WithAlpha {
  public:
    explicit WithAlpha(MoxImage *image) : image_(image), before_(image->alphaChannel) {
        if (image->nChannels % 2 == 0) image->alphaChannel = image->nChannels;
    }
    ~WithAlpha() { image_->alphaChannel = before_; }
    WithAlpha(const WithAlpha &) = delete;
    WithAlpha &operator=(const WithAlpha &) = delete;
    bool has() const { return image_->alphaChannel != 0; }

  private:
    MoxImage *image_;
    int before_;
};

int fullScale(const MoxImage *image) {
    return image->depth == MOX_DEPTH_16U ? 65535 : 255;
}

// Straight colours stay straight: they are divided by the opacity of the result.
template <int type>
void compose(Call *call) {
    const WithAlpha a(call->image), b(call->other);
    const int premultiplied = call->arguments[1].integer, divides = 1 - premultiplied;
    if (a.has() && b.has()) {
        moxAlphaComposite(call->image, call->other, call->image, type, nullptr, nullptr, nullptr, premultiplied,
                          divides);
    } else {
        const int opaque = fullScale(call->image);
        moxAlphaCompositeC(call->image, call->other, call->image, type, opaque, opaque, premultiplied, divides);
    }
}

void blend(Call *call) {
    const WithAlpha a(call->image), b(call->other);
    moxAlphaCompositeC(call->image, call->other, call->image, MOX_COMPOSITE_OVER, call->arguments[0].integer,
                       fullScale(call->image), 0, 0);
}

void premultiply(Call *call) {
    const WithAlpha a(call->image);
    moxPreMultiplyAlpha(call->image, call->arguments[0].integer);
}

void multiplyScale(Call *call) {
    moxMultiplyScale(call->image, call->other, call->image);
}

void multiplySScale(Call *call) {
    moxMultiplySScale(call->image, call->image, call->arguments[0].integer);
}

std::vector<ArgumentSpec> onPicture() {
    return {{ArgumentKind::layer, "PICTURE"}, {ArgumentKind::keyword, "premultiplied"}};
}

}  // namespace

const Family &alphaFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Opacities and fractions of white",
        {
            {"over",
             onPicture(),
             "A before B; straight colours, or colours that are multiplied by their opacities",
             compose<MOX_COMPOSITE_OVER>,
             {{"Ruby before jade.", "over jade.png", "ruby.png"},
              {"Ruby before the picture.", "over picture.png", "ruby.png"}}},
            {"in",
             onPicture(),
             "A where B is",
             compose<MOX_COMPOSITE_IN>,
             {{"Ruby within jade.", "in jade.png", "ruby.png"}}},
            {"out",
             onPicture(),
             "A where B is not",
             compose<MOX_COMPOSITE_OUT>,
             {{"Ruby without jade.", "out jade.png", "ruby.png"}}},
            {"atop",
             onPicture(),
             "A where B is, before B",
             compose<MOX_COMPOSITE_ATOP>,
             {{"Ruby on jade, and nowhere else.", "atop jade.png", "ruby.png"}}},
            {"exclude",
             onPicture(),
             "A and B, each where the other is not",
             compose<MOX_COMPOSITE_XOR>,
             {{"Ruby or jade, not both.", "exclude jade.png", "ruby.png"}}},
            {"plus",
             onPicture(),
             "A + B with their opacities",
             compose<MOX_COMPOSITE_PLUS>,
             {{"Ruby and jade.", "plus jade.png", "ruby.png"}}},
            {"blend",
             {{K::integer, "OPACITY"}, {K::picture, "PICTURE"}},
             "A before B at a constant opacity, of white; alpha stays",
             blend,
             {{"Three parts of the picture and five of its negative.", "blend 96 negative.png"}}},
            {"premultiply",
             {{K::integer, "ALPHA"}},
             "colours times ALPHA, which becomes the opacity, or times their own with -1",
             premultiply,
             {{"At half of its light.", "premultiply 128"},
              {"Jade times its opacity, which stays.", "premultiply -1", "jade.png"}}},
            {"multiply-scale",
             {{K::picture, "PICTURE"}},
             "A x B as fractions of white, at depths 8u and 16u",
             multiplyScale,
             {{"A vignette darkens the corners.", "multiply-scale vignette.png"},
              {"Lit by the coloured discs alone.", "multiply-scale discs.png"}}},
            {"multiply-s-scale",
             {{K::integer, "VALUE"}},
             "A x VALUE as fractions of white, at depths 8u and 16u",
             multiplySScale,
             {{"Half of the light.", "multiply-s-scale 128"}}},
        }};
    return family;
}
