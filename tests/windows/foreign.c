/*
 * The library as a foreign application calls it: every name by GetProcAddress, arguments pushed by hand on a stack that
 * is aligned to 4 bytes only, callbacks that pop their arguments. After each call the stack pointer must be where it
 * was.
 */
#include <string.h>

#include "library.h"

static const char *const names[] = {
#include "exportednames.inc"
};

/*
 * Calls a function with count words, and gives how far the stack pointer is off afterwards. The stack lies skew bytes
 * below a multiple of 16 before the arguments. What comes back in eax is in callResult, and callRegisters says whether
 * the caller's registers and the direction flag survived.
 */
int callAt(AnyFunction function, const void *words, int count, int skew);
int callResult;
int callRegisters;
__asm__(
    ".text\n"
    ".globl _callAt\n"
    "_callAt:\n"
    "    pushl %ebp\n"
    "    movl %esp, %ebp\n"
    "    pushl %ebx\n"
    "    pushl %esi\n"
    "    pushl %edi\n"
    "    andl $-16, %esp\n"
    "    subl 20(%ebp), %esp\n"
    "    movl %esp, %edi\n"
    "    movl 12(%ebp), %edx\n"
    "    movl 16(%ebp), %ecx\n"
    "1:  decl %ecx\n"
    "    js 2f\n"
    "    pushl (%edx,%ecx,4)\n"
    "    jmp 1b\n"
    "2:  movl $0x12345678, %ebx\n"
    "    movl $0x76543210, %esi\n"
    "    call *8(%ebp)\n"
    "    movl %eax, _callResult\n"
    "    pushfl\n"
    "    popl %eax\n"
    "    andl $0x400, %eax\n"
    "    xorl $0x12345678, %ebx\n"
    "    orl %ebx, %eax\n"
    "    xorl $0x76543210, %esi\n"
    "    orl %esi, %eax\n"
    "    movl %eax, _callRegisters\n"
    "    movl %esp, %eax\n"
    "    subl %edi, %eax\n"
    "    cld\n"
    "    leal -12(%ebp), %esp\n"
    "    popl %edi\n"
    "    popl %esi\n"
    "    popl %ebx\n"
    "    popl %ebp\n"
    "    ret\n");

static HMODULE library;
static int skew;

static int call(const char *name, const int *words, int count) {
    AnyFunction called = function(library, name);
    int off;
    if (!called) return 0;
    off = callAt(called, words, count, skew);
    if (off != 0 || callRegisters != 0) {
        printf("%s, stack at %d: stack pointer off by %d, registers %08x\n", name, skew, off, (unsigned)callRegisters);
        failures++;
    }
    return callResult;
}
#define CALL(name, ...) call(name, (const int[]){__VA_ARGS__}, (int)(sizeof((const int[]){__VA_ARGS__}) / sizeof(int)))
#define WORD(pointer) ((int)(pointer))

/* The report function that is installed: it pops five words. */
static int reports, reportStatus;
static char reportText[300];
static int __stdcall report(int status, const char *name, const char *message, const char *file, int line) {
    (void)file;
    (void)line;
    reports++;
    reportStatus = status;
    snprintf(reportText, sizeof reportText, "%s: %s", name, message);
    return 77;
}

static void checkNames(void) {
    size_t i;
    for (i = 0; i < sizeof names / sizeof *names; i++)
        function(library, names[i]);
    EXPECT(function(library, "moxsMalloc") == function(library, "moxiMalloc"));
    EXPECT(function(library, "moxDeleteROI") == function(library, "moxFree"));
    EXPECT(function(library, "moxDeleteTileInfo") == function(library, "moxFree"));
    EXPECT(GetProcAddress(library, "DllMain") == NULL);
    EXPECT(GetProcAddress(library, "moxAdd@12") == NULL);
}

static int *newImage(int channels, int depth, int width, int height, int *tileInfo) {
    int *image = (int *)CALL("moxCreateImageHeader", channels, 0, depth, WORD("RGB"), WORD("BGR"), 0, 0, 4, width,
                             height, 0, 0, 0, WORD(tileInfo));
    EXPECT(image != NULL);
    if (!image) ExitProcess(3);
    return image;
}

static void checkHeader(void) {
    int *image = newImage(3, 8, 101, 7, NULL);
    EXPECT(HEADER_WORDS == 28);
    EXPECT(image[HEADER_SIZE] == 112);
    EXPECT(image[HEADER_ID] == 0);
    EXPECT(image[CHANNELS] == 3);
    EXPECT(image[ALPHA] == 0);
    EXPECT(image[DEPTH] == 8);
    EXPECT(memcmp(&image[COLOR_MODEL], "RGB", 4) == 0);
    EXPECT(memcmp(&image[CHANNEL_SEQ], "BGR", 4) == 0);
    EXPECT(image[DATA_ORDER] == 0 && image[ORIGIN] == 0 && image[ALIGN] == 4);
    EXPECT(image[WIDTH] == 101 && image[HEIGHT] == 7);
    EXPECT(image[WIDTH_STEP] == 304 && image[IMAGE_SIZE] == 304 * 7);
    EXPECT(image[IMAGE_DATA] == 0);
    CALL("moxAllocateImage", WORD(image), 1, 9);
    EXPECT(image[IMAGE_DATA] != 0 && image[IMAGE_DATA] % 4 == 0 && image[IMAGE_DATA_BASE] != 0);
    EXPECT(*(unsigned char *)image[IMAGE_DATA] == 9);
    CALL("moxSetBorderMode", WORD(image), 2, 15, 300);
    EXPECT(image[BORDER_MODE] == 2 && image[BORDER_MODE + 3] == 2 && image[BORDER_CONST + 3] == 255);
    EXPECT(CALL("moxCheckImageHeader", WORD(image)) == 0);
    CALL("moxDeallocate", WORD(image), 3);
}

