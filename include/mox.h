/*
 * mox.h - operations on images, from C and C++.
 *
 * An application describes its pixels by a MoxImage header. The pixels lie in memory (imageData) or are served
 * tile by tile through a callback (tileInfo). Operations take headers, and every one of them honours:
 *
 *   roi       the region of interest, clipped to the image; null means the whole image. Images of different size are
 *             processed over the smallest common width and height, each from its own region's top left corner. An empty
 *             region is no fault: nothing happens.
 *   coi       the channel of interest of the region, counted from 1; 0 means all channels but alpha.
 *   maskROI   a 1-bit image: where its bit is 0 the destination keeps what it holds. The masks of all images of a call
 *             are combined. A mask's own maskROI is checked with its header and otherwise ignored.
 *   alpha     alphaChannel is 0 or nChannels; operations leave the alpha samples of the destination alone unless they
 *             say otherwise.
 *   tileInfo  tiles are requested from the callback, used, and released. An operation may hold several tiles of an
 *             image at once: see MoxTileCallback.
 *
 * Unless told otherwise an operation runs in place: the destination may be the same header as a source. Two different
 * headers over overlapping memory are not noticed: where equal positions coincide in memory, operations that compute a
 * sample from those at its own position have defined results all the same; filters and moxReduceBits have none.
 *
 * Results are defined bit for bit and the same on every processor, and those in tiles are those of plain memory unless a
 * function says otherwise. Only where a 32F sample that is computed from several (by a kernel, a matrix, a colour model,
 * a transform) is not a number is it left open which NaN it is, sign and payload; arithmetic on two images says which.
 *
 * Failures. An operation that cannot run calls moxError once and returns with its destination untouched; what it
 * returns is nothing, so read moxGetErrStatus(). The status word is sticky: only moxSetErrStatus(0) clears it. A new
 * thread starts in MOX_ErrModeLeaf, where a report may end the application: most applications begin with
 * moxSetErrMode(MOX_ErrModeParent). A header that passes moxCheckImageHeader but cannot be that of an image in memory
 * is refused by every operation with "Incorrect Image", behind all its other tests and before any memory is touched:
 * with MOX_StatusHeaderSize (or MOX_StatusTileSize) where its sizes multiply to more than a 32-bit count of bytes, with
 * MOX_StatusHeaderWidthStep where a row is longer than widthStep; 100 less for a mask. imageSize is not among them:
 * what of it goes beyond widthStep x height bytes (x nChannels in plane order) is not used. What the library cannot see
 * is the caller's to guarantee: that imageData points to widthStep x height bytes (x nChannels in plane order), and a
 * tile's tileData to a whole tile.
 *
 * Threads. The library starts no thread and takes no lock. Status, error mode and report function belong to the calling
 * thread. Threads may share sources; a header or tile record that an operation writes serves one operation at a time.
 * The bytes that an operation rewrites unchanged (masked-out samples, channels that are not of interest, bits of a byte
 * beyond the region) belong to the destination, which one thread at a time may process.
 */
#ifndef MOX_H
#define MOX_H

#if defined(_WIN32) && !defined(_WIN64)
#define MOX_CALL __stdcall
#else
#define MOX_CALL
#endif

#if defined(_WIN32)
#define MOX_EXPORT
#elif defined(__GNUC__)
#define MOX_EXPORT __attribute__((visibility("default")))
#else
#define MOX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Status, error modes, reports
 * ---------------------------------------------------------------------------------------------------------------- */

/** 0 is success, a negative value a fault. */
typedef int MoxStatus;

enum {
    MOX_StatusNoError = 0,
    MOX_StatusBacktrace = -1, /**< a step above an inner failure; reported, never stored */
    MOX_StatusGeneral = -2,   /**< has a message but no code of its own */
    MOX_StatusInternal = -3,  /**< a state that should not arise */
    MOX_StatusNoMemory = -4,
    MOX_StatusBadArgument = -5, /**< the message is the failed test */
    MOX_StatusUnsupported = -6,
    MOX_StatusNoConvergence = -7,
    MOX_StatusAutotrace = -8, /**< reported, never stored */
    /* Faults of an image header. In the header of a mask they are 100 less. */
    MOX_StatusHeaderNull = -9,
    MOX_StatusHeaderSize = -10,
    MOX_StatusHeaderRoiOffset = -11,
    MOX_StatusHeaderNoData = -12,
    MOX_StatusHeaderWidthStep = -13,
    MOX_StatusHeaderColorModel = -14,
    MOX_StatusHeaderChannels = -15,
    MOX_StatusHeaderBitChannels = -16,
    MOX_StatusHeaderDepth = -17,
    MOX_StatusHeaderAlpha = -18,
    MOX_StatusHeaderOrder = -19,
    MOX_StatusHeaderOrigin = -20,
    MOX_StatusHeaderAlign = -21,
    MOX_StatusNullCallback = -22,
    MOX_StatusTileSize = -23,
    MOX_StatusHeaderCoi = -24,
    MOX_StatusHeaderRoiSize = -25,
    MOX_StatusMaskTiled = -26,
    MOX_StatusNullPointer = -27,
    MOX_StatusVectorLength = -28,
    MOX_StatusFilterContent = -29,
    MOX_StatusKernelContent = -30,
    MOX_StatusFilterOffset = -31
};

/** Error modes, one for each thread. Any other value is accepted: reports are then written, and nothing ends. */
enum {
    MOX_ErrModeLeaf = 0,   /**< a report may end the application */
    MOX_ErrModeParent = 1, /**< report, and let the caller go on */
    MOX_ErrModeSilent = 2  /**< no output; the status is still stored */
};

/**
 * A report function: what moxError calls. functionName names the exported function that failed, message is a short
 * sentence or the failed test, fileName and line say where in the library. The strings are valid during the call. The
 * value that it returns is what moxError returns.
 */
typedef MoxStatus(MOX_CALL *MoxErrorCallback)(MoxStatus status, const char *functionName, const char *message,
                                              const char *fileName, int line);

/** The calling thread's status word. */
MOX_EXPORT MoxStatus MOX_CALL moxGetErrStatus(void);

/** Stores the calling thread's status word; moxSetErrStatus(0) clears a fault. Nothing is reported. */
MOX_EXPORT void MOX_CALL moxSetErrStatus(MoxStatus status);

/** The calling thread's error mode. */
MOX_EXPORT int MOX_CALL moxGetErrMode(void);

/** Sets the calling thread's error mode; any value is stored as given. */
MOX_EXPORT void MOX_CALL moxSetErrMode(int mode);

/**
 * Installs the calling thread's report function and returns the one before. Null installs moxGuiBoxReport.
 */
MOX_EXPORT MoxErrorCallback MOX_CALL moxRedirectError(MoxErrorCallback report);

/**
 * Reports a failure as the library's own functions do. -1 and -8 leave the status word as it is and call the report
 * function. 0 is stored, and nothing is reported. Any other status is stored and reported. Returns what the report
 * function returned, or 0.
 */
MOX_EXPORT MoxStatus MOX_CALL moxError(MoxStatus status, const char *functionName, const char *message,
                                       const char *fileName, int line);

/** The text of a status: a constant, never null. "Unknown error or status code" where there is none. */
MOX_EXPORT const char *MOX_CALL moxErrorStr(MoxStatus status);

/** A report function that writes nothing. In MOX_ErrModeLeaf it ends the process with exit code 1. Returns status. */
MOX_EXPORT MoxStatus MOX_CALL moxNulDevReport(MoxStatus status, const char *functionName, const char *message,
                                              const char *fileName, int line);

/**
 * A report function that writes to the standard error stream. In MOX_ErrModeLeaf it then ends the process with exit
 * code 1; in MOX_ErrModeSilent it writes nothing. Returns status.
 */
MOX_EXPORT MoxStatus MOX_CALL moxStdErrReport(MoxStatus status, const char *functionName, const char *message,
                                              const char *fileName, int line);

/**
 * The report function of a new thread: asks the user, in MOX_ErrModeLeaf "Terminate the application?" (Yes ends the
 * process with exit code 1), in MOX_ErrModeParent "Continue?" (Cancel ends it). In every other mode nothing is shown.
 * Returns status.
 *
 * On Windows it asks by a message box. Elsewhere it asks on the controlling terminal of the process: title and text are
 * written there, and a line is read; its first letter answers (y or n, o or c, in either case), and the question is
 * asked again until one does. Where there is no terminal, or it ends before an answer, title and text go to the
 * standard error stream and the answer is the safe one: Yes in MOX_ErrModeLeaf (the process ends, as with
 * moxStdErrReport), OK in MOX_ErrModeParent (the caller goes on). It never waits where nobody can answer. Before the
 * process ends, "MOX Library: terminating the application" goes to the standard error stream.
 */
MOX_EXPORT MoxStatus MOX_CALL moxGuiBoxReport(MoxStatus status, const char *functionName, const char *message,
                                              const char *fileName, int line);

/* ------------------------------------------------------------------------------------------------------------------
 * Memory
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * Memory aligned to 32 bytes: bytes, 16-bit items, 32-bit items (two names), 64-bit items. Null for a count below 1,
 * for more than a 32-bit count of bytes, and when memory runs out; nothing is reported. Give it back with moxFree,
 * never with free.
 */
MOX_EXPORT void *MOX_CALL moxMalloc(int length);
MOX_EXPORT short *MOX_CALL moxwMalloc(int length); /**< 16-bit items, see moxMalloc */
MOX_EXPORT int *MOX_CALL moxiMalloc(int length);   /**< 32-bit integers, see moxMalloc */
MOX_EXPORT float *MOX_CALL moxsMalloc(int length); /**< 32-bit floats, see moxMalloc; the same function as moxiMalloc */
MOX_EXPORT double *MOX_CALL moxdMalloc(int length); /**< 64-bit floats, see moxMalloc */

/** Frees memory of the functions above. Null is ignored. */
MOX_EXPORT void MOX_CALL moxFree(void *memory);

/* ------------------------------------------------------------------------------------------------------------------
 * Version and clock
 * ---------------------------------------------------------------------------------------------------------------- */

typedef struct MoxLibVersion {
    int major;
    int minor;
    int build;
    const char *name;
    const char *version;
    const char *internalVersion;
    const char *buildDate;
    const char *callConv;
} MoxLibVersion;

/** The version record: constant, the same for every call and thread. */
MOX_EXPORT const MoxLibVersion *MOX_CALL moxGetLibVersion(void);

/**
 * A 64-bit tick counter that does not run backwards on a thread: the processor's time-stamp counter on x86, a monotonic
 * clock in nanoseconds elsewhere. Use differences only.
 */
MOX_EXPORT long long MOX_CALL moxGetCycleCounter(void);

/* ------------------------------------------------------------------------------------------------------------------
 * The image model
 * ---------------------------------------------------------------------------------------------------------------- */

/** Sample depths: the low 31 bits are the bits of a sample, the top bit says signed. 32 without sign is float. */
#define MOX_DEPTH_SIGN 0x80000000u
#define MOX_DEPTH_1U 1u /**< one bit, most significant bit of a byte first; one channel only */
#define MOX_DEPTH_8U 8u
#define MOX_DEPTH_16U 16u
#define MOX_DEPTH_32F 32u
#define MOX_DEPTH_8S (MOX_DEPTH_SIGN | 8u)
#define MOX_DEPTH_16S (MOX_DEPTH_SIGN | 16u)
#define MOX_DEPTH_32S (MOX_DEPTH_SIGN | 32u)

enum {
    MOX_DATA_ORDER_PIXEL = 0, /**< channels interleaved */
    MOX_DATA_ORDER_PLANE = 1  /**< one plane for each channel, one after the other */
};

enum {
    MOX_ORIGIN_TL = 0, /**< top left */
    MOX_ORIGIN_BL = 1  /**< bottom left. Rows are processed in memory order whatever the origin */
};

enum {
    MOX_TileRead = 1,   /**< make the tile available for reading, its address in tileInfo->tileData */
    MOX_TileWrite = 2,  /**< make the tile available for reading and writing, its address in tileInfo->tileData */
    MOX_TileRelease = 4 /**< the library is done with the tile; tileData holds its address once more */
};

/** What lies outside an image, for each side (see moxSetBorderMode). */
enum {
    MOX_BORDER_CONSTANT = 0,  /**< the side's constant */
    MOX_BORDER_REPLICATE = 1, /**< the nearest pixel */
    MOX_BORDER_REFLECT = 2,   /**< mirrored, the edge doubled: -1 reads 0, -2 reads 1 */
    MOX_BORDER_WRAP = 3       /**< the image repeated */
};

/** Sides for moxSetBorderMode, combinable. Their entries in borderMode and borderConst are 0, 1, 2, 3 in this order. */
enum { MOX_SIDE_TOP = 1, MOX_SIDE_BOTTOM = 2, MOX_SIDE_LEFT = 4, MOX_SIDE_RIGHT = 8, MOX_SIDE_ALL = 15 };

/** Flags of moxDeallocate, combinable. */
enum {
    MOX_FreeHeader = 1,
    MOX_FreeData = 2,
    MOX_FreeRoi = 4,
    MOX_FreeTile = 8,
    MOX_FreeMask = 16 /**< the mask image with its header, data, region and tile record */
};

/** A region of interest. Records from moxCreateROI go back by moxDeleteROI; one region may serve several images. */
typedef struct MoxROI {
    int coi;     /**< channel of interest, counted from 1; 0 for all */
    int xOffset; /**< pixels from the left, at least 0 */
    int yOffset; /**< rows from the top in memory, at least 0 */
    int width;   /**< at least 1; what lies beyond the image is clipped */
    int height;
} MoxROI;

struct MoxImage;

/**
 * The tile access function. Called with the image whose operation is running, the tile's column and row, and one of
 * MOX_TileRead, MOX_TileWrite, MOX_TileRelease. A request is answered by storing the tile's address in
 * image->tileInfo->tileData; null means failure. A tile is laid out like an image of tile width x tile height with the
 * depth, channels, order and align of the image, rows rounded up to align; edge tiles are whole. The value that it
 * returns is not used.
 *
 * A tile is in hand from its request until its release, and must stay where it is, whatever else is requested
 * meanwhile. Where all tiled images of a call have tiles of one size, no operation has more of an image in hand than a
 * row of tiles, which are as many as the image has columns of them, and two. In detail, at most:
 *
 *   one     for each part that the image has in the call (a source, the other one, the destination), given back before
 *           the next one is requested: arithmetic and logic, except moxAbs where it copies; moxSet, moxSetFP,
 *           moxGetPixel, moxPutPixel; moxConvert, moxBitonalToGray, moxScale, moxScaleFP, moxThreshold, moxReduceBits;
 *           moxApplyColorTwist, moxColorTwistFP; moxPreMultiplyAlpha; moxMinMaxFP, moxMoments, moxSpatialMoment,
 *           moxNormalizedSpatialMoment, moxCentralMoment, moxNormalizedCentralMoment; moxComputeHisto,
 *           moxContrastStretch, moxHistoEqualize; moxNoiseImage. Both parts may have the same tile.
 *   row     a row of tiles, and one for each further part: all other operations, which read rectangles, except those
 *           below. The tiles of a row are requested one after the other, in either direction, and released together,
 *           the last one first. Of an image that is only written there is one.
 *   block   moxAlphaComposite, moxAlphaCompositeC, moxMultiplyScale, moxMultiplySScale: all that one of the largest
 *           tiles in the call touches. Of tiles of 8 x 8 beside others of 64 x 64 these are 9 x 9, of tiles of one size
 *           2 x 2: the larger width over the image's own, rounded up, and one; likewise the height; never more than the
 *           image has. They are requested row by row, and released together in the same order, once for all parts.
 *
 * A tile may be requested several times in an operation. A release does not say what for the tile was requested: what
 * has been requested by MOX_TileWrite since it was last kept may have changed. After a request has been refused, the
 * rest of a row of tiles is still requested, and what is in hand then is not always released.
 */
typedef int(MOX_CALL *MoxTileCallback)(struct MoxImage *image, int xIndex, int yIndex, int mode);

/** A tile source. */
typedef struct MoxTileInfo {
    MoxTileCallback callBack;
    void *id;       /**< the caller's, never read by the library */
    char *tileData; /**< written by the callback */
    int width;      /**< of a tile, a positive multiple of 8 */
    int height;
} MoxTileInfo;

/** The image header. */
typedef struct MoxImage {
    int headerSize;           /**< sizeof(MoxImage) */
    int headerId;             /**< 0 */
    int nChannels;            /**< at least 1; exactly 1 at depth 1 */
    int alphaChannel;         /**< 0, or nChannels: the last channel is alpha */
    unsigned depth;           /**< a MOX_DEPTH_ code */
    char colorModel[4];       /**< "GRAY", "RGB", ...: copied, not interpreted here */
    char channelSeq[4];       /**< "G", "RGB", "BGR", ... */
    int dataOrder;            /**< MOX_DATA_ORDER_PIXEL or MOX_DATA_ORDER_PLANE */
    int origin;               /**< MOX_ORIGIN_TL or MOX_ORIGIN_BL */
    int align;                /**< row alignment in bytes: 4, 8, 16 or 32 */
    int width;                /**< in pixels, at least 1 */
    int height;               /**< in rows, at least 1 */
    MoxROI *roi;              /**< null for the whole image and all channels */
    struct MoxImage *maskROI; /**< null, or a 1-bit image in memory */
    void *imageId;            /**< the caller's */
    MoxTileInfo *tileInfo;    /**< null, or the tile source; exactly one of tileInfo and imageData is set */
    int imageSize;            /**< bytes of all pixel data */
    char *imageData;          /**< first byte of the pixels; it may stand at any address */
    int widthStep;            /**< bytes from a row to the next, in plane order within a plane; whole samples */
    int borderMode[4];        /**< see moxSetBorderMode */
    int borderConst[4];
    char *imageDataBase; /**< what the heap returned; moxDeallocateImage frees this */
} MoxImage;

/**
 * Creates a header without pixels: imageData is null, widthStep and imageSize are computed, all borders are constant 0.
 * widthStep is width x bits (x nChannels in pixel order) rounded up to align bytes; imageSize is widthStep x height (x
 * nChannels in plane order). A tiled image has no bytes of its own and may have any size; where an int does not hold its
 * widthStep or imageSize they are 0. colorModel and channelSeq are read to four characters, with no end mark needed; a shorter
 * string is filled with zero bytes. The header does not own roi, maskROI and tileInfo, and does not copy them. Free it
 * with moxDeallocate.
 *
 * Null and a report "Incorrect data-ins" for the first of
 *
 *   -10   height or width below 1
 *   -15   nChannels below 1
 *   -16   several channels at depth 1
 *   -14   a null string
 *   -17   depth
 *   -18   alphaChannel neither 0 nor nChannels
 *   -19   dataOrder
 *   -20   origin
 *   -21   align
 *   -10   an imageSize beyond 32 bits, without tileInfo
 *  -117   a mask that is not 1-bit; -26 one that is tiled; else a fault of the mask's own, less 100
 *
 * Null without a report when memory runs out.
 */
MOX_EXPORT MoxImage *MOX_CALL moxCreateImageHeader(int nChannels, int alphaChannel, int depth, const char *colorModel,
                                                   const char *channelSeq, int dataOrder, int origin, int align,
                                                   int width, int height, MoxROI *roi, MoxImage *maskROI, void *imageId,
                                                   MoxTileInfo *tileInfo);

/**
 * Allocates the pixels of a header of any depth but 32F, which moxAllocateImageFP is for; widthStep and imageSize are
 * computed anew. With doFill every sample, padding included, becomes fillValue cut to the depth's low bits; without,
 * memory is as the heap delivers it. -5 when the image is null, has data, is tiled or is 32F ("( image->depth == 32
 * )"); the header tests of moxCreateImageHeader as "Incorrect data-ins"; -4 "for allocate image data".
 */
MOX_EXPORT void MOX_CALL moxAllocateImage(MoxImage *image, int doFill, int fillValue);

/** moxAllocateImage for depth 32F, and for no other. */
MOX_EXPORT void MOX_CALL moxAllocateImageFP(MoxImage *image, int doFill, float fillValue);

/**
 * Frees what the flags name, in the order region, mask, tile record, pixels, header, and clears the pointers. Null
 * image and null parts are ignored.
 */
MOX_EXPORT void MOX_CALL moxDeallocate(MoxImage *image, int flag);

/** moxDeallocate(image, MOX_FreeHeader). */
MOX_EXPORT void MOX_CALL moxDeallocateHeader(MoxImage *image);

/** Frees the pixels of an image, which must not be null; the header stays. */
MOX_EXPORT void MOX_CALL moxDeallocateImage(MoxImage *image);

/** Creates a region record; null when memory runs out. Nothing is checked here: the operation that uses it does. */
MOX_EXPORT MoxROI *MOX_CALL moxCreateROI(int coi, int xOffset, int yOffset, int width, int height);

