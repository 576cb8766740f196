// What the library calls back: functions in C's manner that do what the test at hand wants.
//
//     Callbacks callbacks;
//     callbacks.sample = [](int sample) { return 2 * sample; };
//     moxUserProcess(image.header(), image.header(), Callbacks::onSample);
//     EXPECT_EQ(callbacks.calls, 7);
//
// One set at a time on a thread.
#pragma once

#include <functional>
#include <vector>

#include "reference/user.h"

class Callbacks {
  public:
    Callbacks();
    ~Callbacks();
    Callbacks(const Callbacks &) = delete;
    Callbacks &operator=(const Callbacks &) = delete;

    static int MOX_CALL onSample(int sample);
    static float MOX_CALL onReal(float sample);
    static void MOX_CALL onPixel(MoxImage *source, void *sourcePixel, MoxImage *destination, void *destinationPixel);

    std::function<int(int)> sample;
    std::function<float(float)> real;
    RefUserPixel pixel;
    int channels = 1;  // of a pixel, for pixel
    unsigned depth = MOX_DEPTH_8U;

    int calls = 0;
    MoxImage *source = nullptr, *destination = nullptr;  // of the last pixel
    bool sameImages = true;                              // they were always the same

  private:
    void takePixel(MoxImage *from, void *fromPixel, MoxImage *to, void *toPixel);
    std::vector<uint32_t> from_, to_;
    Callbacks *before_;
};
