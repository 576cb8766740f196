/*
 * What docs/guide.md shows, line by line and in its order, at work: a test compares. Around the guide's lines stands
 * what they need.
 */
#include <math.h>
#include <mox.h>
#include <stdio.h>
#include <string.h>

/* Images are made here from now on, and freed at the end. */
static MoxImage *made[64];
static int madeCount;

static MoxImage *newImage(int channels, int alpha, int depth, int width, int height) {
    MoxImage *image =
        moxCreateImageHeader(channels, alpha, depth, channels == 1 ? "GRAY" : "RGB",
                             channels == 1   ? "G"
                             : channels == 3 ? "RGB"
                                             : "RGBA",
                             MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8, width, height, NULL, NULL, NULL, NULL);
    if (depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(image, 1, 0);
    } else {
        moxAllocateImage(image, 1, 0);
    }
    made[madeCount++] = image;
    return image;
}

static void freeAll(void) {
    while (madeCount > 0)
        moxDeallocate(made[--madeCount], MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
}

/* A picture that differs in every place and channel. */
static MoxImage *newPicture(int channels, int alpha, int width, int height) {
    MoxImage *image = newImage(channels, alpha, MOX_DEPTH_8U, width, height);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            unsigned char pixel[4];
            for (int c = 0; c < 4; c++)
                pixel[c] = (unsigned char)((x * (c + 2) + y * 3 + c * 50) % 256);
            moxPutPixel(image, x, y, pixel);
        }
    }
    return image;
}

static void show(const char *what, MoxImage *image, int x, int y) {
    unsigned char pixel[4];
    moxGetPixel(image, x, y, pixel);
    printf("%-16s", what);
    for (int c = 0; c < image->nChannels; c++)
        printf(" %3d", pixel[c]);
    printf("\n");
}

static void headers(void) {
    MoxImage *image = moxCreateImageHeader(3, 0, MOX_DEPTH_8U, "RGB", "RGB", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8,
                                           640, 480, NULL, NULL, NULL, NULL);
    moxAllocateImage(image, 1, 0);
    made[madeCount++] = image;
    printf("headers          %d %d\n", image->widthStep, image->imageSize);
}

static void operations(void) {
    MoxImage *a = newPicture(3, 0, 64, 48), *b = newPicture(3, 0, 64, 48), *sum = newPicture(3, 0, 64, 48);
    moxAdd(a, b, sum);          /* sum = a + b, clamped to the depth's range */
    moxSubtractS(a, a, 255, 1); /* a = 255 - a, in place */
    show("sum", sum, 20, 30);
    show("difference", a, 20, 30);
}

static void regions(void) {
    MoxImage *image = newPicture(3, 0, 640, 480);
    image->roi = moxCreateROI(0, 100, 50, 200, 120); /* all channels, x, y, width, height */
    moxSet(image, 7);
    show("beside a region", image, 99, 50);
    show("in a region", image, 100, 50);
}

/* One place is enough for single pixels: every request is answered with it. */
static int MOX_CALL serve(MoxImage *image, int xIndex, int yIndex, int mode) {
    unsigned char *tile = image->tileInfo->id;
    if (mode == MOX_TileRelease) return 0;
    memset(tile, xIndex + yIndex, 256 * 256 * 3);
    image->tileInfo->tileData = (char *)tile;
    return 0;
}

static void tiled(void) {
    static unsigned char mine[256 * 256 * 3];
    MoxTileInfo *tiles = moxCreateTileInfo(serve, mine, 256, 256);
    MoxImage *image = moxCreateImageHeader(3, 0, MOX_DEPTH_8U, "RGB", "RGB", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8,
                                           20000, 15000, NULL, NULL, NULL, tiles); /* no imageData */
    show("a tile's pixel", image, 10000, 10000);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeTile);
}

