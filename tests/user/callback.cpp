// Callbacks as tests want them.
#include "user/callback.h"

#include <cstring>

#include "support/allocations.h"

static thread_local Callbacks *current;

Callbacks::Callbacks() : before_(current) {
    current = this;
}

Callbacks::~Callbacks() {
    current = before_;
}

int MOX_CALL Callbacks::onSample(int sample) {
    ++current->calls;
    return current->sample(sample);
}

float MOX_CALL Callbacks::onReal(float sample) {
    ++current->calls;
    return current->real(sample);
}

void MOX_CALL Callbacks::onPixel(MoxImage *source, void *sourcePixel, MoxImage *destination, void *destinationPixel) {
    AllocationPause pause;
    current->takePixel(source, sourcePixel, destination, destinationPixel);
}

void Callbacks::takePixel(MoxImage *from, void *fromPixel, MoxImage *to, void *toPixel) {
    if (calls++ != 0 && (from != source || to != destination)) sameImages = false;
    source = from;
    destination = to;
    const size_t size = (depth & ~MOX_DEPTH_SIGN) / 8, count = static_cast<size_t>(channels);
    // Samples stand at any address, low bytes first on every machine that this is for.
    from_.assign(count, 0);
    to_.assign(count, 0);
    for (size_t c = 0; c < count; ++c) {
        std::memcpy(&from_[c], static_cast<const char *>(fromPixel) + c * size, size);
        std::memcpy(&to_[c], static_cast<const char *>(toPixel) + c * size, size);
    }
    pixel(from_, to_);
    for (size_t c = 0; c < count; ++c)
        std::memcpy(static_cast<char *>(toPixel) + c * size, &to_[c], size);
}