/* Long rows, so that block loads and stores run, at every depth but one bit. */
static void checkArithmetic(void) {
    static const int depths[] = {8, (int)0x80000008, 16, (int)0x80000010, (int)0x80000020};
    size_t d;
    for (d = 0; d < sizeof depths / sizeof *depths; d++) {
        int *a = newImage(3, depths[d], 333, 5, NULL);
        int *b = newImage(3, depths[d], 333, 5, NULL);
        /* (100 - (40 + 40 + 7)) x 40 = 520 */
        union {
            unsigned char bytes[3];
            short shorts[3];
            int ints[3];
        } pixel = {{0}};
        int limit = depths[d] < 0 ? 127 : 255;
        CALL("moxAllocateImage", WORD(a), 1, 40);
        CALL("moxAllocateImage", WORD(b), 1, 0);
        CALL("moxAdd", WORD(a), WORD(a), WORD(b));
        CALL("moxAddS", WORD(b), WORD(b), 7);
        CALL("moxSubtractS", WORD(b), WORD(b), 100, 1);
        CALL("moxMultiply", WORD(b), WORD(a), WORD(b));
        CALL("moxGetPixel", WORD(b), 332, 4, WORD(&pixel));
        if ((depths[d] & 0xff) == 8) {
            EXPECT(pixel.bytes[0] == limit && pixel.bytes[2] == limit);
        } else if ((depths[d] & 0xff) == 16) {
            EXPECT(pixel.shorts[0] == 520 && pixel.shorts[2] == 520);
        } else {
            EXPECT(pixel.ints[0] == 520 && pixel.ints[2] == 520);
        }
        CALL("moxDeallocate", WORD(a), 3);
        CALL("moxDeallocate", WORD(b), 3);
    }
}

static void checkFloat(void) {
    int *image = newImage(1, 32, 50, 3, NULL);
    float half = 0.5f, pixel = 0;
    int word;
    memcpy(&word, &half, 4);
    CALL("moxAllocateImageFP", WORD(image), 1, word);
    CALL("moxMultiplySFP", WORD(image), WORD(image), word);
    CALL("moxSubtractSFP", WORD(image), WORD(image), word, 1);
    CALL("moxGetPixel", WORD(image), 49, 2, WORD(&pixel));
    EXPECT(pixel == 0.25f);
    CALL("moxDeallocate", WORD(image), 3);
}

/* A tile source that pops four words. */
static unsigned char tiles[4][16 * 8];
static int requests, releases;
static int __stdcall serve(int *image, int column, int row, int mode) {
    int *info = (int *)image[TILE_INFO];
    if (mode == 4) {
        releases++;
        EXPECT(info[2] == WORD(tiles[row * 2 + column]));
    } else {
        requests++;
        info[2] = WORD(tiles[row * 2 + column]);
    }
    return 1;
}

static void checkTiles(void) {
    int *info = (int *)CALL("moxCreateTileInfo", WORD(serve), 0, 16, 8);
    int *image = newImage(1, 8, 32, 16, info);
    int i;
    unsigned all = 0;
    EXPECT(info[0] == WORD(serve) && info[3] == 16 && info[4] == 8);
    memset(tiles, 0x0f, sizeof tiles);
    requests = releases = 0;
    CALL("moxNot", WORD(image), WORD(image));
    EXPECT(requests > 0 && requests == releases);
    for (i = 0; i < 4 * 128; i++)
        all |= tiles[i / 128][i % 128] ^ 0xf0u;
    EXPECT(all == 0);
    CALL("moxDeleteTileInfo", WORD(info));
    CALL("moxDeallocate", WORD(image), 1);
}

static void checkReports(void) {
    reports = 0;
    reportText[0] = 0;
    CALL("moxSetErrMode", 1);
    EXPECT(call("moxGetErrMode", NULL, 0) == 1);
    CALL("moxRedirectError", WORD(report));
    CALL("moxNot", 0, 0);
    EXPECT(reports == 1 && reportStatus == -9);
    EXPECT(strcmp(reportText, "moxXorS: Incorrect Image") == 0);
    EXPECT(call("moxGetErrStatus", NULL, 0) == -9);
    EXPECT(CALL("moxError", -5, WORD("f"), WORD("m"), WORD("file"), 3) == 77);
    EXPECT(strcmp(reportText, "f: m") == 0);
    CALL("moxSetErrStatus", 0);
    EXPECT(CALL("moxRedirectError", 0) == WORD(report));
    EXPECT(strcmp((const char *)CALL("moxErrorStr", -26), "Mask image is taled") == 0);
}

static void checkVersion(void) {
    const int *version = (const int *)call("moxGetLibVersion", NULL, 0);
    EXPECT(version[0] == 2 && version[1] == 5 && version[2] == 9);
    EXPECT(strcmp((const char *)version[3], "moxw7.dll") == 0);
    EXPECT(strcmp((const char *)version[7], "DLL") == 0);
    EXPECT(version == (const int *)call("moxGetLibVersion", NULL, 0));
}

static void checkMemory(void) {
    int *block = (int *)CALL("moxiMalloc", 100);
    EXPECT(block != NULL && WORD(block) % 32 == 0);
    CALL("moxFree", WORD(block));
    EXPECT(CALL("moxMalloc", 0) == 0);
    CALL("moxFree", 0);
}

int main(void) {
    library = loadLibrary();
    checkNames();
    for (skew = 0; skew < 16; skew += 4) {
        checkHeader();
        checkArithmetic();
        checkFloat();
        checkTiles();
        checkReports();
        checkVersion();
        checkMemory();
    }
    EXPECT(FreeLibrary(library));
    return finish("foreign");
}