static void moving(void) {
    MoxImage *photo = newPicture(3, 0, 640, 480), *page = newPicture(3, 0, 200, 100);
    photo->roi = moxCreateROI(0, 200, 80, 64, 64); /* this piece ... */
    page->roi = moxCreateROI(0, 10, 20, 64, 64);   /* ... goes here */
    moxCopy(photo, page);
    show("a piece", page, 10, 20);
    show("where it was", photo, 200, 80);
    moxSet(photo, 9);
    moxExchange(photo, page); /* and now each has what the other had */
    show("exchanged", page, 10, 20);
    show("beside it", page, 9, 20);
}

static void channels(void) {
    MoxImage *colour = newPicture(3, 0, 640, 480), *gray = newPicture(1, 0, 640, 480);
    show("a colour", colour, 20, 30);
    MoxROI green = {2, 0, 0, 640, 480}; /* channel 2; a region may stand anywhere */
    colour->roi = &green;
    moxCopy(colour, gray); /* gray has one channel */
    moxSet(colour, 0);     /* and of colour red and blue are left */
    show("its green", gray, 20, 30);
    show("without it", colour, 20, 30);
    colour->roi = NULL;
    MoxImage *clone = moxCloneImage(colour);
    show("a clone", clone, 20, 30);
    moxDeallocate(clone, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
}

static void mean(void) {
    MoxImage *a = newPicture(3, 0, 64, 48), *b = newPicture(3, 0, 64, 48), *mean = newPicture(3, 0, 64, 48);
    moxMirror(b, b, 1);
    moxRShiftS(a, a, 1); /* half of each ... */
    moxRShiftS(b, b, 1);
    moxAdd(a, b, mean); /* ... and white is not passed */
    show("the mean", mean, 20, 30);
}

static void distance(void) {
    MoxImage *a = newPicture(3, 0, 64, 48), *b = newPicture(3, 0, 64, 48), *more = newPicture(3, 0, 64, 48),
             *less = newPicture(3, 0, 64, 48), *apart = newPicture(3, 0, 64, 48);
    moxMirror(b, b, 1);
    moxSubtract(a, b, more);  /* 0 where b is lighter */
    moxSubtract(b, a, less);  /* 0 where a is */
    moxOr(more, less, apart); /* how far apart: one of the two is 0 */
    show("more", more, 20, 30);
    show("less", less, 20, 30);
    show("apart", apart, 20, 30);
    moxAndS(apart, apart, 0xF0); /* in sixteen steps */
    show("in steps", apart, 20, 30);
}

static void levels(void) {
    MoxImage *gray = newPicture(1, 0, 64, 48), *dots = newImage(1, 0, MOX_DEPTH_1U, 64, 48);
    MoxImage *photo = newPicture(3, 0, 64, 48), *poster = newPicture(3, 0, 64, 48);
    moxReduceBits(gray, dots, 0, MOX_DITHER_FS, 2);       /* to 1U, for a printer */
    moxReduceBits(photo, poster, 0, MOX_DITHER_BAYER, 4); /* five shades a channel, at the depth of photo */
    printf("dots             %.0f, shades %.0f\n", moxNorm(dots, NULL, MOX_NORM_L1),
           moxNorm(gray, NULL, MOX_NORM_L1) / 255);
    show("a photo", photo, 20, 30);
    show("a poster", poster, 20, 30);
}

/* By a third of the circle. */
static void turnHues(MoxImage *image) {
    for (int y = 0; y < image->height; y++) {
        for (int x = 0; x < image->width; x++) {
            unsigned char pixel[3];
            moxGetPixel(image, x, y, pixel);
            pixel[0] = (unsigned char)(pixel[0] + 85);
            moxPutPixel(image, x, y, pixel);
        }
    }
}

static void colours(void) {
    MoxImage *image = newPicture(3, 0, 64, 48), *hues = newPicture(3, 0, 64, 48);
    moxRGB2HLS(image, hues); /* the header of hues now says HLS */
    turnHues(hues);          /* channel 1: the circle is the range of the depth */
    moxHLS2RGB(hues, image); /* that of image still says RGB */
    show("other hues", image, 20, 30);
}

static void opacities(void) {
    MoxImage *title = newPicture(4, 4, 64, 48), *photo = newPicture(3, 0, 64, 48);
    moxAlphaComposite(title, photo, photo, MOX_COMPOSITE_OVER, NULL, NULL, NULL, 0, 0);
    show("composed", photo, 20, 30);
    moxPreMultiplyAlpha(title, -1); /* by its own alpha */
    moxAlphaComposite(title, photo, photo, MOX_COMPOSITE_OVER, NULL, NULL, NULL, 1, 0);
    show("once more", photo, 20, 30);
}

static void filters(void) {
    MoxImage *image = newPicture(3, 0, 64, 48);
    moxSetBorderMode(image, MOX_BORDER_REPLICATE, MOX_SIDE_ALL, 0);
    moxBlur(image, image, 5, 3, 2, 1); /* 5 columns, 3 rows, the anchor in the middle; in place */
    show("blurred", image, 0, 0);
}

static void turns(void) {
    const double degree = 3.14159265358979323846 / 180;
    MoxImage *image = newPicture(3, 0, 64, 48), *canvas = newPicture(3, 0, 79, 72);
    double map[2][3] = {{cos(30 * degree), sin(30 * degree), 0}, {-sin(30 * degree), cos(30 * degree), 0}}, box[2][2];
    moxGetAffineBound(image, map, box);
    int left = (int)ceil(box[0][0]), top = (int)ceil(box[0][1]);
    int width = (int)floor(box[1][0]) - left + 1, height = (int)floor(box[1][1]) - top + 1;
    /* canvas is an image of width x height */
    printf("turned           %d x %d, from %d, %d\n", width, height, left, top);
    moxSet(canvas, 255);
    moxRotate(image, canvas, 30, -left, -top, MOX_INTER_CUBIC | MOX_SMOOTH_EDGE);
    show("its middle", canvas, 39, 36);
    show("its corner", canvas, 0, 0);
}

static void slants(void) {
    MoxImage *image = newPicture(3, 0, 64, 48), *slanted = newPicture(3, 0, 64, 48);
    double leaning[2][3] = {{1, 0.25, -5}, {0, 1, 0}}; /* x + 0.25 y - 5, y */
    moxWarpAffine(image, slanted, leaning, MOX_INTER_LINEAR);
    show("leaning", slanted, 20, 30);
    moxSet(slanted, 0);
    moxShear(image, slanted, 0.25, 0, -5, 0, MOX_INTER_LINEAR); /* the same */
    show("and again", slanted, 20, 30);
}

static void quadrangles(void) {
    MoxImage *photo = newPicture(3, 0, 400, 400), *picture = newPicture(3, 0, 90, 120),
             *upright = newPicture(3, 0, 90, 120);
    double page[4][2] = {{100, 40}, {300, 80}, {360, 370}, {50, 330}};                /* where it lies in the photo */
    moxWarpPerspectiveQ(photo, upright, page, 1, MOX_INTER_CUBIC);                    /* what is there, upright */
    moxWarpPerspectiveQ(picture, photo, page, 0, MOX_INTER_LINEAR | MOX_SMOOTH_EDGE); /* another one put there */
    show("upright", upright, 45, 60);
    show("in its place", photo, 200, 200);
}

static void sizes(void) {
    MoxImage *image = newPicture(3, 0, 64, 48), *small = newPicture(3, 0, 20, 15);
    moxResize(image, small, small->width, image->width, small->height, image->height, MOX_INTER_SUPER);
    show("smaller", small, 10, 7);
}

static void maps(void) {
    MoxImage *image = newPicture(3, 0, 64, 48), *lens = newPicture(3, 0, 64, 48);
    MoxImage *xMap = newImage(1, 0, MOX_DEPTH_32F, 64, 48), *yMap = newImage(1, 0, MOX_DEPTH_32F, 64, 48);
    for (int y = 0; y < 48; y++) {
        for (int x = 0; x < 64; x++) {
            float from = (float)(16 + x / 2.0), above = (float)(12 + y / 2.0);
            moxPutPixel(xMap, x, y, &from);
            moxPutPixel(yMap, x, y, &above);
        }
    }
    moxRemap(image, xMap, yMap, lens, MOX_INTER_LINEAR); /* lens(i, j) = image(xMap(i, j), yMap(i, j)) */
    show("through a lens", lens, 31, 21);
}

static void measures(void) {
    MoxImage *image = newPicture(1, 0, 64, 48);
    MoxMomentState state;
    moxMoments(image, state);
    double area = moxGetSpatialMoment(state, 0, 0);
    double centreX = moxGetSpatialMoment(state, 1, 0) / area;
    printf("moments          %.0f %.3f\n", area, centreX);
}

static void comparisons(void) {
    MoxImage *image = newPicture(3, 0, 64, 48), *light = newImage(1, 0, MOX_DEPTH_1U, 64, 48);
    moxGreaterS(image, 128, light); /* bits of the pixels that are light in all channels */
    double count = moxNorm(light, NULL, MOX_NORM_L1);
    image->maskROI = light;
    moxSubtractS(image, image, 40, 0); /* and these alone get darker */
    image->maskROI = NULL;
    printf("light pixels     %.0f\n", count);
    show("a dark one", image, 20, 30);
    for (int y = 0, told = 0; y < 48 && !told; y++) {
        for (int x = 0; x < 64 && !told; x++) {
            unsigned char bit;
            moxGetPixel(light, x, y, &bit);
            if (bit) show("a light one", image, x, y), told = 1;
        }
    }
}

static _Thread_local int slope; /* a function is told the sample alone: what else it needs is the program's */
static int MOX_CALL steepen(int sample) {
    return 128 + (sample - 128) * slope / 100;
}

static void callbacks(void) {
    MoxImage *image = newPicture(3, 0, 64, 48);
    slope = 150;
    moxUserProcess(image, image, steepen);
    show("steeper", image, 20, 30);
}

static void MOX_CALL swapRedAndBlue(MoxImage *src, void *from, MoxImage *dst, void *to) {
    const unsigned char *rgb = from;
    unsigned char *bgr = to, red = rgb[0]; /* both may be the same pixel */
    bgr[0] = rgb[2], bgr[1] = rgb[1], bgr[2] = red;
    (void)src, (void)dst;
}

static void pixels(void) {
    MoxImage *image = newPicture(3, 0, 64, 48);
    moxUserProcessPixel(image, image, swapRedAndBlue);
    show("swapped", image, 20, 30);
}

static void noise(void) {
    MoxImage *image = newPicture(3, 0, 64, 48);
    MoxNoiseParam grain;
    moxNoiseGaussianInit(&grain, 1, 0, 12); /* seed, mean, deviation */
    moxNoiseImage(image, &grain);
    show("grain", image, 20, 30);
}

static void begin(void) {
    moxSetErrMode(MOX_ErrModeParent);  /* report, and let me go on */
    moxRedirectError(moxStdErrReport); /* or a function of your own */
}

static void addFrame(MoxImage *image, int width) {
    if (width < 1) {
        moxError(MOX_StatusBadArgument, "addFrame", "width < 1", __FILE__, __LINE__);
        return;
    }
    /* ... */
    (void)image;
}

static void errors(void) {
    MoxImage *image = newPicture(3, 0, 64, 48);
    MoxErrorCallback before = moxRedirectError(moxNulDevReport); /* for a while nobody is to hear of it */
    addFrame(image, 0);
    moxRedirectError(before);
    if (moxGetErrStatus() < 0) puts(moxErrorStr(moxGetErrStatus()));
    moxSetErrStatus(MOX_StatusNoError);
}

static void memory(void) {
    float *weights = moxsMalloc(256);
    if (!weights) return;
    for (int i = 0; i < 256; i++)
        weights[i] = (float)i / 255;
    printf("a weight         %.3f\n", (double)weights[51]);
    moxFree(weights);
}

int main(void) {
    void (*const parts[])(void) = {headers, operations, regions,     tiled,     moving, channels, mean,        distance,
                                   levels,  colours,    opacities,   filters,   turns,  slants,   quadrangles, sizes,
                                   maps,    measures,   comparisons, callbacks, pixels, noise,    errors,      memory};
    begin();
    for (int i = 0; i < (int)(sizeof parts / sizeof *parts); i++) {
        parts[i]();
        freeAll();
    }
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
