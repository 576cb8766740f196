// A chain of operations on one picture, understood from words.
#include "chain.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>

#include "failure.h"
#include "image.h"
#include "memory.h"
#include "numbers.h"

namespace {

[[noreturn]] void badArgument(const Operation &operation, const ArgumentSpec &spec, const std::string &word,
                              const std::string &wanted) {
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

std::string boundsText(const ArgumentSpec &spec) {
    if (spec.low == std::numeric_limits<int>::min()) return "";
    const std::string low = " from " + std::to_string(spec.low);
    return spec.high == std::numeric_limits<int>::max() ? low : low + " to " + std::to_string(spec.high);
}

Argument parseArgument(const Operation &operation, const ArgumentSpec &spec, const std::string &word) {
    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t allBits = std::numeric_limits<std::uint32_t>::max();
    Argument argument;
    argument.text = word;
    std::int64_t value = 0;
    switch (spec.kind) {
        case ArgumentKind::integer:
            if (!parseInteger(word, spec.low, spec.high, &value))
                badArgument(operation, spec, word, "a whole number" + boundsText(spec));
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
            if (argument.depth == 0) badArgument(operation, spec, word, "1u, 8u, 8s, 16u, 16s, 32s or 32f");
            break;
        case ArgumentKind::dither:
            value = ditherFromName(word);
            if (value == 0) badArgument(operation, spec, word, ditherNames);
            break;
        case ArgumentKind::picture:
        case ArgumentKind::layer:
        case ArgumentKind::word:
            break;
    }
    argument.integer = static_cast<int>(static_cast<std::uint32_t>(value));
    return argument;
}

// ---------------------------------------------------------------------------------------------------------- settings

[[noreturn]] void badSetting(const GivenOption &given, const char *wanted) {
    fail(exitUsage, std::string(given.option->name) + ": wants " + wanted + ", not '" + given.value + "'");
}

// A number of an option; low where it was not given.
int numberOf(const Words &words, const char *name, int low, int high, int missing) {
    const GivenOption *given = words.find(name);
    if (!given) return missing;
    int number = 0;
    const bool understood = parseNumbers(given->value, ',', &number, 1) && number >= low && number <= high;
    if (!understood) {
        const std::string wanted = "a number from " + std::to_string(low) + " to " + std::to_string(high);
        badSetting(*given, wanted.c_str());
    }
    return number;
}

void setRoi(const GivenOption &given, Step *step) {
    step->setting = Setting::roi;
    if (given.value == "none") return;
    int n[4] = {};
    if (!parseNumbers(given.value, ',', n, 4)) badSetting(given, "X,Y,W,H or none");
    if (n[0] < 0 || n[1] < 0 || n[2] < 1 || n[3] < 1)
        badSetting(given, "X and Y from 0 and a width and a height from 1");
    step->roi = Region{n[0], n[1], n[2], n[3]};
}

void setFrom(const GivenOption &given, Step *step) {
    step->setting = Setting::from;
    if (given.value == "none") return;
    int n[2] = {};
    if (!parseNumbers(given.value, ',', n, 2) || n[0] < 0 || n[1] < 0) badSetting(given, "X,Y from 0 or none");
    step->from = Point{n[0], n[1]};
}

void setBorder(const GivenOption &given, Step *step) {
    step->setting = Setting::border;
    if (given.value == "replicate") {
        step->border = MOX_BORDER_REPLICATE;
    } else if (given.value == "reflect") {
        step->border = MOX_BORDER_REFLECT;
    } else if (given.value == "wrap") {
        step->border = MOX_BORDER_WRAP;
    } else {
        step->border = MOX_BORDER_CONSTANT;
        if (!parseNumbers(given.value, ',', &step->borderValue, 1))
            badSetting(given, "replicate, reflect, wrap or a number");
    }
}

Step settingOf(const GivenOption &given) {
    const std::string name = given.option->name;
    Step step;
    if (name == "--roi") {
        setRoi(given, &step);
    } else if (name == "--from") {
        setFrom(given, &step);
    } else if (name == "--border") {
        setBorder(given, &step);
    } else if (name == "--mask") {
        step.setting = Setting::mask;
        if (given.value != "none") step.picture = given.value;
    } else if (name == "--coi") {
        step.setting = Setting::coi;
        if (given.value != "none" && (!parseNumbers(given.value, ',', &step.coi, 1) || step.coi < 0))
            badSetting(given, "a channel, counted from 1, or 0");
    } else {
        step.setting = Setting::depth;
        step.depth = depthFromName(given.value);
        if (step.depth == 0) badSetting(given, "1u, 8u, 8s, 16u, 16s, 32s or 32f");
    }
    return step;
}

// --------------------------------------------------------------------------------------------------------- the chain

Step parseStep(const Operation &operation, const std::vector<std::string> &words, std::size_t *next) {
    Step step;
    step.operation = &operation;
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
        if (spec.kind == ArgumentKind::picture || spec.kind == ArgumentKind::layer) step.picture = words[*next];
        (*next)++;
    }
    if (operation.check) operation.check(step.arguments);
    return step;
}

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const Family *family : families()) {
        for (const Operation &operation : family->operations)
            names.emplace_back(operation.name);
    }
    return names;
}