/** Sets all fields of a region record; null is ignored. */
MOX_EXPORT void MOX_CALL moxSetROI(MoxROI *roi, int coi, int xOffset, int yOffset, int width, int height);

/** Frees a record of moxCreateROI; the same function as moxFree. */
MOX_EXPORT void MOX_CALL moxDeleteROI(MoxROI *roi);

/** Creates a tile record with tileData null; null when memory runs out. Nothing is checked here. */
MOX_EXPORT MoxTileInfo *MOX_CALL moxCreateTileInfo(MoxTileCallback callBack, void *id, int width, int height);

/** Sets all fields of a tile record and clears tileData; null is ignored. */
MOX_EXPORT void MOX_CALL moxSetTileInfo(MoxTileInfo *tileInfo, MoxTileCallback callBack, void *id, int width,
                                        int height);

/** Frees a record of moxCreateTileInfo; the same function as moxFree. */
MOX_EXPORT void MOX_CALL moxDeleteTileInfo(MoxTileInfo *tileInfo);

/**
 * Checks a header as every operation does. Returns and stores the first fault:
 *
 *    -9   null
 *   -12   not exactly one of imageData and tileInfo
 *   -10   imageSize below 1; -13 widthStep below 1: neither is looked at in a tiled image
 *   -10   width or height below 1
 *   -15   to -21 in this order: channels, several channels at depth 1, depth, alpha, order, origin, align
 *  -117   a mask that is not 1-bit; -26 one that is tiled; else a fault of the mask's own, less 100
 *   -22   no tile callback; -23 a tile's size not a positive multiple of 8
 *   -24   the region's coi; -25 its size; -11 its offset
 *
 * A clean header returns 0 and leaves the status word alone. Nothing is reported.
 */
MOX_EXPORT MoxStatus MOX_CALL moxCheckImageHeader(const MoxImage *image);

/**
 * A copy of an image with pixels of its own. The copy keeps borders and region (a record of its own), and has no mask,
 * tile source or imageId. Of a tiled image only the header is cloned: the pixels stay unset. An image whose stride is
 * not the computed one gets the computed one in the clone. Free it with moxDeallocate(clone, MOX_FreeHeader |
 * MOX_FreeData | MOX_FreeRoi). Null and a report: "Incorrect Image" with the header's fault; -4 "Not enough memory to
 * allocate header for clone image", "... roi ...", "... imageData ...".
 */
MOX_EXPORT MoxImage *MOX_CALL moxCloneImage(MoxImage *image);

/**
 * Sets mode and constant of every side whose bit is in sides. The mode is stored unchecked (operations read its two low
 * bits); the constant is clamped to the depth's range, at 32 bits stored as it is. No checks, no error: image must not
 * be null.
 */
MOX_EXPORT void MOX_CALL moxSetBorderMode(MoxImage *image, int mode, int sides, int constant);

/* ------------------------------------------------------------------------------------------------------------------
 * Moving pixels. No arithmetic: at every depth.
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * dst = src. Depth and origin must agree, and so must dataOrder unless both images have one channel. nChannels may
 * differ as long as the numbers of processed channels agree, so that a coi extracts or inserts a channel. A copy onto
 * itself does nothing.
 *
 * Does nothing while the status word is negative, also from an earlier fault. "Incorrect Image"; -5 "srcImage->depth !=
 * dstImage->depth", "srcImage->origin != dstImage->origin", "srcImage->dataOrder != dstImage->dataOrder", "Number of
 * processed channels of srcImage != Number of processed channels of dstImage"; -2 "Error get tile to read", "Error get
 * tile to write"; -1 with an empty message after a failure within.
 */
MOX_EXPORT void MOX_CALL moxCopy(MoxImage *srcImage, MoxImage *dstImage);

/**
 * Sets every sample of the region to fillValue, clamped to the depth's range. Not for 32F: -17 "You should use moxSetFP
 * for this image". "Incorrect Image"; -2 "Error get tile to write". A 1-bit tiled image under a mask: the caller's mask
 * is inverted for the duration of the call.
 */
MOX_EXPORT void MOX_CALL moxSet(MoxImage *image, int fillValue);

/**
 * moxSet for depth 32F; the value is stored bit for bit. image->depth is changed for the duration of the call. -5
 * "dstImage==0"; -17 "You should use moxSet for this image"; a fault within is reported by moxSet, then as -1.
 */
MOX_EXPORT void MOX_CALL moxSetFP(MoxImage *image, float fillValue);

/** Swaps the samples of two images; rules, checks and messages are those of moxCopy, image1 being the source. Two tiled
 * images take a temporary of the common region. */
MOX_EXPORT void MOX_CALL moxExchange(MoxImage *image1, MoxImage *image2);

/**
 * Reads all nChannels samples of a pixel, alpha included, into pixel, in the element type of the depth (at depth 1 a
 * byte, 0 or 1). With origin MOX_ORIGIN_BL y counts from the last row. Region, coi and mask play no part. "Incorrect
 * Image"; -5 "((x>img->width-1) || (x<0))", "((y>img->height-1) || (y<0))"; -5 "pixel==0"; -2 "Error get tile to read".
 */
MOX_EXPORT void MOX_CALL moxGetPixel(MoxImage *image, int x, int y, void *pixel);

/** Writes all nChannels samples of a pixel; the rules of moxGetPixel. At depth 1 only bit 0 of the first byte counts.
 * -2 "Error get tile to write". */
MOX_EXPORT void MOX_CALL moxPutPixel(MoxImage *image, int x, int y, const void *pixel);

/* ------------------------------------------------------------------------------------------------------------------
 * Arithmetic and logic on two images.
 *
 * The three images have one depth and one dataOrder and equal numbers of processed channels. Integer results are exact,
 * then clamped to the range of the depth. Float results are single precision; where both operands are NaN the first
 * one's payload is kept.
 *
 * Failures, in this order:
 *
 *        "Incorrect Image" with the fault of A, B or the destination
 *   -5   "(srcImageA->depth != dstImage->depth)", "(srcImageB->depth != dstImage->depth)"
 *   -5   "(srcImageA->dataOrder != dstImage->dataOrder)", "(srcImageB->dataOrder != dstImage->dataOrder)"
 *   -5   "(nChSrcA != nChDst)", "(nChSrcB != nChDst)"
 *   -4   "Out of memory" for the combined mask
 *   -5   "(srcImageA->tileInfo->tileData == 0)", "(srcImageB->tileInfo->tileData == 0)",
 *        "(dstImage->tileInfo->tileData == 0)" for a tile that was not delivered: what was done before stays, tiles in
 *        hand are not released
 *
 * Plain images that agree in width, height, imageSize and align are processed in one run over the whole buffers, row
 * padding included, if there is neither mask nor alpha and every image has either no region, or one that covers it and
 * names channel 1 of 1. So is a tile that lies wholly within a region that names channel 1 of 1, with the others' alike.
 * In all other cases no padding byte is written. Of three images the agreement is that twice the value of A is the sum
 * of those of B and the destination, for each of the four. Unequal sizes can pass, such as widths of 10, 9 and 11: the
 * run is then as long as the smallest of the buffers, and also writes samples of the destination beyond the common
 * width and height. Where these must stay, give an image a region.
 * ---------------------------------------------------------------------------------------------------------------- */

