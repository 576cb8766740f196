// Every kind of PNG that may come in.
#include "toolbench.h"

using Formats = Bench;

TEST_F(Formats, PlainKindsComeBackAsTheyWere) {
    for (const int bits : {8, 16}) {
        for (int channels = 1; channels <= 4; channels++) {
            const Png picture = randomPng(19, 13, channels, bits, static_cast<unsigned>(bits + channels));
            write("a.png", picture);
            runLineWell("run a.png xor-s 0 out.png");
            const Png result = read("out.png");
            EXPECT_EQ(result.width, 19);
            EXPECT_EQ(result.height, 13);
            EXPECT_EQ(result.channels, channels);
            EXPECT_EQ(result.bits, bits);
            EXPECT_EQ(result.samples, picture.samples) << bits << " bits, " << channels << " channels";
        }
    }
}

TEST_F(Formats, BitsStayBits) {
    for (const int width : {1, 7, 8, 9, 64, 65}) {
        const Png picture = randomPng(width, 5, 1, 1, 3);
        write("a.png", picture);
        runLineWell("run a.png not out.png");
        EXPECT_EQ(read("out.png").bits, 1);
        EXPECT_EQ(read("out.png").samples, mapped(picture, [](int v) { return 1 - v; }).samples) << width;
    }
}

TEST_F(Formats, FewGraysBecomeEightBits) {
    for (const int bits : {2, 4}) {
        const Png picture = randomPng(19, 13, 1, bits, 3);
        write("a.png", picture);
        runLineWell("run a.png xor-s 0 out.png");
        const int step = 255 / ((1 << bits) - 1);
        EXPECT_EQ(read("out.png").bits, 8);
        EXPECT_EQ(read("out.png").samples, mapped(picture, [step](int v) { return v * step; }).samples);
    }
}

TEST_F(Formats, PalettesBecomeColours) {
    for (const int bits : {1, 2, 4, 8}) {
        Png picture = randomPng(19, 13, 1, bits, 3);
        picture.palette = true;
        write("a.png", picture);
        runLineWell("run a.png xor-s 0 out.png");
        const Png result = read("out.png");
        ASSERT_EQ(result.channels, 3);
        for (std::size_t i = 0; i < picture.samples.size(); i++) {
            const int index = picture.samples[i];
            ASSERT_EQ(result.samples[3 * i], index);
            ASSERT_EQ(result.samples[3 * i + 1], 255 - index);
            ASSERT_EQ(result.samples[3 * i + 2], 7 * index % 256);
        }
    }
}

TEST_F(Formats, TransparencyBecomesAlpha) {
    for (const int bits : {1, 2, 4, 8, 16}) {
        Png picture = randomPng(19, 13, 1, bits, 3);
        picture.transparent = true;
        picture.samples[0] = 0;
        picture.samples[1] = 1;
        write("a.png", picture);
        runLineWell("run a.png xor-s 0 out.png");
        const Png result = read("out.png");
        ASSERT_EQ(result.channels, 2) << bits;
        for (std::size_t i = 0; i < picture.samples.size(); i++) {
            ASSERT_EQ(result.samples[2 * i + 1], picture.samples[i] == 0 ? 0 : (1 << result.bits) - 1) << bits;
        }
    }
}

TEST_F(Formats, TransparentPaletteEntriesBecomeAlpha) {
    Png picture = randomPng(19, 13, 1, 4, 3);
    picture.palette = true;
    picture.transparent = true;
    write("a.png", picture);
    runLineWell("run a.png xor-s 0 out.png");
    const Png result = read("out.png");
    ASSERT_EQ(result.channels, 4);
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        ASSERT_EQ(result.samples[4 * i + 3], picture.samples[i] == 0 ? 0 : 255);
    }
}

TEST_F(Formats, Interlaced) {
    for (const int bits : {1, 8, 16}) {
        Png picture = randomPng(21, 17, bits == 1 ? 1 : 3, bits, 3);
        picture.interlaced = true;
        write("a.png", picture);
        runLineWell("run a.png xor-s 0 out.png");
        EXPECT_EQ(read("out.png").samples, picture.samples) << bits;
    }
}

TEST_F(Formats, OnePixel) {
    Png picture = randomPng(1, 1, 3, 8, 3);
    write("a.png", picture);
    runLineWell("run a.png not not out.png");
    EXPECT_EQ(read("out.png").samples, picture.samples);
}
