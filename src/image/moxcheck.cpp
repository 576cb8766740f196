// The test of a header, for applications.
#include "frame/ownimage.h"

MoxStatus MOX_CALL moxCheckImageHeader(const MoxImage *image) {
    const MoxStatus fault = ownFindHeaderFault(image);
    if (fault != MOX_StatusNoError) moxSetErrStatus(fault);
    return fault;
}
