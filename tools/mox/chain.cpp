// A chain of operations on one picture: understood from words, then run.
#include "chain.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>

#include "failure.h"
#include "image.h"
#include "reports.h"
#include "tiles.h"

namespace {

[[noreturn]] void badArgument(const Operation &operation, const ArgumentSpec &spec, const std::string &word,
                              const char *wanted) {
    fail(exitUsage, std::string(operation.name) + ": " + spec.name + " must be " + wanted + ", not '" + word + "' (" +
                        usageOf(operation) + ")");
}

bool parseInteger(const std::string &word, std::int64_t low, std::int64_t high, std::int64_t *value) {
    const bool negative = word.starts_with('-');
    std::string digits = word.substr(negative || word.starts_with('+') ? 1 : 0);
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal) digits.erase(0, 2);
    std::uint64_t magnitude = 0;
    const char *const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, magnitude, hexadecimal ? 16 : 10);
    if (error != std::errc() || rest != end || magnitude > std::uint64_t{1} << 62) return false;
    *value = negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
    return *value >= low && *value <= high;
}

template <typename Real>
bool parseReal(const std::string &word, Real *value) {
    const char *const begin = word.data() + (word.starts_with('+') ? 1 : 0);
    const char *const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(begin, end, *value);
    return error == std::errc() && rest == end;
}

bool parseSamples(const std::string &word, std::vector<double> *samples) {
    std::size_t begin = 0;
    while (true) {
        const std::size_t comma = word.find(',', begin);
        const std::size_t end = comma == std::string::npos ? word.size() : comma;
        double value = 0;
        if (!parseReal(word.substr(begin, end - begin), &value)) return false;
        samples->push_back(value);
        if (comma == std::string::npos) return true;
        begin = comma + 1;
    }
}

Argument parseArgument(const Operation &operation, const ArgumentSpec &spec, const std::string &word) {
    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t allBits = std::numeric_limits<std::uint32_t>::max();
    Argument argument;
    argument.text = word;
    std::int64_t value = 0;
    switch (spec.kind) {
        case ArgumentKind::integer:
            if (!parseInteger(word, lowest, highest, &value)) badArgument(operation, spec, word, "a whole number");
            break;
        case ArgumentKind::bits:
            if (!parseInteger(word, lowest, allBits, &value)) badArgument(operation, spec, word, "a 32-bit number");
            break;
        case ArgumentKind::count:
            if (!parseInteger(word, 0, allBits, &value)) badArgument(operation, spec, word, "a number from 0");
            break;
        case ArgumentKind::real:
            if (!parseReal(word, &argument.real)) badArgument(operation, spec, word, "a number");
            break;
        case ArgumentKind::samples:
            if (!parseSamples(word, &argument.samples)) badArgument(operation, spec, word, "numbers like 255,128,0");
            break;
        case ArgumentKind::keyword:
            value = 1;
            break;
        case ArgumentKind::depth:
            argument.depth = depthFromName(word);
            if (argument.depth == 0) badArgument(operation, spec, word, "1u, 8u, 16u or 32s");
            break;
        case ArgumentKind::dither:
            value = ditherFromName(word);
            if (value == 0) badArgument(operation, spec, word, ditherNames);
            break;
        case ArgumentKind::picture:
        case ArgumentKind::word:
            break;
    }
    argument.integer = static_cast<int>(static_cast<std::uint32_t>(value));
    return argument;
}

Step parseStep(const Operation &operation, const std::vector<std::string> &words, std::size_t *next) {
    Step step{&operation, {}, ""};
    for (const ArgumentSpec &spec : operation.arguments) {
        const bool there = *next < words.size();
        if (spec.kind == ArgumentKind::keyword && !(there && words[*next] == spec.name)) {
            step.arguments.emplace_back();
            continue;
        }
        if (!there)
            fail(exitUsage,
                 std::string(operation.name) + ": " + spec.name + " is missing (" + usageOf(operation) + ")");
        step.arguments.push_back(parseArgument(operation, spec, words[*next]));
        if (spec.kind == ArgumentKind::picture) step.picture = words[*next];
        (*next)++;
    }
    return step;
}

std::string inFolder(const std::string &folder, const std::string &name) {
    return folder.empty() ? name : (std::filesystem::path(folder) / name).string();
}

