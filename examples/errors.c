/* What a failure looks like: a report function of the application's own, and the status word. */
#include <mox.h>
#include <stdio.h>

/* The file name and the line say where in the library; they are for its authors. */
static MoxStatus MOX_CALL report(MoxStatus status, const char *functionName, const char *message, const char *fileName,
                                 int line) {
    (void)fileName;
    (void)line;
    printf("  %s: %s (%d, %s)\n", functionName, message, status, moxErrorStr(status));
    return status;
}

int main(void) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(report);

    MoxImage *bytes = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 4, 8,
                                           8, NULL, NULL, NULL, NULL);
    MoxImage *floats = moxCreateImageHeader(1, 0, MOX_DEPTH_32F, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 4, 8,
                                            8, NULL, NULL, NULL, NULL);
    if (!bytes || !floats) return 1;

    printf("an image without pixels:\n");
    moxNot(bytes, bytes);
    moxAllocateImage(bytes, 1, 100);
    moxAllocateImageFP(floats, 1, 0.5f);

    printf("two depths:\n");
    moxAdd(bytes, floats, bytes);
    printf("an operation for another depth:\n");
    moxAddS(floats, floats, 1);

    /* The status word is sticky: it tells the last fault until it is cleared. moxCopy does nothing while it is
     * negative. */
    printf("status %d\n", moxGetErrStatus());
    moxSetErrStatus(MOX_StatusNoError);

    unsigned char pixel = 0;
    moxAddS(bytes, bytes, 100);
    moxGetPixel(bytes, 0, 0, &pixel);
    printf("status %d, 100 + 100 = %d\n", moxGetErrStatus(), pixel);

    moxDeallocate(bytes, MOX_FreeHeader | MOX_FreeData);
    moxDeallocate(floats, MOX_FreeHeader | MOX_FreeData);
    return 0;
}
