// Measuring a row. What is compared is timed in turn, round by round, so that all of it has the machine in the same
// state; medians then drop the rounds that were disturbed.
#include <algorithm>
#include <chrono>
#include <cmath>
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

std::vector<double> quotients(const std::vector<double> &above, const std::vector<double> &below) {
    std::vector<double> all;
    for (size_t i = 0; i < std::min(above.size(), below.size()); ++i)
        all.push_back(above[i] / below[i]);
    return all;
}

// The median of the rounds' quotients: a disturbance that lasts for rounds slows both sides.
double medianQuotient(const std::vector<double> &above, const std::vector<double> &below) {
    return median(quotients(above, below));
}

// One of the things that are timed in turn; level is the one that it is forced to.
struct Competitor {
    Pass pass;
    OwnCpuLevel level;
    int form = 0;  // of the limit
    int calls = 1;
    std::vector<double> times = {};
};

void prepare(Competitor *competitor) {
    ownForceCpuLevel(competitor->level);
    competitor->pass();
    const double once = std::max(timeCalls(competitor->pass, 1), 1.0);
    competitor->calls = static_cast<int>(std::clamp(BATCH_NS / once, 1.0, double{LONGEST_BATCH}));
}

void timeRound(Competitor *competitor, bool warmUp) {
    ownForceCpuLevel(competitor->level);
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
        forms.push_back({[=] { limitPass(traffic, buffers, form); }, OWN_LEVEL_BASE, form});
    }
    return forms;
}

// The images of a row, and of what it is compared with.
struct Scenes {
    Scene own, reference;
    bool warmUp;
};

void openScenes(const Row &row, Scenes *scenes) {
    const Operation &other = row.referenceOperation ? *row.referenceOperation : *row.operation;
    makeScene(*row.operation, row.depthIndex, row.size, row.layout, &scenes->own);
    scenes->reference = {};
    if (row.hasReference) makeScene(other, row.depthIndex, row.size, row.reference, &scenes->reference);
    attachScene(&scenes->own);
    attachScene(&scenes->reference);
    fillBuffers(scenes->own, row.depthIndex);
    scenes->warmUp = static_cast<double>(scenes->own.bytes) * scenes->own.count < CACHES;
}

void closeScenes(Scenes *scenes) {
    freeScene(&scenes->own);
    freeScene(&scenes->reference);
}

// The operation at each level.
std::vector<Competitor> atLevels(const Operation &operation, const Scene &scene, const Levels &levels) {
    std::vector<Competitor> all;
    for (const OwnCpuLevel level : levels)
        all.push_back({[call = operation.call, &scene] { call(scene.images); }, level});
    return all;
}

// False where the operation reports a failure.
bool prepareAll(std::vector<Competitor> *all) {
    moxSetErrStatus(MOX_StatusNoError);
    for (Competitor &one : *all)
        prepare(&one);
    return moxGetErrStatus() == MOX_StatusNoError;
}

// What is timed of a row.
struct Race {
    std::vector<Competitor> own, reference, forms;
};

// What is compared closely runs closely. Every other round runs backwards: what one pass leaves in the caches helps or
// harms the next.
std::vector<Competitor *> startingOrder(Race *race) {
    std::vector<Competitor *> order;
    for (size_t i = 0; i < race->own.size(); ++i) {
        order.push_back(&race->own[i]);
        if (!race->reference.empty()) order.push_back(&race->reference[i]);
    }
    for (Competitor &form : race->forms)
        order.push_back(&form);
    return order;
}

