// A composition of plain images: by whole rows of samples or pixels where their layout allows it, as rows of planes
// elsewhere.
#include <algorithm>

#include "arith/ownalpha.h"
#include "core/ownfpcontrol.h"
#include "frame/ownrows.h"

namespace {

// Collects the rows of an operation, each once. The rows of an image that is read and written stand twice.
class RowList {
  public:
    RowList(MoxImage *mask, int width, int height) {
        planes_.mask = mask;
        planes_.width = width;
        planes_.height = height;
    }

    // Where an image's channel stands; see place.
    int add(MoxImage *image, int channel, bool written) {
        for (int i = 0; i < planes_.count; ++i) {
            OwnPlaneImage &of = planes_.images[i];
            if (of.image != image || of.written != written) continue;
            const int *end = of.channels + of.count, *found = std::find(of.channels, of.channels + of.count, channel);
            if (found == end) of.channels[of.count++] = channel;
            return i * OWN_MAX_PLANES + static_cast<int>(found - of.channels);
        }
        planes_.images[planes_.count] = {image, 1, {channel}, written};
        return planes_.count++ * OWN_MAX_PLANES;
    }

    // The place among the kernel's rows of what add gave, once all are there.
    int place(int added) const {
        int row = added % OWN_MAX_PLANES;
        for (int i = 0; i < added / OWN_MAX_PLANES; ++i)
            row += planes_.images[i].count;
        return row;
    }

    const OwnPlanes &planes() const { return planes_; }

  private:
    OwnPlanes planes_ = {};
};

enum View { DESTINATION, OUTPUT, SOURCE_A, SOURCE_B, OPACITY_A, OPACITY_B, VIEWS };

struct Channels {
    int first[VIEWS];  // of the images
    int count;         // processed one by one, from the first
};

Channels channelsOf(MoxImage *const *views) {
    Channels channels;
    for (int i = 0; i < VIEWS; ++i)
        channels.first[i] = views[i] ? ownFirstChannel(views[i]) : 0;
    channels.count = ownChannels(views[DESTINATION]);
    return channels;
}

// Whether an opacity is a colour of the destination as well: channel by channel, the later ones and the output of
// opacity see what became of it.
bool overwritesOpacity(MoxImage *const *views, const Channels &channels) {
    const MoxImage *dst = views[DESTINATION];
    for (View which : {OPACITY_A, OPACITY_B}) {
        const MoxImage *of = views[which];
        if (!of || of->imageData != dst->imageData) continue;
        const int channel = ownOpacityChannel(of) - channels.first[DESTINATION];
        if (channel >= 0 && channel < channels.count) return true;
    }
    return false;
}

// How many channels go together: all, where no image has more than the kernel's rows, else as many as leave room for an
// opacity.
int channelsAtOnce(MoxImage *const *views) {
    const bool fit = std::all_of(views, views + VIEWS,
                                 [](const MoxImage *view) { return !view || view->nChannels <= OWN_MAX_PLANES; });
    return fit ? OWN_MAX_PLANES : OWN_MAX_PLANES - 1;
}

// Channels first to end, and the output of opacity or not.
class Share {
  public:
    Share(const OwnMixing &mixing, MoxImage *const *views, const Channels &channels, int first, int end, bool output)
        : mixing_(mixing), views_(views) {
        rows_.colours = end - first;
        for (int k = 0; k < rows_.colours; ++k) {
            for (View which : {SOURCE_A, SOURCE_B, DESTINATION})
                colours_[which][k] = channels.first[which] + first + k;
        }
        output_ = output;
    }

    void run(MoxImage *mask, int width, int height) {
        RowList list(mask, width, height);
        int a[OWN_MAX_PLANES], b[OWN_MAX_PLANES], dst[OWN_MAX_PLANES];
        for (int k = 0; k < rows_.colours; ++k) {
            a[k] = list.add(views_[SOURCE_A], colours_[SOURCE_A][k], false);
            b[k] = list.add(views_[SOURCE_B], colours_[SOURCE_B][k], false);
            dst[k] = list.add(views_[DESTINATION], colours_[DESTINATION][k], true);
        }
        const int alphaA = addOpacity(&list, OPACITY_A), alphaB = addOpacity(&list, OPACITY_B);
        MoxImage *output = views_[OUTPUT];
        const int alphaDst = output_ ? list.add(output, ownOpacityChannel(output), true) : OWN_MIX_NONE;
        for (int k = 0; k < rows_.colours; ++k) {
            rows_.a[k] = list.place(a[k]);
            rows_.b[k] = list.place(b[k]);
            rows_.dst[k] = list.place(dst[k]);
        }
        rows_.alphaA = alphaA < 0 ? OWN_MIX_CONSTANT : list.place(alphaA);
        rows_.alphaB = alphaB < 0 ? OWN_MIX_CONSTANT : list.place(alphaB);
        rows_.alphaDst = alphaDst < 0 ? OWN_MIX_NONE : list.place(alphaDst);
        rows_.constA = mixing_.constA;
        rows_.constB = mixing_.constB;
        rows_.wayOfB = mixing_.wayOfB;
        const OwnMix &mix = mixing_.mix;
        const int depth = ownAlphaDepth(views_[DESTINATION]), form = mix.premultiplied ? 1 : 0;
        const OwnAlphaRows &kernels = ownAlphaRows();
        const auto &table = mix.divides ? kernels.divided : kernels.mix;
        ownRunPlanes(list.planes(), table[depth][mix.type][form], &rows_);
    }