// An image with all that the library sees of it. Served by tiles or not, the pixels are in store.
struct Canvas {
    ImagePtr store;
    std::unique_ptr<TileServer> server;
    RoiPtr roi;

    [[nodiscard]] MoxImage *image() const { return server ? server->image.get() : store.get(); }
};

struct Mask {
    ImagePtr image;
    RoiPtr roi;
};

RoiPtr makeRoi(int coi, const Region &region) {
    RoiPtr roi(moxCreateROI(coi, region.x, region.y, region.width, region.height));
    if (!roi) fail(exitOperation, "not enough memory for a region");
    return roi;
}

Canvas makeCanvas(const Picture &picture, unsigned depth, const RunRequest &request) {
    Canvas canvas;
    canvas.store = imageFromPicture(picture, depth, request.planes);
    if (request.tiles) canvas.server = serveTiles(canvas.store.get(), request.tiles->width, request.tiles->height);
    return canvas;
}

void setRegion(Canvas *canvas, const RunRequest &request, const std::optional<Point> &corner, int coi) {
    if (!request.roi && coi == 0 && !corner) return;
    Region region = request.roi.value_or(Region{0, 0, canvas->store->width, canvas->store->height});
    if (corner) {
        region.x = corner->x;
        region.y = corner->y;
    }
    canvas->roi = makeRoi(coi, region);
    canvas->image()->roi = canvas->roi.get();
}

// The mask lies over the picture: its pixel (x, y) decides about pixel (x, y) of the picture, also where a region
// limits both.
Mask loadMask(const RunRequest &request, const std::string &folder) {
    Mask mask;
    if (request.mask.empty()) return mask;
    const Picture picture = withChannels(readPicture(inFolder(folder, request.mask)), 1);
    mask.image = imageFromPicture(picture, MOX_DEPTH_1U, false);
    if (request.roi) {
        mask.roi = makeRoi(0, *request.roi);
        mask.image->roi = mask.roi.get();
    }
    return mask;
}

// A chain at work.
struct Work {
    const RunRequest &request;
    BitmapForm form;
    Mask mask;
    Canvas canvas;
    int bits;       // of the picture, where the depth has none of its own
    Bitmap bitmap;  // what the last step left, if it was a bitmap
};

// A canvas with region and mask. Where a channel of interest was taken out of several there is none any more.
Canvas makeWorkCanvas(const Work &work, const Picture &picture, unsigned depth, int coi) {
    Canvas canvas = makeCanvas(picture, depth, work.request);
    setRegion(&canvas, work.request, std::nullopt, coi);
    canvas.image()->maskROI = work.mask.image.get();
    return canvas;
}

// The second picture of an operation is brought to the bits and channels of the first.
Canvas loadSecond(const std::string &name, const Work &work) {
    const MoxImage *first = work.canvas.store.get();
    const Picture picture = withChannels(withBits(readPicture(name), std::max(work.bits, 8)), first->nChannels);
    Canvas canvas = makeCanvas(picture, first->depth, work.request);
    setRegion(&canvas, work.request, work.request.from, work.request.coi);
    return canvas;
}

void checkTilesReturned(const Canvas &canvas, const char *operation) {
    if (canvas.server && !canvas.server->held.empty()) {
        fail(exitOperation,
             std::string(operation) + ": the library kept " + std::to_string(canvas.server->held.size()) + " tiles");
    }
}

