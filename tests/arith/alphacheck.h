// What the tests of opacities share: images of any layouts that a call takes together, calls watched at every CPU level
// and compared with the model, and refusals.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mox.h"
#include "reference/alpha.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

const unsigned alphaDepths[] = {MOX_DEPTH_8U, MOX_DEPTH_16U};

struct AlphaSceneOptions {
    unsigned depth = MOX_DEPTH_8U;
    bool composes = true;      // moxAlphaComposite's images; else there are no images of opacities
    bool needsAlphaA = false;  // the sources have alpha channels, or need none
    bool needsAlphaB = false;
    bool scales = false;  // channels that moxMultiplyScale accepts together
    int sources = 2;      // 0: one image that is everything
    int tiled = -1;       // 0 none, 1 most, -1 some
    bool masks = true;
    bool sharing = true;  // one image may take several parts
    // An image whose first channel is an opacity may be the destination, which overwrites it channel by channel.
    bool overwritten = false;
    int maxWidth = 60;
    int maxHeight = 18;
};

class AlphaScene {
  public:
    AlphaScene(Random &random, const AlphaSceneOptions &options);
    // With one source it is a, and b is null; without any all three are the destination.
    TestImage *a = nullptr, *b = nullptr, *dst = nullptr;
    TestImage *alphaA = nullptr, *alphaB = nullptr, *alphaDst = nullptr;

    std::string describe() const;
    const std::vector<TestImage *> &images() const { return all_; }  // masks too, each once

  private:
    TestImage *add(const TestLayout &layout);
    int drawCount();
    TestLayout drawColours(bool needsAlpha);
    TestLayout drawScaled();
    TestLayout drawOpacity(bool needsAlpha);
    void place(TestLayout &layout, int coi);
    void reach(TestLayout &layout);
    void drawSources();
    void drawOpacities();
    void drawMasks();
    bool overwritesOpacity(const TestImage *image) const;
    TestImage *known(const std::function<bool(const TestImage &)> &suits);

    Random &random_;
    AlphaSceneOptions options_;
    int colours_, width_, height_;
    bool coi_;
    std::vector<std::unique_ptr<TestImage>> owned_;
    std::vector<TestImage *> all_;
};

// Any valid rule.
RefRule drawRule(Random &random);
std::string describeRule(const RefRule &rule);

void runComposite(const RefComposite &call);

// Runs the call at every CPU level: nothing is reported or leaked, images hold what is wanted and all others what they
// held, tiles come and go as told. Everything is as before afterwards.
void checkAlphaCall(const std::vector<TestImage *> &images, const RefWrites &wanted,
                    const std::vector<TileEvent> &events, const std::function<void()> &call);

// Runs the call, in which the n-th tile is refused: the model's session tells which blocks were worked on before. The
// report, and nothing else touched.
void checkRefusedTile(const std::vector<TestImage *> &images, const RefWrites &wanted, const RefSession &session,
                      int refuseAt, const char *name, const std::function<void()> &call);

// Exactly this report, the status word that it leaves, and no image changed.
void expectAlphaReport(const std::vector<TestImage *> &images, const std::vector<ReportExpected> &expected,
                       const std::function<void()> &call);

// Small images in which each channel has one value: the channels' layout, the value, and whether it is there.
TestLayout coloursLayout(unsigned depth, int count, bool alpha);
void fillChannel(TestImage &image, int channel, uint32_t value);
testing::AssertionResult channelIs(const TestImage &image, int channel, uint32_t value);
