// Photo YCC, compiled once for each CPU level.
#include "color/ownpixels.h"

namespace OWN_LEVEL {
namespace {

constexpr uint8_t CURVE[362] = {
    0,   1,   1,   2,   3,   4,   4,   5,   6,   6,   7,   8,   9,   9,   10,  11,  12,  12,  13,  14,  14,  15,  16,
    17,  17,  18,  19,  19,  20,  21,  22,  22,  23,  24,  25,  25,  26,  27,  27,  28,  29,  30,  30,  31,  32,  32,
    33,  34,  35,  35,  36,  37,  38,  38,  39,  40,  40,  41,  42,  43,  43,  44,  45,  45,  46,  47,  48,  48,  49,
    50,  51,  51,  52,  53,  53,  54,  55,  56,  56,  57,  58,  58,  59,  60,  61,  61,  62,  63,  64,  64,  65,  66,
    66,  67,  68,  69,  69,  70,  71,  71,  72,  73,  74,  74,  75,  76,  77,  77,  78,  79,  79,  80,  81,  82,  82,
    83,  84,  84,  85,  86,  87,  87,  88,  89,  90,  90,  91,  92,  92,  93,  94,  95,  95,  96,  97,  97,  98,  99,
    100, 100, 101, 102, 103, 103, 104, 105, 105, 106, 107, 108, 108, 109, 110, 110, 111, 112, 113, 113, 114, 115, 116,
    116, 117, 118, 118, 119, 120, 121, 121, 122, 123, 123, 124, 125, 126, 126, 127, 128, 129, 129, 130, 131, 131, 132,
    133, 134, 134, 135, 136, 136, 137, 138, 139, 139, 140, 141, 142, 142, 143, 144, 144, 145, 146, 147, 147, 148, 149,
    149, 150, 151, 152, 152, 153, 154, 155, 155, 156, 157, 157, 158, 159, 160, 160, 161, 162, 162, 163, 164, 165, 165,
    166, 167, 167, 168, 169, 170, 170, 171, 172, 173, 173, 174, 175, 175, 176, 177, 178, 178, 179, 180, 180, 181, 182,
    183, 183, 184, 185, 186, 186, 187, 188, 188, 189, 190, 191, 191, 192, 193, 193, 194, 195, 196, 196, 197, 198, 199,
    199, 200, 201, 201, 202, 203, 204, 204, 205, 206, 206, 207, 208, 209, 209, 210, 211, 212, 212, 213, 214, 214, 215,
    216, 217, 217, 218, 219, 219, 220, 221, 222, 222, 223, 224, 225, 225, 226, 227, 227, 228, 229, 230, 230, 231, 232,
    232, 233, 234, 235, 235, 236, 237, 238, 238, 239, 240, 240, 241, 242, 243, 243, 244, 245, 245, 246, 247, 248, 248,
    249, 250, 251, 251, 252, 253, 253, 254, 255, 255, 255, 255, 255, 255, 255, 255, 0,
};

// The entry behind the curve's end is 0, and so is the result there; what lies beyond it ends at 360.
[[gnu::always_inline]] inline int limitIndex(int index) {
    return index < 0 ? 0 : index > 361 ? 360 : index;
}

void toRgb(void *const *rows, size_t n, const void *) {
    constexpr size_t PART = 256;
    const uint8_t *y = static_cast<const uint8_t *>(rows[0]), *c1 = static_cast<const uint8_t *>(rows[1]),
                  *c2 = static_cast<const uint8_t *>(rows[2]);
    for (size_t done = 0; done < n; done += PART) {
        const size_t part = n - done < PART ? n - done : PART;
        uint16_t index[3][PART];
        for (size_t i = 0; i < part; ++i) {
            const int luma = 22256 * y[done + i], first = c1[done + i], second = c2[done + i];
            index[0][i] = static_cast<uint16_t>(limitIndex((luma + 29844 * second - 4088627) >> 14));
            index[1][i] = static_cast<uint16_t>(limitIndex((luma - 7050 * first - 15190 * second + 3180809) >> 14));
            index[2][i] = static_cast<uint16_t>(limitIndex((luma + 36338 * first - 5668739) >> 14));
        }
        for (int c = 0; c < 3; ++c) {
            uint8_t *to = static_cast<uint8_t *>(rows[3 + c]) + done;
            for (size_t i = 0; i < part; ++i)
                to[i] = CURVE[index[c][i]];
        }
    }
}

}  // namespace

extern const OwnModelRows yccRows;
const OwnModelRows yccRows = {{}, {nullptr, toRgb}};

}  // namespace OWN_LEVEL
