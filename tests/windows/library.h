/*
 * What the programs of this folder share: the library loaded at run time, seen through prototypes and records written
 * down here once more, as an application of old has them; and its calls into the system replaced.
 */
#ifndef LIBRARY_H
#define LIBRARY_H

#define WIN32_LEAN_AND_MEAN
#include <stdio.h>
#include <windows.h>

typedef int(__stdcall *ReportFunction)(int status, const char *function, const char *message, const char *file,
                                       int line);

/* An image header is 28 words. */
enum {
    HEADER_SIZE,
    HEADER_ID,
    CHANNELS,
    ALPHA,
    DEPTH,
    COLOR_MODEL,
    CHANNEL_SEQ,
    DATA_ORDER,
    ORIGIN,
    ALIGN,
    WIDTH,
    HEIGHT,
    ROI,
    MASK_ROI,
    IMAGE_ID,
    TILE_INFO,
    IMAGE_SIZE,
    IMAGE_DATA,
    WIDTH_STEP,
    BORDER_MODE,
    BORDER_CONST = BORDER_MODE + 4,
    IMAGE_DATA_BASE = BORDER_CONST + 4,
    HEADER_WORDS
};

extern int failures;
void expect(int holds, const char *what, int line);
#define EXPECT(test) expect((test) != 0, #test, __LINE__)
int finish(const char *program);

/* Loads moxw7.dll; ends the program where that fails. A function of the library, or null. */
HMODULE loadLibrary(void);
typedef void (*AnyFunction)(void);
AnyFunction function(HMODULE library, const char *name);

/* Sends the library's calls of a system function elsewhere; gives the system's, or null where the library has no such
 * import. */
AnyFunction replaceImport(HMODULE library, const char *name, AnyFunction replacement);

#endif
