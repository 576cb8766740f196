// Any bytes as a run-length stream: what it draws, or the fault that it is refused for, is that of an independent
// decoder, and nothing is read or written beyond the memory promised.
#include "core/owncpu.h"
#include "dib/dibcheck.h"
#include "reference/runlength.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "target.h"

static void requireDrawn(const RefDrawn &drawn, StreamCase &test, const ReportRecorder &reports) {
    requireThat(reports.none(), "a stream that is right is refused");
    const int width = test.bitmap.shape().width, factor = test.bitmap.shape().bits == 8 ? 1 : 17;
    for (size_t i = 0; i < drawn.pixels.size(); ++i) {
        const int place = static_cast<int>(i);
        if (drawn.pixels[i] < 0) continue;
        requireThat(test.image.get(0, place % width, place / width) == static_cast<uint32_t>(drawn.pixels[i] * factor),
                    "another pixel is drawn");
    }
}

static void requireRefused(const RefDrawn &drawn, const ReportRecorder &reports) {
    requireThat(reports.seen.size() == 2, "not two reports:\n" + reports.text());
    bool named = false;
    for (int each : {RefDrawn::HEIGHT_OR_WIDTH, RefDrawn::WIDTH, RefDrawn::DELTA, RefDrawn::HEIGHT}) {
        const std::string text = std::string("(") + refFaultText(each) + ")";
        named = named || (drawn.fault & each && reports.seen[0].message.find(text) != std::string::npos);
    }
    requireThat(named, "another fault is named:\n" + reports.text());
    requireThat(moxGetErrStatus() == MOX_StatusInternal, "the status is not that of the second report");
}

void fuzzOne(Random &random) {
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    const int bits = random.oneIn(2) ? 8 : 4, height = random.between(1, 8);
    const int width = random.between(1, random.oneIn(4) ? 600 : 24);
    const bool sized = !random.oneIn(4), refuses = random.oneIn(16);
    std::vector<uint8_t> stream;
    while (!random.onlyChance())
        stream.push_back(static_cast<uint8_t>(random.below(256)));
    if (stream.empty()) return;
    const RefDrawn drawn = refDrawStream(bits, width, height, stream);
    // Only a stream that ends may come without its size.
    StreamCase test(bits, width, height, stream, sized || drawn.fault != RefDrawn::NONE);
    const TestBytes before = test.image.bytes();
    ReportRecorder reports;
    AllocationWindow window(refuses ? 1 : 0);
    moxConvertFromDIB(test.bitmap.header(), test.image.header());
    window.close();
    requireThat(window.live() == 0, "memory was not given back");
    requireThat(test.bitmap.isUntouched(), "the bitmap is written");
    requireThat(test.image.headerIsUntouched(), "the header is written");
    if (window.refused()) {
        requireThat(test.image.holds(before) && !reports.seen.empty(), "refused memory is not reported");
    } else if (drawn.fault == RefDrawn::NONE) {
        requireDrawn(drawn, test, reports);
    } else {
        requireRefused(drawn, reports);
        requireThat(test.image.holds(before), "a damaged stream is drawn");
    }
}
