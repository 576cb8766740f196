// A chain of operations at work on one picture.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>

#include "chain.h"
#include "failure.h"
#include "image.h"
#include "memory.h"
#include "reports.h"
#include "store.h"
#include "tiles.h"

namespace {

std::string inFolder(const std::string &folder, const std::string &name) {
    return folder.empty() || name == "-" ? name : (std::filesystem::path(folder) / name).string();
}

// An image with all that the library sees of it. Served by tiles or not, the pixels are in store.
struct Canvas {
    Store store;
    std::unique_ptr<TileServer> server;
    RoiPtr roi;

    [[nodiscard]] MoxImage *image() const { return server ? server->image.get() : store.image(); }
};

struct Mask {
    ImagePtr image;
    RoiPtr roi;
};

// What lies beyond the edges, on each side.
struct Border {
    int mode = MOX_BORDER_REPLICATE;
    int value = 0;
};

// A chain at work: the picture, and the settings that hold.
struct Work {
    const RunRequest &request;
    BitmapForm form;
    std::optional<Region> roi;
    std::optional<Point> from;
    int coi = 0;
    Mask mask;
    Border border;
    Canvas canvas;
    int bits = 8;   // of the picture, where the depth has none of its own
    Bitmap bitmap;  // what the last step left, if it was a bitmap
};

RoiPtr makeRoi(int coi, const Region &region) {
    RoiPtr roi(moxCreateROI(coi, region.x, region.y, region.width, region.height));
    if (!roi) fail(exitOperation, "not enough memory for a region");
    return roi;
}

void setBorder(MoxImage *image, const Border &border) {
    moxSetBorderMode(image, border.mode, MOX_SIDE_ALL, border.value);
}

Keeping keepingOf(const RunRequest &request) {
    const Size tiles = request.tiles.value_or(Size{0, 0});
    return {request.planes, {tiles.width, tiles.height}, false};
}

Canvas makeCanvas(Store store, const Work &work) {
    Canvas canvas;
    canvas.store = std::move(store);
    if (work.request.tiles && canvas.store.whole)
        canvas.server = serveTiles(canvas.store.whole.get(), work.request.tiles->width, work.request.tiles->height);
    setBorder(canvas.image(), work.border);
    return canvas;
}

void setRegion(Canvas *canvas, const std::optional<Region> &roi, const std::optional<Point> &corner, int coi) {
    canvas->image()->roi = nullptr;
    canvas->roi.reset();
    if (!roi && coi == 0 && !corner) return;
    Region region = roi.value_or(Region{0, 0, canvas->image()->width, canvas->image()->height});
    if (corner) {
        region.x = corner->x;
        region.y = corner->y;
    }
    canvas->roi = makeRoi(coi, region);
    canvas->image()->roi = canvas->roi.get();
}

// The mask lies over the picture: its pixel (x, y) decides about pixel (x, y) of the picture, also where a region
// limits both.
void setMaskRegion(Work *work) {
    if (!work->mask.image) return;
    work->mask.image->roi = nullptr;
    work->mask.roi.reset();
    if (!work->roi) return;
    work->mask.roi = makeRoi(0, *work->roi);
    work->mask.image->roi = work->mask.roi.get();
}

// All that holds, to the picture of the moment.
void applySettings(Work *work) {
    const int channels = work->canvas.image()->nChannels;
    if (work->coi > channels) {
        fail(exitUsage, "--coi " + std::to_string(work->coi) + ": the picture has " + std::to_string(channels) +
                            (channels == 1 ? " channel" : " channels"));
    }
    setMaskRegion(work);
    setRegion(&work->canvas, work->roi, std::nullopt, work->coi);
    work->canvas.image()->maskROI = work->mask.image.get();
}

// A canvas with region and mask. Where a channel of interest was taken out of several there is none any more.
Canvas makeWorkCanvas(const Work &work, Store store, int coi) {
    Canvas canvas = makeCanvas(std::move(store), work);
    setRegion(&canvas, work.roi, std::nullopt, coi);
    canvas.image()->maskROI = work.mask.image.get();
    return canvas;
}

Store storeAt(RowSource rows, unsigned depth, const Work &work) {
    return storeFromRows(std::move(rows), depth, keepingOf(work.request));
}

// The very samples where depth and channels stay.
Store alike(const Work &work, unsigned depth, int channels, const Keeping &keeping) {
    const Store &store = work.canvas.store;
    const MoxImage *like = store.image();
    if (depth == like->depth && channels == like->nChannels) return copyOfStore(store, keeping);
    RowSource rows = depth == like->depth ? exactRowsOfStore(store, work.bits) : rowsOfStore(store, work.bits);
    return storeFromRows(withChannels(std::move(rows), channels), depth, keeping);
}

// ------------------------------------------------------------------------------------------------- the second picture

bool isOpaque(const Store &store) {
    const RowSource rows = rowsOfStore(store, 8);
    std::vector<std::uint32_t> row(samplesOfRow(rows.form));
    const auto step = static_cast<std::size_t>(rows.form.channels);
    for (int y = 0; y < rows.form.height; y++) {
        rows.next(row.data());
        for (std::size_t i = step - 1; i < row.size(); i += step) {
            if (row[i] != fullValue(rows.form.bits)) return false;
        }
    }
    return true;
}

// What would show the colours that a picture hides is refused.
void refuseHidden(const Step &step, const Store &second) {
    if (isOpaque(second)) return;
    fail(exitUsage,
         std::string(step.operation->name) + ": " + step.picture +
             " is transparent in places, and the picture itself has no alpha: take over or paste, or flatten "
             "it first");
}

// The second picture of an operation is brought to the bits and channels of the first. The first gets alpha where that
// of the second is to count; tells whether it did.
bool loadSecond(const Step &step, const std::string &folder, Work *work, Canvas *second) {
    const unsigned depth = work->canvas.image()->depth;
    RowSource rows = readRows(inFolder(folder, step.picture));
    if (rows.form.bits != 32 || depth != naturalDepth(rows.form))
        rows = withBits(std::move(rows), std::max(work->bits, 8));
    const int channels = work->canvas.image()->nChannels;
    const bool hides = hasAlpha(rows.form.channels) && !hasAlpha(channels);
    const bool layer = std::any_of(step.operation->arguments.begin(), step.operation->arguments.end(),
                                   [](const ArgumentSpec &spec) { return spec.kind == ArgumentKind::layer; });
    const bool grows = hides && layer && depth != MOX_DEPTH_1U;
    if (grows) {
        work->canvas = makeWorkCanvas(*work, alike(*work, depth, channels + 1, keepingOf(work->request)), work->coi);
    }
    if (hides && !grows) {
        const Store all = storeAt(std::move(rows), depth == MOX_DEPTH_1U ? MOX_DEPTH_8U : depth, *work);
        refuseHidden(step, all);
        rows = exactRowsOfStore(all, work->bits);
        *second = makeCanvas(storeAt(withChannels(std::move(rows), channels), depth, *work), *work);
    } else {
        rows = withChannels(std::move(rows), work->canvas.image()->nChannels);
        *second = makeCanvas(storeAt(std::move(rows), depth, *work), *work);
    }
    const int coi = work->coi > second->image()->nChannels ? 0 : work->coi;
    setRegion(second, work->roi, work->from, coi);
    return grows;
}

// An alpha that came with a layer goes again where it hides nothing.
void dropOpaqueAlpha(Work *work) {
    const MoxImage *image = work->canvas.image();
    if (!hasAlpha(image->nChannels) || !isOpaque(work->canvas.store)) return;
    work->canvas =
        makeWorkCanvas(*work, alike(*work, image->depth, image->nChannels - 1, keepingOf(work->request)), work->coi);
}

// ------------------------------------------------------------------------------------------------------------- a step

std::string describe(const MoxImage *image) {
    return std::to_string(image->width) + " x " + std::to_string(image->height) + ", " +
           channelsText(image->nChannels) + ", depth " + depthName(image->depth);
}

void checkTilesReturned(const Canvas &canvas, const char *operation) {
    const long kept = canvas.server          ? static_cast<long>(canvas.server->held.size())
                      : canvas.store.scratch ? canvas.store.scratch->inHand
                                             : 0;
    if (kept > 0) fail(exitOperation, std::string(operation) + ": the library kept " + std::to_string(kept) + " tiles");
}

// Operations change what lies beyond the edges, for those that follow.
Border borderOf(const MoxImage *image) {
    return {image->borderMode[0], image->borderConst[0]};
}

// What has become small goes on in memory.
void settle(Work *work) {
    if (!work->canvas.store.scratch) return;
    const int coi = work->canvas.roi ? work->canvas.roi->coi : 0;
    Store store = std::move(work->canvas.store);
    settle(&store, keepingOf(work->request));
    work->canvas = makeWorkCanvas(*work, std::move(store), coi);
}

// What is too large is told in the operation's name.
template <typename Act>
void naming(const Step &step, Act act) {
    try {
        act();
    } catch (const TooLarge &failure) {
        checkScratch();
        fail(failure.code, std::string(step.operation->name) + ": " + failure.text);
    }
}

std::string runOperation(const Step &step, Work *work, Canvas *second) {
    std::vector<Canvas> others;
    // Between an image on disk and one in memory the library may take all of the former at once.
    Keeping keeping = keepingOf(work->request);
    keeping.onDisk = work->canvas.store.scratch != nullptr;
    const auto another = [&](unsigned depth, int channels) {
        const bool fewer = channels < work->canvas.image()->nChannels;
        others.push_back(makeWorkCanvas(*work, alike(*work, depth, channels, keeping), fewer ? 0 : work->coi));
        return others.back().image();
    };
    const auto canvas = [&](int width, int height) -> MoxImage * {
        if (work->roi || work->coi != 0 || work->mask.image) return nullptr;
        const MoxImage *like = work->canvas.image();
        others.push_back(makeWorkCanvas(*work, makeStore(like->nChannels, like->depth, width, height, keeping), 0));
        return others.back().image();
    };
    MoxImage *const other = second->store ? second->image() : nullptr;
    const std::string picture = describe(work->canvas.image());
    Call call{work->canvas.image(), other, step.arguments, "", another, canvas, work->form, {}};
    clearReports();
    naming(step, [&] { step.operation->run(&call); });
    checkScratch();
    if (anyReport()) {
        fail(exitOperation, std::string(step.operation->name) + ": the library refuses it for this picture (" +
                                picture + "): " + reportsText());
    }
    checkTilesReturned(work->canvas, step.operation->name);
    if (second->store) checkTilesReturned(*second, step.operation->name);
    for (const Canvas &asked : others)
        checkTilesReturned(asked, step.operation->name);
    work->border = borderOf(work->canvas.image());
    if (!others.empty()) {
        work->canvas = std::move(others.back());
        settle(work);
    }
    work->bitmap = std::move(call.bitmap);
    if (work->bitmap.bytes) {
        Picture made;
        naming(step, [&] { made = pictureFromBitmap(work->bitmap, exitOperation, step.operation->name); });
        work->bits = made.bits;
        const int coi = work->coi > made.channels ? 0 : work->coi;
        work->canvas = makeWorkCanvas(*work, storeAt(rowsOf(made), naturalDepth(made), *work), coi);
    }
    return call.printed;
}

void loadMask(const std::string &name, Work *work) {
    work->mask = {};
    if (name.empty()) return;
    try {
        work->mask.image = imageFromRows(withChannels(readRows(name), 1), MOX_DEPTH_1U, false);
    } catch (const TooLarge &failure) {
        fail(failure.code, "--mask: " + failure.text);
    }
}

// The picture as it would be written and read at another depth.
void changeDepth(unsigned depth, Work *work) {
    const MoxImage *image = work->canvas.image();
    if (image->depth == depth) return;
    const int channels = depth == MOX_DEPTH_1U ? 1 : image->nChannels;
    work->canvas = makeCanvas(alike(*work, depth, channels, keepingOf(work->request)), *work);
    work->bitmap = {};
}

void set(const Step &step, const std::string &folder, Work *work) {
    switch (step.setting) {
        case Setting::roi:
            work->roi = step.roi;
            break;
        case Setting::from:
            work->from = step.from;
            break;
        case Setting::coi:
            work->coi = step.coi;
            break;
        case Setting::mask:
            loadMask(step.picture.empty() ? "" : inFolder(folder, step.picture), work);
            break;
        case Setting::depth:
            changeDepth(step.depth, work);
            break;
        default:
            work->border = {step.border, step.borderValue};
            setBorder(work->canvas.image(), work->border);
            break;
    }
}

std::string runStep(const Step &step, const std::string &folder, Work *work) {
    if (!step.operation) {
        set(step, folder, work);
        return "";
    }
    applySettings(work);
    Canvas second;
    bool grew = false;
    if (!step.picture.empty()) grew = loadSecond(step, folder, work, &second);
    std::string printed = runOperation(step, work, &second);
    if (grew) dropOpaqueAlpha(work);
    return printed;
}

// ------------------------------------------------------------------------------------------------------------ results

// A picture that was not made a bitmap by the last step becomes one without more ado.
void writeBitmap(const Work &work, const std::string &name) {
    if (work.bitmap.bytes) return writeBitmapFile(work.bitmap, name);
    writeBitmapRows(rowsOfStore(work.canvas.store, work.bits), work.form, name);
}

// The depth of the first step is the one that the picture is read at.
unsigned firstDepth(const RunRequest &request, const Form &form) {
    unsigned depth = naturalDepth(form);
    for (const Step &step : request.steps) {
        if (step.operation) break;
        if (step.setting == Setting::depth) depth = step.depth;
    }
    return depth;
}

}  // namespace

