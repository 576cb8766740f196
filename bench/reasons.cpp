// Why the baseline takes more than three times what v3 takes: sentences for the page. A row that is so slow and has
// none is marked there.
#include <regex>

#include "results.h"

namespace {

struct Reason {
    const char *rows;  // a regular expression that finds them by their names
    const char *why;   // one sentence
};

// To be filled where the cause is known and cannot be mended. For instance:
//   {"^multiply-s/32S/", "Products of 32 bits are two instructions for two lanes at the baseline."},
const std::vector<Reason> REASONS = {};

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