// Words from first on, with the settings that stand between them, where those belong.
std::vector<Step> parseChain(const std::vector<std::string> &words, const std::vector<GivenOption> &options,
                             std::size_t first) {
    std::vector<Step> steps;
    std::size_t next = 0, option = 0;
    const auto settings = [&](std::size_t until) {
        for (; option < options.size() && options[option].position < until; option++) {
            if (options[option].option->isStep) steps.push_back(settingOf(options[option]));
        }
    };
    while (next < words.size()) {
        settings(first + next + 1);
        const Operation *operation = findOperation(words[next]);
        if (!operation) {
            if (words[next].find('.') != std::string::npos)
                fail(exitUsage, "there is no operation '" + words[next] +
                                    "'; the file to write stands last (see: mox list, mox run --help)");
            fail(exitUsage, "there is no operation '" + words[next] + "'" + suggestion(words[next], operationNames()) +
                                " (see: mox list)");
        }
        const std::size_t begin = next++;
        steps.push_back(parseStep(*operation, words, &next));
        for (std::size_t i = option; i < options.size() && options[i].position < first + next; i++) {
            if (!options[i].option->isStep || options[i].position <= first + begin) continue;
            fail(exitUsage, std::string(options[i].option->name) + ": stands among the words of " + operation->name +
                                "; it holds from where it stands on, so it belongs before " + operation->name);
        }
    }
    settings(first + next + 1);
    return steps;
}

// What would change nothing is an error, and not silence.
void checkSettings(const std::vector<Step> &steps, const std::vector<GivenOption> &options, std::size_t end) {
    for (const GivenOption &given : options) {
        if (!given.option->isStep || given.position <= end) continue;
        fail(exitUsage,
             std::string(given.option->name) +
                 ": stands behind RESULT; it holds from where it stands on, so it belongs before an operation");
    }
    bool used = false;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        used = used || step->operation;
        if (used || step->setting == Setting::depth || step->setting == Setting::none) continue;
        const char *name = step->setting == Setting::roi    ? "--roi"
                           : step->setting == Setting::coi  ? "--coi"
                           : step->setting == Setting::mask ? "--mask"
                           : step->setting == Setting::from ? "--from"
                                                            : "--border";
        const bool region = step->setting == Setting::roi && step->roi;
        fail(exitUsage, std::string(name) + ": no operation follows it, so it would change nothing" +
                            (region ? "; crop X Y WIDTH HEIGHT cuts a piece out" : ""));
    }
}

bool parses(const std::vector<std::string> &words) {
    try {
        parseChain(words, {}, 0);
        return true;
    } catch (const Failure &) {
        return false;
    }
}

// The last word is the file to write. Whoever forgets it would else be told about the word before it, or find a file by
// the name of an operation.
std::string takeResult(std::vector<std::string> *words, const std::string &format) {
    constexpr const char *usage = ": mox run PICTURE [OPERATION [ARGUMENT...]]... RESULT";
    if (words->empty()) fail(exitUsage, std::string("RESULT is missing") + usage);
    std::string last = words->back();
    if (last.empty()) fail(exitUsage, "the name of the file to write is empty");
    if (format.empty() && parses(*words)) {
        const std::string taken =
            findOperation(last) ? "'" + last + "' is an operation" : "'" + last + "' belongs to an operation";
        fail(exitUsage, "RESULT is missing, the file to write; " + taken + usage + ", or --no-output");
    }
    words->pop_back();
    return last;
}

// ---------------------------------------------------------------------------------------------------- the whole of it

void understandTiles(const Words &words, RunRequest *request) {
    constexpr int largestTileSide = 1 << 20;
    const GivenOption *given = words.find("--tiles");
    if (!given) return;
    int n[2] = {};
    if (!parseNumbers(given->value, 'x', n, 2)) badSetting(*given, "WxH");
    for (const int side : n) {
        if (side < 8 || side > largestTileSide || side % 8 != 0)
            fail(exitUsage, "--tiles: the sides of a tile are positive multiples of 8, not " + given->value);
    }
    request->tiles = Size{n[0], n[1]};
}

