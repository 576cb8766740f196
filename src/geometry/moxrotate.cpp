// Rotation: by right angles pixels are moved, by others it is an affine warp.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/owncache.h"
#include "core/owncpu.h"
#include "core/ownmath.h"
#include "frame/ownpair.h"
#include "geometry/ownquad.h"
#include "geometry/ownrotate.h"
#include "geometry/ownwarpcall.h"

OWN_DECLARE_LEVELS(OwnRotateRows, rotateRows)

const OwnRotateRows &ownRotateRows() {
    static constexpr const OwnRotateRows *tables[] = OWN_LEVEL_TABLES(rotateRows);
    return *tables[ownCpuLevel()];
}

namespace {

// A rotation by a right angle: x' = a x + b y + xShift, y' = c x + d y + yShift.
struct Turn {
    int a, b, c, d;
    int64_t xShift, yShift;
};

// What is turned: a rectangle of the source and its place in the destination, each counted from the corner of its
// region. Rows of the destination are columns of the source but by half a turn.
struct Area {
    int64_t x, y, toX, toY;
    int64_t width, height;  // of the destination's part
};

// The part of the destination that a turned source and the mask leave. False where that is nothing.
bool findArea(const MoxImage *src, const MoxImage *dst, const Turn &turn, Area *area) {
    OwnCorners s, d;
    if (!ownImageCorners(src, &s) || !ownImageCorners(dst, &d)) return false;
    const int64_t xs[] = {turn.a * s.left + turn.b * s.top, turn.a * s.right + turn.b * s.bottom};
    const int64_t ys[] = {turn.c * s.left + turn.d * s.top, turn.c * s.right + turn.d * s.bottom};
    OwnCorners to = {std::max(std::min(xs[0], xs[1]) + turn.xShift, d.left),
                     std::max(std::min(ys[0], ys[1]) + turn.yShift, d.top),
                     std::min(std::max(xs[0], xs[1]) + turn.xShift, d.right),
                     std::min(std::max(ys[0], ys[1]) + turn.yShift, d.bottom)};
    if (dst->maskROI) {
        OwnImageRect mask;
        ownImageRect(dst->maskROI, &mask);
        to.right = std::min(to.right, d.left + mask.width - 1);
        to.bottom = std::min(to.bottom, d.top + mask.height - 1);
    }
    if (to.left > to.right || to.top > to.bottom) return false;
    // Back through the transposed matrix, of two opposite corners.
    const int64_t us[] = {to.left - turn.xShift, to.right - turn.xShift};
    const int64_t vs[] = {to.top - turn.yShift, to.bottom - turn.yShift};
    const int64_t backX[] = {turn.a * us[0] + turn.c * vs[0], turn.a * us[1] + turn.c * vs[1]};
    const int64_t backY[] = {turn.b * us[0] + turn.d * vs[0], turn.b * us[1] + turn.d * vs[1]};
    *area = {std::min(backX[0], backX[1]) - s.left,
             std::min(backY[0], backY[1]) - s.top,
             to.left - d.left,
             to.top - d.top,
             to.right - to.left + 1,
             to.bottom - to.top + 1};
    return true;
}

// Half a turn is both mirror images at once.
void turnHalf(const MoxImage *src, const MoxImage *dst, const Area &area) {
    OwnScratchImage from, to, mask;
    ownShareOfPlain(src, {area.x, area.y, area.width, area.height}, &from);
    ownShareOfPlain(dst, {area.toX, area.toY, area.width, area.height}, &to);
    if (dst->maskROI) {
        ownShareOfPlain(dst->maskROI, {area.toX, area.toY, area.width, area.height}, &mask);
        to.header.maskROI = &mask.header;
    }
    if (src->depth == MOX_DEPTH_1U) from.header.alphaChannel = to.header.alphaChannel = 0;
    moxMirror(&from.header, &to.header, -1);
}

// A quarter turn between rows. The source's are taken upward where the turn goes clockwise, the destination's where it
// does not.
class Quarter {
  public:
    Quarter(const MoxImage *src, const MoxImage *dst, const Area &area, bool clockwise)
        : area_(area), clockwise_(clockwise) {
        int unused[2];
        src_ = ownSpan(src, ownFirstChannel(src), &unused[0], &unused[1]);
        dst_ = ownSpan(dst, ownFirstChannel(dst), &unused[0], &unused[1]);
        const int channels = ownChannels(dst);
        const bool planar = dst->dataOrder == MOX_DATA_ORDER_PLANE;
        planes_ = planar ? channels : 1;
        channels_ = planar ? 1 : channels;
        masked_ = dst->maskROI != nullptr;
        if (masked_) mask_ = ownSpan(dst->maskROI, 0, &unused[0], &unused[1]);
        src_.start += area.y * src_.rowStep;
        dst_.start += area.toY * dst_.rowStep;
        if (masked_) mask_.start += area.toY * mask_.rowStep;
    }

