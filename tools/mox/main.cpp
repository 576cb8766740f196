// mox: the operations of the library from the command line.
#include <mox.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "arguments.h"
#include "batch.h"
#include "compare.h"
#include "failure.h"
#include "formats.h"
#include "gallery.h"
#include "histogram.h"
#include "image.h"
#include "manual.h"
#include "memory.h"
#include "reports.h"
#include "store.h"

namespace {

void listNames() {
    for (const Family *family : families()) {
        for (const Operation &operation : family->operations)
            std::printf("%s\n", operation.name);
    }
}

void listOperations() {
    const char *separator = "";
    for (const Family *family : families()) {
        std::printf("%s%s\n", separator, family->title);
        for (const Operation &operation : family->operations) {
            std::printf("  %-38s  %s\n", usageOf(operation).c_str(), operation.help);
        }
        separator = "\n";
    }
}

void tellKind(const std::string &name, const Form &form) {
    const char *const kind = form.bits < 32 ? "" : form.real ? " (floats)" : " (whole numbers)";
    std::printf("%s: %d x %d, %s, %d %s a sample%s; depth %s\n", name.c_str(), form.width, form.height,
                channelsText(form.channels).c_str(), form.bits, form.bits == 1 ? "bit" : "bits", kind,
                depthName(naturalDepth(form)));
}

// Of 32 bits a sample there are too many levels to be counted.
void tellRange(const Store &store) {
    const MoxImage *image = store.image();
    const bool real = image->depth == MOX_DEPTH_32F;
    RowSource rows = exactRowsOfStore(store, 16);
    const auto channels = static_cast<std::size_t>(image->nChannels);
    std::vector<double> low(channels, INFINITY), high(channels, -INFINITY), sum(channels, 0);
    std::vector<std::uint32_t> row(samplesOfRow(rows.form));
    for (int y = 0; y < rows.form.height; y++) {
        rows.next(row.data());
        for (std::size_t i = 0; i < row.size(); i++) {
            const double value =
                real ? static_cast<double>(std::bit_cast<float>(row[i])) : static_cast<std::int32_t>(row[i]);
            const std::size_t c = i % channels;
            low[c] = std::fmin(low[c], value);
            high[c] = std::fmax(high[c], value);
            sum[c] += value;
        }
    }
    const double pixels = static_cast<double>(image->width) * image->height;
    for (std::size_t c = 0; c < channels; c++) {
        std::printf("  channel %zu  %-6s  %.9g to %.9g, mean %.9g\n", c + 1,
                    channelName(image->nChannels, static_cast<int>(c)), low[c], high[c], sum[c] / pixels);
    }
}

void tellPicture(const std::string &name) {
    RowSource rows = readRows(name);
    const Form form = rows.form;
    // Alpha is told as any other channel.
    const Store store = storeFromRows(std::move(rows), naturalDepth(form), {});
    store.image()->alphaChannel = 0;
    if (form.bits == 32) {
        tellKind(name, form);
        return tellRange(store);
    }
    clearReports();
    const LevelCounts counts = countLevels(store.image());
    checkScratch();
    if (anyReport()) fail(exitOperation, name + ": " + reportsText());
    tellKind(name, form);
    std::fputs(levelsText(counts).c_str(), stdout);
}

// One that cannot be read does not stop the others.
ExitCode tellPictures(const std::vector<std::string> &names) {
    ExitCode code = exitOk;
    for (const std::string &name : names) {
        try {
            tellPicture(name);
        } catch (const Failure &failure) {
            if (names.size() == 1) throw;
            std::fflush(stdout);
            std::fprintf(stderr, "mox: %s\n", failure.text.c_str());
            code = failure.code;
        }
    }
    return code;
}

// Gives the exit code.
ExitCode runCommand(const CommandLine &line) {
    if (line.memory != 0) setMemoryBound(line.memory);
    switch (line.command) {
        case Command::done:
            break;
        case Command::list:
            if (line.namesOnly) {
                listNames();
            } else {
                listOperations();
            }
            break;
        case Command::info:
            return tellPictures(line.pictures);
        case Command::run:
            if (line.run.isMany) return runMany(line.run);
            // What operations print is not to stand in the middle of a picture.
            std::fputs(runRequest(line.run, "").c_str(), line.run.output == "-" ? stderr : stdout);
            break;
        case Command::compare: {
            const Comparison comparison = comparePictures(line.compare);
            std::fputs(comparison.text.c_str(), stdout);
            return comparison.equal ? exitOk : exitDifferent;
        }
        case Command::completion: {
            const std::string text = completionFor(line.shell);
            if (text.empty()) fail(exitUsage, "completion: bash and zsh are known, not '" + line.shell + "'");
            std::fputs(text.c_str(), stdout);
            break;
        }
        case Command::man:
            std::fputs(manPage().c_str(), stdout);
            break;
        case Command::gallery:
            writeGallery(line.folder, line.picture);
            break;
    }
    return exitOk;
}

}  // namespace

int main(int argc, char **argv) {
    // A file that may not grow is an error as any other.
#ifdef SIGXFSZ  // Windows has none
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    try {
        catchReports();
        const ExitCode code = runCommand(parseCommandLine(argc, argv));
        if (std::fflush(stdout) != 0) fail(exitFile, "standard output cannot be written");
        return code;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "mox: %s\n", failure.text.c_str());
        return failure.code;
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "mox: not enough memory\n");
        return exitOperation;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "mox: %s\n", error.what());
        return exitOperation;
    }
}