/** dst = A + B. At depth 1 the call becomes moxOr before any check. -5 "srcImageA==0". */
MOX_EXPORT void MOX_CALL moxAdd(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = A - B. At depth 1: A AND NOT B. */
MOX_EXPORT void MOX_CALL moxSubtract(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = A x B, without scale. At depth 1 the call becomes moxAnd before any check. -5 "srcImageA==0". */
MOX_EXPORT void MOX_CALL moxMultiply(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = A AND B, bit by bit. -5 "This function does not support depth 32F". */
MOX_EXPORT void MOX_CALL moxAnd(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = A OR B, bit by bit. -5 "This function does not support depth 32F". */
MOX_EXPORT void MOX_CALL moxOr(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = A XOR B, bit by bit. -5 "This function does not support depth 32F". */
MOX_EXPORT void MOX_CALL moxXor(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/* ------------------------------------------------------------------------------------------------------------------
 * One image and a constant, and unary operations.
 *
 * Both images have one depth and dataOrder and equal numbers of processed channels; results as above. Many calls become
 * another operation before any check, and then report under its name: a fault of moxAddS at 8 and 16 bits is a report
 * of moxSubtractS, moxOrS or moxAndS.
 *
 * Failures, in this order:
 *
 *   -5   "srcImage==0", where a null source is tested
 *        "Incorrect Image" with the fault of the source or the destination
 *   -5   "(srcImage->depth != dstImage->depth)", "(srcImage->dataOrder != dstImage->dataOrder)", "(nChSrc != nChDst)"
 *   -4   "Out of memory"
 *   -5   "(srcImage->tileInfo->tileData == 0)", "(dstImage->tileInfo->tileData == 0)"
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * dst = src + value. At depth 1 it is moxOrS; at 8 and 16 bits moxSubtractS of -value. Null source tested. -5 "For
 * processing depth 32F use function moxAddSFP".
 */
MOX_EXPORT void MOX_CALL moxAddS(MoxImage *srcImage, MoxImage *dstImage, int value);

/**
 * dst = src - value, or value - src where flip is not 0. At depth 1 moxXorS or moxAndS, at unsigned depths moxAndS or
 * moxOrS for values beyond the range. Null source tested. -5 "For processing depth 32F use function moxSubtractSFP".
 */
MOX_EXPORT void MOX_CALL moxSubtractS(MoxImage *srcImage, MoxImage *dstImage, int value, int flip);

/**
 * dst = src x value. At depth 1 moxAndS; at unsigned depths moxAndS for a value of 0 or less. Null source tested. -5
 * "For processing depth 32F use function moxMultiplySFP".
 */
MOX_EXPORT void MOX_CALL moxMultiplyS(MoxImage *srcImage, MoxImage *dstImage, int value);

/**
 * dst = src AND value, bit by bit, with the low bits of value that the depth has (at depth 1 bit 0). -5 "This function
 * does not support depth 32F".
 */
MOX_EXPORT void MOX_CALL moxAndS(MoxImage *srcImage, MoxImage *dstImage, int value);

/** dst = src OR value; see moxAndS. */
MOX_EXPORT void MOX_CALL moxOrS(MoxImage *srcImage, MoxImage *dstImage, int value);

/** dst = src XOR value; see moxAndS. */
MOX_EXPORT void MOX_CALL moxXorS(MoxImage *srcImage, MoxImage *dstImage, int value);

/**
 * dst = src << nShift within the sample's width; bits that leave are lost. 0 becomes moxXorS with 0 (a copy), a shift
 * of the whole width moxAndS with 0. Null source tested. -5 "This function does not support depth 32F".
 */
MOX_EXPORT void MOX_CALL moxLShiftS(MoxImage *srcImage, MoxImage *dstImage, unsigned nShift);

/**
 * dst = src >> nShift, logical for unsigned depths, arithmetic for signed ones (rounding down), where a shift beyond
 * the width leaves the sign. 0 and, for unsigned depths, a shift of the whole width become moxXorS and moxAndS with 0.
 * Null source tested. -5 "This function does not support depth 32F".
 */
MOX_EXPORT void MOX_CALL moxRShiftS(MoxImage *srcImage, MoxImage *dstImage, unsigned nShift);

/** dst = src + value in single precision. Depth 32F only: -5 "For processing this depth use function moxAddS". Null
 * source tested. */
MOX_EXPORT void MOX_CALL moxAddSFP(MoxImage *srcImage, MoxImage *dstImage, float value);

/**
 * dst = src - value, or value - src where flip is not 0, in single precision. Depth 32F only: -5 "For processing this
 * depth use function moxSubtractS". Null source tested.
 */
MOX_EXPORT void MOX_CALL moxSubtractSFP(MoxImage *srcImage, MoxImage *dstImage, float value, int flip);

/** dst = src x value in single precision. Depth 32F only: -5 "For processing this depth use function moxMultiplyS".
 * Null source tested. */
MOX_EXPORT void MOX_CALL moxMultiplySFP(MoxImage *srcImage, MoxImage *dstImage, float value);

/** dst = NOT src: moxXorS with -1, and reports under that name. */
MOX_EXPORT void MOX_CALL moxNot(MoxImage *srcImage, MoxImage *dstImage);

/** dst = src x src, clamped; at depth 1 a copy. */
MOX_EXPORT void MOX_CALL moxSquare(MoxImage *srcImage, MoxImage *dstImage);

/**
 * dst = |src|; the most negative integer becomes the largest, -0.0 becomes +0.0. Unsigned depths are copied by moxCopy
 * (and so not while the status word is negative), a fault there is followed by -1 "moxCopy is failed". -5
 * "srcImage==0", "dstImage==0"; besides the tests above -5 "(srcImage->nChannels != dstImage->nChannels)", and
 * "(nChSrcCoi != nChDstCoi)" in place of "(nChSrc != nChDst)".
 */
MOX_EXPORT void MOX_CALL moxAbs(MoxImage *srcImage, MoxImage *dstImage);

/* ------------------------------------------------------------------------------------------------------------------
 * Alpha composition, at depths 8U and 16U.
 *
 * F is the full scale, 255 or 65535, and M(x, y) the product of two fractions of it, x y / F rounded down; so
 * M(F, x) = x. Colours are all channels but alpha, or the channel of interest. The opacities of an image are its alpha
 * channel. The area is the smallest of the regions of all images and masks, each from its own corner; where it is
 * empty nothing happens, after the tests. The dataOrder of images may differ, that of masks that are merged may not.
 * The destination may be any of the sources.
 *
 * Tiles are taken block by block, within those of the first tiled image, destinations before sources. A block that
 * straddles tiles of another image has all of them in hand, and goes through a copy, which moxCopy makes: not while the
 * status word is negative.
 *
 * Failures behind those of each function, in this order:
 *
 *   -4   "No working memory" for merged masks
 *   -1   "Bad masks for images" where moxAnd does not merge them
 *   -2   "ERROR in Tiling callBack" for a tile that was not delivered
 *   -4   "No working memory" for tiles
 *   -1   "Internal tiling error" where a copy of tiles failed; if the report lets it go on, -3 with the same text
 *
 * Blocks that were done before a failure stay, and every tile in hand is released.
 * ---------------------------------------------------------------------------------------------------------------- */

/** How two images become one: see moxAlphaComposite. */
enum {
    MOX_COMPOSITE_OVER = 0, /**< A before B */
    MOX_COMPOSITE_IN = 1,   /**< A where B is */
    MOX_COMPOSITE_OUT = 2,  /**< A where B is not */
    MOX_COMPOSITE_ATOP = 3, /**< A where B is, before B */
    MOX_COMPOSITE_XOR = 4,  /**< either where the other is not */
    MOX_COMPOSITE_PLUS = 5  /**< the sum */
};

/**
 * Composes A and B by their opacities a and b. For colours A and B multiplied by their opacities:
 *
 *              colour                          opacity
 *     over     A + M(B, F - a)                 a + M(b, F - a)
 *     in       M(A, b)                         M(a, b)
 *     out      M(A, F - b)                     M(a, F - b)
 *     atop     M(A, b) + M(B, F - a)           b
 *     xor      M(A, F - b) + M(B, F - a)       M(a, F - b) + M(b, F - a)
 *     plus     A + B                           a + b
 *
 * limited to F. With premulAlpha 0 M(A, a) stands for A, and M(B, b) for B.
 *
 * a comes from alphaImageA, or from A if that is null. b comes from alphaImageB; if that is null, from B, provided that
 * alphaImageA is null too and B has alpha; otherwise b is F - a, also in the opacity (over without an opacity of B
 * weakens B twice by F - a: before an opaque image without alpha multiply A by its opacity and set premulAlpha, or
 * give B an opacity of F). The opacity of the result goes to alphaImageDst, or to the destination if it has alpha, or
 * nowhere. An image of opacities is read in its alpha channel, or in channel 1 if it has none, never in its channel
 * of interest; its region and mask count. If it is the destination, channels are done one after the other.
 *
 * With divideMode 1 the same is computed in floating point, in single precision at 8U and in double precision at 16U,
 * with a and b as fractions of 1 (a times the nearest number to 1 / F) and plain products, every step rounded once. The
 * colour is divided by the opacity of the result and limited to F, unless that opacity is at most 1 / (2 F F): straight
 * colours, where A and B were multiplied by their opacities. The results are rounded to nearest, ties to even.
 *
 * Failures, "Incorrect Image" with the fault of the image, all others -5, in this order:
 *
 *     "dstImage==0", "Incorrect Image"; the same for srcImageA, and for srcImageB
 *     "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel", the same for srcImageA, srcImageB
 *     "dstImage->depth != 8 && dstImage->depth != 16", "srcImageA->depth != dstImage->depth",
 *     "srcImageB->depth != dstImage->depth"
 *     "dstImage->roi->coi > 0 && srcImageA->roi == 0", "dstImage->roi->coi > 0 && srcImageA->roi->coi == 0",
 *     "srcImageA->roi->coi > 0 && dstImage->roi == 0", "srcImageA->roi->coi > 0 && dstImage->roi->coi == 0"; the same
 *     for srcImageB
 *     without a channel of interest "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels -
 *     (dstImage->alphaChannel != 0))", the same for srcImageB
 *     "Incorrect Image" and "alphaImageA->depth != dstImage->depth", or "srcImageA->alphaChannel < 1" in its place
 *     "Incorrect Image" and "alphaImageB->depth != dstImage->depth" if there is one
 *     "Incorrect Image", "alphaImageDst->depth != dstImage->depth" and "alphaImageDst->alphaChannel < 1" likewise
 *     "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && compositeType != 4 &&
 *     compositeType != 5", "premulAlpha != 0 && premulAlpha != 1", "divideMode != 0 && divideMode != 1"
 */
MOX_EXPORT void MOX_CALL moxAlphaComposite(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage,
                                           int compositeType, MoxImage *alphaImageA, MoxImage *alphaImageB,
                                           MoxImage *alphaImageDst, int premulAlpha, int divideMode);

/**
 * The same by constant opacities aA and aB. A negative one, and one above F, stands for the alpha channel of the image.
 * The alpha channel of the destination stays as it is. The failures are those of moxAlphaComposite; in place of what it
 * tests of opacities "srcImageA->alphaChannel < 1" where aA is negative, and "srcImageB->alphaChannel < 1" where aB is.
 * A constant above F is tested by neither: without an alpha channel channel 1 is read.
 */
MOX_EXPORT void MOX_CALL moxAlphaCompositeC(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage,
                                            int compositeType, int aA, int aB, int premulAlpha, int divideMode);

/**
 * Multiplies the colours of an image by its opacity in place: each becomes M(colour, alpha), and the alpha channel, if
 * there is one, is filled with alpha, also where a channel of interest is named. A negative alpha, and one above F,
 * stands for the image's own alpha channel, which stays as it is.
 *
 * Failures, "Incorrect Image" with the fault of the image, all others -5, in this order: "image==0", "Incorrect Image",
 * "image->depth != 8 && image->depth != 16", "image->alphaChannel > 0 && image->roi->coi == image->alphaChannel"; where
 * alpha is negative "image->alphaChannel < 1".
 */
MOX_EXPORT void MOX_CALL moxPreMultiplyAlpha(MoxImage *image, int alpha);

/**
 * dst = M(A, B) in every colour, or in one where any image has a channel of interest: channel 1 of the images that have
 * none. The alpha channel of the destination stays as it is, even if it is the one of interest.
 *
 * Failures, "Incorrect Image" with the fault of the image, all others -5, in this order:
 *
 *     "dstImage==0", "Incorrect Image"; the same for srcImageA, and for srcImageB
 *     "dstImage->alphaChannel == 1 && dstImage->roi == 0", "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1";
 *     the same for srcImageA and srcImageB
 *     "dstImage->depth != 8 && dstImage->depth != 16", "srcImageA->depth != dstImage->depth",
 *     "srcImageB->depth != dstImage->depth"
 *     "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel !=
 *     0))" where neither names a channel, "(dstImage->nChannels - (dstImage->alphaChannel != 0)) !=
 *     (srcImageA->roi->coi > 0)" where the source does, "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) !=
 *     (dstImage->roi->coi > 0)" where the destination does; the same for srcImageB
 */
MOX_EXPORT void MOX_CALL moxMultiplyScale(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);

/** dst = M(src, value), the value limited to 0..F. Failures as in moxMultiplyScale, of srcImage. */
MOX_EXPORT void MOX_CALL moxMultiplySScale(MoxImage *srcImage, MoxImage *dstImage, int value);

/* ------------------------------------------------------------------------------------------------------------------
 * Neighbourhood filters.
 *
 * What a window reads beyond the image follows the source's border rules (moxSetBorderMode); pixels of the image beyond
 * its region are real input. Where a filter takes a source that is the destination, the result is that of a copy of it,
 * tiled or not; that is noticed by the header only, so another header over the same memory gives no defined result.
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * dst(x, y) = the mean of the nCols x nRows window whose top left is at (x - anchorX, y - anchorY). The sum is
 * multiplied by the float 1 / (nCols x nRows) and cut off towards zero, without rounding: 5 x 5 pixels of value 10
 * give 9. Integer sums have 32 bits and wrap. At 32F sums and product are single precision, chopped, and the window's
 * sum slides along the row: rounding errors add up, and start anew with each tile of a tiled destination. At depth 1 a
 * bit is set where half of the window is. A window of 1 x 1 is moxCopy, with its rules and reports. The cost of a
 * sample does not depend on the window. The images' dataOrder may differ.
 *
 * Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *    -5   "(srcImage->depth!=dstImage->depth)"
 *    -5   "(nRows<0||nCols<0)", "(anchorX<0||anchorY<0)", "(anchorX>=nCols||anchorY>=nRows)"
 *   -18   "bad alpha channel's number" where an image or mask with alpha and no coi has no other channel
 *   -15   "bad channel's number" where the numbers of processed channels differ
 *    -4   "Allocation failure", also for a source tile that is not delivered
 *    -5   "(dstImage->tileInfo->tileData == 0)"
 */
MOX_EXPORT void MOX_CALL moxBlur(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                 int anchorY);

/**
 * A kernel of integer coefficients. Made by moxCreateConvKernel, read by moxGetConvKernel: the record holds the
 * coefficients in reverse order and the anchor mirrored. Read-only during a convolution, so calls and threads may share
 * it.
 */
typedef struct MoxConvKernel {
    int nCols;
    int nRows;
    int anchorX; /**< nCols - 1 - the anchor given */
    int anchorY; /**< nRows - 1 - the anchor given */
    int *values; /**< nCols x nRows, the last one given first */
    int nShiftR; /**< the right shift of each sum */
} MoxConvKernel;

/** A kernel of float coefficients, for depth 32F; see MoxConvKernel. */
typedef struct MoxConvKernelFP {
    int nCols;
    int nRows;
    int anchorX;
    int anchorY;
    float *values;
} MoxConvKernelFP;

/** How the results r1..rn of several kernels become one. */
enum {
    MOX_COMBINE_SUM = 0,       /**< r1 + ... + rn */
    MOX_COMBINE_SUMSQ = 1,     /**< r1 x r1 + ... + rn x rn */
    MOX_COMBINE_SUMSQROOT = 2, /**< the square root of that */
    MOX_COMBINE_MAX = 3,       /**< the largest */
    MOX_COMBINE_MIN = 4        /**< the smallest */
};

/**
 * Creates a kernel from nCols x nRows coefficients, row by row. The coefficient at the anchor multiplies the pixel
 * itself. Each sum is shifted right by nShiftR, rounding down; shifts of 32 and more, and negative ones, have no
 * defined result. Free it with moxDeleteConvKernel. Null and a report: -5 "(values == 0)", "(nRows<=0 || nCols<=0)",
 * "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)"; -4 "Allocation failure".
 */
MOX_EXPORT MoxConvKernel *MOX_CALL moxCreateConvKernel(int nCols, int nRows, int anchorX, int anchorY,
                                                       const int *values, int nShiftR);

/** moxCreateConvKernel from signed bytes. */
MOX_EXPORT MoxConvKernel *MOX_CALL moxCreateConvKernelChar(int nCols, int nRows, int anchorX, int anchorY,
                                                           const signed char *values, int nShiftR);

/** moxCreateConvKernel from floats, without a shift. Free it with moxDeleteConvKernelFP. */
MOX_EXPORT MoxConvKernelFP *MOX_CALL moxCreateConvKernelFP(int nCols, int nRows, int anchorX, int anchorY,
                                                           const float *values);

/**
 * Gives back what a kernel was made from; *values is the caller's array of nCols x nRows. Nothing is filled, and the
 * fault returned, after any of: -5 "kernel==0", "ownBadKernel((OwnConvKernel*)kernel)", "nRows==0" and "nCols==0",
 * "anchorX==0" and "anchorY==0" (both of a pair are reported), "values==0", "nShiftR==0"; and while the status word is
 * negative from an earlier fault. Returns 0 otherwise.
 */
MOX_EXPORT MoxStatus MOX_CALL moxGetConvKernel(MoxConvKernel *kernel, int *nCols, int *nRows, int *anchorX,
                                               int *anchorY, int **values, int *nShiftR);

/** moxGetConvKernel into signed bytes: the low 8 bits of each coefficient. */
MOX_EXPORT MoxStatus MOX_CALL moxGetConvKernelChar(MoxConvKernel *kernel, int *nCols, int *nRows, int *anchorX,
                                                   int *anchorY, signed char **values, int *nShiftR);

/** moxGetConvKernel of a float kernel. */
MOX_EXPORT MoxStatus MOX_CALL moxGetConvKernelFP(MoxConvKernelFP *kernel, int *nCols, int *nRows, int *anchorX,
                                                 int *anchorY, float **values);

/** Frees a kernel. -5 "kernel==0", "kernel->values==0". */
MOX_EXPORT void MOX_CALL moxDeleteConvKernel(MoxConvKernel *kernel);

/** Frees a float kernel. -5 "kernel==0", "kernel->values==0". */
MOX_EXPORT void MOX_CALL moxDeleteConvKernelFP(MoxConvKernelFP *kernel);

/**
 * dst(x, y) = sum over r, c of values[r][c] x src(x + anchorX - c, y + anchorY - r), shifted right by nShiftR,
 * saturated; of 1 to 10 kernels, combined by combineMethod (MOX_COMBINE_..., of which a single kernel takes the square
 * of its result, or for the root its absolute value). Every depth but 32F.
 *
 * Arithmetic: 16-bit integers for a kernel whose sums cannot leave them, on samples of up to 8 bits; 32-bit integers
 * where sums cannot leave those; single precision, and rounding to the nearest integer, for all other kernels, for
 * coefficients beyond 16 bits and for depth 32S. A single kernel's square wraps in its own width. Several kernels
 * combine in 32-bit integers if all of them have 16-bit sums, else in single precision.
 *
 * Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *   -11   "Bad ROI offsets"
 *    -5   "kernel==0", "(nKernels<=0 || nKernels>10)", "Inadmissible method" (for several kernels), "kernel[i]==0",
 *         "Bad kernel structure"
 *    -5   "Uncompatible images" (depth or dataOrder), "32F images can be processed only with FP kernel"
 *
 * and where the regions have anything in common:
 *
 *    -5   "One of the COI is not defined", "No channel to operate", "Uncompatible images" (processed channels)
 *    -4   "Allocation failure", also for a source tile that is not delivered
 *    -5   "Internal error" for a tile of the destination
 */
MOX_EXPORT void MOX_CALL moxConvolve2D(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernel **kernel, int nKernels,
                                       int combineMethod);

/**
 * moxConvolve2D for depth 32F, with float kernels, in single precision: products are added to 0 one after the other,
 * two rows of the kernel at a time and in these column by column. -5 "FP kernel can be used only for 32F images".
 */
MOX_EXPORT void MOX_CALL moxConvolve2DFP(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernelFP **kernel, int nKernels,
                                         int combineMethod);

/**
 * Separable convolution: t(x, y) = sum over r of yKernel[r] x src(x, y + anchorY - r), then dst(x, y) = sum over c of
 * xKernel[c] x t(x + anchorX - c, y), coefficients and anchors being those that the kernels were created from; shifted
 * right by both kernels' nShiftR together, once, and saturated; a bit is set where the shifted sum is above 0. xKernel is
 * one row, yKernel one column, of two coefficients at least; one of them may be null. Sums are 32-bit integers that wrap.
 * Every depth but 32F. Not in place. Beyond the image is what its border modes say. A cost of nCols + nRows a sample.
 *
 * Unlike most of the library these two clear the status word first, and return a status: 0, -5 for every test below
 * (reported as -5, or with the header's fault), -1 where memory is missing.
 *
 * Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *    -5   "Unsupported in-place mode", "Kernel pointers are NULL"
 *    -5   "SRC and DST depth are different", "SRC and DST order are different", "SRC and DST orign are different"
 *    -5   "SRC: too many channels per plane (limit 32)" in pixel order
 *    -5   "SRC and DST number of channels are different", "SRC and DST Alpha channels are different", "SRC and DST number
 *         of processing channels are different" (with a coi: one; else nChannels)
 *    -5   of each kernel, xKernel first: "NULL kernel values", "Invalid kernal size", "Invalid kernrl anchor"
 *    -5   "moxConvolveSep2D does not support MOX_DEPTH_32F.\nCall moxConvolveSep2DFP instead"
 *    -1   "Not enough memory", also for a tile that is not delivered; the status word then holds -4 (-2 for a tile of
 *         the destination)
 */
MOX_EXPORT MoxStatus MOX_CALL moxConvolveSep2D(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernel *xKernel,
                                               MoxConvKernel *yKernel);

/**
 * moxConvolveSep2D for depth 32F, with float kernels: products are added to 0 one after the other in single precision,
 * in the order in which the kernels hold their coefficients, columns first. -5 "moxConvolveSep2DFP does support
 * MOX_DEPTH_32F only.\nCall moxConvolveSep2D instead".
 */
MOX_EXPORT MoxStatus MOX_CALL moxConvolveSep2DFP(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernelFP *xKernel,
                                                 MoxConvKernelFP *yKernel);

/**
 * Where a template fits: dst(x, y) = full x c / sqrt(E x Et), c being the sum of the products of the template's w x h
 * samples T(i, j) with those of the window of the source whose first pixel is (x - w / 2, y - h / 2) (rounded down), E the
 * sum of the window's squares and Et that of the template's. full, a perfect match, is the top of the destination's range:
 * 255 at 8U, 65535, 127, 32767, 2147483647; 1 at 32F and for bits. A window of zeros gives 0. Of each processed channel of
 * the source with that of the template.
 *
 * Depths: all, the template's and the destination's those of the source, or 8U to 32F. Not in place. Beyond the source is
 * what its border modes say. The template's own region counts; its mask does not. Tiled source and destination, not
 * template. Sums of 8 and 16 bits are exact, those of 32 bits are doubles; E x Et and its root are floats (doubles for
 * depths of 32 bits), the rest is double; results are rounded to nearest, ties to even. The cost is that of all products.
 *
 * Returns 0, or after a report -5 for a test and -4 where memory or a tile is missing:
 *
 *         "Incorrect Image" with the fault of source, template or destination
 *    -5   "Unsupported in-place mode", "SRC and TPL depth are different", "SRC and DST depth are incompatible"
 *    -5   where the source differs from both others: "SRC, TPL or DST order are different", "SRC, TPL or DST orign are
 *         different", "SRC, TPL or DST Alpha channels are different", "SRC, TPL or DST number of channels are different"
 *    -5   "SRC, TPL or DST number of processing channels are different" (with a coi: one; else nChannels)
 *    -5   "TPL tiling is not supported"
 *    -4   "Not enough memory"
 */
MOX_EXPORT MoxStatus MOX_CALL moxNormCrossCorr(MoxImage *tplImage, MoxImage *srcImage, MoxImage *dstImage);

/**
 * dst(x, y) = the largest sample of each channel in the nCols x nRows window whose top left is at (x - anchorX,
 * y - anchorY). Every depth but 32F; at depth 1 a bit is set where one of the window is. The cost of a sample hardly
 * grows with the window.
 *
 * The images must be two. Returns 0 or the fault, and does nothing while the status word is negative from an earlier
 * fault, which it does not return. Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *    -5   "(anchorX>=nCols)||(anchorX<0)", "(anchorY>=nRows)||(anchorY<0)"
 *    -5   "(srcImage==dstImage)", "srcImage->depth!=dstImage->depth", "srcImage->depth==32"
 *    -5   "srcImage->nChannels!=dstImage->nChannels", "srcImage->alphaChannel!=dstImage->alphaChannel"
 *    -5   "srcImage->dataOrder!=dstImage->dataOrder", but at depth 1
 *   -24   "Number of interset channel input and output Image is not equal."
 *    -4   "Allocation failure", also for a source tile that is not delivered
 *    -5   "(dstImage->tileInfo->tileData == 0)"
 */
MOX_EXPORT MoxStatus MOX_CALL moxMaxFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                           int anchorY);

/** moxMaxFilter for the smallest sample; at depth 1 a bit is set where all of the window are. */
MOX_EXPORT MoxStatus MOX_CALL moxMinFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                           int anchorY);

/**
 * moxMaxFilter for the median: of N samples in their order the one in the middle, of an even number the lower one of
 * both in the middle. At depth 1 a bit is set where half of the window is: at least N / 2 of its bits.
 */
MOX_EXPORT MoxStatus MOX_CALL moxMedianFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                              int anchorY);

/** The kernels of moxFixedFilter, row by row. */
enum {
    MOX_FILTER_PREWITT_3X3_V = 0, /**< 1 0 -1, 1 0 -1, 1 0 -1 */
    MOX_FILTER_PREWITT_3X3_H = 1, /**< -1 -1 -1, 0 0 0, 1 1 1 */
    MOX_FILTER_SOBEL_3X3_V = 2,   /**< 1 0 -1, 2 0 -2, 1 0 -1 */
    MOX_FILTER_SOBEL_3X3_H = 3,   /**< -1 -2 -1, 0 0 0, 1 2 1 */
    MOX_FILTER_LAPLACIAN_3X3 = 4, /**< all -1, in the middle 8 */
    MOX_FILTER_LAPLACIAN_5X5 = 5, /**< -1 -3 -4 -3 -1, -3 0 6 0 -3, -4 6 20 6 -4, and the second and first row again */
    MOX_FILTER_GAUSSIAN_3X3 = 6,  /**< 1 2 1, 2 4 2, 1 2 1; a 16th */
    MOX_FILTER_GAUSSIAN_5X5 = 7,  /**< 2 7 12 7 2, 7 31 52 31 7, 12 52 127 52 12, and the second and first row again;
                                       the product with the float 1 / 571 */
    MOX_FILTER_HIPASS_3X3 = 8,    /**< that of MOX_FILTER_LAPLACIAN_3X3 */
    MOX_FILTER_HIPASS_5X5 = 9,    /**< all -1, in the middle 24 */
    MOX_FILTER_SHARPEN_3X3 = 10   /**< all -1, in the middle 16; an 8th */
};

/**
 * dst(x, y) = the sum of kernel[r][c] x src(x - 1 + c, y - 1 + r), or x - 2 and y - 2 for a kernel of 5 x 5; the kernel
 * is not mirrored. Integers are summed in 32 bits, which wrap; what is a part of the sum is rounded to the nearest
 * integer, halves to the even one; and the result is saturated. At 32F the products, those with 0 as well, are added to
 * 0 in the order of the kernel, each step in single precision, and nothing is rounded to integers.
 * MOX_FILTER_SHARPEN_3X3 at depth 1 is moxCopy.
 *
 * Returns the status word. The images must be two; nothing happens while the status word is negative from an earlier
 * fault. Failures are those of moxMaxFilter, without anchors and at every depth, but
 * "srcImage->nChannels!=dstImage->nChannels" and "srcImage->alphaChannel!=dstImage->alphaChannel" are -24. Behind these
 * is -5 "Unknow filter."
 */
MOX_EXPORT MoxStatus MOX_CALL moxFixedFilter(MoxImage *srcImage, MoxImage *dstImage, int filter);

/**
 * dst(x, y) = the pixel of the nCols x nRows window, whose top left is at (x - anchorX, y - anchorY), that is nearest
 * to all others of it: the sum of its distances to them is the smallest, and of several such pixels it is the first
 * one, rows first. The distance of two pixels is the sum of the differences of their first three channels; at 32F it is
 * taken in double precision. Alpha stays as it is. Every depth but 1U and 32S, three channels, or four with alpha. What
 * a pixel costs grows with the square of the window's size.
 *
 * The images must be two. Returns 0 or the fault. Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *    -5   "(anchorX>=nCols)||(anchorX<0)", "(anchorY>=nRows)||(anchorY<0)"
 *    -5   "(srcImage==dstImage)", "srcImage->depth!=dstImage->depth", "srcImage->depth==1",
 *         "srcImage->depth==(0x80000000|32)"
 *    -5   "srcImage->nChannels!=dstImage->nChannels", "srcImage->nChannels<3", "srcImage->nChannels>4"
 *    -5   "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)",
 *         "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)"
 *    -5   "srcImage->roi->coi!=0", "dstImage->roi->coi!=0"
 *    -4   "Allocation failure", also for a source tile that is not delivered
 *    -5   "(dstImage->tileInfo->tileData == 0)"
 */
MOX_EXPORT MoxStatus MOX_CALL moxColorMedianFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows,
                                                   int anchorX, int anchorY);

/**
 * dst(x, y) = the smallest sample of each channel in the square of 2 x nIterations + 1 pixels around (x, y): what as
 * many steps of 3 x 3 come to. Depths 1U (a bit is set where all of the square are), 8U and 16U. Around the region one
 * ring of pixels is read, from the image or by its border rules, and what is farther out repeats the ring. The source
 * may be the destination. A destination with a region takes the source's coi. Each call sets the status word to 0
 * first.
 *
 * Failures, in this order:
 *
 *         "Incorrect Image" with the fault of the source or the destination
 *    -5   "Illegal number of iterations" (below 1), "Illegal image depth"
 *    -5   "SRC and DST depth are different", "SRC and DST order are different", "SRC and DST orign are different",
 *         "SRC and DST number of channels are different"
 *    -4   "Allocation failure", also for a square whose side is no int, and for a source tile that is not delivered
 *    -5   "(dstImage->tileInfo->tileData == 0)"
 */
MOX_EXPORT void MOX_CALL moxErode(MoxImage *srcImage, MoxImage *dstImage, int nIterations);

/** moxErode for the largest sample; at depth 1 a bit is set where one of the square is. */
MOX_EXPORT void MOX_CALL moxDilate(MoxImage *srcImage, MoxImage *dstImage, int nIterations);

/**
 * moxErode, and moxDilate of the result: as if the first one's region were wider by nIterations on each side, with its
 * ring around that. Bright details that the square does not fit into are gone.
 */
MOX_EXPORT void MOX_CALL moxOpen(MoxImage *srcImage, MoxImage *dstImage, int nIterations);

/** moxOpen the other way round: moxDilate, and moxErode of the result. Dark details are gone. */
MOX_EXPORT void MOX_CALL moxClose(MoxImage *srcImage, MoxImage *dstImage, int nIterations);

/* ------------------------------------------------------------------------------------------------------------------
 * Depth, and thresholds. Source and destination are different in depth, so that only moxThreshold runs in place.
 *
 * moxScale, moxScaleFP, moxBitonalToGray and moxThreshold process the smallest of the two regions and the mask, from
 * their corners; under the masks of both images what both let through. A coi, or all channels but alpha, of one image
 * go to those of the other: dataOrder may differ where one of the images has a single channel. What is not processed
 * stays, of a byte of bits too.
 *
 * Failures, in the order told: "Incorrect Image" with the fault of the source or the destination, all others -5 where
 * nothing else is said; and at last "(srcImage->tileInfo->tileData == NULL)" or "(dstImage->tileInfo->tileData ==
 * NULL)" for a tile that was not delivered, and -4 "Out of memory" for a combined mask.
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * dst = src, every sample the number that it was, clamped to the range of the destination's depth: of whole images of
 * one size, all channels and alpha among them; regions and masks play no part. Depths are all but 32F.
 *
 * dataOrder may differ: pixels become planes, or planes pixels. Where the origins differ the rows are turned upside
 * down, so that the picture stays as it is. To depth 1U a bit is set for a sample above 0, of the channel that the
 * source's coi names if there are several; bits beyond the width stay. From 1U to 1U whole bytes are copied. The same
 * header twice is no call at all.
 *
 *   "(srcImage->depth == 32)"
 *   "(dstImage->depth == 32)"
 *   "(srcImage->height != dstImage->height)"
 *   "(srcImage->width != dstImage->width)"
 *   "(srcImage->roi == 0)", "(srcImage->roi->coi == 0)" (several channels to 1U)
 *   "srcImage->nChannels != dstImage->nChannels" (otherwise)
 *   "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"
 */
MOX_EXPORT void MOX_CALL moxConvert(MoxImage *srcImage, MoxImage *dstImage);

/**
 * dst = OneScale where the bit of the source is set, ZeroScale where it is clear, in every processed channel. The
 * source is of depth 1U, the destination of any integer depth above that, and the images are of one size.
 *
 *   "(srcImage->depth != 1)"
 *   "(srcImage->nChannels != 1)"
 *   "(dstImage->depth == 1)"
 *   "(dstImage->depth == 32)"
 *   "(srcImage->width != dstImage->width)"
 *   "(srcImage->height != dstImage->height)"
 *   "((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))", "(... && (ZeroScale < -128))", then of OneScale
 *   "((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))", "(... && (ZeroScale < -32768))", then of OneScale
 *   "((dstImage->depth == 16) && (OneScale < 0))", "(... && (OneScale > 65535))", then of ZeroScale
 *   "((dstImage->depth == 8) && (OneScale < 0))", "(... && (OneScale > 255))", then of ZeroScale
 */
MOX_EXPORT void MOX_CALL moxBitonalToGray(MoxImage *srcImage, MoxImage *dstImage, int ZeroScale, int OneScale);

/**
 * dst = src at another depth, every sample at its place in the range: the ends of one range become the ends of the
 * other. To more bits the sample's bits are repeated (8 to 16 bits: x 257), to fewer bits the top ones stay; signed
 * samples count from the lower end of their range. Depths 8U, 8S, 16U, 16S and 32S, and not the same on both sides.
 *
 *   "(srcImage->depth == dstImage->depth)"
 *   "(srcImage->depth == 1)", "(srcImage->depth == 32)", "(dstImage->depth == 1)", "(dstImage->depth == 32)"
 *   "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"
 *   "(srcImage->origin != dstImage->origin)"
 *   "(srcChannels != dstChannels)"
 *
 * An image whose one channel is alpha and no coi: nothing happens, and that without a report.
 */
MOX_EXPORT void MOX_CALL moxScale(MoxImage *srcImage, MoxImage *dstImage);

/**
 * Between an integer depth above 1U and 32F: the range of the integers becomes minVal to maxVal, or the other way
 * round. Let delta be maxVal - minVal, F the integer range's length (255, 65535 or 4294967295) and low its lower end.
 * In double precision, every operation by itself:
 *
 *   to 32F     src x step + offset, rounded to a float, with step = delta x k, k being the double nearest to 1 / F
 *              (0.00392156862745098, 1.5259021896696422e-05, 2.3283064370807974e-10), and offset = minVal - low x step
 *   from 32F   (src - minVal) x (F / delta) + low for src clamped to minVal..maxVal, rounded to the nearest integer,
 *              ties to even, and clamped to the range; low for what is no number
 *
 * The rounding is this one whatever the calling thread's mode is, which stays as it was.
 *
 *   "((srcImage->depth != 32)&& (dstImage->depth != 32))", "((srcImage->depth == 32)&& (dstImage->depth == 32))"
 *   "((srcImage->depth == 1)|| (dstImage->depth == 1))"
 *   "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"
 *   "(srcImage->origin != dstImage->origin)"
 *   "((maxVal - minVal) <= 0.0f)"
 *   "(srcChannels != dstChannels)"
 *   "(buf[3] != buf[4])" (an image is tiled, and the regions differ in size)
 *
 * An image whose one channel is alpha and no coi: as moxScale.
 */
MOX_EXPORT void MOX_CALL moxScaleFP(MoxImage *srcImage, MoxImage *dstImage, float minVal, float maxVal);

/**
 * dst = the highest value of its depth where src is at or above Threshold, the lowest where it is below; at 1U a set or
 * a clear bit. The source is of any depth but 1U and 32F, the destination of any but 32F.
 *
 *   "(srcImage->depth == 32)", "(dstImage->depth == 32)", "(srcImage->depth == 1)"
 *   "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"
 *   "(srcImage->origin != srcImage->maskROI->origin)", "(dstImage->origin != dstImage->maskROI->origin)"
 *   "((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))", "(... && (Threshold < -128))"
 *   "((srcImage->depth == 8) && (Threshold > 255))", "(... && (Threshold < 0))"
 *   "((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))", "(... && (Threshold < -32768))"
 *   "((srcImage->depth == 16) && (Threshold > 65535))", "(... && (Threshold < 0))"
 *   "(srcImage->origin != dstImage->origin)"
 *   "(srcChannels != dstChannels)"
 *
 * The masks of both images are combined by moxAnd: -5 "(msk == NULL)" and "(msk->imageData == NULL)" where there is no
 * memory for that, -1 "error_moxAnd" where moxAnd refuses them.
 */
MOX_EXPORT void MOX_CALL moxThreshold(MoxImage *srcImage, MoxImage *dstImage, int Threshold);

/* ------------------------------------------------------------------------------------------------------------------
 * Bitmaps
 * ---------------------------------------------------------------------------------------------------------------- */

/** How samples are brought to fewer levels. */
enum {
    MOX_DITHER_NONE = 1,    /**< the nearest below; no error is kept */
    MOX_DITHER_FS = 2,      /**< error diffusion to 4 neighbours (Floyd and Steinberg 1976) */
    MOX_DITHER_JJH = 4,     /**< error diffusion to 12 neighbours (Jarvis, Judice and Ninke 1976) */
    MOX_DITHER_STUCKEY = 8, /**< error diffusion to 12 neighbours (Stucki 1981) */
    MOX_DITHER_BAYER = 16   /**< ordered, by a matrix of 4 x 4 thresholds (Bayer 1973) */
};

/**
 * Brings an image to fewer levels or fewer bits: from 8U, 16U or 32S (taken as 0 to 4294967295) to the same depth or a
 * smaller one of these, or to 1U. Not in place. F is the largest value of the source's depth, the step is F / levels.
 * Each result is a multiple of the step within 0..F, so levels + 1 values, rounded to an integer (ties to even), of
 * which a smaller destination gets the top bits. A 1-bit destination gets 0 or F.
 *
 * levels is at least 2, and at most the number of values of the destination's depth (2147483647 at 32S).
 *
 * MOX_DITHER_NONE, with as many levels as the destination has values: the top bits of the sample (at equal depths a
 * copy). With fewer levels: the largest multiple of the step that is not above the sample.
 *
 * MOX_DITHER_FS, _JJH, _STUCKEY. Rows from top to bottom, each from left to right, every channel by itself. Let v be
 * the sample plus w x (n1 e1 + n2 e2 + ...), e being the errors of neighbours already done, n their weights below and w
 * 1/16, 1/48 or 1/42: in double precision, the products added in the order of memory, rows above first. The error that
 * a pixel leaves is v less its output, as a float; beyond the region there is none.
 *
 *     FS             JJH                  STUCKEY
 *                    1  3  5  3  1        1  2  4  2  1
 *     1  5  3        3  5  7  5  3        2  4  8  4  2
 *     7  x           5  7  x              4  8  x
 *
 * v at or above F gives F. v below 0 gives 1e-07. Otherwise low = step x rint(levels x v / 2^bits - 0.5), and the
 * output is low + step where v - low is greater than the threshold, else low. At a 1-bit destination the output is F
 * where v is greater than F / 2, else 0: noise plays no part there.
 *
 * MOX_DITHER_BAYER. The same without errors, against the threshold M x step with M = n / 15 from the matrix below, by
 * the pixel's column and row modulo 4. At a 1-bit destination: F where the sample is greater than M x F or is F,
 * else 0.
 *
 *     0  8  2 10
 *    12  4 14  6
 *     3 11  1  9
 *    15  7 13  5
 *
 * The threshold of error diffusion is half a step. noise, in percent from 0 to 100, spreads it: with N = noise / 100 it
 * lies within 0.5 - N and 0.5 + N steps, and that of MOX_DITHER_BAYER within M - N and M + N. Which of 1024 thresholds
 * a pixel gets comes from a table of 1024 random indices, by its column, its row and the tables' period. Each call
 * seeds the C library's generator with 1999 (srand), so that equal calls give equal images; noise takes 2048 numbers
 * of it (rand), and MOX_DITHER_NONE none. Results with noise are those of the platform's generator. The
 * generator belongs to the process: calls with noise on several threads at a time disturb one another.
 *
 * Columns and rows count from the region's corner, also where an image is tiled: a tiled image gives the same result as
 * a plain one. Under a mask every pixel is dithered, and those of the mask are stored. The alpha channel is left alone,
 * unless it is the channel of interest. A channel of interest of either image is that of the other as well, unless that
 * one names its own; a destination of one channel takes the source's. Where the destination has no such channel nothing
 * happens. Further channels of the source play no part.
 *
 * Memory: of error diffusion one row of floats a channel (FS) or two; rows of scratch where samples do not follow one
 * another; for a tiled image as many rows as a row of tiles has, up to 64 MiB, or 8 rows if these take more. When it
 * runs out the call ends without a report, the destination untouched or in part done, and the status word is -4.
 *
 * Failures, in this order, "Incorrect Image" with the fault of the source or the destination, all others -5:
 *
 *   "( (srcImage->depth == MOX_DEPTH_1U ))"
 *   "((srcImage->depth& MOX_DEPTH_MASK) < (dstImage->depth& MOX_DEPTH_MASK))"
 *   "(srcImage->dataOrder!=dstImage->dataOrder)"
 *   "(( noise < 0 ) || ( noise > 100 ))"
 *   "(srcImage->alphaChannel!=dstImage->alphaChannel)"
 *   "(srcImage->nChannels < dstImage->nChannels)"
 *   "ditherType != MOX_DITHER_NONE && ditherType != MOX_DITHER_FS && ditherType != MOX_DITHER_JJH &&
 *       ditherType != MOX_DITHER_STUCKEY && ditherType != MOX_DITHER_BAYER" (in one line)
 *   "!( ( srcImage->depth == MOX_DEPTH_32S ) || ((srcImage->depth & MOX_DEPTH_SIGN)==0))"
 *   "!( ( dstImage->depth == MOX_DEPTH_32S ) || ((dstImage->depth & MOX_DEPTH_SIGN)==0))"
 *   "This function does not support depth 32F"
 *   "This function isn`t in-plase function"
 *   "You incorrectly have set an amount of levels"
 *   " Depth 1u is for Gray, only" (with its blank: a 1-bit destination and a source of several channels, of which no
 *       coi names one)
 *   "(srcImage->tileInfo->tileData == 0)"
 *   "(dstImage->tileInfo->tileData == 0)"
 */
MOX_EXPORT void MOX_CALL moxReduceBits(MoxImage *srcImage, MoxImage *dstImage, int noise, int ditherType, int levels);

/* ------------------------------------------------------------------------------------------------------------------
 * Colour models
 *
 * Each function converts the common width and height of two whole images, 3 channels of the destination from the
 * first 3 of the source. Regions are refused; masks and channels of interest mean nothing. T(x) is x truncated
 * towards zero, F the largest value of a depth, >> rounds down.
 *
 * RGB. In pixel order R comes first where channelSeq begins with 'R', and B where it begins with 'B'; G is second. In
 * plane order R, G and B are the planes at the places of their letters. Further channels are skipped. The other model
 * has its three channels in the order of its name, YCrCb as Y, Cb, Cr.
 *
 * A function from RGB writes the name of the new model into colorModel and channelSeq of the destination ("YCr" for
 * YCrCb), before it looks at depths. The source may be the destination: it is then read by the sequence that it had.
 * A function to RGB leaves both fields alone: its destination must be named before the call, colorModel "RGB" and
 * channelSeq "RGB" or "BGR", and one that has held another model must be named again.
 *
 * Tiles of the destination are requested one by one for writing, the rectangle of the source that each one needs is
 * copied first. A refused tile is -5 "(srcImage->tileInfo->tileData == 0)" or "(dstImage->tileInfo->tileData == 0)",
 * missing memory for a rectangle -4 "Out of memory".
 *
 * Failures, all -5 but the first, in this order:
 *
 *   "Incorrect Image" with the fault of the source or the destination
 *   "colorModel must be RGB instead of ? ", "channelSeq must be RGB or BGR instead of ? " for the image that is RGB, by
 *       the first three characters; ? is the field, up to four characters, and a blank follows
 *   "src-> colorModel must be HSV instead of ?", "src-> channelSeq must be HSV instead of ?" in a function to RGB, with
 *       the name of the source's model
 *   "src & dst roi must be NULL"
 *   "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || (src->dataOrder !=
 *       dst->dataOrder) || (src->origin != dst->origin)" (in one line)
 *   "Error input depth. ? are valid now" on behalf of ownRGB2HSV and its like, where ? is "32F, 32S ,16U,8U" for XYZ,
 *       YUV and YCrCb, "32S,16U,8U" for HSV and HLS; "32F is valid now" for LUV, "8U is valid now" for YCC
 *   "Incorrect Image" for images that cannot be in memory
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * Hue, saturation, value, at 8U, 16U and 32S (of which -2147483648 counts as 0). In double precision, with max and
 * min of R, G, B and delta = max - min:
 *
 *   V = max, S = delta / max, and S = H = 0 where max is 0 or delta is 0
 *   H = ((G - B) x 60) / delta             where R is max,
 *       (1 / delta) x ((B - R) x 60) + 120 else where G is max,
 *       (1 / delta) x ((R - G) x 60) + 240 else; 360 more below 0
 *
 * stored as T(H x F x 0.002777777777777778), T(S x F), T(V); at 32S with -2147483648.5 added before T.
 */
MOX_EXPORT void MOX_CALL moxRGB2HSV(MoxImage *src, MoxImage *dst);

/**
 * The way back: with k = 1 / F, S x k = s and V for all three where S is 0. h = H x 360 x k / 60, and 0 from 6 on;
 * the sector is I = T(h - 0.5), and f = h - I, which goes up to 1.5. p = T((1 - s) V), q = T((1 - f s) V), t = T((1 -
 * (1 - f) s) V) give R, G, B as V t p, q V p, p V t, p q V, t p V for I from 0 to 4, and V p q for 5. At 8U and 16U
 * results keep their low bits: a value of 306 is stored as 50. At 32S, 2147483648.5 are taken off before T.
 *
 * So a colour of moxRGB2HSV does not come back where its hue lies in the first half of any sixth but the first. Where
 * colours are to come back, turn them in HLS.
 */
MOX_EXPORT void MOX_CALL moxHSV2RGB(MoxImage *src, MoxImage *dst);

/**
 * Hue, lightness, saturation, at 8U, 16U and 32S. The hue is that of moxRGB2HSV; L = (max + min) / 2; S = delta /
 * (max + min) where L is at most F / 2, else delta / (2 F - (max + min)). Stored as T(H x F x 0.002777777777777778),
 * T(L), T(S x F); at 32S with -2147483648.0 added before T.
 */
MOX_EXPORT void MOX_CALL moxRGB2HLS(MoxImage *src, MoxImage *dst);

/**
 * The way back, with h = H x 360 / F, l = L / F, s = S / F; the L sample for all three where s is 0. m2 = (s + 1) l
 * where l is at most 0.5, else s + l - s l; m1 = 2 l - m2. A channel is T(F x value) with x = h + 120 for R, h for G,
 * h - 120 for B, within 0 to 360: (m2 - m1) x / 60 + m1 below 60, m2 below 180, (m2 - m1) (240 - x) / 60 + m1 below
 * 240, else m1.
 */
MOX_EXPORT void MOX_CALL moxHLS2RGB(MoxImage *src, MoxImage *dst);

/**
 * CIE XYZ, at 8U, 16U, 32S and 32F, by the rows 0.412453 0.35758 0.180423, 0.212671 0.71516 0.072169, 0.019334
 * 0.119193 0.950227. 32F in single precision. 8U and 16U: (6758R + 5859G + 2956B + 8192) >> 14, (3484R + 11717G +
 * 1182B + 8192) >> 14, (317R + 1953G + 15569B + 8192) >> 14, of which Z is limited to F. 32S: T in double precision,
 * X - 106394929.85651207 and Z + 190597763.694592, which is limited.
 */
MOX_EXPORT void MOX_CALL moxRGB2XYZ(MoxImage *src, MoxImage *dst);

/**
 * The way back by 3.240479 -1.53715 -0.498535, -0.969256 1.875992 0.041556, 0.055648 -0.204043 1.057311; 32F in
 * single precision. 8U: (53092X - 25185Y - 8168Z + 8192) >> 14, (-15880X + 30736Y + 681Z + 8192) >> 14, (912X - 3343Y
 * + 17323Z + 8192) >> 14, limited. 16U drops the low byte of X, Y and Z and shifts by 6. 32S: T in double precision,
 * limited, of 3.2404813432005X - 1.5371515162713Y - 0.49853632616889Z + 439790694.0994415, -0.96925494999657X +
 * 1.8759900014899Y + 0.041555926558293Z - 111044279.08821273, 0.055646639135177X - 0.20404133836651Y +
 * 1.0573110696453Z - 195600605.13649487.
 */
MOX_EXPORT void MOX_CALL moxXYZ2RGB(MoxImage *src, MoxImage *dst);

/**
 * Y = 0.299R + 0.587G + 0.114B and its differences U = -0.146R - 0.288G + 0.434B, V = 0.617R - 0.517G - 0.1B, at 8U,
 * 16U, 32S and 32F. 32F: Y in single, U and V in double precision. 32S: T in double precision, limited. 8U and 16U,
 * limited, with o = F / 2 rounded down: (9798R + 19235G + 3736B) >> 15, ((-4784R - 9437G + 14221B) >> 15) + o,
 * ((20218R - 16941G - 3277B) >> 15) + o.
 *
 * A source of 8U in pixel order with 3 channels may have a destination in plane order. Then U = ((16121 (B - Y)) >>
 * 15) + 128 and V = ((28737 (R - Y)) >> 15) + 128, limited.
 *
 * "src1->depth != src2->depth" comes right behind the tests of the headers.
 */
MOX_EXPORT void MOX_CALL moxRGB2YUV(MoxImage *src, MoxImage *dst);

/**
 * The way back: R = Y + 1.135920183V, G = Y - 0.3959190767U - 0.5782887929V, B = Y + 2.041101518U, at 32S limited and
 * truncated. 8U and 16U, limited, with u = U - o and v = V - o: Y + ((-31u + 37222v) >> 15), Y + ((-12974u - 18949v)
 * >> 15), Y + ((66883u - 53v) >> 15). A source of 8U in plane order may have a destination in pixel order; o is 128
 * then. The depths are tested first, as in moxRGB2YUV.
 */
MOX_EXPORT void MOX_CALL moxYUV2RGB(MoxImage *src, MoxImage *dst);

/**
 * Y, Cb, Cr, at 8U, 16U, 32S and 32F. 32F in single precision: 0.299R + 0.587G + 0.114B, -0.1687359R - 0.331264G +
 * 0.5B + 0.5, 0.5R - 0.41868759G - 0.08131241B + 0.5. 32S: T in double precision, without the two 0.5. 16U: (4899R +
 * 9617G + 1868B + 8192) >> 14, (-2765R - 5427G + 8192B + 0x20000000) >> 14, (8192R - 6860G - 1332B + 0x20000000) >>
 * 14. 8U: Y = (4898R + 9617G + 1867B + 8192) >> 14, ((B - Y) 9246 + 0x200000) >> 14, ((R - Y) 11686 + 0x200000) >>
 * 14. At 8U and 16U results keep their low bits.
 */
MOX_EXPORT void MOX_CALL moxRGB2YCrCb(MoxImage *src, MoxImage *dst);

/**
 * The way back. 32F in single precision: Y + 1.402Cr - 0.701, Y - 0.3441363Cb - 0.7141363Cr + 0.5291363, Y + 1.772Cb
 * - 0.886, at least 0. 32S: T in double precision, limited, of Y + 1.4019999991573Cr, Y - 0.34413629776123Cb -
 * 0.71413631643017Cr, Y + 1.7720000660742Cb. 16U: Y + ((22970Cr - 752669475) >> 14), Y - ((5638Cb + 11700Cr -
 * 568122915) >> 14), Y + ((29032Cb - 951306060) >> 14), limited. 8U: the same with 2928675, 2210595 and 3701580.
 */
MOX_EXPORT void MOX_CALL moxYCrCb2RGB(MoxImage *src, MoxImage *dst);

/**
 * Y, C1, C2 of Photo YCC, at 8U only. Results are bytes of a curve with the indices (22256Y + 29844C2 - 4088627) >>
 * 14, (22256Y - 7050C1 - 15190C2 + 3180809) >> 14, (22256Y + 36338C1 - 5668739) >> 14, which become 0 below 0 and 360
 * above 361. The curve rises from 0 to 255, which it reaches at 353, and has 0 at 361.
 */
MOX_EXPORT void MOX_CALL moxYCC2RGB(MoxImage *src, MoxImage *dst);

/**
 * L, U, V of CIE L*u*v*, at 32F only, in single precision. With X, Y, Z of moxRGB2XYZ and Y > 0.01: L = 116 p - 16,
 * where p is Y to the power of 0.3333333432674408 in double precision (accurate to some units of its last place), as
 * a float; d = 1 / (X + 15Y + 3Z); U = 13L (4X d - 0.1978394091129303), V = 13L (9Y d - 0.47076964378356934). L = U =
 * V = 0 else.
 */
MOX_EXPORT void MOX_CALL moxRGB2LUV(MoxImage *src, MoxImage *dst);

/**
 * The way back, in double precision. Where L > 8.7: t = 1 / (13L), q = (L + 16) 0.008620689655172414, Y = q q q, u =
 * U t + 0.19783940212891, v = V t + 0.46834220078579, w = Y / v, X = 2.25 w u, Z = 3w - 5Y - X / 3, then the rows of
 * moxXYZ2RGB. R = G = B = 0 else. Thresholds and white points differ from those of moxRGB2LUV.
 */
MOX_EXPORT void MOX_CALL moxLUV2RGB(MoxImage *src, MoxImage *dst);

/**
 * Gray from RGB at 8U, 16U or 32S, to 16U, 8U or 1U. With S = 54R + 183G + 18B:
 *
 *             to 16U     to 8U      the bit at 1U is set where
 *   8U        S          S >> 8     S >> 8 is at least 128
 *   16U       S >> 8     S >> 16    S >> 8 is at least 32768
 *   32S       W >> 13    W >> 21    W, with shifts by 10, is at least 0x20000000
 *
 * W = 109 (R >> 11) + 366 (G >> 11) + 37 (B >> 11), of which 0 is the least that 8U and 16U store. The destination in
 * plane order may have several channels: the first is written. Bits beyond the width stay as they are.
 *
 * Failures, all -5 but the first, in this order: "Incorrect Image"; those of moxRGB2HSV of the source's model;
 * "colorModel must be GRAY instead of ? ", "channelSeq must be G instead of ? " of the destination, which is named
 * "GRAY" or "Gray" (three characters count) and "G" (one counts); "src & dst roi must be NULL"; "(dst-> dataOrder ==
 * MOX_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)" (in one line); "src->origin != dst->origin"; "Error in-out depth.
 * 32S,16U,8U=> 16U,8U,1U are valid now" on behalf of ownColorToGray; "Incorrect Image" with -15 for a source of less
 * than 3 channels.
 */
MOX_EXPORT void MOX_CALL moxColorToGray(MoxImage *src, MoxImage *dst);

/**
 * RGB from gray at 8U, 16U, 32S, and at 8U from bits: each channel is (gray x w) >> shift, the weights w being T(256
 * x weight) with a shift of 8 at 8U, else T(32768 x weight) with 15. A set bit counts as 255. Where all three w are 0
 * they are 54, 183, 18 with 8 at 8U, 109, 366, 37 with 9 at 16U, 6968, 23434, 2364 with 15 at 32S. At 8U and 16U
 * results keep their low bits; at 32S the result is 2 w (gray >> 16) + ((w (gray & 0xFFFF)) >> 15), limited. Weights
 * beyond 32 bits are limited. A source in plane order may have several channels: the first is read.
 *
 * The weights of zeros are the shares of moxColorToGray, so that the result is a dark green; a gray picture of three
 * equal channels is weights of 1.
 *
 * Failures, all -5 but the first, in this order: "Incorrect Image"; the tests of moxRGB2HSV of the destination's
 * model; those of moxColorToGray of the source's; "src & dst roi must be NULL"; "src-> depth != dst-> depth && src->
 * depth != 1U"; "src-> depth == dst-> depth && dst-> depth != 8U" where the source has bits and the destination is
 * not 8U; "(src->dataOrder==MOX_DATA_ORDER_PIXEL) && (dst->dataOrder == MOX_DATA_ORDER_PLANE) is not supported";
 * "(src-> dataOrder == MOX_DATA_ORDER_PIXEL) && (src-> nChannels != 1)"; "(src->origin != dst->origin)"; "Error input
 * depth. 32S,16U,8U are valid now" on behalf of ownGrayToColor; "Incorrect Image" with -15 for a destination of less
 * than 3 channels.
 */
MOX_EXPORT void MOX_CALL moxGrayToColor(MoxImage *src, MoxImage *dst, float weightR, float weightG, float weightB);

/* ------------------------------------------------------------------------------------------------------------------
 * Colour twist
 * ---------------------------------------------------------------------------------------------------------------- */

/** A matrix of 4 x 4 fixed-point numbers, row by row: each stands for itself / 2^scalingValue. */
typedef struct MoxColorTwist {
    int data[16];
    int scalingValue; /**< 0 to 31 */
} MoxColorTwist;

/**
 * A new matrix, to be given back by moxDeleteColorTwist. -5 "bad_argument" for a null data or a scalingValue outside
 * of 0 to 31, -4 "matrix_is_not_allocated"; the result is null then.
 */
MOX_EXPORT MoxColorTwist *MOX_CALL moxCreateColorTwist(const int *data, int scalingValue);

/** Replaces all of it. -5 "cTwist==0", "(data == 0)", "(scalingValue < 0)", "(scalingValue > 31)". */
MOX_EXPORT void MOX_CALL moxSetColorTwist(MoxColorTwist *cTwist, const int *data, int scalingValue);

/** Frees a matrix. Null is ignored. */
MOX_EXPORT void MOX_CALL moxDeleteColorTwist(MoxColorTwist *cTwist);

/**
 * Turns the first three channels c1, c2, c3 of each pixel by the first three rows of the matrix: channel i becomes
 * (m[i][0] c1 + m[i][1] c2 + m[i][2] c3 + m[i][3]) >> scalingValue, rounded down from an exact sum and limited to the
 * depth, which is 8U or 16U. m[i][3] is added before the shift: to raise a channel by v it is v << scalingValue.
 * Channels behind the third, alpha or not, stay as they are. Regions and masks count, a channel of interest does not.
 * extra is for future use.
 *
 * Failures, in this order, "Incorrect Image" with the fault of the source or the destination, all others -5:
 * "cTwist==0"; "(srcImage->nChannels < 3)"; "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))";
 * "(dstImage->nChannels < 3)"; "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))"; "(srcImage->depth !=
 * dstImage->depth)"; "((srcImage->depth != 8) && (srcImage->depth != 16))"; "(srcImage->dataOrder !=
 * dstImage->dataOrder)"; "(srcImage->origin != dstImage->origin)"; "(srcImage->origin != srcImage->maskROI->origin)";
 * "(srcImage->tileInfo->tileData == 0)"; "(dstImage->tileInfo->tileData == 0)". -4 "Out of memory" for combined
 * masks.
 */
MOX_EXPORT void MOX_CALL moxApplyColorTwist(MoxImage *srcImage, MoxImage *dstImage, const MoxColorTwist *cTwist,
                                            int extra);

/**
 * The same with a matrix of 4 x 4 floats, row by row, at every depth but 1U, also to another one. Products and sums
 * from left to right in double precision; integers are rounded to nearest, ties to even, and limited to the depth,
 * and what is no number gives its least value.
 *
 * Failures as in moxApplyColorTwist, in this order: "(TwistFP == 0)", the tests of order and origin, those of
 * channels, tiles. There is no test of the mask's origin.
 */
MOX_EXPORT void MOX_CALL moxColorTwistFP(MoxImage *srcImage, MoxImage *dstImage, const float *TwistFP);

/** Where the palette of a bitmap comes from. */
enum {
    MOX_PALCONV_NONE = 0,     /**< the bitmap's own, as it is */
    MOX_PALCONV_POPULATE = 1, /**< a fixed one: grays for a gray image, an even spread of colours for a colour image */
    MOX_PALCONV_MEDCUT = 2    /**< from the image's own colours, by median cut (Heckbert 1982) */
};

/**
 * The header of a device-independent bitmap, 40 bytes; palette and pixels follow it. On Windows it is the system's:
 * include <windows.h> to fill one.
 */
#if defined(_WIN32)
struct tagBITMAPINFOHEADER;
#else
typedef struct tagBITMAPINFOHEADER {
    unsigned biSize;         /**< sizeof(BITMAPINFOHEADER) */
    int biWidth;             /**< in pixels */
    int biHeight;            /**< rows; positive with the bottom row first in memory, negative with the top row first */
    unsigned short biPlanes; /**< 1 */
    unsigned short biBitCount; /**< 1, 4, 8, 16, 24 or 32 */
    unsigned biCompression;    /**< BI_RGB, BI_RLE8, BI_RLE4 or BI_BITFIELDS */
    unsigned biSizeImage;      /**< bytes of the pixels; may be 0 unless they are compressed */
    int biXPelsPerMeter;
    int biYPelsPerMeter;
    unsigned biClrUsed; /**< palette entries; 0 for 1 << biBitCount */
    unsigned biClrImportant;
} BITMAPINFOHEADER;

enum { BI_RGB = 0, BI_RLE8 = 1, BI_RLE4 = 2, BI_BITFIELDS = 3 };
#endif

/*
 * A bitmap in memory is the header, then for BI_BITFIELDS at 16 and 32 bits three masks of 32 bits (red, green,
 * blue), then the palette, then the pixels. A packed bitmap has all of them one behind the other; the Sep functions
 * take the pixels from a pointer of their own. The palette has biClrUsed entries of 4 bytes (blue, green, red, 0); a
 * biClrUsed of 0 stands for 1 << biBitCount of them at 1, 4 and 8 bits, and for none above. Rows are padded to 4
 * bytes. Pixels are palette indices, the first one in the high bits of a byte; 5 bits a colour at 16 bits, blue
 * lowest; bytes blue, green, red at 24 bits; blue, green, red, alpha at 32 bits.
 *
 * What the caller guarantees, since no function is told how long a bitmap is: that memory holds the header, masks and
 * palette as above, and behind them (or at dibData) |biHeight| rows of ((|biWidth| x biBitCount + 31) / 32) x 4
 * bytes. Instead of these, a run-length coded bitmap that is read has biSizeImage bytes; where biSizeImage is 0, it
 * has a stream that ends or fails within the memory. Nothing else is read or written, whatever stands in it.
 *
 * Rows of a bitmap begin with the bottom one where biHeight is positive. They are taken in memory order where that is
 * the image's order as well (MOX_ORIGIN_BL), and reversed otherwise.
 *
 * Where the format leaves something open: an index beyond the palette is black. Colours of fewer than 8 bits are
 * widened by repeating their bits, so that white stays white. Masks that do not name three separate runs of bits are
 * taken for the usual ones (5 bits a colour; 8 bits a colour with red highest); a run of bits that no mask names is
 * alpha at 32 bits. Alpha that a bitmap does not have is opaque in the image; alpha that an image does not have is 0
 * in the bitmap. A colour becomes gray as (54 R + 183 G + 19 B) >> 8. Samples of 16 bits are 257 times those of 8
 * bits, and give their high byte to a bitmap; samples of 1 bit are the high bit of those of 8.
 *
 * Regions, channels of interest and masks of the image play no part: whole images are converted.
 *
 * The tests of a bitmap's header, -5 each, in this order ("dibHeader" in place of "dib" in the Sep functions):
 *
 *   "(dib->biSize != sizeof(BITMAPINFOHEADER))"
 *   "(dib->biPlanes != 1)"
 *   "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) &&
 *       (dib->biCompression != 3)" (in one line)
 *   "(dib->biBitCount != 8) && (dib->biCompression == 1)"
 *   "(dib->biBitCount != 4) && (dib->biCompression == 2)"
 *   "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )"
 *   "(dib->biClrUsed > 0x8000)"
 *   "( dib->biBitCount==8 && dib->biClrUsed>256 )"
 *   "( dib->biBitCount==4 && dib->biClrUsed>16 )"
 *   "dib->biBitCount is bad", where bitmaps are read
 *
 * A run-length stream that cannot be decoded gives two reports: -4 "Not enough memory to decompress BI_RLE8 DIB at
 * DIB" or -5 "Incorrect format of BI_RLE8 DIB" with "(mismatch biHeight or biWidth)", "(mismatch biWidth)", "(bad
 * Delta command)" or "(mismatch biHeight)", each also with BI_RLE4, and then -3 "Impossible to decompress RLE DIB".
 * Rows must be complete before they end; the bitmap may end before its last row does. Pixels that a stream skips have
 * index 0.
 */

/**
 * A new image with the pixels of a packed bitmap: of depth 1 or one channel of 8 bits where the palette is gray,
 * three channels "BGR" where it is not and at 16 and 24 bits, four channels "BGRA" with alpha at 32 bits. A palette
 * is gray if entry i has i x 255 / (count - 1) for blue, green and red; one of a single entry is not.
 *
 * With *cloneData 0 the image shares the bitmap's pixels where their layouts are the same: 1 bit with a gray palette,
 * 8 bits with a gray palette of any length, uncompressed (the samples are the indices); 24 bits; 32 bits without
 * masks. Then *cloneData stays 0, align is 4, and the image lives no longer than the bitmap: free it by
 * moxDeallocateHeader. In all other cases, and whenever *cloneData is not 0, *cloneData becomes 1, align is 32, and
 * the image owns a copy: free it by moxDeallocate(image, MOX_FreeHeader | MOX_FreeData). *cloneData changes on
 * success only.
 *
 * Null and a report: -5 "( dib == 0 )", "( cloneData == 0 )", "( dib->biSize != sizeof(BITMAPINFOHEADER) )" and the
 * further tests of a bitmap's header; -4 "Not enough memory to allocate header for destination image", also behind
 * the report of moxCreateImageHeader on a size that no image can have; -4 "Not enough memory to allocate data for
 * destination image"; those of a stream.
 */
MOX_EXPORT MoxImage *MOX_CALL moxTranslateDIB(struct tagBITMAPINFOHEADER *dib, int *cloneData);

/**
 * Fills an image of the same size with the pixels of a packed bitmap. The image has one channel named "GRAY" or "G",
 * three named "BGR" or "RGB", or four named "BGRA" or "RGBA" by channelSeq; depth 1 (one channel), 8U or 16U; either
 * order. A header without pixels is given its own, which the caller frees by moxDeallocateImage; they go again where
 * the call fails. Padding of the image's rows is left alone.
 *
 * Failures, in this order:
 *
 *    -5   "dib==0", "image==0"
 *    -5   "( image->alphaChannel < 0 )", "( image->nChannels < image->alphaChannel )"
 *    -5   "( (image->dataOrder != 0) && (image->dataOrder != 1) )", "( (image->origin != 0) && (image->origin != 1) )"
 *    -5   "( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )"
 *    -5   "(image->height <= 0)", "(image->width <= 0)", "(image->imageSize <= 0)", "(image->widthStep <= 0)"
 *         the tests of a bitmap's header
 *   -14   "image->channelSeq unsupport"
 *         "Incorrect Image" with -17 for any other depth, -12 for a tiled image, -10 and -13 for sizes that no image in
 *         memory can have
 *    -4   "Not enough memory to allocate data for destination image"
 *         those of a stream
 *   -10   "Image size is too small" where the sizes differ in any way
 */
MOX_EXPORT void MOX_CALL moxConvertFromDIB(const struct tagBITMAPINFOHEADER *dib, MoxImage *image);

/**
 * moxConvertFromDIB of a bitmap whose pixels are at dibData; masks and palette are behind the header. -5 "( 0 ==
 * dibHeader )", "( 0 == dibData )", "( 0 == image )" come first.
 */
MOX_EXPORT void MOX_CALL moxConvertFromDIBSep(const struct tagBITMAPINFOHEADER *dibHeader, const void *dibData,
                                              MoxImage *image);

/**
 * Fills a packed bitmap from an image of depth 1, 8U or 16U with one channel, three named "BGR" or "RGB" by
 * channelSeq, or four with alpha named "BGRA" or "RGBA", in either order, plain or tiled. The caller has set biSize,
 * biWidth, biHeight, biPlanes, biBitCount and biCompression, and biClrUsed (0 for the usual count).
 *
 * Up to 8 bits each pixel becomes the palette entry of least squared distance, the first one of several; at 1 and 4
 * bits only entries that an index reaches count. paletteConversion says where the palette comes from:
 * MOX_PALCONV_NONE takes the bitmap's own; MOX_PALCONV_POPULATE writes the fixed one of 2, 16 or 256 entries
 * (biClrUsed); MOX_PALCONV_MEDCUT writes one of up to 1 << biBitCount entries, with memory for all of them guaranteed
 * by the caller, and the pixels of a packed bitmap stand behind those that biClrUsed names in the end. An image of
 * more bits a sample than biBitCount is first dithered to 1 << biBitCount levels by moxReduceBits, unless dither is
 * MOX_DITHER_NONE; one channel for a 1-bit bitmap is dithered to bits.
 *
 * With BI_BITFIELDS masks that do not name three separate runs of bits are replaced by the usual ones. With BI_RLE8
 * and BI_RLE4 the pixels are then compressed, if that makes them smaller; if not, biCompression becomes 0, which is
 * no fault. Memory for the uncompressed pixels is needed in any case. biSizeImage is set, and up to 8 bits biClrUsed;
 * row padding and unused bits become 0.
 *
 * Failures, in this order:
 *
 *         "Incorrect Image" with the header's fault
 *    -5   "dib==0"
 *    -5   "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"
 *    -5   "(image->alphaChannel != 0 && image->alphaChannel != 4)"
 *    -5   "(image->nChannels != 3 && image->nChannels != 1)" without alpha, "(image->nChannels != 4)" with it
 *         the tests of a bitmap's header
 *    -5   "(image->width != dib->biWidth || image->height != abs_biHeight)"
 *    -5   "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)"
 *    -5   "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)"
 *    -5   "Palette conversion is bad"
 *   -14   "image->channelSeq unsupport"
 *    -5   "Parameter biBitCount of DIB-image have illegal value"
 *    -2   "Error get tile to read"
 *    -3   "Error of creating medcut palette"
 *    -4   "Not enough memory to allocate header for temporal image",
 *         "Not enough memory to allocate data for temporal image"
 *    -3   "Dithering can't be produced"
 *    -4   "Not enough memory to compress DIB at BI_RLE8 DIB" or "... BI_RLE4 DIB"
 *
 * From the palette on, the bitmap may have been written to.
 */
MOX_EXPORT void MOX_CALL moxConvertToDIB(MoxImage *image, struct tagBITMAPINFOHEADER *dib, int dither,
                                         int paletteConversion);

/**
 * moxConvertToDIB with the pixels at dibData; masks and palette are behind the header. -5 "( 0 == dibHeader )", "( 0
 * == dibData )", "( 0 == image )" come first.
 */
MOX_EXPORT void MOX_CALL moxConvertToDIBSep(MoxImage *image, struct tagBITMAPINFOHEADER *dibHeader, void *dibData,
                                            int dither, int paletteConversion);

/* ------------------------------------------------------------------------------------------------------------------
 * Transforms.
 *
 * These take plain images only, not tiled ones, and leave masks alone: every pixel of the region takes part. Sines and
 * cosines are the library's own, and sums have one order, so that results are the same on every processor and system.
 * Tables are kept for each thread, by the length of a transform; they go by the FREE flags or with the thread.
 *
 * Spectra, coefficients and the four images of a wavelet are at home in 32F images, whose pixels come from
 * moxAllocateImageFP: moxAllocateImage refuses them. What a transform works in is one block of memory, of less than 2^31
 * bytes (see moxMalloc): for Fourier and cosine transforms the region in floats and several lines of it more, which are
 * up to 32 floats thick, as the processor's vectors are. What does not fit counts as memory that ran out. The first to
 * meet this is the cosine transform of a single line, from 1 million samples on.
 * ---------------------------------------------------------------------------------------------------------------- */

/** Flags of moxRealFft2D and moxCcsFft2D, combinable: one direction, at most one engine. */
enum {
    MOX_FFT_FORWARD = 1,      /**< kernel e^(-2 pi i n k / N), no scale */
    MOX_FFT_INVERSE = 2,      /**< kernel e^(+2 pi i n k / N), scaled by 1 / (W x H) */
    MOX_FFT_NO_SCALE = 4,     /**< with MOX_FFT_INVERSE: no scale */
    MOX_FFT_USE_INTEGER = 16, /**< the fixed-point engine, unless an image is 32F */
    MOX_FFT_USE_FLOAT = 32,   /**< the float engine */
    MOX_FFT_FREE = 128        /**< release the calling thread's tables and buffers, and return 0: all else is ignored */
};

/**
 * The spectrum F(v, u) of a real image of W x H samples, u horizontal from 0 to W - 1, v vertical from 0 to H - 1,
 * packed into an image of the same size. What the conjugate symmetry makes redundant is left out:
 *
 *     column 0                 row 0: Re F(0, 0); rows 2j - 1 and 2j: Re and Im F(j, 0); row H - 1, H even: Re F(H/2, 0)
 *     column W - 1, W even     the same of F(., W/2)
 *     columns 2k - 1 and 2k    Re and Im F(y, k) in every row y
 *
 * W and H are the smaller width and height of the two regions; channels are the channel of interest, or all but alpha.
 * Any depth but 1U; the images may differ in depth, dataOrder and origin (rows are taken in memory order), and may be
 * the same. MOX_FFT_INVERSE flips the kernel's sign and scales; the packing stays. A forward transform is not scaled:
 * spectra of integer images saturate where the destination's depth is too small.
 *
 * The float engine computes in single precision, in W x H log (W x H) steps for every size: radices 2, 3, 4, 5, 8 and
 * odd primes to 31 in Stockham's arrangement, and Bluestein's chirp (1970) where a length has a larger prime factor.
 * Errors grow with the logarithm of the length. Integers are stored rounded to nearest, ties to even, saturated. The
 * fixed-point engine has twiddles of 14 fractional bits and a direct sum for each prime factor, so that large primes
 * cost the square of themselves; it is for small images, and takes those of up to 128 samples where no flag says
 * otherwise, no image is 32F and the source is not 32S.
 *
 * Returns 0 or the status reported. Failures, in this order: -5 "(flags & 1) == 0 && (flags & 2 ) == 0", "(flags & 1)
 * != 0 && (flags & 2 ) != 0", "(flags & 32) != 0 && (flags & 16 ) != 0", "srcImage==0"; the header's fault, "Incorrect
 * Image"; -5 "srcImage->alphaChannel > 0 && srcImage->alphaChannel != srcImage->nChannels", "srcImage->alphaChannel ==
 * 1 && srcImage->roi == 0", "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1", "srcImage->depth == 1",
 * "srcImage->imageData == 0" (a tiled image); the same for dstImage; where the numbers of channels differ
 * "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
 * with a channel of interest of the source alone "(dstImage->nChannels - (dstImage->alphaChannel != 0)) !=
 * (srcImage->roi->coi > 0)", of the destination alone "(srcImage->nChannels - (srcImage->alphaChannel != 0)) !=
 * (dstImage->roi->coi > 0)"; -5 "Error in input data" where a region is empty; -4 "No working memory", after all
 * tables have been freed and the transform has been tried once more.
 */
MOX_EXPORT MoxStatus MOX_CALL moxRealFft2D(MoxImage *srcImage, MoxImage *dstImage, int flags);

/**
 * The real image of a packed spectrum: moxRealFft2D backwards, with the same flags, rules and failures. A spectrum that
 * was computed forwards gives its image with MOX_FFT_INVERSE.
 */
MOX_EXPORT MoxStatus MOX_CALL moxCcsFft2D(MoxImage *srcImage, MoxImage *dstImage, int flags);

/**
 * The product of two packed spectra, sample by sample: with moxRealFft2D (MOX_FFT_FORWARD) of both images before and
 * moxCcsFft2D (MOX_FFT_INVERSE) behind it, a periodic convolution, whose kernel has its middle at (0, 0) and what is
 * left of it or above wrapped round to the far sides. Complex pairs multiply as re = a.re b.re - a.im b.im, im = a.re
 * b.im + a.im b.re, real positions as real numbers. At 32F products and sum are rounded one after the other; integers
 * are summed in 64 bits and saturated. Depths 8S, 16S, 32S and 32F, the same for all three images, whose regions are of
 * one size. The destination may be a source. Nothing is returned: moxGetErrStatus tells of a failure.
 *
 * Failures, in this order: "Incorrect Image" (srcA, srcB, dst); -17 "srcA->depth || srcB->depth == 8U||16U||1U"; -5
 * "(srcA->depth != srcB->depth)", "(srcA->depth != dst->depth)", "(width_srcA != width_srcB)", "(height_srcA !=
 * height_srcB)", "(width_srcA != width_dst)", "(height_srcA != height_dst)", of the regions; -15 with no text where the
 * numbers of channels differ; "Incorrect Image" with -12 for a tiled image.
 */
MOX_EXPORT void MOX_CALL moxMpyRCPack2D(MoxImage *srcA, MoxImage *srcB, MoxImage *dst);

/** Flags of moxDCT2D: one direction. */
enum {
    MOX_DCT_FORWARD = 1,
    MOX_DCT_INVERSE = 2,
    MOX_DCT_FREE = 8,         /**< release the calling thread's tables, and return: all else is ignored */
    MOX_DCT_IN_PLACE_16S = 16 /**< work straight on the rows of 16S images; results are the same without */
};

/**
 * The orthonormal cosine transform of W x H samples. With c(0) = 1, c(k) = sqrt(2) for other k, and s = 1 / sqrt(W x
 * H),
 *
 *     F(u, v) = s c(u) c(v) x the sum over x, y of f(x, y) cos((2x + 1) u pi / 2W) cos((2y + 1) v pi / 2H)
 *
 * and the inverse is its transpose. The two images are of one width and height, and both have a region or neither has.
 * The transform has the size of the source's region; the destination, another header, takes it from the corner of its
 * own region on. So the blocks of a picture are transformed by one call each, with a region at the same place in a
 * picture and an image of coefficients of its size. Nothing is returned: moxGetErrStatus tells of a failure. Channels: that of interest, where both images name one; else all but
 * alpha. Any depth but 1U, and the two may differ.
 *
 * Blocks of 4, 8, 16 or 32 samples in either direction, of up to 16 bits in both images, are computed in 16-bit
 * integers with sums of 32 bits; samples of 16U above 32767 count as that. All else is computed in single precision:
 * lengths up to 32 as plain sums, longer ones by Fourier transforms of the reordered samples (Makhoul 1980), in W x H
 * log (W x H) steps. Integers are stored rounded to nearest, ties to even, saturated. Forward results are up to
 * sqrt(W x H) times the samples and have both signs: a 32F destination keeps all of them.
 *
 * Failures, -5 each, in this order: "\n Bad value of the transform flag"; "src==0" and "dst==0", both reported;
 * "\nFunction does not support inplace operation", "\nImages with 1u depth are not processed", "\nAlpha channel may be
 * 0 or number of channels", "Images are not compatible": nChannels, width, height or dataOrder differ, one has a
 * region and the other has none, a region does not lie inside its image, or the source's is too large for where the
 * destination's begins. Then "Incorrect Image" with the fault of a header; -12 for a tiled image. When memory runs out
 * the call ends without a report, the channel at hand and those behind it untouched.
 */
MOX_EXPORT void MOX_CALL moxDCT2D(MoxImage *srcImage, MoxImage *dstImage, int flags);

/** Wavelets of moxWtInit. */
enum {
    MOX_WT_HAAR = 0,
    MOX_WT_DAUBECHIES = 1,   /**< 2 x par1 taps, par1 from 1 to 10 */
    MOX_WT_SYMLET = 2,       /**< least asymmetric: 2 x (par1 + 3) taps, par1 from 1 to 7 */
    MOX_WT_COIFLET = 3,      /**< 6 x par1 taps, par1 from 1 to 5 */
    MOX_WT_VAIDYANATHAN = 4, /**< 24 taps */
    MOX_WT_BSPLINE = 5,      /**< biorthogonal: par1 1 with par2 1, 3, 5; 2 with 2, 4, 6, 8; 3 with 1, 3, 5, 7, 9 */
    MOX_WT_BSPLINE_DUAL = 6, /**< the same pairs, the low-pass filters exchanged */
    MOX_WT_53 = 7,           /**< 3 and 5 taps: spline 2, 2 */
    MOX_WT_97 = 8,           /**< 4 and 8 taps: spline 3, 3 */
    MOX_WT_USER = 9          /**< filters of the caller: set by the user initialisers only */
};

/** A filter: in moxWtDecompose sample k of its result is the sum over j of taps[j] x sample[2k + offset - j]. */
typedef struct MoxWtFilter {
    float *taps;
    int length;   /**< at least 2 */
    int offset;   /**< 0 to length - 1 */
    int symmetry; /**< 0 symmetric, 1 antisymmetric, 2 neither, 3 supplied by the caller; not looked at */
} MoxWtFilter;

/** The four filters of a wavelet. Read-only during a transform, so calls and threads may share one. */
typedef struct MoxWtKernel {
    int wtType;
    int par1; /**< 0 where the type has no parameter */
    int par2;
    int orthogonal; /**< 0 orthogonal, 1 biorthogonal, 3 supplied by the caller; not looked at */
    MoxWtFilter filtDecLow;
    MoxWtFilter filtDecHigh;
    MoxWtFilter filtRecLow;
    MoxWtFilter filtRecHigh;
} MoxWtKernel;

/*
 * Unlike other operations the wavelet functions clear the status word when they begin, and return 0 or the status that
 * they have reported.
 */

/**
 * Fills a record with a built-in kernel: taps are constants of the library, filtDecLow sums to 1 and filtRecLow to 2.
 * Coefficients are those of Daubechies (1992), Vaidyanathan and Hoang (1988), and Cohen, Daubechies and Feauveau
 * (1992). Parameters that a type has no use for are ignored.
 *
 * Failures: -27 "Null pointer by wtKernel was passed."; -5 "Bad wtType value.", "Bad par1   value.", "Bad par2
 * value.".
 */
MOX_EXPORT MoxStatus MOX_CALL moxWtInit(int wtType, int par1, int par2, MoxWtKernel *wtKernel);

/**
 * Fills a record with copies of the caller's filters, which moxWtFree frees. A failure leaves the record as it was: -27
 * "Null pointer by wtKernel was passed.", then by decLow, decHigh, recLow, recHigh; for each filter in this order -29
 * "Error (*decLow).taps == NULL.", "Error (*decLow).length < 2.", "Error (*decLow).offset >= (*decLow).length.", "Error
 * (*decLow).offset < 0."; -4 "No working memory.".
 */
MOX_EXPORT MoxStatus MOX_CALL moxWtInitUserFilter(MoxWtFilter *decLow, MoxWtFilter *decHigh, MoxWtFilter *recLow,
                                                  MoxWtFilter *recHigh, MoxWtKernel *wtKernel);

/** The same of an array of the four filters, named filt in the messages: "Error filt[0].taps == NULL." and so on. */
MOX_EXPORT MoxStatus MOX_CALL moxWtInitUserFilter4(MoxWtFilter *filt, MoxWtKernel *wtKernel);

/**
 * The same of the filters' taps, lengths and offsets: -27 by wtKernel, filt, len_filt, ofs_filt; -29 "Error filt[0] ==
 * NULL.", "Error len_filt[0] < 2.", "Error ofs_filt[0] >= len_filt[0].", "Error ofs_filt[0] < 0.".
 */
MOX_EXPORT MoxStatus MOX_CALL moxWtInitUserTaps(float **filt, int *len_filt, int *ofs_filt, MoxWtKernel *wtKernel);

/** Frees the taps of a kernel of the caller's filters, and clears the record of any. -27 for a null one. */
MOX_EXPORT MoxStatus MOX_CALL moxWtFree(MoxWtKernel *wtKernel);

/**
 * One level of the separable transform: the region of an 8U image of one channel into four 32F images of half its
 * size, an odd width or height being rounded up. Rows are filtered with filtDecLow and filtDecHigh, then the columns
 * of both results: approxDst is low-pass both ways, xDetailDst low-pass along rows and high-pass along columns,
 * yDetailDst high-pass along rows and low-pass along columns, dDetailDst high-pass both ways. The image continues
 * periodically; an odd width or height is made even before, by the last column or row once more. Sums are single
 * precision, added to 0 in the order of the taps.
 *
 * Failures, in this order: -27 "Null pointer by wtKernel was passed."; -29 "Error wtKernel->filtDecLow.taps == NULL.",
 * "Error wtKernel->filtDecLow.length < 2.", "Error wtKernel->filtDecLow.offset >= wtKernel->filtDecLow.length.",
 * "Error wtKernel->filtDecLow.offset < 0.", the same for filtDecHigh; for src and the four results in turn the
 * header's fault with "Incorrect image: src.", -5 "Tiled image not supported: src."; then test by test, image by
 * image: -25 "Error approxDst->roi != NULL."; -17 "Error src->depth != MOX_DEPTH_8U.", "Error approxDst->depth !=
 * MOX_DEPTH_32F."; -15 "Error src->nChannels != 1."; -25 "Error src->roi->xOffset >= src->width.", "Error
 * src->roi->yOffset >= src->height."; -10 "Error actualWidth(approxDst) != actualWidth(src) / 2.", for an odd width
 * "Error actualWidth(approxDst) != (actualWidth(src) + 1) / 2.", then actualHeight; -13 "Not equal decomposed images
 * widthStep values."; -4 "No working memory.". The results are then as they were.
 */
MOX_EXPORT MoxStatus MOX_CALL moxWtDecompose(MoxWtKernel *wtKernel, MoxImage *src, MoxImage *approxDst,
                                             MoxImage *xDetailDst, MoxImage *yDetailDst, MoxImage *dDetailDst);

/**
 * The way back: columns, then rows of the four images, with zeros between their samples, are filtered with filtRecLow
 * and filtRecHigh, and the two sums added, into the region of an 8U image of one channel. Sample n is the sum over j
 * of taps[j] x sample[n + offset - j]. Results are limited to 0 to 255 and rounded to nearest, ties to even. With a
 * built-in kernel the image comes back as it was. Failures as with moxWtDecompose: the filters are filtRecLow and
 * filtRecHigh, dst stands where src does, and approxSrc, xDetailSrc, yDetailSrc, dDetailSrc for the results.
 */
MOX_EXPORT MoxStatus MOX_CALL moxWtReconstruct(MoxWtKernel *wtKernel, MoxImage *approxSrc, MoxImage *xDetailSrc,
                                               MoxImage *yDetailSrc, MoxImage *dDetailSrc, MoxImage *dst);

/* ------------------------------------------------------------------------------------------------------------------
 * Measures: numbers, tables and bits from images. None of these writes to a source.
 *
 * What is measured is the region, all processed channels together unless told otherwise, where the mask's bit is 1.
 * Results at integer depths are exact, and the same plain or tiled.
 * ---------------------------------------------------------------------------------------------------------------- */

/** Norms of moxNorm. MOX_NORM_RELATIVE is added to one of the others. */
enum { MOX_NORM_C = 1, MOX_NORM_L1 = 2, MOX_NORM_L2 = 4, MOX_NORM_RELATIVE = 8 };

/**
 * The norm of an image (srcImageB null), or of the difference A - B:
 *
 *   MOX_NORM_C   the largest absolute value
 *   MOX_NORM_L1  the sum of the absolute values
 *   MOX_NORM_L2  the square root of the sum of the squares
 *   + MOX_NORM_RELATIVE  that of A - B over that of B
 *
 * Any depth, bits included (their difference is the exclusive-or); all processed channels are one sum or one maximum.
 * Absolute values and differences may leave the depth's range: |-128| is 128. Integer sums are exact before the last
 * rounding; 32F, and L2 at 32S, are sums in double precision, of each row in 16 interleaved parts. NaN is left out of
 * MOX_NORM_C. Images of different size are compared over the common area, each from its region's corner; that is also the
 * area of a relative norm's denominator, masks included. An empty area gives 0.0.
 *
 * Failures give 0.0: "Incorrect Image"; -19 "DataOrder_A!=DataOrder_B"; -5 "(srcImageA->depth!=srcImageB->depth)",
 * "Unknown normType", "normType is impossible, no second image"; -15 "nChannelsA != nChannelsB" (processed ones);
 * -24 "COI should be defined for second image if COI is defined for the first one"; -9 "Null pointer for mask" where the
 * masks cannot be combined for want of memory. Two failures give a negative number: -1 with -5 "Zero divided" for a
 * relative norm whose denominator is 0, -3 with -4 "No memory for create intermediate image" where a tile was not
 * delivered.
 */
MOX_EXPORT double MOX_CALL moxNorm(MoxImage *srcImageA, MoxImage *srcImageB, int normType);

/**
 * The smallest and the largest sample of a 32F image. The mask is not looked at. NaN is left out unless all samples are;
 * of the two zeros the negative one is the smaller. Where there is nothing to look at (an empty region, alpha alone) min
 * and max stay as they are.
 *
 * Returns 0, or -5 after a report: "Incorrect Image" with the header's own fault; -5 "((min == 0)||(max == 0))",
 * "(srcImage->depth != 32)", "(srcImage->tileInfo->tileData == NULL)".
 */
MOX_EXPORT MoxStatus MOX_CALL moxMinMaxFP(MoxImage *srcImage, float *min, float *max);

/** One cell of a state of moments. */
typedef struct MoxMomentCell {
    double scale;  /**< of [1][0] 1 / width of the region, of [0][1] 1 / height; the others' are not used */
    double moment; /**< of [m][n] the sum of x^m y^n p over the pixels p at (x, y) */
} MoxMomentCell;

/** A state of moments, by the power of x, then that of y. Cells whose powers add up to more than 3 are not used. */
typedef MoxMomentCell MoxMomentState[4][4];

/**
 * Fills a state with all moments up to the third order of one channel. x and y are coordinates of the image: a region
 * begins at its xOffset and yOffset. Sums of samples of up to 16 bits are exact before the last rounding, those of 32
 * bits are double precision; bits count as samples 0 and 1. What the mask leaves out adds nothing; a mask that is smaller
 * than the region limits it. An empty region leaves the state as it is. The image's roi points to a record of the
 * library's for the duration of the call.
 *
 * "Incorrect Image"; -5 "Only one channel can be proceed" for several channels without a coi; -2 "Error get tile to
 * read".
 */
MOX_EXPORT void MOX_CALL moxMoments(MoxImage *image, MoxMomentState state);

/** M(m, n). Orders that are negative or add up to more than 3: -5 "Illegal order of moment", and 0.0. */
MOX_EXPORT double MOX_CALL moxGetSpatialMoment(MoxMomentState state, int mOrd, int nOrd);

/** M(m, n) / M(0, 0)^((m + n + 2) / 2). Illegal orders are reported in the name of moxGetSpatialMoment. */
MOX_EXPORT double MOX_CALL moxGetNormalizedSpatialMoment(MoxMomentState state, int mOrd, int nOrd);

/**
 * The moment about the centre (M(1, 0) / M(0, 0), M(0, 1) / M(0, 0)), or about half the region's size where M(0, 0) is 0.
 * Those of first order are 0.
 */
MOX_EXPORT double MOX_CALL moxGetCentralMoment(MoxMomentState state, int mOrd, int nOrd);

/** The central moment over M(0, 0)^((m + n + 2) / 2). */
MOX_EXPORT double MOX_CALL moxGetNormalizedCentralMoment(MoxMomentState state, int mOrd, int nOrd);

/** moxMoments and the matching function above in one: the tests of the image come first. 0.0 for an empty region. */
MOX_EXPORT double MOX_CALL moxSpatialMoment(MoxImage *image, int mOrd, int nOrd);
MOX_EXPORT double MOX_CALL moxNormalizedSpatialMoment(MoxImage *image, int mOrd, int nOrd); /**< see moxSpatialMoment */
MOX_EXPORT double MOX_CALL moxCentralMoment(MoxImage *image, int mOrd, int nOrd);           /**< see moxSpatialMoment */
MOX_EXPORT double MOX_CALL moxNormalizedCentralMoment(MoxImage *image, int mOrd, int nOrd); /**< see moxSpatialMoment */

/**
 * Comparisons write a bit for each pixel to res, a 1-bit image: 1 if the relation holds in every processed channel. Where
 * a mask's bit is 0 the result keeps its bit. Images of different size are compared over the common area. The channel of
 * res has no meaning. Unlike most of the library these functions return a status as well as storing one, and in part not
 * the same; 0 is success.
 *
 * Failures, as returned (and as reported, where that differs): " Incorrect Image" with the header's fault; -17 (-5)
 * "(res->depth!=MOX_DEPTH_1U)"; -17 (-5) "(img1->depth!=img2->depth)"; -5 "(img1==res || img2==res)"; -19 (-5)
 * "(img1->dataOrder!=img2->dataOrder)"; -20 (-5) "(img1->origin!=img2->origin)"; -5 (-18) "bad alpha channel's number"
 * for an image whose one channel is alpha; -15 "bad channel's number"; -18 "bad alpha channel's number" for res or a
 * mask; -4 "Allocation failure" where the masks cannot be combined or a source's tile is not delivered; -2 "Error get
 * tile to write".
 *
 * With a constant: " Incorrect Image"; -5 "(img==res)"; the depth of res; -17 (-5) "(img->depth==MOX_DEPTH_32F)" for the
 * integer forms, "(img->depth!=MOX_DEPTH_32F)" for those of floats; then the channels as above.
 */
MOX_EXPORT MoxStatus MOX_CALL moxLess(MoxImage *img1, MoxImage *img2, MoxImage *res);    /**< img1 < img2 */
MOX_EXPORT MoxStatus MOX_CALL moxGreater(MoxImage *img1, MoxImage *img2, MoxImage *res); /**< img1 > img2 */
MOX_EXPORT MoxStatus MOX_CALL moxEqual(MoxImage *img1, MoxImage *img2, MoxImage *res);   /**< img1 == img2 */

/**
 * Not |img1 - img2| >= eps, in single precision: values that are exactly eps apart differ, NaN is equal to everything. 32F
 * only. Behind the tests of moxEqual: -17 (-5) "((img1->depth!= MOX_DEPTH_32F)|| (img2->depth!= MOX_DEPTH_32F))"; -5
 * "(eps<=0.)".
 */
MOX_EXPORT MoxStatus MOX_CALL moxEqualFPEps(MoxImage *img1, MoxImage *img2, MoxImage *res, float eps);

/** img < value; a value beyond the range of the depth is greater or smaller than every sample. See moxLess. */
MOX_EXPORT MoxStatus MOX_CALL moxLessS(MoxImage *img, int value, MoxImage *res);
MOX_EXPORT MoxStatus MOX_CALL moxGreaterS(MoxImage *img, int value, MoxImage *res);     /**< img > value */
MOX_EXPORT MoxStatus MOX_CALL moxEqualS(MoxImage *img, int value, MoxImage *res);       /**< img == value */
MOX_EXPORT MoxStatus MOX_CALL moxLessSFP(MoxImage *img, float value, MoxImage *res);    /**< img < value, 32F */
MOX_EXPORT MoxStatus MOX_CALL moxGreaterSFP(MoxImage *img, float value, MoxImage *res); /**< img > value, 32F */
MOX_EXPORT MoxStatus MOX_CALL moxEqualSFP(MoxImage *img, float value, MoxImage *res);   /**< img == value, 32F */

/** Not |img - value| >= eps; see moxEqualFPEps. -5 "(eps<=0.)" behind the test of the depth. */
MOX_EXPORT MoxStatus MOX_CALL moxEqualSFPEps(MoxImage *img, float value, MoxImage *res, float eps);

/**
 * A table of one channel's levels: a histogram with bins of any width, or a tone curve of segments. The functions take an
 * array of pointers to such tables, one for each channel of the image (with a coi of 3 the third one is used; tables of
 * channels that are not processed may be null). The caller owns all of it.
 *
 * A table of every level has one key more than there are levels, the last one being their number: at 8U 257 keys, from 0 to
 * 256, and at 16U 65537. Keys at both ends alone, such as 0 and 256, make one segment of all levels. Arrays have num
 * entries each, although the last value and factor belong to no segment. Levels that no segment covers are not counted,
 * and moxContrastStretch leaves them as they are.
 */
typedef struct MoxLUT {
    int num;             /**< of keys, at least 2 */
    int *key;            /**< ascending levels, from 0 or more to the depth's number of levels or less */
    int *value;          /**< histogram: samples of key[i] to key[i + 1] - 1; curve: the result at key[i] */
    int *factor;         /**< curve: what the result rises by from level to level; may be null if it is not used */
    int interpolateType; /**< curve: 0 for flat segments, else factor counts */
} MoxLUT;

/**
 * The histogram of each processed channel, by the segments of its table: value[i] becomes the number of samples from
 * key[i] to key[i + 1] - 1; value[num - 1] is left alone, and interpolateType becomes 0. What the mask leaves out is not
 * counted. Depths 1U, 8U, 16U.
 *
 * "Incorrect Image"; -5 "lut==0", "(srcImage->depth & MOX_DEPTH_SIGN) || (srcImage->depth == MOX_DEPTH_32F)": of these
 * three each one is reported. Then the first of -5 "lut[k]==0", "lut[k]->key==0", "lut[k]->value==0", "lut[k]->num < 2",
 * "lut[k]->key[0] < 0", "lut[k]->key[lut[k]->num-1] > histSize", "lut[k]->key[i] > lut[k]->key[i+1]"; -4 with an empty
 * message; -2 "Error get tile to read".
 */
MOX_EXPORT void MOX_CALL moxComputeHisto(MoxImage *srcImage, MoxLUT **lut);

/**
 * Applies each channel's curve: a level v of segment i becomes value[i], or value[i] + (v - key[i]) x factor[i] where
 * interpolateType is not 0, cut to the low bits of the depth. Levels below the first key, the last key and those above
 * it stay as they are. Depths 8U and 16U; in place or not.
 *
 * Of these each one is reported: "Incorrect Image" (source, destination); -5 "srcImage->depth != dstImage->depth",
 * "srcImage->origin != dstImage->origin", "srcImage->dataOrder != dstImage->dataOrder" (not for single channels),
 * "srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U", "lut==0". Then "Number of processed channels of
 * srcImage != Number of processed channels of dstImage", the tests of the tables, -4 with an empty message; and in the
 * name of moxMap -2 "Error get tile to read", "Error get tile to write".
 */
MOX_EXPORT void MOX_CALL moxContrastStretch(MoxImage *srcImage, MoxImage *dstImage, MoxLUT **lut);

/**
 * Equalises each channel by its histogram, as moxComputeHisto leaves it: call that first, usually with the same image and
 * tables. A level becomes its share of the running sum, of 255 (of 65535) for the whole; those that no segment covers
 * count as none. The counts of a wider segment are spread evenly over its levels. At 8 bits the product of
 * sum and 255 is one of 32 bits, which wraps for more than 8421504 samples. The tests of moxContrastStretch; -3 "All
 * values in histogram are zeroes".
 */
MOX_EXPORT void MOX_CALL moxHistoEqualize(MoxImage *srcImage, MoxImage *dstImage, MoxLUT **lut);

/* ------------------------------------------------------------------------------------------------------------------
 * Quadrangles and maps
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * Geometry in double precision, without a pixel touched. Pixel (x, y) has its centre at (x, y): a region's corners are
 * those of its first and last pixels, left = xOffset to right = xOffset + width - 1, cut to the image. A quadrangle is
 * four points (x, y), in the order of the region's corners (left, top), (right, top), (right, bottom), (left, bottom);
 * either winding is legal. Coefficients are
 *
 *   affine       double coeffs[2][3]   x' = c00 x + c01 y + c02            y' = c10 x + c11 y + c12
 *   bilinear     double coeffs[2][4]   x' = c00 x y + c01 x + c02 y + c03  y' = c10 x y + c11 x + c12 y + c13
 *   perspective  double coeffs[3][3]   x' = (c00 x + c01 y + c02) / w      y' = (c10 x + c11 y + c12) / w
 *                                      w  = c20 x + c21 y + c22            (c22 need not be 1)
 *
 * The functions that end in ROI take a region by itself, cut at 0 only, in place of an image; its coi has no meaning.
 *
 * Quad: where the map takes the corners of the region. A perspective w of 0 gives an infinity or no number.
 *
 * Failures leave the results unwritten: "Incorrect Image"; -5 "Bad rect ROI" for a region that is empty, outside the
 * image, or null; -27 "coeffs == 0", "quad == 0".
 */
MOX_EXPORT void MOX_CALL moxGetAffineQuad(MoxImage *image, double coeffs[2][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetAffineQuadROI(MoxROI *roi, double coeffs[2][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearQuad(MoxImage *image, double coeffs[2][4], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearQuadROI(MoxROI *roi, double coeffs[2][4], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveQuad(MoxImage *image, double coeffs[3][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveQuadROI(MoxROI *roi, double coeffs[3][3], double quad[4][2]);

/**
 * The box around that quadrangle: rect[0] is its smallest x and y, rect[1] its largest. A canvas that takes the whole
 * result is floor(rect[1]) - ceil(rect[0]) + 1 pixels wide and high, and the map must be shifted by -ceil(rect[0]) to lie
 * on it. What fails in the region is reported as by the Quad function, then as -1 with an empty message by this one; -27
 * "rect == 0".
 */
MOX_EXPORT void MOX_CALL moxGetAffineBound(MoxImage *image, double coeffs[2][3], double rect[2][2]);
MOX_EXPORT void MOX_CALL moxGetAffineBoundROI(MoxROI *roi, double coeffs[2][3], double rect[2][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearBound(MoxImage *image, double coeffs[2][4], double rect[2][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearBoundROI(MoxROI *roi, double coeffs[2][4], double rect[2][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveBound(MoxImage *image, double coeffs[3][3], double rect[2][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveBoundROI(MoxROI *roi, double coeffs[3][3], double rect[2][2]);

/**
 * The map that carries the region's corners onto the quadrangle's, in their order: another order turns or mirrors. An
 * affine map looks at the first three corners; the fourth must make a parallelogram of them. Perspective: Heckbert,
 * "Fundamentals of Texture Mapping and Image Warping", 1989.
 *
 * Failures, in this order, leave coeffs unwritten: "Incorrect Image"; -27 "quad == 0"; -5 "Quadrangle is degenerate to
 * triangle or length or point" where three corners are exactly in line or one is no number; "Quadrangle is concave", also
 * where it crosses itself; affine only "Quadrangle is not parallelogram" (by more than 1e-07 square pixels); "Bad rect
 * ROI"; for a region less than two pixels wide or high "srcImage Rectangle ROI is degenerate to length or point" (affine),
 * "image Rectangle ROI is degenerate to length or point" (bilinear, perspective); -27 "coeffs == 0".
 */
MOX_EXPORT void MOX_CALL moxGetAffineTransform(MoxImage *image, double coeffs[2][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetAffineTransformROI(MoxROI *roi, double coeffs[2][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearTransform(MoxImage *image, double coeffs[2][4], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetBilinearTransformROI(MoxROI *roi, double coeffs[2][4], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveTransform(MoxImage *image, double coeffs[3][3], double quad[4][2]);
MOX_EXPORT void MOX_CALL moxGetPerspectiveTransformROI(MoxROI *roi, double coeffs[3][3], double quad[4][2]);

/**
 * Adds to *xShift and *yShift what makes a rotation by angle (in degrees, counter-clockwise on a screen) turn about the
 * centre (xCenter, yCenter) in place of (0, 0): x - c x - s y and y - c y + s x for the angle's cosine c and sine s,
 * which for multiples of 90 degrees are exact. -27 "xShift == 0", "yShift == 0".
 */
MOX_EXPORT void MOX_CALL moxGetRotateShift(double xCenter, double yCenter, double angle, double *xShift, double *yShift);

/* ------------------------------------------------------------------------------------------------------------------
 * Warps
 * ---------------------------------------------------------------------------------------------------------------- */

/** How samples between pixels are found: the argument `interpolate`. */
enum {
    MOX_INTER_NN = 0,     /**< the nearest neighbour */
    MOX_INTER_LINEAR = 1, /**< between 2 x 2 pixels */
    MOX_INTER_CUBIC = 2,  /**< between 4 x 4 pixels: third-order Lagrange, which passes through the pixels */
    MOX_INTER_SUPER = 3,  /**< the mean of the area that a pixel comes from; only where images get smaller */
    MOX_SMOOTH_EDGE = 16  /**< or-ed to a kind: the edges of a warped image are smoothed */
};

/**
 * Warps: every pixel of the destination that a map takes from within the source's region gets one interpolated sample of
 * the source there; all others keep their values. Coordinates, coefficients and quadrangles are those of "Quadrangles and
 * maps": pixels of the whole images, whatever their regions, and a region's corners are its outermost pixels' centres.
 *
 * moxWarpAffine takes a pixel of the source at (x, y) to
 *
 *   x' = c00 x + c01 y + c02,   y' = c10 x + c11 y + c12
 *
 * moxWarpBilinearQ and moxWarpPerspectiveQ take a quadrangle. With warpFlag 0 it lies in the destination, and the source's
 * region is warped onto it; edges are part of it. With warpFlag 1 it lies in the source, and what is in it is warped onto
 * the destination's region; pixels that come from beyond the source's region (a position counts as within up to its
 * outermost pixels' centres) keep their values. moxWarpBilinear and moxWarpPerspective make the quadrangle from
 * coefficients: with warpFlag 0 it is where they take the source's region, with 1 where they take the destination's.
 *
 * Depths 1U, 8U, 16U, 32F; both orders; the channels of interest, or all but alpha. Of the masks only the destination's
 * counts: a pixel whose bit is 0, or that lies beyond the mask's region, is not written. Origins must be equal, and mean
 * nothing else. Tiled images give the same results.
 *
 * Kinds. Images of bits, and sources one pixel wide or high (their regions, as everywhere here), take the nearest
 * neighbour; for cubic samples a source less than 4 pixels wide or high takes linear ones. With the fractions f, g of a
 * position and weights of 14 bits in 8-bit images:
 *
 *                     affine                                        bilinear, perspective
 *   positions         16.16 fixed point for all of nearest          float; a perspective row in steps of four pixels
 *                     neighbour and for 8U linear; double for 16U   from its first one, bilinear rows in double and
 *                     linear and all cubic; float for 32F linear    then stored
 *   nearest           half up                                       half to even
 *   linear 8U         halves up, after rows kept to 6 bits          the same with 33 in place of half the unit
 *   linear 16U        in double, then to nearest                    the same
 *   linear 32F        in float                                      in double, then stored
 *   cubic 8U          positions to 1/512; rows kept to 6 bits, halves up
 *   cubic 16U, 32F    exact weights, in double and in float
 *
 * Positions are affine maps' inverses evaluated at each pixel, but for cubic samples (in double) and linear ones at 32F (in
 * float), which step from the row's first pixel that is written; perspective positions are quotients of floats, bilinear
 * ones are evaluated at each pixel. Those rows are counted from that first pixel also where a mask or tiles divide them.
 * What lies between p and q by a fraction f is p (1 - f) + q f, first along x. Windows that would leave the source's region
 * are moved into it. Positions that rounding takes beyond the region's edge count as on that edge, and what is no number as
 * on the left or upper one.
 *
 * MOX_SMOOTH_EDGE (warpFlag 0, not for bits): along edges that are neither vertical nor horizontal the pixel just outside
 * is mixed with its neighbour inside, by how much of it the quadrangle covers. Whatever surrounds the quadrangle must be
 * there before.
 *
 * Failures. Of the first group all are reported, in this order, but a null image at once ends the call: "Incorrect Image"
 * of the source, of the destination; -5 "srcImage->depth != dstImage->depth"; "srcImage->origin != dstImage->origin";
 * "srcImage->dataOrder != dstImage->dataOrder" (not for bits or one channel each); "srcImage->depth & MOX_DEPTH_SIGN";
 * bilinear and perspective "warpFlag != 0 && warpFlag != 1"; "This function is not in-place function" for one header
 * twice. Then, the first of: -27 "coeffs == 0", "quad == 0"; affine -5 "Determinant of transform matrix == 0.0" (1e-07 or
 * less, or no number), a region outside the image as reported by moxGetAffineQuad, then as -1 with an empty message;
 * bilinear and perspective "Quadrangle is degenerate to triangle or length or point", "Quadrangle is concave";
 * "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC"; "srcImage Rectangle
 * ROI is degenerate to length or point", for warpFlag 1 "dstImage Rectangle ROI is degenerate to length or point", where
 * that region is not at least 2 x 2; "Number of processed channels of srcImage != Number of processed channels of
 * dstImage"; -1 with an empty message where memory runs out or a tile cannot be read; -2 "Error get tile to write". A
 * region outside the image of which nothing is asked leaves nothing to do.
 *
 * A quadrangle that is made from coefficients is rounded: pixels exactly on its edges may be left out, which the functions
 * in Q write for corners at whole numbers.
 *
 * moxWarpBilinear and moxWarpPerspective report as the functions in Q do, but for the quadrangle: what fails there is
 * reported by moxGetBilinearQuad or moxGetPerspectiveQuad, then as -1 with an empty message by the function itself.
 */
MOX_EXPORT void MOX_CALL moxWarpAffine(MoxImage *srcImage, MoxImage *dstImage, double coeffs[2][3], int interpolate);
MOX_EXPORT void MOX_CALL moxWarpBilinear(MoxImage *srcImage, MoxImage *dstImage, double coeffs[2][4], int warpFlag,
                                         int interpolate);
MOX_EXPORT void MOX_CALL moxWarpBilinearQ(MoxImage *srcImage, MoxImage *dstImage, double quad[4][2], int warpFlag,
                                          int interpolate);
MOX_EXPORT void MOX_CALL moxWarpPerspective(MoxImage *srcImage, MoxImage *dstImage, double coeffs[3][3], int warpFlag,
                                            int interpolate);
MOX_EXPORT void MOX_CALL moxWarpPerspectiveQ(MoxImage *srcImage, MoxImage *dstImage, double quad[4][2], int warpFlag,
                                             int interpolate);

/**
 * Shears: moxWarpAffine with x' = x + xShear y + xShift, y' = yShear x + y + yShift, under whose name it reports.
 */
MOX_EXPORT void MOX_CALL moxShear(MoxImage *srcImage, MoxImage *dstImage, double xShear, double yShear, double xShift,
                                  double yShift, int interpolate);

/**
 * Rotates by an angle in degrees, counter-clockwise on a screen, about the pixel (0, 0), and shifts; moxGetRotateShift
 * gives the shifts that make it turn about another point. It is moxWarpAffine with x' = c x + s y + xShift and
 * y' = -s x + c y + yShift for the angle's cosine c and sine s, under whose name it reports.
 *
 * A turn by 90, 180 or 270 degrees (or whole turns beside them) with shifts of whole numbers, between images without
 * tiles, copies pixels: (x, y) comes to (y + xShift, yShift - x) by 90 degrees, to (xShift - x,
 * yShift - y) by 180, to (xShift - y, x + yShift) by 270. `interpolate` means nothing then, regions may be of any size,
 * and those that lie outside leave nothing to do; depths and failures of the first group are those of the warps, and the
 * numbers of channels must agree, but reports name moxRotate.
 */
MOX_EXPORT void MOX_CALL moxRotate(MoxImage *srcImage, MoxImage *dstImage, double angle, double xShift, double yShift,
                                   int interpolate);

/* ------------------------------------------------------------------------------------------------------------------
 * Zoom, decimation, resizing
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * Enlarges or shrinks the source's region, W x H pixels, by xDst / xSrc and yDst / ySrc, which are taken as they are,
 * unreduced. Depths 1U, 8U, 16U, 32F; both orders, which must be equal; not in place. Both regions count from their
 * corners: pixel 0 of one comes from pixel 0 of the other. The zoomed size is Zx = W xDst / xSrc, Zy = H yDst / ySrc;
 * written are the whole pixels of it, at most the destination's region, and nothing where that is empty. Pixels of
 * several channels: those of interest, or all but alpha. For an image of a given size let xDst and yDst be that size and
 * xSrc and ySrc that of the source's region: then every pixel is written.
 *
 * moxZoom makes no axis smaller. moxResize takes any ratio: with MOX_INTER_SUPER it is moxDecimate, with the other kinds
 * it computes as moxZoom does. What moxZoom and moxDecimate make of one ratio differs: they have different positions and
 * different arithmetic. Where images get smaller, MOX_INTER_SUPER alone looks at all pixels of the source; the other kinds
 * skip some, and fine patterns turn into coarse ones.
 *
 * Kinds. MOX_INTER_NN: pixel i takes pixel [p], p the sum of i steps of W / Zx (in double). Tiled images, and linear and
 * cubic samples, have steps of (W - 1) / (Zx - 1), 0 where Zx is at most 1: the first and last pixels of the source and of
 * the zoomed image lie on one another. [p] is p rounded down, but up to 0.00001 below a whole number is that number.
 * Bits, and sources of a width or height of 1, take the nearest neighbour whatever the kind.
 *
 * MOX_INTER_LINEAR, with a = 16384 (1 - f) and b = 16384 f as whole numbers, a + b = 16384, f = p - [p]:
 *
 *   8U    (p0 a + p1 b) >> 8 along the row, then (r0 a + r1 b) >> 20 down the columns
 *   16U   >> 15, then >> 13
 *   32F   p0 (1 - f) + p1 f, twice
 *
 * Nothing is rounded up: a ratio of 1 gives bytes and floats as they are, and 16-bit samples without their lowest bit.
 *
 * MOX_INTER_CUBIC, from 4 samples a, b, c, d (4 x 4 pixels; sources less than 4 wide or high take linear samples), in
 * float, along the row and then down:
 *
 *   a + t (b - a) + u d2 + v d3,   d2 = c - b - (b - a),   d3 = b - 2 c + d - d2
 *   t = 1 + f,   u = 0.5 t f,   v = 0.33333334 (f - 1) u
 *
 * where b is pixel [p] and windows that would leave the source's region are moved into it, f with them; integers are
 * rounded to the nearest, halves to even, and clamped.
 *
 * Masks: the source's is resized to the result by the nearest neighbour, the destination's is taken as it is, and pixels
 * that have a bit of 0 in either, or lie beyond it, are not written.
 *
 * Failures of moxZoom: -5 "xDst < xSrc || yDst < ySrc"; then, the first of: "Incorrect Image"; -5 "interpolate !=
 * MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC"; "srcImage->depth != dstImage->depth";
 * "srcImage->depth != MOX_DEPTH_1U && srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U && srcImage->depth
 * != MOX_DEPTH_32F"; "srcImage->dataOrder != dstImage->dataOrder"; "xDst <= 0 || xSrc <= 0"; "yDst <= 0 || ySrc <= 0"; "This
 * function isn`t in-plase function"; -2 "Error get tile to write"; -5 "srcImage COI != dstImage COI" where one has another
 * than the other (0 for none), or where none has one and the numbers of channels differ; each with -1 and an empty
 * message behind it, which stands alone where memory runs out or a tile of the source is not delivered. Origins are not
 * compared.
 *
 * moxResize reports what moxZoom does under that name, and -1 under its own. With MOX_INTER_SUPER: -5 "(xDst > xSrc || yDst
 * > ySrc)", then the reports of moxDecimate and -1 with an empty message.
 */
MOX_EXPORT void MOX_CALL moxZoom(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                                 int interpolate);
MOX_EXPORT void MOX_CALL moxResize(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                                   int interpolate);

/**
 * Shrinks the source's region by xDst / xSrc and yDst / ySrc. Depths, regions and the number of pixels that are written
 * are those of moxZoom.
 *
 * Positions are floats: they begin at 0 and grow by (float) xSrc / (float) xDst from each pixel to the next, and so down
 * the rows; their rounding shows. One that rounding carries past the source's last pixel stays on it. An axis whose xSrc
 * is a multiple of xDst has whole steps.
 *
 *   MOX_INTER_NN      the pixel at the whole part of the position, which begins at 0.5 on an axis without whole steps
 *   MOX_INTER_LINEAR  p0 (1 - f) + p1 f in float, on axes without whole steps, along the row first; integers are cut off
 *   MOX_INTER_CUBIC   on the same axes (6 b + f (-2 a - 3 b + 6 c - d) + f f (3 a - 6 b + 3 c) + f f f (-a + 3 b - 3 c + d))
 *                     0.16666667 of the 4 pixels around, in float; a window that would pass the last pixel moves back by
 *                     one, and f becomes f + 1; integers are rounded to the nearest and clamped
 *   MOX_INTER_SUPER   the mean of the area that the pixel covers, in float: pixels on its sides count by the part that is
 *                     inside (a side up to 0.0001 before a whole number is on it), rows first; integers and bits are
 *                     rounded half up
 *
 * The nearest neighbour is taken for any kind where the source is less than 4 pixels wide or high, for linear and cubic
 * samples where both axes have whole steps, and for both of bits.
 *
 * Of the masks the destination's counts: a pixel whose bit is 0, or that lies beyond the mask's region, is not written.
 * Tiled images give the results of plain ones.
 *
 * Failures are reported under the name "Decimate", one after the other: "Incorrect Image", which ends the call; -5 "srcImage
 * == dstImage"; -17 "srcImage->depth != dstImage->depth"; "depth != 1U, 8U, 16U or 32F"; -20 "srcImage->origin !=
 * dstImage->origin"; -19 "srcImage->dataOrder != dstImage->dataOrder"; -24 "srcImage->roi->coi > 0 && dstImage->roi->coi == 0"
 * and "dstImage->roi->coi > 0 && srcImage->roi->coi == 0", where the image without has more channels than one (alpha not
 * counted); -15 "srcImage->nChannels != dstImage->nChannels" where none has a coi; -5 "interpolate != MOX_INTER_NN,
 * MOX_INTER_LINEAR, MOX_INTER_CUBIC or MOX_INTER_SUPER"; "xDst <= 0"; "xSrc <= 0"; "yDst <= 0"; "ySrc <= 0"; "xDst > xSrc";
 * "yDst > ySrc". Then -3 "srcImage->tileInfo->callBack crash" and "dstImage->tileInfo->callBack crash" for a tile that is not
 * delivered, the first also where memory for a part of the source is missing; -4 "Out of memory", for the means of areas
 * "Can't create temporary buffer for interpolate = MOX_INTER_SUPER" under the name moxDecimate.
 */
MOX_EXPORT void MOX_CALL moxDecimate(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                                     int interpolate);

/* ------------------------------------------------------------------------------------------------------------------
 * Geometry
 * ---------------------------------------------------------------------------------------------------------------- */

/**
 * Mirrors the source's region: with flipAxis 0 rows change places (top and bottom), with 1 columns do (left and right),
 * with -1 both. Pixel (i, j) of the source's region, w x h large, comes to (w - 1 - i, j), (i, h - 1 - j) or both, counted
 * from the destination's region; a smaller destination gets the first part of that. All depths, single bits too. Masks
 * hold where pixels are stored. In place by the same header, but not under a mask. Origins may differ: rows are counted
 * as they stand in memory.
 *
 * Failures: "Incorrect Image"; -5 "(srcImage->depth!=dstImage->depth)"; "((srcImage->dataOrder != dstImage->dataOrder)&&
 * ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"; "(srcImage==dstImage && srcImage->maskROI != ((void *)0))";
 * "((flipAxis>1)||(flipAxis<-1))"; for bits "(srcImage->depth==1 && srcImage->alphaChannel!=0)", "(dstImage->depth==1 &&
 * dstImage->alphaChannel!=0)"; "(nChannelsSrc != nChannelsDst)"; -4 "Out of memory" where masks cannot be combined; -2
 * "Error get tile to read", also where memory for a part of it is missing, and "Error get tile to write".
 */
MOX_EXPORT void MOX_CALL moxMirror(MoxImage *srcImage, MoxImage *dstImage, int flipAxis);

/**
 * Takes every pixel from where two maps say: the pixel (i, j) of the destination's region gets the sample of the source at
 * (x, y), where x and y are the values of xMap and yMap at (i, j) of their regions, in pixels of the whole source image. The
 * area is what the regions of the destination, its mask and both maps have in common. A position counts if, as bit patterns
 * taken for signed integers, left <= x <= right and top <= y <= bottom for the outermost pixels of the source's region as
 * floats; for others, such as anything with a sign (-0.0 too) or not a number, the pixel keeps its value.
 *
 * Depths 1U, 8U, 16U, 32F; both orders; the channels of interest, or all but alpha. Of the masks only the destination's
 * counts. MOX_SMOOTH_EDGE means nothing here. Kinds are those of the bilinear and perspective warps, and so is what small
 * sources and bits take instead, but for the nearest neighbour: that is rint(x - 0.4999999) in double, the pixel at or
 * before the position. Windows that would leave the source's region are moved into it; linear samples on the last column or
 * row take the one before it along.
 *
 * On tiles the destination's are gone through one by one. A tiled source is read as a whole before, as the rectangle of its
 * region, and of tiled maps the rectangle of each tile. The result is that of plain images.
 *
 * Failures. Of these all are reported, in this order, but a null image at once ends the call: "Incorrect Image" of the
 * source, xMap, yMap, the destination; -5 "srcImage->depth != dstImage->depth"; "srcImage->origin != dstImage->origin";
 * "srcImage->dataOrder != dstImage->dataOrder" (not for bits or one channel each); "(srcImage->depth & MOX_DEPTH_SIGN)";
 * "xMap->depth != MOX_DEPTH_32F || xMap->nChannels != 1 || xMap->alphaChannel != 0", the same of yMap; "This function is not
 * in-place function" for one header as source and destination; "interpolate != MOX_INTER_NN && interpolate !=
 * MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC". Then "Number of processed channels of srcImage != Number of processed
 * channels of dstImage"; -1 with an empty message where memory runs out or a tile cannot be read; -2 "Error get tile to
 * write".
 */
MOX_EXPORT void MOX_CALL moxRemap(MoxImage *srcImage, MoxImage *xMap, MoxImage *yMap, MoxImage *dstImage, int interpolate);

/**
 * Makes an image smaller by xDst / xSrc and yDst / ySrc, and smooth at the same time: every pixel is the mean of an area of
 * xMaskSize x yMaskSize pixels about its place in the source, or lies between such means. A size of 0 stands for
 * rint(xSrc / xDst + 1e-05), and so in y.
 *
 * With W for the width of the source's region and Z = xDst W / xSrc, in double, the first columns of the destination's
 * region are written, as many as the whole part of Z. Their places p begin at 0 and go on by k, added up in double: k is 1
 * where xSrc is xDst, else (W - 1) / (Z - 1); with Z not above 1 nothing is done, so that no result is a single column or
 * row (moxDecimate makes these). ix = rint(p - 0.49999), at most W - 1, and f = p - ix as float. Rows likewise.
 *
 *   mean(ix, iy)   of the source's columns ix - xMaskSize / 2 (rounded down) and the following, xMaskSize in all, and the
 *                  same rows, as far as they are in the region: in float, every column's sum from its top row on, then the
 *                  sum of these from the left on, divided by the number of pixels
 *   nearest        mean(ix, iy); so are all kinds for bits, where both ratios are 1, and for regions narrower or lower than
 *                  2 pixels
 *   linear         p (1 - f) + q f of the means at ix and ix + 1, then of these values at iy and iy + 1, in float; at the
 *                  last column ix is one less and f is 1
 *   cubic          of the means at c - 1, c, c + 1, c + 2, called a, b, q, d: a + t (b - a) + u d2 + v d3 with d2 = q - b -
 *                  (b - a), d3 = b - 2 q + d - d2, t = 1 + f, u = 0.5 t f, v = 0.33333334 (f - 1) u, in float from the
 *                  left on; then the same of these values in y. c = ix and f = p - c, but c = W - 3 and f = 2 at the last
 *                  column, c = W - 3 at the one before it, and c = 1 at the first. Regions narrower or lower than 4 pixels
 *                  take linear
 *
 * Integers are stored as floor(value + 0.5), clamped; a bit is set from a mean of 0.5 on; floats as they are.
 *
 * Depths 1U, 8U, 16U, 32F; both orders. Channels are the channels of interest, which both images must name or neither, or
 * all but alpha, as many as both images have. Of the masks only the destination's counts. Origins mean nothing. Tiled
 * images give the same results; of a tiled source rectangles are read.
 *
 * Failures: -5 "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC"; "Incorrect
 * Image"; of these all: "(srcImage->depth!=dstImage->depth)", "(srcImage->dataOrder!=dstImage->dataOrder)",
 * "(srcImage->alphaChannel!=dstImage->alphaChannel)", "(srcImage->depth & MOX_DEPTH_SIGN)"; then the first of: "This function
 * isn`t in-plase function" for one header twice; "(xDst>xSrc||yDst>ySrc)"; "((xDst <= 0)||(yDst<=0))"; "((xSrc <=
 * 0)||(ySrc<=0))"; "(xMaskSize<0||yMaskSize<0)"; "srcImage->roi->coi > 0 && dstImage->roi == NULL"; "srcImage->roi->coi > 0
 * && dstImage->roi->coi == 0"; "dstImage->roi->coi > 0 && srcImage->roi == NULL"; "dstImage->roi->coi > 0 &&
 * srcImage->roi->coi == 0"; "srcImage->roi->xOffset >= srcImage->width", the same of yOffset and height; both of dstImage; -1
 * with an empty message where memory runs out or a tile cannot be read; -2 "Error get tile to write".
 */
MOX_EXPORT void MOX_CALL moxDecimateBlur(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                                         int interpolate, int xMaskSize, int yMaskSize);

/* ------------------------------------------------------------------------------------------------------------------
 * Pixels by the caller's functions
 * ---------------------------------------------------------------------------------------------------------------- */

/** The caller's function of a sample, of one as a float, and of a pixel: see moxUserProcess. */
typedef int(MOX_CALL *MoxUserFunc)(int sample);
typedef float(MOX_CALL *MoxUserFuncFP)(float sample);
typedef void(MOX_CALL *MoxUserFuncPixel)(MoxImage *srcImage, void *srcPixel, MoxImage *dstImage, void *dstPixel);

/**
 * dst = cbFunc(src), sample by sample, clamped to the range of the depth. 8U, 8S, 16U, 16S, 32S; in place or not. The
 * function is told the sample and nothing else, and must be declared with MOX_CALL: what it needs besides stands in
 * variables of the program's, of each thread its own where several call.
 *
 * Every sample is read once, just before its call, and stored right behind it. Rows go from the top in memory; in pixel
 * order by pixel, and by channel within the pixel; in plane order each plane as a whole. A channel that is alpha in
 * either image is left out. Where a mask's bit is 0 there is neither a call nor a store. Tiled images go tile by tile,
 * those of the destination, or of the source where the destination is plain; of a source that is not the destination
 * each tile's share is read as a rectangle, or where it stands if one tile has all of it.
 *
 * What the function may do: anything but change the images' headers, masks, regions and tile records, or give back their
 * memory, before the call is over. The status word is its own to set: no fault of the function ends the work, which
 * moxUserProcessPixel alone looks for.
 *
 * An image with a coi goes with one that has one, and with one of a single channel. Unlike elsewhere an empty region is a
 * fault. Failures, in this order: "Incorrect Image" (source, destination); -20 "srcImage->origin != dstImage->origin";
 * -19 "srcImage->dataOrder != dstImage->dataOrder"; -5 "cbFunc == NULL"; -17 "srcImage->depth != dstImage->depth"; -24
 * "srcImage->roi->coi > 0 && dstImage->roi->coi == 0", "dstImage->roi->coi > 0 && srcImage->roi->coi == 0"; without a
 * coi -15 "srcImage->nChannels != dstImage->nChannels"; -15 "nChannels == 0" where alpha alone is left; -17 "depth ==
 * MOX_DEPTH_1U", "depth == MOX_DEPTH_32F"; -25 "width <= 0", "height <= 0"; -1 "while mask creating", the masks being
 * combined in a copy; -2 "Error get tile to write", "Error get tile to read" (also where memory for a part of the source
 * is missing), which end the walk with what was stored before. The destination's tile is given back then, and a source's
 * that was requested by itself; of a row of tiles of which one is refused the others stay in hand (see MoxTileCallback).
 */
MOX_EXPORT void MOX_CALL moxUserProcess(MoxImage *srcImage, MoxImage *dstImage, MoxUserFunc cbFunc);

/**
 * moxUserProcess in floats, also of depth 32F. Integers are converted to single precision (at 32S low bits may be lost);
 * what the function returns is clamped to the range of the depth and cut toward zero, and what is no number gives the
 * lowest value. At 32F it is stored as it is. Depths but 1U.
 */
MOX_EXPORT void MOX_CALL moxUserProcessFP(MoxImage *srcImage, MoxImage *dstImage, MoxUserFuncFP cbFunc);

/**
 * Calls cbFunc with each pixel of the source and the destination, which it may write as it likes. Depths but 1U.
 *
 * The function gets the caller's own headers and the addresses of the pixels' first processed samples. In pixel order
 * these are the samples where they stand, at any address, in place the same for both. In plane order, where the channels
 * of a pixel lie apart, it gets copies of the processed ones, one after the other: of the source, and of the destination
 * as it is before the call, which is stored behind it. All planes of a pixel are processed together.
 *
 * The function ends the work by leaving a status other than 0: its pixel is still stored, -1 "in cbFunc call" is
 * reported, and its status stays in the status word. A status from before the call is put aside meanwhile and comes back
 * if nothing fails. Failures as those of moxUserProcess; in plane order -4 "No memory for temporal array".
 */
MOX_EXPORT void MOX_CALL moxUserProcessPixel(MoxImage *srcImage, MoxImage *dstImage, MoxUserFuncPixel cbFunc);

/* ------------------------------------------------------------------------------------------------------------------
 * Noise and test images
 * ---------------------------------------------------------------------------------------------------------------- */

/** Kinds of noise. */
enum { MOX_NOISE_UNIFORM = 0, MOX_NOISE_GAUSSIAN = 1 };

/** The noise that moxNoiseImage adds. Integer depths use the integers, 32F the floats. */
typedef struct MoxNoiseParam {
    int noise;     /**< a MOX_NOISE_ value */
    unsigned seed; /**< any number: equal seeds give equal noise */
    int lowInt;    /**< uniform: one bound; Gaussian: mean. In units of the sample, like all of these */
    int highInt;   /**< uniform: the other bound; Gaussian: standard deviation */
    float lowFlt;  /**< for 32F what lowInt is */
    float highFlt; /**< for 32F what highInt is */
} MoxNoiseParam;

/** Sets noise, seed and the bounds of uniform noise for integer depths. -5 "(noiseParam == 0)". */
MOX_EXPORT void MOX_CALL moxNoiseUniformInit(MoxNoiseParam *noiseParam, unsigned seed, int lowInt, int highInt);
/** Sets noise, seed and the bounds of uniform noise for depth 32F. -5 "(noiseParam == 0)". */
MOX_EXPORT void MOX_CALL moxNoiseUniformInitFP(MoxNoiseParam *noiseParam, unsigned seed, float lowFlt, float highFlt);
/** Sets noise, seed, mean and deviation of Gaussian noise for integer depths. -5 "(noiseParam == 0)". */
MOX_EXPORT void MOX_CALL moxNoiseGaussianInit(MoxNoiseParam *noiseParam, unsigned seed, int mean, int stDev);
/** Sets noise, seed, mean and deviation of Gaussian noise for depth 32F. -5 "(noiseParam == 0)". */
MOX_EXPORT void MOX_CALL moxNoiseGaussianInitFP(MoxNoiseParam *noiseParam, unsigned seed, float mean, float stDev);

/**
 * Adds noise to the processed channels of an image's region, in place. All depths but 1U. The seed alone decides the
 * noise: sample by sample it is the same on every machine, processor and system, however the calling thread rounds. The
 * record is read only: another call with it adds the same noise again, and other noise takes another seed.
 *
 *   uniform, integers  sample + low + trunc(r (high - low) / 2^32), r being the generator's next word, for bounds in any
 *                      order; clamped to the range of the depth, at 32S modulo 2^32. Below 32 bits the bounds are first
 *                      cut to -max and max, the largest number that an unsigned sample of that size has; if both lie at or
 *                      beyond one of these ends, the region is set to that end of the depth's range instead (moxSet).
 *   uniform, 32F       (sample + low) + r scale in double precision, rounded once; scale is (high - low) / 2^32 in single
 *                      precision
 *   Gaussian, integers sample + mean + trunc(deviate x stDev), clamped to the range of the depth, 32S too
 *   Gaussian, 32F      (sample + mean) + deviate x stDev in double precision, rounded once
 *
 * So uniform integers reach from the lower bound to one below the upper one (-20 to 19 for -20 and 20), and deviates cut
 * toward zero spread by about 0.4 less than stDev says (by 9.6 for 10).
 *
 * The generator adds a congruential sequence to a subtract-with-borrow one; deviates are made in pairs by Marsaglia's
 * polar method, and the second of a pair is used with the sample that follows, in the next row, plane or tile where
 * there it stands. Samples are visited row by row, in pixel order by pixel and by channel within the pixel; in plane order
 * plane by plane; in a tiled image tile by tile. What a mask leaves out draws nothing from the generator.
 *
 * Returns 0 or the status reported: "Incorrect Image" with the header's fault; -5 "(noiseParam == 0)", "(image->depth ==
 * 1)", "((noiseParam->noise != MOX_NOISE_UNIFORM) && (noiseParam->noise != MOX_NOISE_GAUSSIAN))",
 * "(image->tileInfo->tileData == 0)"; -1 with an empty message where moxSet has failed, whose status is returned.
 */
MOX_EXPORT MoxStatus MOX_CALL moxNoiseImage(MoxImage *image, MoxNoiseParam *noiseParam);

/**
 * A new gray image of rings that grow finer from the centre outward (B. Jaehne's test pattern), by which filters and
 * changes of size show what they do at each frequency. With the distance d of a pixel from the centre
 * ((width - 1) / 2, (height - 1) / 2) and s = sin(2 pi d^2 / (4 height)), in double precision, the pixel is
 *
 *   1U   trunc((s + 1) 0.99999)
 *   8U   trunc((s + 1) 127.99999)     8S   trunc(s 127.99999)
 *   16U  trunc((s + 1) 32767.99999)   16S  trunc(s 32767.99999)    32S  trunc(s 2147483647.99999)
 *   32F  (s + 1) 0.49999
 *
 * The height alone sets the scale. The sine is the library's own, right to the last place or nearly so: the image is the
 * same everywhere. It has one channel, "GRAY", origin top left, align 32, padding of 0, and goes back by
 * moxDeallocate(image, MOX_FreeHeader | MOX_FreeData). Null after a failure: -10 where width or height is below 1, -17 for
 * an unknown depth, each with its text from moxErrorStr; -4 "Not enough memory to allocate header for ImageJaehne", "Not
 * enough memory to allocate imageData for ImageJaehne".
 */
MOX_EXPORT MoxImage *MOX_CALL moxCreateImageJaehne(int depth, int width, int height);

#ifdef __cplusplus
}
#endif

#endif
