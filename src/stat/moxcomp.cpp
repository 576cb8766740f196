// Comparisons of an image with another, or with a constant, pixel by pixel.
#include <cstring>

#include "stat/owncomp.h"

namespace {

MoxStatus compareTwo(const OwnCompare &compare, const OwnRelation (&relations)[OWN_DEPTHS], bool swapped) {
    if (const MoxStatus fault = compare.checkTwo()) return fault;
    const OwnRelation &relation = relations[ownDepthIndex(compare.img1->depth)];
    // a > b is b < a.
    const OwnCompare other = {compare.caller, compare.img2, compare.img1, compare.res};
    return (swapped ? other : compare).run(relation, {});
}

enum Kind { LESS, GREATER, EQUAL };

// Values beyond the range of a depth are the same to all its samples.
MoxStatus compareValue(const OwnCompare &compare, Kind kind, int value) {
    if (const MoxStatus fault = compare.checkOne(false)) return fault;
    if (const MoxStatus fault = compare.checkChannels()) return fault;
    const unsigned depth = compare.img1->depth;
    const int bits = ownDepthBits(depth);
    const int64_t values = int64_t{1} << bits, low = (depth & MOX_DEPTH_SIGN) != 0 ? -values / 2 : 0;
    const int64_t high = low + values - 1;
    const OwnCompareRows &rows = ownCompareRows();
    if (value < low) return compare.run(kind == GREATER ? rows.always : rows.never, {});
    if (value > high) return compare.run(kind == LESS ? rows.always : rows.never, {});
    const auto &relations = kind == LESS ? rows.lessS : kind == GREATER ? rows.greaterS : rows.equalS;
    return compare.run(relations[ownDepthIndex(depth)], {static_cast<uint32_t>(value), 0, 0});
}

MoxStatus compareReal(const OwnCompare &compare, const OwnRelation &relation, float value) {
    if (const MoxStatus fault = compare.checkOne(true)) return fault;
    if (const MoxStatus fault = compare.checkChannels()) return fault;
    return compare.run(relation, {0, 0, value});
}

// Of a comparison within eps the constant's value has its bits.
OwnConstant withEpsilon(float value, float eps) {
    OwnConstant constant = {0, 0, value};
    std::memcpy(&constant.value, &eps, sizeof eps);
    return constant;
}

}  // namespace

MoxStatus MOX_CALL moxLess(MoxImage *img1, MoxImage *img2, MoxImage *res) {
    return compareTwo({OWN_CALLER("moxLess"), img1, img2, res}, ownCompareRows().less, false);
}

MoxStatus MOX_CALL moxGreater(MoxImage *img1, MoxImage *img2, MoxImage *res) {
    return compareTwo({OWN_CALLER("moxGreater"), img1, img2, res}, ownCompareRows().less, true);
}

MoxStatus MOX_CALL moxEqual(MoxImage *img1, MoxImage *img2, MoxImage *res) {
    return compareTwo({OWN_CALLER("moxEqual"), img1, img2, res}, ownCompareRows().equal, false);
}

MoxStatus MOX_CALL moxEqualFPEps(MoxImage *img1, MoxImage *img2, MoxImage *res, float eps) {
    const OwnCompare compare = {OWN_CALLER("moxEqualFPEps"), img1, img2, res};
    if (const MoxStatus fault = compare.checkTwo()) return fault;
    if (const MoxStatus fault = compare.checkReal()) return fault;
    if (const MoxStatus fault = compare.checkEpsilon(eps)) return fault;
    return compare.run(ownCompareRows().near, withEpsilon(0, eps));
}

MoxStatus MOX_CALL moxLessS(MoxImage *img, int value, MoxImage *res) {
    return compareValue({OWN_CALLER("moxLessS"), img, nullptr, res}, LESS, value);
}

MoxStatus MOX_CALL moxGreaterS(MoxImage *img, int value, MoxImage *res) {
    return compareValue({OWN_CALLER("moxGreaterS"), img, nullptr, res}, GREATER, value);
}

MoxStatus MOX_CALL moxEqualS(MoxImage *img, int value, MoxImage *res) {
    return compareValue({OWN_CALLER("moxEqualS"), img, nullptr, res}, EQUAL, value);
}

MoxStatus MOX_CALL moxLessSFP(MoxImage *img, float value, MoxImage *res) {
    return compareReal({OWN_CALLER("moxLessSFP"), img, nullptr, res}, ownCompareRows().lessS[OWN_32F], value);
}

MoxStatus MOX_CALL moxGreaterSFP(MoxImage *img, float value, MoxImage *res) {
    return compareReal({OWN_CALLER("moxGreaterSFP"), img, nullptr, res}, ownCompareRows().greaterS[OWN_32F], value);
}

MoxStatus MOX_CALL moxEqualSFP(MoxImage *img, float value, MoxImage *res) {
    return compareReal({OWN_CALLER("moxEqualSFP"), img, nullptr, res}, ownCompareRows().equalS[OWN_32F], value);
}

MoxStatus MOX_CALL moxEqualSFPEps(MoxImage *img, float value, MoxImage *res, float eps) {
    const OwnCompare compare = {OWN_CALLER("moxEqualSFPEps"), img, nullptr, res};
    if (const MoxStatus fault = compare.checkOne(true)) return fault;
    if (const MoxStatus fault = compare.checkEpsilon(eps)) return fault;
    if (const MoxStatus fault = compare.checkChannels()) return fault;
    return compare.run(ownCompareRows().nearS, withEpsilon(value, eps));
}
