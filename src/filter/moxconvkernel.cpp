// Convolution kernels. A record holds its coefficients in reverse, and its anchor mirrored, so that the filter runs
// over both in the order of memory; the getters undo it.
#include <climits>

#include "filter/ownconv.h"

namespace {

bool isOutside(int anchor, int size) {
    return anchor < 0 || size <= anchor;
}

// The checks and the record; its values are filled by the caller.
template <class Kernel>
Kernel *create(const OwnCaller &caller, int nCols, int nRows, int anchorX, int anchorY, const void *values) {
    const auto refuse = [&](MoxStatus status, const char *message) {
        ownReport(caller, status, message);
        return nullptr;
    };
    if (!values) return refuse(MOX_StatusBadArgument, "(values == 0)");
    if (nRows < 1 || nCols < 1) return refuse(MOX_StatusBadArgument, "(nRows<=0 || nCols<=0)");
    if (isOutside(anchorX, nCols) || isOutside(anchorY, nRows))
        return refuse(MOX_StatusBadArgument, "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)");
    auto *kernel = static_cast<Kernel *>(moxMalloc(sizeof(Kernel)));
    if (!kernel) return refuse(MOX_StatusNoMemory, "Allocation failure");
    *kernel = {};
    kernel->nCols = nCols;
    kernel->nRows = nRows;
    kernel->anchorX = nCols - 1 - anchorX;
    kernel->anchorY = nRows - 1 - anchorY;
    const int64_t count = static_cast<int64_t>(nCols) * nRows;
    void *memory = count > INT_MAX ? nullptr : moxiMalloc(static_cast<int>(count));
    kernel->values = static_cast<decltype(kernel->values)>(memory);
    // The record stays behind: part of the contract, which tells of two allocations and gives back neither alone.
    if (!memory) return refuse(MOX_StatusNoMemory, "Allocation failure");
    return kernel;
}

template <class From, class To>
void reverse(const From *from, To *to, int nCols, int nRows) {
    const int64_t count = static_cast<int64_t>(nCols) * nRows;
    for (int64_t i = 0; i < count; ++i)
        to[i] = static_cast<To>(from[count - 1 - i]);
}

// The tests of the getters. Pointers come in pairs: both of a pair are reported before the call ends.
template <class Kernel>
MoxStatus checkGet(const OwnCaller &caller, const Kernel *kernel, const int *nCols, const int *nRows,
                   const int *anchorX, const int *anchorY, const void *values) {
    const auto refuse = [&](const char *message) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return MOX_StatusBadArgument;
    };
    if (!kernel) return refuse("kernel==0");
    if (ownBadKernel(ownConvKernel(kernel))) return refuse("ownBadKernel((OwnConvKernel*)kernel)");
    if (!nRows) refuse("nRows==0");
    if (!nCols) refuse("nCols==0");
    if (moxGetErrStatus() < 0) return moxGetErrStatus();
    if (!anchorX) refuse("anchorX==0");
    if (!anchorY) refuse("anchorY==0");
    if (moxGetErrStatus() < 0) return moxGetErrStatus();
    return values ? MOX_StatusNoError : refuse("values==0");
}

template <class Kernel, class Value>
void get(const Kernel *kernel, int *nCols, int *nRows, int *anchorX, int *anchorY, Value *values) {
    *nCols = kernel->nCols;
    *nRows = kernel->nRows;
    *anchorX = kernel->nCols - 1 - kernel->anchorX;
    *anchorY = kernel->nRows - 1 - kernel->anchorY;
    reverse(kernel->values, values, kernel->nCols, kernel->nRows);
}

template <class Value>
MoxStatus getInt(const OwnCaller &caller, const MoxConvKernel *kernel, int *nCols, int *nRows, int *anchorX,
                 int *anchorY, Value **values, int *nShiftR) {
    const MoxStatus fault = checkGet(caller, kernel, nCols, nRows, anchorX, anchorY, values);
    if (fault != MOX_StatusNoError) return fault;
    if (!nShiftR) {
        ownReport(caller, MOX_StatusBadArgument, "nShiftR==0");
        return MOX_StatusBadArgument;
    }
    get(kernel, nCols, nRows, anchorX, anchorY, *values);
    *nShiftR = kernel->nShiftR;
    return MOX_StatusNoError;
}

