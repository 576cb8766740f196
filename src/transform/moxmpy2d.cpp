// The product of two packed spectra.
#include "core/owncpu.h"
#include "frame/ownimage.h"
#include "transform/ownmpy.h"
#include "transform/ownplane.h"
#include "transform/ownspectrum.h"

OWN_DECLARE_LEVELS(OwnMpyRows, mpyRows)

const OwnMpyRows &ownMpyRows() {
    static constexpr const OwnMpyRows *tables[] = OWN_LEVEL_TABLES(mpyRows);
    return *tables[ownCpuLevel()];
}

namespace {

// The unsigned depths, but for 16U in the first image: where the second one is signed, the depths differ.
bool isUnsigned(const MoxImage *a, const MoxImage *b) {
    return a->depth == MOX_DEPTH_8U || b->depth == MOX_DEPTH_8U || b->depth == MOX_DEPTH_16U ||
           a->depth == MOX_DEPTH_1U || b->depth == MOX_DEPTH_1U;
}

struct Size {
    int width, height;
};
Size sizeOf(const MoxImage *image) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    return {static_cast<int>(rect.width > 0 ? rect.width : 0), static_cast<int>(rect.height > 0 ? rect.height : 0)};
}

const char *findFault(const MoxImage *a, const MoxImage *b, const MoxImage *d) {
    if (a->depth != b->depth) return "(srcA->depth != srcB->depth)";
    if (a->depth != d->depth) return "(srcA->depth != dst->depth)";
    const Size sizeA = sizeOf(a), sizeB = sizeOf(b), sizeD = sizeOf(d);
    if (sizeA.width != sizeB.width) return "(width_srcA != width_srcB)";
    if (sizeA.height != sizeB.height) return "(height_srcA != height_srcB)";
    if (sizeA.width != sizeD.width) return "(width_srcA != width_dst)";
    if (sizeA.height != sizeD.height) return "(height_srcA != height_dst)";
    return nullptr;
}

OwnProducts productsAt(const OwnPlane &a, const OwnPlane &b, const OwnPlane &d, int x, int y, bool down) {
    const auto step = [down](const OwnPlane &plane) { return down ? plane.rowStep : plane.step * plane.bytes; };
    return {a.at(x, y), b.at(x, y), d.at(x, y), step(a), step(b), step(d)};
}

// Calls for each column of a real sequence: the first one, and of an even width the last one.
template <class Visit>
void eachEdge(int width, Visit visit) {
    visit(0);
    if (width % 2 == 0) visit(width - 1);
}

// The columns of real sequences are packed along y, everything between them along x. A pair of rows and its share of
// those columns go together, while the rows are near.
void multiply(const OwnPlane &a, const OwnPlane &b, const OwnPlane &d) {
    const OwnMpyRows &rows = ownMpyRows();
    const int width = a.width, height = a.height;
    if (width == 0 || height == 0) return;
    const auto real = [&](int y) {
        eachEdge(width, [&](int x) { rows.real[a.depth](productsAt(a, b, d, x, y, true)); });
    };
    const auto pairs = [&](int y, int count) {
        eachEdge(width,
                 [&](int x) { rows.pairs[a.depth](productsAt(a, b, d, x, y, true), static_cast<size_t>(count)); });
    };
    real(0);
    if (height % 2 == 0) real(height - 1);
    if (width <= 2) return pairs(1, (height - 1) / 2);
    for (int y = 0; y < height; ++y) {
        rows.pairs[a.depth](productsAt(a, b, d, 1, y, false), static_cast<size_t>((width - 1) / 2));
        if (y > 0 && y % 2 == 0) pairs(y - 1, 1);
    }
}

}  // namespace

void MOX_CALL moxMpyRCPack2D(MoxImage *srcA, MoxImage *srcB, MoxImage *dst) {
    const OwnCaller caller = OWN_CALLER("moxMpyRCPack2D");
    MoxImage *const images[] = {srcA, srcB, dst};
    for (const MoxImage *image : images) {
        if (const MoxStatus fault = ownFindHeaderFault(image)) {
            ownReport(caller, fault, "Incorrect Image");
            return;
        }
    }
    if (isUnsigned(srcA, srcB)) {
        ownReport(caller, MOX_StatusHeaderDepth, "srcA->depth || srcB->depth == 8U||16U||1U");
        return;
    }
    if (const char *message = findFault(srcA, srcB, dst)) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return;
    }
    // Channels of interest and alpha are those of sound headers by now; their number is left.
    const int channels = ownChannels(srcA);
    if (channels != ownChannels(srcB) || channels != ownChannels(dst)) {
        ownReport(caller, MOX_StatusHeaderChannels, "");
        return;
    }
    for (const MoxImage *image : images) {
        if (!ownAcceptPlain(caller, image)) return;
    }
    for (int channel = 0; channel < channels; ++channel) {
        multiply(ownPlane(srcA, ownFirstChannel(srcA) + channel), ownPlane(srcB, ownFirstChannel(srcB) + channel),
                 ownPlane(dst, ownFirstChannel(dst) + channel));
    }
}
