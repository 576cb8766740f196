// mox: the operations of the library from the command line.
#include <mox.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "arguments.h"
#include "failure.h"
#include "gallery.h"
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

struct ChannelSummary {
    unsigned low;
    unsigned high;
    double mean;
};

ChannelSummary summarize(const Picture &picture, int channel) {
    unsigned low = fullValue(picture.bits);
    unsigned high = 0;
    double sum = 0;
    const auto step = static_cast<std::size_t>(picture.channels);
    for (std::size_t i = static_cast<std::size_t>(channel); i < picture.samples.size(); i += step) {
        low = std::min<unsigned>(low, picture.samples[i]);
        high = std::max<unsigned>(high, picture.samples[i]);
        sum += picture.samples[i];
    }
    return {low, high, sum / (static_cast<double>(picture.width) * picture.height)};
}

const char *channelName(int channels, int channel) {
    if (hasAlpha(channels) && channel == channels - 1) return "alpha";
    constexpr const char *colors[] = {"red", "green", "blue"};
    return channels > 2 && channel < 3 ? colors[channel] : "gray";
}

void tellPicture(const std::string &name) {
    const Picture picture = readPicture(name);
    std::printf("%s: %d x %d, %s, %d %s a sample; depth %s\n", name.c_str(), picture.width, picture.height,
                channelsText(picture.channels).c_str(), picture.bits, picture.bits == 1 ? "bit" : "bits",
                depthName(naturalDepth(picture)));
    for (int c = 0; c < picture.channels; c++) {
        const ChannelSummary summary = summarize(picture, c);
        std::printf("  channel %d  %-6s %5u to %5u, mean %.2f\n", c + 1, channelName(picture.channels, c), summary.low,
                    summary.high, summary.mean);
    }
}

void runCommand(const CommandLine &line) {
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
        case Command::gallery:
            writeGallery(line.folder, line.picture);
            break;
    }
}

}  // namespace

int main(int argc, char **argv) {
    try {
        catchReports();
        runCommand(parseCommandLine(argc, argv));
        if (std::fflush(stdout) != 0) fail(exitFile, "standard output cannot be written");
        return exitOk;
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