    void run() {
        for (int plane = 0; plane < planes_; ++plane) {
            if (dst_.bytes == 0) {
                turnBits();
            } else if (!masked_ && channels_ <= 4 && src_.step == channels_ && dst_.step == channels_) {
                turnWhole();
            } else {
                turnParts();
            }
            src_.start += src_.planeStep;
            dst_.start += dst_.planeStep;
        }
    }

  private:
    // Source columns are the destination's rows, and the reverse.
    int64_t columns() const { return area_.height; }
    int64_t rows() const { return area_.width; }

    void turnWhole() {
        const int64_t pixel = int64_t{channels_} * dst_.bytes;
        const uint8_t *from = src_.start + area_.x * pixel;
        uint8_t *to = dst_.start + area_.toX * pixel;
        int64_t fromStep = src_.rowStep, toStep = dst_.rowStep;
        if (clockwise_) {
            from += (rows() - 1) * fromStep;
            fromStep = -fromStep;
        } else {
            to += (columns() - 1) * toStep;
            toStep = -toStep;
        }
        const bool streams = 2 * rows() * columns() * pixel * planes_ >= ownStreamBounds().bytes;
        ownRotateRows().transpose(from, fromStep, to, toStep, static_cast<size_t>(columns()),
                                  static_cast<size_t>(rows()), static_cast<size_t>(pixel), streams);
    }

    // Stores rows of a scratch, the first of which may be the lowest one, as columns from to and rows from toRow on of
    // the area.
    void put(const uint8_t *scratch, int64_t step, int bit, int channels, int firstChannel, int64_t column, int64_t row,
             int64_t width, int64_t height) {
        OwnRows out;
        out.spans[0] = {const_cast<uint8_t *>(scratch), step, 0, channels, 0, dst_.bytes, bit};
        out.spans[1] = dst_;
        advance(&out.spans[1], area_.toX + column);
        out.spans[1].start += row * dst_.rowStep + int64_t{firstChannel} * dst_.bytes;
        out.spans[1].first += firstChannel;
        out.count = 2;
        out.masked = masked_;
        if (masked_) {
            out.mask = mask_;
            advance(&out.mask, area_.toX + column);
            out.mask.start += row * mask_.rowStep;
        }
        out.exchange = false;
        out.width = static_cast<int>(width);
        out.height = static_cast<int>(height);
        out.channels = channels;
        out.planes = 1;
        out.whole = 0;
        ownRunRows(out, ownMoveRows().copy[ownSampleSize(dst_.bytes)], {});
    }

    static void advance(OwnSpan *span, int64_t x) {
        if (span->bytes == 0) {
            span->start += (span->bit + x) / 8;
            span->bit = static_cast<int>((span->bit + x) % 8);
        } else {
            span->start += x * span->step * span->bytes;
        }
    }

    // Where the first of n source rows is that make columns from column on, and where the first of n source columns is
    // that make rows from row on.
    int64_t firstRow(int64_t column, int64_t n) const { return clockwise_ ? rows() - column - n : column; }
    int64_t firstColumn(int64_t row, int64_t n) const { return clockwise_ ? row : columns() - row - n; }

    // Block by block through a scratch, up to four channels at a time.
    void turnParts() {
        constexpr int64_t SIDE = 32;
        constexpr int MOST = 4;
        alignas(64) uint8_t gathered[SIDE * SIDE * MOST * 4], turned[SIDE * SIDE * MOST * 4];
        const OwnSampleSize size = ownSampleSize(dst_.bytes);
        for (int channel = 0; channel < channels_; channel += MOST) {
            const int count = std::min(MOST, channels_ - channel);
            const int64_t pixel = int64_t{count} * dst_.bytes;
            for (int64_t row = 0; row < area_.height; row += SIDE) {
                const int64_t high = std::min(SIDE, area_.height - row);
                for (int64_t column = 0; column < area_.width; column += SIDE) {
                    const int64_t wide = std::min(SIDE, area_.width - column);
                    const uint8_t *from = src_.start + firstRow(column, wide) * src_.rowStep +
                                          ((area_.x + firstColumn(row, high)) * src_.step + channel) * src_.bytes;
                    for (int64_t i = 0; i < wide; ++i)
                        ownMoveRows().gather[size](from + i * src_.rowStep, src_.step, count,
                                                   gathered + i * high * pixel, static_cast<size_t>(high));
                    const int64_t inStep = high * pixel, outStep = wide * pixel;
                    const uint8_t *in = clockwise_ ? gathered + (wide - 1) * inStep : gathered;
                    uint8_t *out = clockwise_ ? turned : turned + (high - 1) * outStep;
                    ownRotateRows().transpose(in, clockwise_ ? -inStep : inStep, out, clockwise_ ? outStep : -outStep,
                                              static_cast<size_t>(high), static_cast<size_t>(wide),
                                              static_cast<size_t>(pixel), false);
                    put(turned, outStep, 0, count, channel, column, row, wide, high);
                }
            }
        }
    }

