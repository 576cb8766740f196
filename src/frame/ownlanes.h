// Lanes of masked kernels from the bits of a mask, the first bit on top of a byte: all ones for a set bit.
#pragma once

#include "frame/ownvector.h"

#if defined(OWN_HAS_VECTORS)

namespace {

// Bits that are expanded at a time: they become as many vectors as a lane has bytes.
constexpr size_t OWN_LANE_GROUP = sizeof(OwnVector);

// Where a byte of lanes finds its bit in a group: in vector v of those that the group fills.
template <size_t width>
struct OwnBitPlaces {
    alignas(OWN_LANE_GROUP) uint8_t byte[width][OWN_LANE_GROUP];
    alignas(OWN_LANE_GROUP) uint8_t bit[width][OWN_LANE_GROUP];
};
template <size_t width>
constexpr OwnBitPlaces<width> ownMakeBitPlaces() {
    OwnBitPlaces<width> places = {};
    for (size_t i = 0; i < OWN_LANE_GROUP * width; ++i) {
        const size_t bit = i / width;
        places.byte[i / OWN_LANE_GROUP][i % OWN_LANE_GROUP] = static_cast<uint8_t>(bit / 8);
        places.bit[i / OWN_LANE_GROUP][i % OWN_LANE_GROUP] = static_cast<uint8_t>(128 >> bit % 8);
    }
    return places;
}

// A whole group of bits, in one load, and one of which only the first bytes are there.
[[gnu::always_inline]] inline uint32_t ownLoadGroup(const uint8_t *bits) {
    if constexpr (OWN_LANE_GROUP == 32) return *reinterpret_cast<const OwnAnyU32 *>(bits);
    return *reinterpret_cast<const OwnAnyU16 *>(bits);
}
inline uint32_t ownLoadGroup(const uint8_t *bits, size_t bytes) {
    uint32_t group = 0;
    for (size_t i = 0; i < bytes; ++i)
        group |= static_cast<uint32_t>(bits[i]) << 8 * i;
    return group;
}

// The lanes of a group, `width` bytes each.
template <size_t width>
class OwnLanes {
  public:
    [[gnu::always_inline]] explicit OwnLanes(uint32_t group) {
#if defined(__AVX2__)
        bytes_ = _mm256_set1_epi32(static_cast<int>(group));
#else
        // Vectors are filled by one of the two bytes, or by both in halves.
        OwnVector bytes = _mm_cvtsi32_si128(static_cast<int>(group));
        bytes = _mm_unpacklo_epi8(bytes, bytes);
        bytes = _mm_unpacklo_epi16(bytes, bytes);
        bytes_ = _mm_unpacklo_epi32(bytes, bytes);
#endif
    }
    // Vector v of them.
    [[gnu::always_inline]] OwnVector at(size_t v) const {
        static constexpr OwnBitPlaces<width> places = ownMakeBitPlaces<width>();
        const OwnVector bit = ownLoad(reinterpret_cast<const char *>(places.bit[v]));
        return OWN_VECTOR(cmpeq, epi8)(ownAnd(spread(v), bit), bit);
    }
    // A vector's bytes under vector v of them.
    [[gnu::always_inline]] OwnVector keep(size_t v, const char *bytes) const {
#if defined(__AVX512BW__) && defined(__AVX512VL__)
        static constexpr OwnBitPlaces<width> places = ownMakeBitPlaces<width>();
        const OwnVector bit = ownLoad(reinterpret_cast<const char *>(places.bit[v]));
        return _mm256_maskz_loadu_epi8(_mm256_test_epi8_mask(spread(v), bit), bytes);
#else
        return ownAnd(ownLoad(bytes), at(v));
#endif
    }

  private:
    [[gnu::always_inline]] OwnVector spread([[maybe_unused]] size_t v) const {
#if defined(__AVX2__)
        static constexpr OwnBitPlaces<width> places = ownMakeBitPlaces<width>();
        return _mm256_shuffle_epi8(bytes_, ownLoad(reinterpret_cast<const char *>(places.byte[v])));
#else
        if (2 * v + 2 <= width) return _mm_unpacklo_epi64(bytes_, bytes_);
        return 2 * v >= width ? _mm_unpackhi_epi64(bytes_, bytes_) : bytes_;
#endif
    }
    OwnVector bytes_;
};

// Lanes for n bits, and for up to 7 beyond them.
template <size_t width>
inline void ownExpandBits(const uint8_t *bits, uint8_t *lanes, size_t n) {
    const auto expand = [](uint32_t group, uint8_t *to) {
        const OwnLanes<width> expanded(group);
        for (size_t v = 0; v < width; ++v)
            ownStore(reinterpret_cast<char *>(to + v * OWN_LANE_GROUP), expanded.at(v));
    };
    size_t i = 0;
    for (; i + OWN_LANE_GROUP <= n; i += OWN_LANE_GROUP)
        expand(ownLoadGroup(bits + i / 8), lanes + i * width);
    if (i == n) return;
    uint8_t last[OWN_LANE_GROUP * width];
    const size_t bytes = (n - i + 7) / 8;
    expand(ownLoadGroup(bits + i / 8, bytes), last);
    __builtin_memcpy(lanes + i * width, last, bytes * 8 * width);
}

}  // namespace
#endif
