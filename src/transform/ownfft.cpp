// Picks the kernels of Fourier transforms for the level in use.
#include "transform/ownfft.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnFftRows, fftRows)
OWN_DECLARE_LEVELS(OwnFftRows, fftThinRows)

const OwnFftRows &ownFftRows() {
    static constexpr const OwnFftRows *tables[] = OWN_LEVEL_TABLES(fftRows);
    return *tables[ownCpuLevel()];
}
const OwnFftRows &ownFftThinRows() {
    static constexpr const OwnFftRows *tables[] = OWN_LEVEL_TABLES(fftThinRows);
    return *tables[ownCpuLevel()];
}
