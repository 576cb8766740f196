// A chain of operations at work on one picture.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>

#include "chain.h"
#include "failure.h"
#include "image.h"
#include "reports.h"
#include "tiles.h"

namespace {

std::string inFolder(const std::string &folder, const std::string &name) {
    return folder.empty() || name == "-" ? name : (std::filesystem::path(folder) / name).string();
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

Canvas makeCanvas(ImagePtr store, const Work &work) {
    Canvas canvas;
    canvas.store = std::move(store);
    if (work.request.tiles)
        canvas.server = serveTiles(canvas.store.get(), work.request.tiles->width, work.request.tiles->height);
    setBorder(canvas.image(), work.border);
    return canvas;
}

void setRegion(Canvas *canvas, const std::optional<Region> &roi, const std::optional<Point> &corner, int coi) {
    canvas->image()->roi = nullptr;
    canvas->roi.reset();
    if (!roi && coi == 0 && !corner) return;
    Region region = roi.value_or(Region{0, 0, canvas->store->width, canvas->store->height});
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
    const int channels = work->canvas.store->nChannels;
    if (work->coi > channels) {
        fail(exitUsage, "--coi " + std::to_string(work->coi) + ": the picture has " + std::to_string(channels) +
                            (channels == 1 ? " channel" : " channels"));
    }
    setMaskRegion(work);
    setRegion(&work->canvas, work->roi, std::nullopt, work->coi);
    work->canvas.image()->maskROI = work->mask.image.get();
}

// A canvas with region and mask. Where a channel of interest was taken out of several there is none any more.
Canvas makeWorkCanvas(const Work &work, ImagePtr image, int coi) {
    Canvas canvas = makeCanvas(std::move(image), work);
    setRegion(&canvas, work.roi, std::nullopt, coi);
    canvas.image()->maskROI = work.mask.image.get();
    return canvas;
}

ImagePtr imageAt(RowSource rows, unsigned depth, bool planes) {
    return imageFromRows(std::move(rows), depth, planes);
}

// The very samples where depth and channels stay.
ImagePtr alike(const Work &work, unsigned depth, int channels) {
    const MoxImage *like = work.canvas.store.get();
    if (depth == like->depth && channels == like->nChannels) {
        ImagePtr copy = makeImage(channels, depth, work.request.planes, like->width, like->height, false);
        std::memcpy(copy->imageData, like->imageData, static_cast<std::size_t>(like->imageSize));
        return copy;
    }
    RowSource rows = depth == like->depth ? exactRowsOfImage(like, work.bits) : rowsOfImage(like, work.bits);
    rows = withChannels(std::move(rows), channels);
    return imageAt(std::move(rows), depth, work.request.planes);
}

// ------------------------------------------------------------------------------------------------- the second picture

bool isOpaque(const MoxImage *image) {
    const RowSource rows = rowsOfImage(image, 8);
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
void refuseHidden(const Step &step, const MoxImage *second) {
    if (isOpaque(second)) return;
    fail(exitUsage,
         std::string(step.operation->name) + ": " + step.picture +
             " is transparent in places, and the picture itself has no alpha: take over or paste, or flatten "
             "it first");
}

// The second picture of an operation is brought to the bits and channels of the first. The first gets alpha where that
// of the second is to count; tells whether it did.
bool loadSecond(const Step &step, const std::string &folder, Work *work, Canvas *second) {
    const unsigned depth = work->canvas.store->depth;
    RowSource rows = readRows(inFolder(folder, step.picture));
    if (rows.form.bits != 32 || depth != naturalDepth(rows.form))
        rows = withBits(std::move(rows), std::max(work->bits, 8));
    const int channels = work->canvas.store->nChannels;
    const bool hides = hasAlpha(rows.form.channels) && !hasAlpha(channels);
    const bool layer = std::any_of(step.operation->arguments.begin(), step.operation->arguments.end(),
                                   [](const ArgumentSpec &spec) { return spec.kind == ArgumentKind::layer; });
    const bool grows = hides && layer && depth != MOX_DEPTH_1U;
    if (grows) {
        work->canvas = makeWorkCanvas(*work, alike(*work, depth, channels + 1), work->coi);
    }
    if (hides && !grows) {
        const ImagePtr whole = imageAt(withChannels(rows, rows.form.channels),
                                       depth == MOX_DEPTH_1U ? MOX_DEPTH_8U : depth, work->request.planes);
        refuseHidden(step, whole.get());
        rows = exactRowsOfImage(whole.get(), work->bits);
        *second = makeCanvas(imageAt(withChannels(std::move(rows), channels), depth, work->request.planes), *work);
    } else {
        rows = withChannels(std::move(rows), work->canvas.store->nChannels);
        *second = makeCanvas(imageAt(std::move(rows), depth, work->request.planes), *work);
    }
    const int coi = work->coi > second->store->nChannels ? 0 : work->coi;
    setRegion(second, work->roi, work->from, coi);
    return grows;
}

// An alpha that came with a layer goes again where it hides nothing.
void dropOpaqueAlpha(Work *work) {
    const MoxImage *store = work->canvas.store.get();
    if (!hasAlpha(store->nChannels) || !isOpaque(store)) return;
    work->canvas = makeWorkCanvas(*work, alike(*work, store->depth, store->nChannels - 1), work->coi);
}

// ------------------------------------------------------------------------------------------------------------- a step

std::string describe(const MoxImage *image) {
    return std::to_string(image->width) + " x " + std::to_string(image->height) + ", " +
           channelsText(image->nChannels) + ", depth " + depthName(image->depth);
}

void checkTilesReturned(const Canvas &canvas, const char *operation) {
    if (canvas.server && !canvas.server->held.empty()) {
        fail(exitOperation,
             std::string(operation) + ": the library kept " + std::to_string(canvas.server->held.size()) + " tiles");
    }
}

// Operations change what lies beyond the edges, for those that follow.
Border borderOf(const MoxImage *image) {
    return {image->borderMode[0], image->borderConst[0]};
}

std::string runOperation(const Step &step, Work *work, Canvas *second) {
    std::vector<Canvas> others;
    const auto another = [&](unsigned depth, int channels) {
        const bool fewer = channels < work->canvas.store->nChannels;
        others.push_back(makeWorkCanvas(*work, alike(*work, depth, channels), fewer ? 0 : work->coi));
        return others.back().image();
    };
    const auto canvas = [&](int width, int height) -> MoxImage * {
        if (work->roi || work->coi != 0 || work->mask.image) return nullptr;
        const MoxImage *like = work->canvas.store.get();
        others.push_back(
            makeWorkCanvas(*work, makeImage(like->nChannels, like->depth, work->request.planes, width, height), 0));
        return others.back().image();
    };
    MoxImage *const other = second->store ? second->image() : nullptr;
    const std::string picture = describe(work->canvas.store.get());
    Call call{work->canvas.image(), other, step.arguments, "", another, canvas, work->form, {}};
    clearReports();
    step.operation->run(&call);
    if (anyReport()) {
        fail(exitOperation, std::string(step.operation->name) + ": the library refuses it for this picture (" +
                                picture + "): " + reportsText());
    }
    checkTilesReturned(work->canvas, step.operation->name);
    if (second->store) checkTilesReturned(*second, step.operation->name);
    for (const Canvas &asked : others)
        checkTilesReturned(asked, step.operation->name);
    work->border = borderOf(work->canvas.image());
    if (!others.empty()) work->canvas = std::move(others.back());
    work->bitmap = std::move(call.bitmap);
    if (work->bitmap.bytes) {
        const Picture made = pictureFromBitmap(work->bitmap, exitOperation, step.operation->name);
        work->bits = made.bits;
        const int coi = work->coi > made.channels ? 0 : work->coi;
        work->canvas = makeWorkCanvas(*work, imageAt(rowsOf(made), naturalDepth(made), work->request.planes), coi);
    }
    return call.printed;
}

void loadMask(const std::string &name, Work *work) {
    work->mask = {};
    if (name.empty()) return;
    work->mask.image = imageFromRows(withChannels(readRows(name), 1), MOX_DEPTH_1U, false);
}

// The picture as it would be written and read at another depth.
void changeDepth(unsigned depth, Work *work) {
    const MoxImage *store = work->canvas.store.get();
    if (store->depth == depth) return;
    const int channels = depth == MOX_DEPTH_1U ? 1 : store->nChannels;
    work->canvas = makeCanvas(alike(*work, depth, channels), *work);
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
void writeBitmap(Work *work, const std::string &name) {
    if (!work->bitmap.bytes) {
        Picture picture = pictureFromImage(work->canvas.store.get(), work->bits);
        picture = withChannels(picture, channelsOfBitmap(picture.channels, work->form));
        const ImagePtr image = imageFromPicture(picture, naturalDepth(picture), false);
        clearReports();
        work->bitmap = bitmapFromImage(image.get(), work->form);
        if (!work->bitmap.bytes) fail(exitOperation, name + ": cannot be made a bitmap: " + reportsText());
    }
    writeBitmapFile(work->bitmap, name);
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
        work.canvas = makeCanvas(imageFromRows(std::move(rows), depth, request.planes), work);
    }
    std::string printed;
    for (const Step &step : request.steps)
        printed += runStep(step, folder, &work);
    if (request.output.empty()) return printed;
    const std::string output = inFolder(folder, request.output);
    const MoxImage *store = work.canvas.store.get();
    if (request.outputForm.format == Format::bmp) {
        writeBitmap(&work, output);
    } else {
        const bool exact = request.outputForm.format == Format::tiff;
        writeRows(exact ? exactRowsOfImage(store, work.bits) : rowsOfImage(store, work.bits), output,
                  request.outputForm);
    }
    return printed;
}
