// Plans of Fourier transforms: which passes a length takes, and their tables.
#include <climits>
#include <cstring>

#include "transform/ownfft.h"
#include "transform/ownturn.h"

namespace {

// Beyond this a prime factor's own butterfly costs more than the chirp.
constexpr int LARGEST_RADIX = 31;

// Takes tables out of one block; without memory it counts what they need.
struct Block {
    char *memory;
    int64_t used;

    void *take(int64_t bytes) {
        void *at = memory ? memory + used : nullptr;
        used += (bytes + 7) / 8 * 8;
        return at;
    }
    float *floats(int64_t count) { return static_cast<float *>(take(count * 4)); }
};

// The radices of a length; false where a prime factor is too large. Powers of two go by eights, ended by a four or two
// fours.
bool chooseRadices(int length, OwnFftPlan *plan) {
    int rest = length, twos = 0;
    plan->passes = 0;
    const auto add = [&](int radix) { plan->pass[plan->passes++].radix = radix; };
    for (; rest % 2 == 0; rest /= 2)
        ++twos;
    for (; twos >= 5 || twos == 3; twos -= 3)
        add(8);
    for (; twos >= 2; twos -= 2)
        add(4);
    if (twos == 1) add(2);
    for (int radix = 3; radix <= LARGEST_RADIX && rest > 1; radix += 2) {
        for (; rest % radix == 0; rest /= radix)
            add(radix);
    }
    return rest == 1;
}

void makeTwiddles(const OwnFftPass &pass, float *to) {
    for (int64_t p = 1; p < pass.size / pass.radix; ++p) {
        for (int k = 1; k < pass.radix; ++k) {
            double c, s;
            ownTurn(p * k, pass.size, &c, &s);
            *to++ = static_cast<float>(c);
            *to++ = static_cast<float>(-s);
        }
    }
}

void makePasses(OwnFftPlan *plan, Block &block) {
    int64_t size = plan->length;
    for (int i = 0; i < plan->passes; ++i) {
        OwnFftPass &pass = plan->pass[i];
        pass.size = size;
        pass.stride = plan->length / size;
        float *twiddles = block.floats((size / pass.radix - 1) * (pass.radix - 1) * 2);
        float *roots = pass.radix > 5 && pass.radix % 2 != 0 ? block.floats(pass.radix * 2) : nullptr;
        if (block.memory) {
            makeTwiddles(pass, twiddles);
            for (int k = 0; roots && k < pass.radix; ++k) {
                double c, s;
                ownTurn(k, pass.radix, &c, &s);
                roots[2 * k] = static_cast<float>(c);
                roots[2 * k + 1] = static_cast<float>(s);
            }
        }
        pass.twiddles = twiddles;
        pass.roots = roots;
        size /= pass.radix;
    }
    plan->work = plan->length;
}

// The chirp e^(-pi i n n / N). Squares grow by odd numbers, and only their rest modulo 2N counts.
void makeChirp(int length, double *chirp) {
    int64_t square = 0;
    for (int n = 0; n < length; ++n) {
        double c, s;
        ownTurn(square, 2 * int64_t{length}, &c, &s);
        chirp[2 * n] = c;
        chirp[2 * n + 1] = -s;
        square = (square + 2 * int64_t{n} + 1) % (2 * int64_t{length});
    }
}

// A plain transform of a power of two in doubles, for the chirp's spectrum alone (Cooley and Tukey 1965).
void transformDoubles(double *z, int64_t n) {
    for (int64_t i = 1, j = 0; i < n; ++i) {
        int64_t bit = n / 2;
        for (; (j & bit) != 0; bit /= 2)
            j ^= bit;
        j |= bit;
        if (i < j) {
            const double re = z[2 * i], im = z[2 * i + 1];
            z[2 * i] = z[2 * j], z[2 * i + 1] = z[2 * j + 1];
            z[2 * j] = re, z[2 * j + 1] = im;
        }
    }
    for (int64_t half = 1; half < n; half *= 2) {
        for (int64_t k = 0; k < half; ++k) {
            double c, s;
            ownTurn(k, 2 * half, &c, &s);
            for (int64_t i = k; i < n; i += 2 * half) {
                double *a = z + 2 * i, *b = z + 2 * (i + half);
                const double re = b[0] * c + b[1] * s, im = b[1] * c - b[0] * s;
                b[0] = a[0] - re, b[1] = a[1] - im;
                a[0] += re, a[1] += im;
            }
        }
    }
}

// The spectrum of the conjugate chirp, wrapped round, over the inner length.
void makeFilter(const double *chirp, int length, double *z, int64_t inner, float *filter) {
    std::memset(z, 0, static_cast<size_t>(inner) * 2 * sizeof(double));
    for (int64_t n = 0; n < length; ++n) {
        const int64_t mirrored = n == 0 ? 0 : inner - n;
        z[2 * n] = z[2 * mirrored] = chirp[2 * n];
        z[2 * n + 1] = z[2 * mirrored + 1] = -chirp[2 * n + 1];
    }
    transformDoubles(z, inner);
    for (int64_t k = 0; k < 2 * inner; ++k)
        filter[k] = static_cast<float>(z[k] / static_cast<double>(inner));
}

OwnFftPlan *makePlan(Block &block, int length);

// The tables' doubles stand behind everything else in the block: they are needed while the plan is made.
void makeConvolution(OwnFftPlan *plan, Block &block) {
    int64_t inner = 1;
    while (inner < 2 * int64_t{plan->length} - 1)
        inner *= 2;
    float *chirp = block.floats(plan->length * int64_t{2});
    float *filter = block.floats(inner * 2);
    // Too long for any image; the count alone is asked for, and it is too large.
    OwnFftPlan *innerPlan = inner > INT_MAX ? nullptr : makePlan(block, static_cast<int>(inner));
    auto *chirpDoubles = static_cast<double *>(block.take(plan->length * int64_t{16}));
    auto *filterDoubles = static_cast<double *>(block.take(inner * 16));
    if (block.memory) {
        makeChirp(plan->length, chirpDoubles);
        for (int64_t i = 0; i < 2 * int64_t{plan->length}; ++i)
            chirp[i] = static_cast<float>(chirpDoubles[i]);
        makeFilter(chirpDoubles, plan->length, filterDoubles, inner, filter);
    }
    plan->passes = 0;
    plan->chirp = chirp;
    plan->filter = filter;
    plan->inner = innerPlan;
    plan->work = 3 * inner;
}

OwnFftPlan *makePlan(Block &block, int length) {
    auto *memory = static_cast<OwnFftPlan *>(block.take(sizeof(OwnFftPlan)));
    OwnFftPlan plan = {};
    plan.length = length;
    if (chooseRadices(length, &plan)) {
        makePasses(&plan, block);
    } else {
        makeConvolution(&plan, block);
    }
    if (memory) *memory = plan;
    return memory;
}

void makeCosines(int length, float *cosines) {
    for (int k = 0; k < length; ++k) {
        for (int n = 0; n < (length + 1) / 2; ++n) {
            double c, s;
            ownTurn((2 * n + 1) * k % (4 * length), 4 * length, &c, &s);
            *cosines++ = static_cast<float>(c);
        }
    }
}

OwnFftPlan *make(Block &block, int length, bool cosine) {
    OwnFftPlan *plan = makePlan(block, length);
    float *shift = cosine ? block.floats(length * int64_t{2}) : nullptr;
    const bool isShort = cosine && length <= OWN_LONGEST_COSINES;
    float *cosines = isShort ? block.floats(int64_t{length} * ((length + 1) / 2)) : nullptr;
    if (!plan) return nullptr;
    if (cosines) makeCosines(length, cosines);
    plan->cosines = cosines;
    for (int k = 0; shift && k < length; ++k) {
        double c, s;
        ownTurn(k, 4 * int64_t{length}, &c, &s);
        shift[2 * k] = static_cast<float>(c);
        shift[2 * k + 1] = static_cast<float>(s);
    }
    plan->shift = shift;
    return plan;
}

// A table of plans by their length, in the order in which they were made; when it is full the oldest goes.
const OwnFftPlan *find(void *(&plans)[32], int (&lengths)[32], int *next, int length, bool cosine) {
    for (int i = 0; i < 32; ++i) {
        if (plans[i] && lengths[i] == length) return static_cast<const OwnFftPlan *>(plans[i]);
    }
    const int64_t bytes = ownFftPlanBytes(length, cosine);
    void *memory = bytes > INT_MAX ? nullptr : moxMalloc(static_cast<int>(bytes));
    if (!memory) return nullptr;
    const int slot = *next;
    *next = (slot + 1) % 32;
    moxFree(plans[slot]);
    plans[slot] = memory;
    lengths[slot] = length;
    return ownMakeFftPlan(memory, length, cosine);
}

}  // namespace