// Whether something of a bitmap's form was said is kept: it is to be of use.
void understandForm(const Words &words, RunRequest *request) {
    BitmapForm &form = request->form;
    constexpr int known[] = {1, 4, 8, 16, 24, 32};
    if (const GivenOption *given = words.find("--bits")) {
        const bool number = parseNumbers(given->value, ',', &form.bits, 1);
        if (!number || std::find(std::begin(known), std::end(known), form.bits) == std::end(known))
            badSetting(*given, "1, 4, 8, 16, 24 or 32");
    }
    form.compressed = words.find("--rle") != nullptr;
    if (form.compressed && form.bits != 4 && form.bits != 8) fail(exitUsage, "--rle: wants --bits 4 or --bits 8");
    const std::string palette = words.valueOf("--palette"), dither = words.valueOf("--dither");
    if (palette == "medcut") {
        form.paletteKind = MOX_PALCONV_MEDCUT;
    } else if (!palette.empty() && palette != "fixed") {
        form.paletteKind = MOX_PALCONV_NONE;
        form.paletteFile = palette;
    }
    if (!dither.empty()) form.dither = ditherFromName(dither);
    if (form.dither == 0) fail(exitUsage, std::string("--dither: wants ") + ditherNames + ", not '" + dither + "'");
    form.diffuses = words.find("--diffuse") != nullptr;
    if (form.diffuses && !dither.empty()) fail(exitUsage, "--diffuse: takes the place of --dither; say one of them");
    if (form.diffuses && form.bits != 1 && form.bits != 4 && form.bits != 8)
        fail(exitUsage, "--diffuse: wants --bits 1, 4 or 8");
    for (const char *name : {"--bits", "--rle", "--palette", "--dither", "--diffuse"})
        request->hasForm = request->hasForm || words.find(name);
}

// Words about files that change nothing are an error, and not silence.
void checkForm(const Words &words, const RunRequest &request) {
    const bool makes = std::any_of(request.steps.begin(), request.steps.end(), [](const Step &step) {
        return step.operation && std::string(step.operation->name) == "to-bmp";
    });
    const auto writes = [&](Format format) { return !request.output.empty() && request.outputForm.format == format; };
    if (request.isMany) return;
    if (request.hasForm && !makes && !writes(Format::bmp))
        fail(exitUsage,
             "--bits, --rle, --palette, --dither and --diffuse are for bitmaps, and none is made here (see: to-bmp)");
    if (words.find("--quality") && !writes(Format::jpeg))
        fail(exitUsage, "--quality: is for JPEG pictures, and none is written here");
    if (words.find("--format") && request.output.empty()) fail(exitUsage, "--format: there is no RESULT");
}

// Words, options and pictures of a chain for many.
void understandMany(const Words &words, RunRequest *request) {
    constexpr const char *usage = ": mox run --out-dir FOLDER [OPERATION [ARGUMENT...]]... -- PICTURE...";
    request->isMany = true;
    request->inputs = words.behind;
    request->folder = words.valueOf("--out-dir");
    request->jobs = numberOf(words, "--jobs", 1, 200, 0);
    request->resumes = words.find("--resume") != nullptr;
    const bool writes = !request->folder.empty();
    if (request->inputs.empty()) fail(exitUsage, std::string("no picture stands behind --") + usage);
    if (!writes && !words.find("--no-output")) fail(exitUsage, std::string("--out-dir is missing") + usage);
    if (writes && words.find("--no-output")) fail(exitUsage, "--no-output: nothing would be written into --out-dir");
    if (!writes && request->resumes) fail(exitUsage, "--resume: nothing is written");
    request->steps = parseChain(words.words, words.options, 0);
    checkSettings(request->steps, words.options, words.words.size());
    if (request->steps.empty() && !writes) fail(exitUsage, std::string("no operation is named") + usage);
}

void understandOne(const Words &words, RunRequest *request) {
    std::vector<std::string> chain = words.words;
    if (chain.empty())
        fail(exitUsage,
             "PICTURE is missing: mox run PICTURE [OPERATION [ARGUMENT...]]... RESULT (see: mox run --help)");
    for (const char *name : {"--out-dir", "--jobs", "--resume"}) {
        if (words.find(name))
            fail(exitUsage, std::string(name) +
                                ": is for many pictures, which stand behind --: mox run --out-dir "
                                "FOLDER [OPERATION [ARGUMENT...]]... -- PICTURE...");
    }
    request->input = chain.front();
    chain.erase(chain.begin());
    if (!words.find("--no-output")) request->output = takeResult(&chain, request->format);
    request->steps = parseChain(chain, words.options, 1);
    checkSettings(request->steps, words.options, chain.size() + 1);
    const bool works = std::any_of(request->steps.begin(), request->steps.end(),
                                   [](const Step &step) { return step.operation != nullptr; });
    if (!works && request->output.empty())
        fail(exitUsage, "no operation is named: mox run PICTURE [OPERATION [ARGUMENT...]]... RESULT");
    if (!request->output.empty()) request->outputForm = outputForm(request->output, request->format, request->quality);
}

}  // namespace

std::uint64_t memoryOf(const Words &words) {
    const GivenOption *given = words.find("--memory");
    if (!given) return 0;
    const std::uint64_t bytes = memoryFromText(given->value);
    if (bytes == 0) badSetting(*given, "a size from 100K on, as 300M or 2G");
    return bytes;
}

RunRequest understandRun(const Words &words) {
    RunRequest request;
    request.planes = words.find("--planes") != nullptr;
    request.format = words.valueOf("--format");
    request.quality = numberOf(words, "--quality", 1, 100, 90);
    understandTiles(words, &request);
    request.memory = memoryOf(words);
    understandForm(words, &request);
    if (words.split) {
        understandMany(words, &request);
    } else {
        understandOne(words, &request);
    }
    checkForm(words, request);
    return request;
}