template <class Value>
MoxConvKernel *createInt(const OwnCaller &caller, int nCols, int nRows, int anchorX, int anchorY, const Value *values,
                         int nShiftR) {
    auto *kernel = create<MoxConvKernel>(caller, nCols, nRows, anchorX, anchorY, values);
    if (!kernel) return nullptr;
    reverse(values, kernel->values, nCols, nRows);
    kernel->nShiftR = nShiftR;
    return kernel;
}

template <class Kernel>
void destroy(const OwnCaller &caller, Kernel *kernel) {
    if (!kernel || !kernel->values) {
        ownReport(caller, MOX_StatusBadArgument, kernel ? "kernel->values==0" : "kernel==0");
        return;
    }
    moxFree(kernel->values);
    moxFree(kernel);
}

}  // namespace

bool ownBadKernel(const OwnConvKernel &kernel) {
    return kernel.nRows < 1 || kernel.nCols < 1 || isOutside(kernel.anchorX, kernel.nCols) ||
           isOutside(kernel.anchorY, kernel.nRows) || !kernel.values;
}

MoxConvKernel *MOX_CALL moxCreateConvKernel(int nCols, int nRows, int anchorX, int anchorY, const int *values,
                                            int nShiftR) {
    return createInt(OWN_CALLER("moxCreateConvKernel"), nCols, nRows, anchorX, anchorY, values, nShiftR);
}

MoxConvKernel *MOX_CALL moxCreateConvKernelChar(int nCols, int nRows, int anchorX, int anchorY,
                                                const signed char *values, int nShiftR) {
    return createInt(OWN_CALLER("moxCreateConvKernelChar"), nCols, nRows, anchorX, anchorY, values, nShiftR);
}

MoxConvKernelFP *MOX_CALL moxCreateConvKernelFP(int nCols, int nRows, int anchorX, int anchorY, const float *values) {
    auto *kernel = create<MoxConvKernelFP>(OWN_CALLER("moxCreateConvKernelFP"), nCols, nRows, anchorX, anchorY, values);
    if (kernel) reverse(values, kernel->values, nCols, nRows);
    return kernel;
}

MoxStatus MOX_CALL moxGetConvKernel(MoxConvKernel *kernel, int *nCols, int *nRows, int *anchorX, int *anchorY,
                                    int **values, int *nShiftR) {
    return getInt(OWN_CALLER("moxGetConvKernel"), kernel, nCols, nRows, anchorX, anchorY, values, nShiftR);
}

MoxStatus MOX_CALL moxGetConvKernelChar(MoxConvKernel *kernel, int *nCols, int *nRows, int *anchorX, int *anchorY,
                                        signed char **values, int *nShiftR) {
    return getInt(OWN_CALLER("moxGetConvKernelChar"), kernel, nCols, nRows, anchorX, anchorY, values, nShiftR);
}

MoxStatus MOX_CALL moxGetConvKernelFP(MoxConvKernelFP *kernel, int *nCols, int *nRows, int *anchorX, int *anchorY,
                                      float **values) {
    const OwnCaller caller = OWN_CALLER("moxGetConvKernelFP");
    const MoxStatus fault = checkGet(caller, kernel, nCols, nRows, anchorX, anchorY, values);
    if (fault != MOX_StatusNoError) return fault;
    get(kernel, nCols, nRows, anchorX, anchorY, *values);
    return MOX_StatusNoError;
}

void MOX_CALL moxDeleteConvKernel(MoxConvKernel *kernel) {
    destroy(OWN_CALLER("moxDeleteConvKernel"), kernel);
}

void MOX_CALL moxDeleteConvKernelFP(MoxConvKernelFP *kernel) {
    destroy(OWN_CALLER("moxDeleteConvKernelFP"), kernel);
}