int64_t ownFftPlanBytes(int length, bool cosine) {
    Block block = {nullptr, 0};
    make(block, length, cosine);
    return block.used;
}

const OwnFftPlan *ownMakeFftPlan(void *memory, int length, bool cosine) {
    Block block = {static_cast<char *>(memory), 0};
    return make(block, length, cosine);
}

const OwnFftPlan *ownFindFftPlan(int length) {
    MoxThreadContext *context = ownGetContext();
    return find(context->fftTables[0], context->fftFurtherSizes[0], &context->fftRecord.words[0], length, false);
}

const OwnFftPlan *ownFindDctPlan(int length) {
    MoxThreadContext *context = ownGetContext();
    return find(context->dctPlans, context->dctPlanLengths, &context->dctNextPlan, length, true);
}

namespace {

constexpr int64_t TO_LINE = 8;  // floats: a block of the heap is aligned to 32 bytes, scratch to 64

}  // namespace

bool ownFitsScratch(int64_t floats) {
    return floats + TO_LINE <= INT_MAX / static_cast<int64_t>(sizeof(float));
}

namespace {

// A thread's block of at least so many floats: the one at hand, or a larger one in its place.
float *findScratch(void **block, int *capacity, int64_t floats) {
    if (!ownFitsScratch(floats)) return nullptr;
    const int64_t size = floats + TO_LINE;
    if (*capacity < size) {
        moxFree(*block);
        *capacity = 0;
        *block = moxsMalloc(static_cast<int>(size));
        if (!*block) return nullptr;
        *capacity = static_cast<int>(size);
    }
    const auto address = reinterpret_cast<uintptr_t>(*block);
    return reinterpret_cast<float *>((address + 63) & ~uintptr_t{63});
}

}  // namespace

float *ownFftScratch(int64_t floats) {
    MoxThreadContext *context = ownGetContext();
    return findScratch(&context->fftScratch[0], &context->fftScratchSizes[0], floats);
}

float *ownDctScratch(int64_t floats) {
    MoxThreadContext *context = ownGetContext();
    return findScratch(&context->dctScratch, &context->dctScratchSize, floats);
}