    // Bits by whole bytes of the source, and by bytes of the destination but for the first block of a row.
    void turnBits() {
        constexpr int64_t WIDE = 512, HIGH = static_cast<int64_t>(OWN_BIT_BLOCK) * 8;
        alignas(64) uint8_t gathered[WIDE * OWN_BIT_BLOCK], turned[HIGH * WIDE / 8];
        const int64_t firstBit = src_.bit + area_.x, endBit = firstBit + columns();
        for (int64_t byte = firstBit / 8; byte * 8 < endBit; byte += OWN_BIT_BLOCK) {
            const auto bytes = static_cast<size_t>(std::min<int64_t>(OWN_BIT_BLOCK, (endBit + 7) / 8 - byte));
            // The columns of this block that are the area's.
            const int64_t from = std::max(firstBit, byte * 8), to = std::min(endBit, byte * 8 + HIGH);
            const int64_t high = to - from, row = clockwise_ ? from - firstBit : endBit - to;
            int64_t wide = std::min(rows(), WIDE - (dst_.bit + area_.toX) % 8);
            for (int64_t column = 0; column < rows(); column += wide, wide = std::min(WIDE, rows() - column)) {
                gatherBits(byte, bytes, column, wide, gathered);
                const auto padded = static_cast<size_t>((wide + 15) / 16 * 16);
                ownRotateRows().transposeBits(gathered, turned, WIDE / 8, padded);
                const int64_t first = from - byte * 8;
                const uint8_t *start = turned + (clockwise_ ? first : first + high - 1) * (WIDE / 8);
                put(start, clockwise_ ? WIDE / 8 : -WIDE / 8, 0, 1, 0, column, row, wide, high);
            }
        }
    }

    void gatherBits(int64_t byte, size_t bytes, int64_t column, int64_t wide, uint8_t *gathered) {
        const int64_t step = clockwise_ ? -src_.rowStep : src_.rowStep;
        const uint8_t *from = src_.start + (clockwise_ ? rows() - 1 - column : column) * src_.rowStep + byte;
        for (int64_t i = 0; i < wide; ++i, gathered += OWN_BIT_BLOCK, from += step) {
            if (bytes == OWN_BIT_BLOCK) {
                std::memcpy(gathered, from, OWN_BIT_BLOCK);
            } else {
                std::memset(gathered, 0, OWN_BIT_BLOCK);
                std::memcpy(gathered, from, bytes);
            }
        }
        if (wide % 16 != 0) std::memset(gathered, 0, static_cast<size_t>(16 - wide % 16) * OWN_BIT_BLOCK);
    }

    Area area_;
    bool clockwise_;
    OwnSpan src_, dst_, mask_ = {};
    int planes_, channels_;
    bool masked_;
};

bool isTiled(const MoxImage *image) {
    return image && image->tileInfo;
}

void rotateCopy(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const Turn &turn, bool reachable) {
    if (!ownAcceptWarp(caller, src, dst, nullptr)) return;
    OwnCorners unused;
    if (!ownImageCorners(src, &unused) || !ownImageCorners(dst, &unused)) return;
    if (ownChannels(src) != ownChannels(dst)) {
        ownReport(caller, MOX_StatusBadArgument, OWN_CHANNELS_DIFFER);
        return;
    }
    Area area;
    if (!reachable || ownChannels(dst) == 0 || !findArea(src, dst, turn, &area)) return;
    if (!ownAcceptMemory(caller, {src, dst})) return;
    if (turn.a != 0) {
        turnHalf(src, dst, area);
    } else {
        Quarter(src, dst, area, turn.c > 0).run();
    }
}

}  // namespace

void MOX_CALL moxRotate(MoxImage *srcImage, MoxImage *dstImage, double angle, double xShift, double yShift,
                        int interpolate) {
    constexpr double PI = 3.14159265358979323846;
    const double turned = ownNormalAngle(angle);
    if (turned != 90 && turned != 180 && turned != 270) {
        double sine, cosine;
        ownSineCosine(turned * (1.0 / 180) * PI, &sine, &cosine);
        double coeffs[2][3] = {{cosine, sine, xShift}, {-sine, cosine, yShift}};
        moxWarpAffine(srcImage, dstImage, coeffs, interpolate);
        return;
    }
    Turn turn = {0, 1, -1, 0, 0, 0};
    if (turned == 180) turn = {-1, 0, 0, -1, 0, 0};
    if (turned == 270) turn = {0, -1, 1, 0, 0, 0};
    if (isTiled(srcImage) || isTiled(dstImage) || xShift != std::floor(xShift) || yShift != std::floor(yShift)) {
        double coeffs[2][3] = {{static_cast<double>(turn.a), static_cast<double>(turn.b), xShift},
                               {static_cast<double>(turn.c), static_cast<double>(turn.d), yShift}};
        moxWarpAffine(srcImage, dstImage, coeffs, interpolate);
        return;
    }
    // Shifts beyond all images leave nothing.
    constexpr double FAR = 1e12;
    const bool reachable = std::fabs(xShift) < FAR && std::fabs(yShift) < FAR;
    if (reachable) {
        turn.xShift = static_cast<int64_t>(xShift);
        turn.yShift = static_cast<int64_t>(yShift);
    }
    rotateCopy(OWN_CALLER("moxRotate"), srcImage, dstImage, turn, reachable);
}