std::string runStep(const Step &step, Work *work, Canvas *second) {
    std::vector<Canvas> others;
    const auto another = [&](unsigned depth, int channels) {
        const Picture picture = withChannels(pictureFromImage(work->canvas.store.get(), work->bits), channels);
        const bool fewer = channels < work->canvas.store->nChannels;
        others.push_back(makeWorkCanvas(*work, picture, depth, fewer ? 0 : work->request.coi));
        return others.back().image();
    };
    const auto canvas = [&](int width, int height) -> MoxImage * {
        if (work->request.roi || work->request.coi != 0 || work->mask.image) return nullptr;
        const MoxImage *like = work->canvas.store.get();
        Picture picture = pictureFromImage(like, work->bits);
        picture.width = width;
        picture.height = height;
        const auto side = [](int length) { return static_cast<std::size_t>(length); };
        picture.samples.assign(side(width) * side(height) * side(picture.channels), 0);
        others.push_back(makeWorkCanvas(*work, picture, like->depth, 0));
        return others.back().image();
    };
    MoxImage *const other = second->store ? second->image() : nullptr;
    Call call{work->canvas.image(), other, step.arguments, "", another, canvas, work->form, {}};
    clearReports();
    step.operation->run(&call);
    if (anyReport()) fail(exitOperation, std::string(step.operation->name) + ": " + reportsText());
    checkTilesReturned(work->canvas, step.operation->name);
    if (second->store) checkTilesReturned(*second, step.operation->name);
    for (const Canvas &asked : others)
        checkTilesReturned(asked, step.operation->name);
    if (!others.empty()) work->canvas = std::move(others.back());
    work->bitmap = std::move(call.bitmap);
    if (work->bitmap.bytes) {
        const Picture picture = pictureFromBitmap(work->bitmap, exitOperation, step.operation->name);
        work->bits = picture.bits;
        work->canvas = makeWorkCanvas(*work, picture, naturalDepth(picture), work->request.coi);
    }
    return call.printed;
}

// A picture that was not made a bitmap by the last step becomes one without more ado.
void writeBitmap(Work *work, const std::string &name) {
    if (!work->bitmap.bytes) {
        Picture picture = pictureFromImage(work->canvas.store.get(), work->bits);
        picture = withChannels(picture, channelsOfBitmap(picture.channels, work->form));
        const ImagePtr image = imageFromPicture(picture, naturalDepth(picture), false);
        clearReports();
        work->bitmap = bitmapFromImage(image.get(), work->form);
        if (!work->bitmap.bytes) fail(exitOperation, name + ": " + reportsText());
    }
    writeBitmapFile(work->bitmap, name);
}

// Words about bitmaps that change nothing are an error, and not silence.
void checkForm(const RunRequest &request, const std::vector<Step> &steps) {
    const bool makes = std::any_of(steps.begin(), steps.end(),
                                   [](const Step &step) { return std::string(step.operation->name) == "to-bmp"; });
    if (!request.hasForm || makes || isBitmapName(request.output)) return;
    fail(exitUsage, "--bits, --rle, --palette and --dither are for bitmaps, and none is made here (see: to-bmp)");
}

}  // namespace

std::vector<Step> parseSteps(const std::vector<std::string> &words) {
    std::vector<Step> steps;
    std::size_t next = 0;
    while (next < words.size()) {
        const Operation *operation = findOperation(words[next]);
        if (!operation) fail(exitUsage, "there is no operation '" + words[next] + "' (see: mox list)");
        next++;
        steps.push_back(parseStep(*operation, words, &next));
    }
    return steps;
}

std::string runRequest(const RunRequest &request, const std::string &folder) {
    // A file of one kind may become one of the other with nothing in between.
    const std::vector<Step> steps = parseSteps(request.words);
    if (steps.empty() && request.output.empty()) {
        fail(exitUsage, "no operation is named: mox run PICTURE [OPERATION [ARGUMENT...]] ... RESULT");
    }
    checkForm(request, steps);
    Picture picture = readPicture(inFolder(folder, request.input));
    const unsigned depth = request.depth ? request.depth : naturalDepth(picture);
    if (depth == MOX_DEPTH_1U) picture = withChannels(picture, 1);
    Work work = {request, request.form, loadMask(request, folder), {}, picture.bits, {}};
    if (!work.form.paletteFile.empty()) work.form.paletteFile = inFolder(folder, work.form.paletteFile);
    work.canvas = makeWorkCanvas(work, picture, depth, request.coi);

    std::string printed;
    for (const Step &step : steps) {
        Canvas second;
        if (!step.picture.empty()) second = loadSecond(inFolder(folder, step.picture), work);
        printed += runStep(step, &work, &second);
    }
    if (isBitmapName(request.output)) {
        writeBitmap(&work, inFolder(folder, request.output));
    } else if (!request.output.empty()) {
        writePng(pictureFromImage(work.canvas.store.get(), work.bits), inFolder(folder, request.output));
    }
    return printed;
}
