// Many pictures, each through the same chain.
#include "batch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <thread>

#include <unistd.h>

#include "memory.h"
#include "reports.h"

namespace fs = std::filesystem;

namespace {

enum class State { waiting, done, left, failed };

struct Job {
    std::string input;
    std::string output;  // empty where nothing is written
    OutputForm form;
    State state = State::waiting;
    std::string printed;
    Failure failure = {exitOk, ""};
};

struct Batch {
    const RunRequest &request;
    std::vector<Job> jobs;
    std::mutex mutex;  // over all that follows, and the states of the jobs
    std::size_t next = 0;
    std::size_t finished = 0;
    std::size_t worked = 0;  // of these, not those that were left out
    std::chrono::steady_clock::time_point begun = std::chrono::steady_clock::now();
    bool onTerminal = ::isatty(STDERR_FILENO) != 0;
};

// The picture's own kind where nothing else is said.
std::string resultName(const RunRequest &request, const std::string &input) {
    const fs::path path(input);
    const std::string ending = request.format.empty() ? path.extension().string() : "." + request.format;
    return (fs::path(request.folder) / path.stem()).string() + ending;
}

void plan(const RunRequest &request, std::vector<Job> *jobs) {
    std::map<std::string, std::string> makers;
    for (const std::string &input : request.inputs) {
        Job job;
        job.input = input;
        if (!request.folder.empty()) {
            if (input == "-") fail(exitUsage, "-: standard input has no name that a result in a folder could have");
            job.output = resultName(request, input);
            job.form = outputForm(job.output, request.format, request.quality);
            const auto [at, isNew] = makers.emplace(job.output, input);
            if (!isNew) fail(exitUsage, at->second + " and " + input + ": both would become " + job.output);
        }
        jobs->push_back(job);
    }
    std::error_code error;
    for (const Job &job : *jobs) {
        if (!job.output.empty() && fs::equivalent(job.input, job.output, error))
            fail(exitUsage, "--out-dir: " + job.output + " is one of the pictures, and would be overwritten");
    }
}

void makeFolder(const std::string &folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) fail(exitFile, "--out-dir: " + folder + ": " + error.message());
    if (!fs::is_directory(folder)) fail(exitFile, "--out-dir: " + folder + " is no folder");
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        fail(exitFile, "--out-dir: nothing can be written into the folder " + folder);
}

// Results appear whole or not at all, so one that is there is complete.
bool isThere(const Job &job) {
    std::error_code error;
    if (job.output.empty() || !fs::is_regular_file(job.output, error)) return false;
    const auto made = fs::last_write_time(job.output, error);
    return !error && made >= fs::last_write_time(job.input, error) && !error;
}

void drawProgress(const Batch &batch) {
    constexpr std::size_t columns = 30;
    const std::size_t all = batch.jobs.size(), filled = batch.finished * columns / all;
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - batch.begun;
    const double rate = spent.count() > 0 ? static_cast<double>(batch.worked) / spent.count() : 0;
    const double left = rate > 0 ? static_cast<double>(all - batch.finished) / rate : 0;
    std::fprintf(stderr, "\r[%s%s] %zu of %zu, %.1f a second, %.0f s left \x1b[K", std::string(filled, '#').c_str(),
                 std::string(columns - filled, '-').c_str(), batch.finished, all, rate, left);
}

void tell(Batch *batch, const Job &job) {
    if (batch->onTerminal) return drawProgress(*batch);
    const char *const what = job.state == State::failed ? "failed" : job.state == State::left ? "is there" : "done";
    std::fprintf(stderr, "%zu of %zu: %s: %s\n", batch->finished, batch->jobs.size(), job.input.c_str(), what);
}

// Nothing passes through, so that one picture does not stop the others.
void work(const RunRequest &request, Job *job) {
    try {
        if (request.resumes && isThere(*job)) {
            job->state = State::left;
            return;
        }
        RunRequest one = request;
        one.input = job->input;
        one.output = job->output;
        one.outputForm = job->form;
        job->printed = runRequest(one, "");
        job->state = State::done;
        return;
    } catch (const Failure &failure) {
        job->failure = failure;
    } catch (const std::bad_alloc &) {
        job->failure = {exitOperation, job->input + ": not enough memory"};
    } catch (const std::exception &error) {
        job->failure = {exitOperation, job->input + ": " + error.what()};
    }
    job->state = State::failed;
}

void workOn(Batch *batch) {
    catchReports();
    std::unique_lock<std::mutex> lock(batch->mutex);
    while (batch->next < batch->jobs.size()) {
        Job &job = batch->jobs[batch->next++];
        lock.unlock();
        work(batch->request, &job);
        lock.lock();
        batch->finished++;
        if (job.state != State::left) batch->worked++;
        tell(batch, job);
    }
}

void printResults(const std::vector<Job> &jobs) {
    for (const Job &job : jobs) {
        if (!job.printed.empty()) std::printf("%s:\n%s", job.input.c_str(), job.printed.c_str());
    }
}

// Each failure begins with the picture's name, once.
ExitCode tellFailures(const std::vector<Job> &jobs) {
    ExitCode code = exitOk;
    long count = 0;
    for (const Job &job : jobs) {
        if (job.state != State::failed) continue;
        if (code == exitOk) code = job.failure.code;
        count++;
    }
    if (count == 0) return exitOk;
    std::fprintf(stderr, "mox: %ld of %zu pictures failed:\n", count, jobs.size());
    for (const Job &job : jobs) {
        if (job.state != State::failed) continue;
        const bool named = job.failure.text.starts_with(job.input);
        std::fprintf(stderr, "  %s%s%s\n", named ? "" : job.input.c_str(), named ? "" : ": ", job.failure.text.c_str());
    }
    return code;
}

}  // namespace

ExitCode runMany(const RunRequest &request) {
    Batch batch{request, {}, {}};
    plan(request, &batch.jobs);
    checkFiles(request, "");
    if (!request.folder.empty()) makeFolder(request.folder);
    const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t wanted = request.jobs > 0 ? static_cast<std::size_t>(request.jobs) : processors;
    const std::size_t workers = std::min(wanted, batch.jobs.size());
    setMemoryBound((request.memory != 0 ? request.memory : usualMemory()) / workers);
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < workers; i++)
        threads.emplace_back(workOn, &batch);
    workOn(&batch);
    for (std::thread &thread : threads)
        thread.join();
    if (batch.onTerminal) std::fputc('\n', stderr);
    printResults(batch.jobs);
    return tellFailures(batch.jobs);
}
