// A composition of plain images as rows of planes.
#include <algorithm>

#include "arith/ownalpha.h"
#include "core/ownfpcontrol.h"

namespace {

// Collects the rows of an operation, each once. The rows of an image that is read and written stand twice.
class RowList {
  public:
    RowList(MoxImage *mask, int width, int height) {
        planes_.count = 0;
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
    OwnPlanes planes_;
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

// Whether an opacity is a colour of the destination as well: channel by channel, the later ones see what became of it.
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
        const OwnMix &mix = mixing_.mix;
        const int depth = ownAlphaDepth(views_[DESTINATION]), form = mix.premultiplied ? 1 : 0;
        const OwnAlphaRows &kernels = ownAlphaRows();
        const auto &table = mix.divides ? kernels.divided : kernels.mix;
        ownRunPlanes(list.planes(), table[depth][mix.type][form][mixing_.wayOfB], &rows_);
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

}  // namespace

void ownMixImages(const OwnMixing &mixing, MoxImage *const *views, MoxImage *mask, int width, int height) {
    const OwnNearestRounding rounding;
    const Channels channels = channelsOf(views);
    const bool overwrites = overwritesOpacity(views, channels);
    const int atOnce = overwrites ? 1 : channelsAtOnce(views);
    int first = 0;
    do {
        const int end = std::min(first + atOnce, channels.count);
        const bool last = end == channels.count, output = last && views[OUTPUT] && !overwrites;
        if (end > first || output) Share(mixing, views, channels, first, end, output).run(mask, width, height);
        first = end;
    } while (first < channels.count);
    // Behind the last colour, which may be an opacity too.
    if (overwrites && views[OUTPUT]) Share(mixing, views, channels, first, first, true).run(mask, width, height);
}
