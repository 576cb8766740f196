// Measuring a row. What is compared is timed in turn, round by round, so that all of it has the machine in the same
// state; medians then drop the rounds that were disturbed.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>

#include "rows.h"

namespace {

using Pass = std::function<void()>;

// A batch of calls takes at least this long.
constexpr double BATCH_NS = 100e3;
constexpr int LONGEST_BATCH = 4096;
// Buffers of this size do not stay in the caches: there is nothing to warm up.
constexpr double CACHES = 64e6;
// Rounds in which all forms of the limit compete; the quickest two go on.
constexpr int AUDITION = 3;
constexpr size_t FINALISTS = 2;

// The thread's own time where it can be had: what the machine does for others meanwhile does not count.
double nowNs() {
#if defined(CLOCK_THREAD_CPUTIME_ID)
    timespec now;
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) == 0)
        return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
#endif
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double timeCalls(const Pass &pass, int calls) {
    const double start = nowNs();
    for (int i = 0; i < calls; ++i)
        pass();
    return (nowNs() - start) / calls;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0) return *middle;
    return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

// The median of a round's quotients: a disturbance that lasts for rounds slows both sides.
double medianQuotient(const std::vector<double> &above, const std::vector<double> &below) {
    std::vector<double> quotients;
    for (size_t i = 0; i < std::min(above.size(), below.size()); ++i)
        quotients.push_back(above[i] / below[i]);
    return median(quotients);
}

struct Competitor {
    Pass pass;
    int form;  // of the limit
    int calls;
    std::vector<double> times;
};

void prepare(Competitor *competitor) {
    competitor->pass();
    const double once = std::max(timeCalls(competitor->pass, 1), 1.0);
    competitor->calls = static_cast<int>(std::clamp(BATCH_NS / once, 1.0, double{LONGEST_BATCH}));
}

void timeRound(Competitor *competitor, bool warmUp) {
    if (warmUp) competitor->pass();
    competitor->times.push_back(timeCalls(competitor->pass, competitor->calls));
}

void keepQuickest(std::vector<Competitor> *forms) {
    std::sort(forms->begin(), forms->end(),
              [](const Competitor &a, const Competitor &b) { return median(a.times) < median(b.times); });
    if (forms->size() > FINALISTS) forms->resize(FINALISTS);
}

std::vector<Competitor> competingForms(const Row &row, const Traffic &traffic) {
    std::vector<Competitor> forms;
    if (row.size < SIZES[0]) return forms;  // a call's own cost is no matter of memory
    const LimitBuffers buffers = sceneBuffers();
    for (int form = 0; form < limitForms(); ++form) {
        if (!limitHasForm(traffic.shape, form)) continue;
        forms.push_back({[=] { limitPass(traffic, buffers, form); }, form, 1, {}});
    }
    return forms;
}

void summarize(const Row &row, const Scene &scene, const Competitor &own, const Competitor &reference,
               const Scene &referenceScene, std::vector<Competitor> *forms, Result *result) {
    result->nsPerCall = median(own.times);
    result->nsPerSample = result->nsPerCall / scene.samples;
    if (row.size >= SIZES[0]) result->gbPerSecond = limitBytes(scene.traffic) / result->nsPerCall;
    if (row.hasReference) {
        result->ratio = medianQuotient(own.times, reference.times) * referenceScene.samples / scene.samples;
    }
    if (!forms->empty()) {
        keepQuickest(forms);
        result->share = medianQuotient(forms->front().times, own.times);
        result->limitForm = limitFormName(forms->front().form);
    }
}

bool measureScenes(const Row &row, int rounds, Scene *scene, Scene *referenceScene, Result *result) {
    const auto call = row.operation->call;
    const auto referenceCall = row.referenceOperation ? row.referenceOperation->call : call;
    Competitor own = {[=] { call(scene->images); }, 0, 1, {}};
    Competitor reference = {[=] { referenceCall(referenceScene->images); }, 0, 1, {}};
    std::vector<Competitor> forms = competingForms(row, scene->traffic);

    moxSetErrStatus(MOX_StatusNoError);
    prepare(&own);
    if (row.hasReference) prepare(&reference);
    if (moxGetErrStatus() != MOX_StatusNoError) return false;
    for (Competitor &form : forms)
        prepare(&form);

    const bool warmUp = static_cast<double>(scene->bytes) * scene->count < CACHES;
    for (int round = 0; round < rounds; ++round) {
        timeRound(&own, warmUp);
        if (row.hasReference) timeRound(&reference, warmUp);
        for (Competitor &form : forms)
            timeRound(&form, warmUp);
        if (round + 1 == AUDITION) keepQuickest(&forms);
    }
    summarize(row, *scene, own, reference, *referenceScene, &forms, result);
    return true;
}

}  // namespace

int usualRounds(const Row &row) {
    const double bytes = static_cast<double>(row.size) * row.size * row.layout.channels *
                         ownDepthBits(depthCode(row.depthIndex)) / 8 * (row.operation->sources + 1);
    return bytes < 16e6 ? 25 : bytes < 128e6 ? 15 : 9;
}

bool measureRow(const Row &row, int rounds, Result *result) {
    *result = {};
    result->name = row.name;
    result->subject = row.subject;
    result->operation = row.operation->name;
    result->layout = row.layoutName;
    result->depth = depthName(row.depthIndex);
    result->size = row.size;
    result->goal = row.goal;

    const OwnCpuLevel level = ownCpuLevel();
    if (row.level >= 0 && !ownForceCpuLevel(static_cast<OwnCpuLevel>(row.level))) return false;
    Scene scene, reference = {};
    makeScene(*row.operation, row.depthIndex, row.size, row.layout, &scene);
    if (row.hasReference) makeScene(*row.operation, row.depthIndex, row.size, row.reference, &reference);
    attachScene(&scene);
    attachScene(&reference);
    fillBuffers(scene, row.depthIndex);
    const bool done = measureScenes(row, rounds, &scene, &reference, result);
    freeScene(&scene);
    freeScene(&reference);
    ownForceCpuLevel(level);
    return done;
}