void checkFiles(const RunRequest &request, const std::string &folder) {
    int standardInputs = 0;
    const auto check = [&](const std::string &name) {
        if (name == "-" && ++standardInputs > 1) fail(exitUsage, "-: standard input can be read only once");
        checkInput(inFolder(folder, name));
    };
    if (!request.input.empty()) check(request.input);
    for (const Step &step : request.steps) {
        if (!step.picture.empty()) check(step.picture);
    }
    const std::string &palette = request.form.paletteFile;
    if (!palette.empty()) {
        const std::string name = inFolder(folder, palette);
        if (!std::filesystem::exists(name))
            fail(exitUsage,
                 "--palette: '" + palette + "' is neither fixed nor medcut, nor a bitmap file that is there");
        if (openInput(name).format != Format::bmp) fail(exitUsage, "--palette: " + palette + " is no bitmap file");
    }
    if (!request.output.empty()) checkTarget(inFolder(folder, request.output));
}

std::string runRequest(const RunRequest &request, const std::string &folder) {
    checkFiles(request, folder);
    Work work{request, request.form, {}, {}, 0, {}, {}, {}, 8, {}};
    if (!work.form.paletteFile.empty()) work.form.paletteFile = inFolder(folder, work.form.paletteFile);
    {
        RowSource rows = readRows(inFolder(folder, request.input));
        work.bits = plainBits(rows.form);
        const unsigned depth = firstDepth(request, rows.form);
        work.canvas = makeCanvas(storeAt(std::move(rows), depth, work), work);
    }
    std::string printed;
    for (const Step &step : request.steps)
        printed += runStep(step, folder, &work);
    if (request.output.empty()) return printed;
    const std::string output = inFolder(folder, request.output);
    const Store &store = work.canvas.store;
    if (request.outputForm.format == Format::bmp) {
        writeBitmap(work, output);
    } else {
        const bool exact = request.outputForm.format == Format::tiff;
        writeRows(exact ? exactRowsOfStore(store, work.bits) : rowsOfStore(store, work.bits), output,
                  request.outputForm);
    }
    return printed;
}
