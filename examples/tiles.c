/* An image that is never in memory as a whole: the library asks for its tiles, and gives them back. */
#include <mox.h>
#include <stdio.h>
#include <string.h>

enum { width = 40, height = 24, tileWidth = 16, tileHeight = 16, columns = 3, rows = 2 };

/* Where the tiles are kept; an application might keep them in a file. Tiles at the edge are whole, too. */
typedef struct Store {
    char tiles[rows][columns][tileWidth * tileHeight];
    int reads;
    int writes;
    int releases;
} Store;

/* A request is answered by an address in tileData; null there would be a refusal. */
static int MOX_CALL serve(MoxImage *image, int xIndex, int yIndex, int mode) {
    Store *store = image->tileInfo->id;
    if (mode == MOX_TileRelease) {
        store->releases++;
        return 0;
    }
    if (mode == MOX_TileRead) store->reads++;
    if (mode == MOX_TileWrite) store->writes++;
    image->tileInfo->tileData = store->tiles[yIndex][xIndex];
    return 0;
}

int main(void) {
    static Store store;
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);

    /* A header with a tile source has no imageData. Align 8: a row of a tile of 16 bytes is not padded. */
    MoxTileInfo *tiles = moxCreateTileInfo(serve, &store, tileWidth, tileHeight);
    MoxImage *image = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8,
                                           width, height, NULL, NULL, NULL, tiles);
    if (!image) return 1;

    moxSet(image, 10);
    image->roi = moxCreateROI(0, 12, 4, 20, 16);
    moxAddS(image, image, 25);

    printf("writes %d, reads %d, releases %d\n", store.writes, store.reads, store.releases);
    for (int y = 0; y < height; y += 4) {
        for (int x = 0; x < width; x += 4) {
            unsigned char gray;
            moxGetPixel(image, x, y, &gray);
            printf("%4d", gray);
        }
        printf("\n");
    }

    moxDeallocate(image, MOX_FreeHeader | MOX_FreeRoi | MOX_FreeTile);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