  private:
    int addOpacity(RowList *list, View which) const {
        MoxImage *of = views_[which];
        return of ? list->add(of, ownOpacityChannel(of), false) : OWN_MIX_CONSTANT;
    }

    const OwnMixing &mixing_;
    MoxImage *const *views_;
    OwnMixRows rows_;
    int colours_[VIEWS][OWN_MAX_PLANES];
    bool output_;
};

struct Area {
    MoxImage *mask;
    int width, height;
};

// Sets up the rows of A, perhaps B, and the destination.
void setRows(OwnRows *rows, MoxImage *const *views, int sources, int channels, const Area &area) {
    MoxImage *images[] = {views[SOURCE_A], views[sources == 2 ? SOURCE_B : DESTINATION], views[DESTINATION]};
    int first[3];
    for (int i = 0; i <= sources; ++i)
        first[i] = ownFirstChannel(images[i]);
    ownSetRows(rows, images, first, sources + 1, channels, area.mask);
    rows->width = area.width;
    rows->height = area.height;
}

// Constant opacities and one order: samples may be taken as they come.
bool mixSamples(const OwnMixing &mixing, MoxImage *const *views, const Area &area) {
    const MoxImage *dst = views[DESTINATION];
    if (mixing.mix.divides || views[OPACITY_A] || views[OPACITY_B] || views[OUTPUT]) return false;
    if (views[SOURCE_A]->dataOrder != dst->dataOrder || views[SOURCE_B]->dataOrder != dst->dataOrder) return false;
    OwnRows rows;
    setRows(&rows, views, 2, ownChannels(dst), area);
    const uint32_t both = static_cast<uint32_t>(mixing.constA) | static_cast<uint32_t>(mixing.constB) << 16;
    ownRunRows(rows, ownAlphaRows().mixS[ownAlphaDepth(dst)][mixing.mix.type][mixing.mix.premultiplied ? 1 : 0],
               {both, 0, 0});
    return true;
}

bool isPixelOfBytes(const MoxImage *image) {
    return image->depth == MOX_DEPTH_8U && image->dataOrder == MOX_DATA_ORDER_PIXEL && image->nChannels == 4 &&
           image->alphaChannel == 4 && !ownHasCoi(image);
}

// Bytes of three colours and alpha in pixels that have their own opacities.
bool mixPixels(const OwnMixing &mixing, MoxImage *const *views, const Area &area) {
    const OwnMix &mix = mixing.mix;
    MoxImage *dst = views[DESTINATION], *a = views[SOURCE_A], *b = views[SOURCE_B];
    if (mix.divides || !isPixelOfBytes(dst) || !isPixelOfBytes(a) || !isPixelOfBytes(b)) return false;
    const OwnAlphaRows &kernels = ownAlphaRows();
    const OwnRowForms *forms;
    // Multiplied by its own opacity, an image keeps it.
    const bool multiplies = mix.type == MOX_COMPOSITE_IN && mix.premultiplied && a == dst && !views[OUTPUT];
    if (multiplies && views[OPACITY_B] == a) {
        forms = &kernels.premultiplyPixels;
    } else if (views[OPACITY_A] == a && views[OPACITY_B] == b && views[OUTPUT] == dst) {
        forms = &kernels.mixPixels[mix.type][mix.premultiplied ? 1 : 0];
    } else {
        return false;
    }
    if (!forms->plain) return false;
    OwnRows rows;
    setRows(&rows, views, multiplies ? 1 : 2, 4, area);
    for (int i = 0; i < rows.count; ++i) {
        rows.spans[i].bytes = 4;
        rows.spans[i].step = 1;
    }
    rows.channels = 1;
    ownRunRows(rows, *forms, {});
    return true;
}

}  // namespace

void ownMixImages(const OwnMixing &mixing, MoxImage *const *views, MoxImage *mask, int width, int height) {
    const Area area = {mask, width, height};
    if (mixSamples(mixing, views, area) || mixPixels(mixing, views, area)) return;
    const OwnNearestRounding rounding;
    const Channels channels = channelsOf(views);
    const bool oneByOne = overwritesOpacity(views, channels);
    const int atOnce = oneByOne ? 1 : channelsAtOnce(views);
    const auto share = [&](int first, int end, bool output) {
        Share(mixing, views, channels, first, end, output).run(mask, width, height);
    };
    const bool outputs = views[OUTPUT], apart = outputs && (oneByOne || channels.count == 0);
    for (int first = 0; first < channels.count; first += atOnce) {
        const int end = std::min(first + atOnce, channels.count);
        share(first, end, outputs && !apart && end == channels.count);
    }
    if (apart) share(0, 0, true);
}
