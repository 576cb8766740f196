// Why the baseline takes more than three times what v3 takes: sentences for the page. A row that is so slow and has
// none is marked there.
#include <regex>

#include "results.h"

namespace {

struct Reason {
    const char *rows;  // a regular expression that finds them by their names
    const char *why;   // one sentence
};

// What the baseline lacks, most of it shuffles of bytes by their places.
const std::vector<Reason> REASONS = {
    {"^(rgb-to-hsv|rgb-to-hls)/8U/",
     "Pixels of three bytes are split and joined in several steps instead of by byte shuffles, and the hues that need a "
     "second look are told by their differences alone: a table of half bytes is a byte shuffle too."},
    {"^hls-to-rgb/8U/",
     "The slopes of hues are looked up by gathers, four doubles at a time; the baseline takes its pixels one by one."},
    {"^(from-gray|to-pixels-rgb)/",
     "Three rows become pixels by byte shuffles; the baseline takes the even and the odd bytes apart four times, and "
     "words one by one."},
    {"^(to-planes-rgb|rgb-to-|twist)|^(xyz|yuv|ycrcb|hsv)-to-rgb|^to-gray/",
     "Pixels of three samples are split and joined in several steps instead of by byte shuffles."},
    {"^bitonal-to-", "A byte of bits becomes eight bytes by a byte shuffle, at the baseline by three unpackings."},
    {"^convolve-[0-9x]+(-rgb|-masked)?/8U/",
     "An instruction multiplies unsigned bytes and adds the products in pairs to 16 bits; the baseline widens the bytes "
     "first and adds up in 32 bits."},
    {"^(median|max|min)-.*/32S/",
     "The smaller and the larger of 32-bit integers are an instruction each; at the baseline a comparison and a "
     "selection of three."},
    {"^resize-.*nearest", "Samples are picked by byte shuffles, at the baseline one by one."},
    {"^resize-.*(linear|cubic)",
     "Neighbours in a row are picked by byte shuffles and multiplied by the vector, at the baseline one by one."},
    {"^norm-c/16S/",
     "A magnitude and the larger of two unsigned words are an instruction each, at the baseline three and two."},
};

}  // namespace

const char *whyBaseIsSlow(const std::string &name) {
    for (const Reason &reason : REASONS) {
        if (std::regex_search(name, std::regex(reason.rows, std::regex::extended))) return reason.why;
    }
    return nullptr;
}

bool isBaseSlow(const Result &atV3) {
    return atV3.level == LEVEL_NAMES[1] && atV3.toLower > 0 && atV3.toLower * SLOW_BASE < 1;
}
