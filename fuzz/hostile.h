// Headers, regions, masks and tile records with anything in their fields, over memory that an application has to
// provide for them: widthStep x height bytes for each plane, whole tiles, and not one byte more, whatever imageSize
// says. Nothing else about them is right on purpose.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "mox.h"
#include "support/cases.h"

// Memory whose surroundings are watched: by the address sanitizer where it is there, by guard bytes otherwise.
class WatchedBlock {
  public:
    explicit WatchedBlock(size_t size, uint8_t fill);
    char *data() const { return reinterpret_cast<char *>(storage_.get()) + guard_; }
    size_t size() const { return size_; }
    bool guardsStand() const;

  private:
    size_t size_, guard_;
    std::unique_ptr<uint8_t[]> storage_;
};

// What a header says of that much memory in imageSize, which is nothing to rely on: now and then less or more. It takes
// bits of which the lowest eight have served already, so that inputs stay what they are.
int drawImageSize(uint32_t bits, int size);

class HostileImages {
  public:
    // Images are of the depth that is given, but for masks and now and then one; of any depth without it.
    HostileImages(Random &random, int count, unsigned depth = 0);
    HostileImages(const HostileImages &) = delete;
    HostileImages &operator=(const HostileImages &) = delete;
    ~HostileImages();

    MoxImage *header(int index) const { return entries_[static_cast<size_t>(index)]; }
    // An operation over the first so many could take too much time or memory.
    bool tooLarge(int count) const;

    // Opens a call: tile requests are counted, and the one with this number is refused. After the call: what must hold,
    // whatever the headers were. Tiles that are still in hand are given up.
    void begin(int refuseAt);
    void requireNoHarm(const std::string &what);

  private:
    struct Part {
        MoxImage header, kept;
        MoxROI roi, keptRoi;
        MoxTileInfo tiles, keptTiles;
        std::unique_ptr<WatchedBlock> pixels;
    };
    struct Tile {
        const MoxImage *image;
        int column, row, mode;
        std::unique_ptr<WatchedBlock> block;
    };
    Part *add(Random &random, bool isMask, int depth);
    void drawSizes(Random &random, MoxImage &image);
    void drawRegion(Random &random, Part &part);
    void drawMask(Random &random, Part &part, int depth);
    void drawTiles(Random &random, Part &part);
    void provideMemory(Random &random, Part &part);
    void makeFlat(Random &random);
    static int MOX_CALL serve(MoxImage *image, int column, int row, int mode);
    void giveTile(MoxImage *image, int column, int row, int mode);
    void takeTile(MoxImage *image, int column, int row);

    std::vector<std::unique_ptr<Part>> parts_;
    std::vector<MoxImage *> entries_;
    std::vector<Tile> inHand_;
    int requests_ = 0, refuseAt_ = 0;
    bool tooLarge_ = false;
    unsigned depth_;
};
