// Regions, channels of interest, masks and alpha: what must change, and what must not.
#include "toolbench.h"

namespace {

class Regions : public Bench {
  protected:
    // Runs `set 0` with options and compares with the samples that selected tells.
    void expectCleared(const Png &picture, const std::string &options,
                       const std::function<bool(int, int, int)> &selected) {
        write("a.png", picture);
        runLineWell("run a.png " + options + " set 0 out.png");
        const Png result = read("out.png");
        std::size_t i = 0;
        for (int y = 0; y < picture.height; y++) {
            for (int x = 0; x < picture.width; x++) {
                for (int c = 0; c < picture.channels; c++, i++) {
                    ASSERT_EQ(result.samples[i], selected(x, y, c) ? 0 : picture.samples[i])
                        << options << " at " << x << ", " << y << " channel " << c;
                }
            }
        }
    }
};

Png brightPng(int width, int height, int channels) {
    return mapped(randomPng(width, height, channels, 8, 21), [](int v) { return v | 1; });
}

bool within(int x, int y, int left, int top, int width, int height) {
    return x >= left && y >= top && x < left + width && y < top + height;
}

}  // namespace

TEST_F(Regions, Roi) {
    expectCleared(brightPng(40, 30, 3), "--roi 5,7,20,11",
                  [](int x, int y, int) { return within(x, y, 5, 7, 20, 11); });
}

TEST_F(Regions, RoiIsClipped) {
    expectCleared(brightPng(40, 30, 3), "--roi 35,25,2000000000,2000000000",
                  [](int x, int y, int) { return x >= 35 && y >= 25; });
}

TEST_F(Regions, RoiBeyondThePictureIsNoFault) {
    expectCleared(brightPng(40, 30, 3), "--roi 40,30,5,5", [](int, int, int) { return false; });
}

TEST_F(Regions, Coi) {
    expectCleared(brightPng(40, 30, 3), "--coi 2", [](int, int, int c) { return c == 1; });
}

TEST_F(Regions, AlphaStays) {
    expectCleared(brightPng(40, 30, 4), "", [](int, int, int c) { return c < 3; });
    expectCleared(brightPng(40, 30, 2), "", [](int, int, int c) { return c < 1; });
}

TEST_F(Regions, CoiMayNameAlpha) {
    expectCleared(brightPng(40, 30, 4), "--coi 4", [](int, int, int c) { return c == 3; });
}

TEST_F(Regions, Mask) {
    const Png mask = randomPng(40, 30, 1, 1, 22);
    write("m.png", mask);
    expectCleared(brightPng(40, 30, 3), "--mask m.png",
                  [&](int x, int y, int) { return mask.samples[static_cast<std::size_t>(y * 40 + x)] == 1; });
}

TEST_F(Regions, MaskLiesOverThePictureAlsoWithARegion) {
    const Png mask = randomPng(40, 30, 1, 1, 22);
    write("m.png", mask);
    expectCleared(brightPng(40, 30, 3), "--mask m.png --roi 5,7,20,11 --coi 3", [&](int x, int y, int c) {
        return c == 2 && within(x, y, 5, 7, 20, 11) && mask.samples[static_cast<std::size_t>(y * 40 + x)] == 1;
    });
}

TEST_F(Regions, MaskOfAnyKindByItsLight) {
    Png mask = randomPng(40, 30, 3, 8, 23);
    write("m.png", mask);
    expectCleared(brightPng(40, 30, 3), "--mask m.png", [&](int x, int y, int) {
        const std::uint16_t *p = mask.samples.data() + static_cast<std::size_t>(y * 40 + x) * 3;
        return (77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256 >= 128;
    });
}

TEST_F(Regions, SmallMaskLeavesTheRestAlone) {
    write("m.png", mapped(randomPng(10, 12, 1, 1, 1), [](int) { return 1; }));
    expectCleared(brightPng(40, 30, 3), "--mask m.png", [](int x, int y, int) { return within(x, y, 0, 0, 10, 12); });
}

TEST_F(Regions, SecondPictureHasTheSameRegion) {
    const Png a = brightPng(40, 30, 3);
    const Png b = randomPng(40, 30, 3, 8, 30);
    write("a.png", a);
    write("b.png", b);
    runLineWell("run a.png --roi 5,7,20,11 copy b.png out.png");
    const Png result = read("out.png");
    for (int y = 0; y < 30; y++) {
        for (int x = 0; x < 40; x++) {
            const auto i = static_cast<std::size_t>(y * 40 + x) * 3;
            ASSERT_EQ(result.samples[i], within(x, y, 5, 7, 20, 11) ? b.samples[i] : a.samples[i]);
        }
    }
}

TEST_F(Regions, FromMovesTheSecondPicturesRegion) {
    const Png a = brightPng(40, 30, 3);
    const Png b = randomPng(25, 20, 3, 8, 30);
    write("a.png", a);
    write("b.png", b);
    runLineWell("run a.png --roi 15,12,10,10 --from 3,4 copy b.png out.png");
    const Png result = read("out.png");
    for (int y = 0; y < 10; y++) {
        for (int x = 0; x < 10; x++) {
            ASSERT_EQ(result.samples[static_cast<std::size_t>((y + 12) * 40 + x + 15) * 3],
                      b.samples[static_cast<std::size_t>((y + 4) * 25 + x + 3) * 3]);
        }
    }
}

TEST_F(Regions, SmallerSecondPictureCoversTheCommonSize) {
    const Png a = brightPng(40, 30, 3);
    write("a.png", a);
    write("b.png", mapped(randomPng(20, 50, 3, 8, 30), [](int) { return 0; }));
    runLineWell("run a.png and b.png out.png");
    const Png result = read("out.png");
    for (int y = 0; y < 30; y++) {
        for (int x = 0; x < 40; x++) {
            const auto i = static_cast<std::size_t>(y * 40 + x) * 3;
            ASSERT_EQ(result.samples[i], x < 20 ? 0 : a.samples[i]);
        }
    }
}
