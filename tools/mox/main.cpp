// mox: the operations of the library from the command line.
#include <mox.h>

#include <cstdio>
#include <exception>
#include <new>

#include "arguments.h"
#include "compare.h"
#include "failure.h"
#include "gallery.h"
#include "histogram.h"
#include "image.h"
#include "reports.h"

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

void tellPicture(const std::string &name) {
    const Picture picture = readPicture(name);
    std::printf("%s: %d x %d, %s, %d %s a sample; depth %s\n", name.c_str(), picture.width, picture.height,
                channelsText(picture.channels).c_str(), picture.bits, picture.bits == 1 ? "bit" : "bits",
                depthName(naturalDepth(picture)));
    // Alpha is told as any other channel.
    const ImagePtr image = imageFromPicture(picture, naturalDepth(picture), false);
    image->alphaChannel = 0;
    clearReports();
    const LevelCounts counts = countLevels(image.get());
    if (anyReport()) fail(exitOperation, "info: " + reportsText());
    std::fputs(levelsText(counts).c_str(), stdout);
}

// Gives the exit code.
ExitCode runCommand(const CommandLine &line) {
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
            tellPicture(line.picture);
            break;
        case Command::run:
            std::fputs(runRequest(line.run, "").c_str(), stdout);
            break;
        case Command::compare: {
            const Comparison comparison = comparePictures(line.compare);
            std::fputs(comparison.text.c_str(), stdout);
            return comparison.equal ? exitOk : exitDifferent;
        }
        case Command::gallery:
            writeGallery(line.folder, line.picture);
            break;
    }
    return exitOk;
}

}  // namespace

int main(int argc, char **argv) {
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
