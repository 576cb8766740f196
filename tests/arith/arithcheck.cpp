// The comparison of calls with the model.
#include "arith/arithcheck.h"

#include <cstdio>

const std::vector<RefOperation> &allOperations() {
    static const std::vector<RefOperation> operations = pointOperations("arith");
    return operations;
}

RefCall drawCall(Random &random, const RefOperation &op, unsigned depth) {
    RefCall call = op;
    call.flip = random.oneIn(2);
    call.floatBits = drawSample(random, MOX_DEPTH_32F);
    if (op.constant == RefConstant::SHIFT) {
        const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
        call.value = random.oneIn(6) ? drawInt(random) : random.below(bits + 2);
    } else if (random.oneIn(3)) {
        call.value = static_cast<int>(drawSample(random, depth == MOX_DEPTH_32F ? MOX_DEPTH_32S : depth));
    } else {
        call.value = drawInt(random);
    }
    return call;
}

std::string describeCall(const RefCall &call) {
    char text[120];
    snprintf(text, sizeof text, "%s value %d flip %d float 0x%08X", call.op->name, call.value, call.flip,
             call.floatBits);
    return text;
}

SceneOptions sceneOptions(const RefOperation &op, unsigned depth) {
    SceneOptions options;
    options.images = op.sources + 1;
    options.depth = depth;
    options.sameChannels = options.sameOrigin = op.copies != RefCopies::NEVER;
    return options;
}

std::vector<TestImage *> callImages(Scene &scene) {
    return scene.entries();
}

std::vector<TestImage *> imagesOf(const RefOperation &op, TestImage *a, TestImage *b, TestImage *d) {
    return op.sources == 2 ? std::vector<TestImage *>{a, b, d} : std::vector<TestImage *>{a, d};
}

void checkAgainstModel(const RefCall &call, Scene &scene) {
    SCOPED_TRACE(describeCall(call) + "\n" + scene.describe());
    const std::vector<TestImage *> images = callImages(scene);
    scene.keep();
    const RefResult wanted = refPoint(call, images);
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        refRunLibrary(call, images);
        window.close();
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0) << "leaked blocks";
        EXPECT_TRUE(images.back()->holds(wanted.expected, wanted.unspecified));
        EXPECT_TRUE(scene.othersAreUntouched());
        scene.restore();
    });
}