bool runRace(const Row &row, const Levels &levels, int rounds, const Scenes &scenes, Race *race) {
    const Operation &other = row.referenceOperation ? *row.referenceOperation : *row.operation;
    race->own = atLevels(*row.operation, scenes.own, levels);
    if (row.hasReference) race->reference = atLevels(other, scenes.reference, levels);
    race->forms = competingForms(row, scenes.own.traffic);
    if (!prepareAll(&race->own) || !prepareAll(&race->reference)) return false;
    for (Competitor &form : race->forms)
        prepare(&form);
    for (int round = 0; round < rounds; ++round) {
        std::vector<Competitor *> order = startingOrder(race);
        if (round % 2 != 0) std::reverse(order.begin(), order.end());
        for (Competitor *competitor : order)
            timeRound(competitor, scenes.warmUp);
        if (round + 1 == AUDITION) keepQuickest(&race->forms);
    }
    keepQuickest(&race->forms);
    return true;
}

Result summarize(const Row &row, const Scenes &scenes, const Race &race, size_t i) {
    Result result;
    result.name = row.name;
    result.subject = row.subject;
    result.operation = row.operation->name;
    result.layout = row.layoutName;
    result.depth = depthName(row.depthIndex);
    result.level = LEVEL_NAMES[race.own[i].level];
    result.size = row.size;
    result.goal = goalAt(row, race.own[i].level);
    const std::vector<double> &times = race.own[i].times;
    result.nsPerCall = median(times);
    result.nsPerSample = result.nsPerCall / scenes.own.samples;
    if (row.size >= SIZES[0]) result.gbPerSecond = limitBytes(scenes.own.traffic) / result.nsPerCall;
    if (i > 0) result.toLower = medianQuotient(times, race.own[i - 1].times);
    if (row.hasReference) {
        result.ratio = medianQuotient(times, race.reference[i].times) * scenes.reference.samples / scenes.own.samples;
    }
    if (!race.forms.empty()) {
        result.share = medianQuotient(race.forms.front().times, times);
        result.limitForm = limitFormName(race.forms.front().form);
    }
    return result;
}

}  // namespace

int usualRounds(const Row &row) {
    const double bytes = static_cast<double>(row.size) * row.size * row.layout.channels *
                         ownDepthBits(depthCode(row.depthIndex)) / 8 * (row.operation->sources + 1);
    return bytes < 16e6 ? 25 : bytes < 128e6 ? 15 : 9;
}

bool measureRow(const Row &row, const Levels &levels, int rounds, std::vector<Result> *results) {
    const OwnCpuLevel before = ownCpuLevel();
    Scenes scenes;
    openScenes(row, &scenes);
    Race race;
    results->clear();
    const bool done = runRace(row, levels, rounds, scenes, &race);
    for (size_t i = 0; done && i < levels.size(); ++i)
        results->push_back(summarize(row, scenes, race, i));
    closeScenes(&scenes);
    ownForceCpuLevel(before);
    return done;
}

// Every round goes up the levels and down again, so that each of them comes before and after its neighbours.
bool compareLevels(const Row &row, const Levels &levels, int rounds, std::vector<LevelStep> *steps) {
    const OwnCpuLevel before = ownCpuLevel();
    Scenes scenes;
    openScenes(row, &scenes);
    std::vector<Competitor> up = atLevels(*row.operation, scenes.own, levels);
    const bool done = prepareAll(&up);
    std::vector<Competitor> down = up;
    for (int round = 0; done && round < rounds; ++round) {
        for (Competitor &one : up)
            timeRound(&one, scenes.warmUp);
        for (size_t i = down.size(); i-- > 0;)
            timeRound(&down[i], scenes.warmUp);
    }
    steps->clear();
    for (size_t i = 1; done && i < levels.size(); ++i) {
        std::vector<double> all = quotients(up[i].times, up[i - 1].times);
        const std::vector<double> others = quotients(down[i].times, down[i - 1].times);
        all.insert(all.end(), others.begin(), others.end());
        std::sort(all.begin(), all.end());
        const double moreNs = median(up[i].times) - median(up[i - 1].times);
        steps->push_back({levels[i], median(all), all[all.size() / 4], moreNs});
    }
    closeScenes(&scenes);
    ownForceCpuLevel(before);
    return done;
}
