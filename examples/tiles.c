/*
 * An image in a file, of which only a few tiles are in memory at a time: the library asks for tiles, and gives them
 * back.
 */
#include <mox.h>
#include <stdio.h>

static const char *const fileName = "example-tiles.tmp";
enum { width = 40, height = 40, tileWidth = 16, tileHeight = 16, columns = 3, rows = 3 };

/* Tiles at the edge are whole, too. Align 8: a row of a tile of 16 bytes is not padded. */
enum { tileBytes = tileWidth * tileHeight };

/*
 * Where all images have tiles of one size, no operation has more of an image in hand than a row of tiles and two. With
 * fewer places than that a request could remain without an answer.
 */
enum { places = columns + 2 };

typedef struct Place {
    char bytes[tileBytes];
    long number; /* of the tile in the file; -1 for none */
    int inHand;  /* requests that have not been released: the tile must stay where it is */
    int changed;
    long used;
} Place;

typedef struct Cache {
    FILE *file;
    Place places[places];
    long clock;
    int requests, loads, stores;
    int mostInHand;
} Cache;

static int store(Cache *cache, Place *place) {
    if (!place->changed) return 1;
    place->changed = 0;
    cache->stores++;
    return fseek(cache->file, place->number * tileBytes, SEEK_SET) == 0 &&
           fwrite(place->bytes, tileBytes, 1, cache->file) == 1;
}

static int load(Cache *cache, Place *place, long number) {
    place->number = -1;
    if (fseek(cache->file, number * tileBytes, SEEK_SET) != 0 || fread(place->bytes, tileBytes, 1, cache->file) != 1) {
        return 0;
    }
    place->number = number;
    cache->loads++;
    return 1;
}

/* The place where a tile is or may come to: of those that nobody has in hand, the one not used for longest. */
static Place *find(Cache *cache, long number) {
    Place *best = NULL;
    for (int i = 0; i < places; i++) {
        Place *place = &cache->places[i];
        if (place->number == number) return place;
        if (place->inHand == 0 && (!best || place->used < best->used)) best = place;
    }
    if (!best || !store(cache, best) || !load(cache, best, number)) return NULL;
    return best;
}

static void countInHand(Cache *cache) {
    int inHand = 0;
    for (int i = 0; i < places; i++)
        inHand += cache->places[i].inHand;
    if (inHand > cache->mostInHand) cache->mostInHand = inHand;
}

/* A request is answered by an address in tileData; null there is a refusal, and ends the operation. */
static int MOX_CALL serve(MoxImage *image, int xIndex, int yIndex, int mode) {
    Cache *cache = image->tileInfo->id;
    Place *place = find(cache, (long)yIndex * columns + xIndex);
    if (mode == MOX_TileRelease) {
        /* The same for reading and writing: what was requested for writing has been noted as changed. */
        if (place) place->inHand--;
        return 0;
    }
    image->tileInfo->tileData = NULL;
    if (!place) return 0;
    if (mode == MOX_TileWrite) place->changed = 1;
    place->inHand++;
    place->used = ++cache->clock;
    cache->requests++;
    countInHand(cache);
    image->tileInfo->tileData = place->bytes;
    return 0;
}

static int openCache(Cache *cache) {
    static const char zeros[tileBytes];
    cache->file = fopen(fileName, "w+b");
    for (int i = 0; i < places; i++)
        cache->places[i].number = -1;
    for (int i = 0; cache->file && i < columns * rows; i++) {
        if (fwrite(zeros, tileBytes, 1, cache->file) != 1) return 0;
    }
    return cache->file != NULL;
}

static void tell(Cache *cache, const char *what) {
    printf("%-8s %2d requests, at most %d in hand, %2d tiles read from the file, %2d written\n", what, cache->requests,
           cache->mostInHand, cache->loads, cache->stores);
    cache->requests = cache->loads = cache->stores = cache->mostInHand = 0;
}

int main(void) {
    static Cache cache;
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);
    if (!openCache(&cache)) return 1;

    /* A header with a tile source has no imageData. */
    MoxTileInfo *tiles = moxCreateTileInfo(serve, &cache, tileWidth, tileHeight);
    MoxImage *image = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8,
                                           width, height, NULL, NULL, NULL, tiles);
    if (!image) return 1;

    moxSet(image, 10);
    tell(&cache, "moxSet");
    image->roi = moxCreateROI(0, 12, 4, 20, 16);
    moxAddS(image, image, 200);
    tell(&cache, "moxAddS");
    image->roi->xOffset = image->roi->yOffset = 0;
    image->roi->width = width;
    image->roi->height = height;
    moxBlur(image, image, 5, 5, 2, 2);
    tell(&cache, "moxBlur");

    for (int y = 0; y < height; y += 4) {
        for (int x = 0; x < width; x += 4) {
            unsigned char gray;
            moxGetPixel(image, x, y, &gray);
            printf("%4d", gray);
        }
        printf("\n");
    }

    moxDeallocate(image, MOX_FreeHeader | MOX_FreeRoi | MOX_FreeTile);
    fclose(cache.file);
    remove(fileName);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
