// How much memory is taken for pixels.
#include "memory.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <charconv>

#include "scratchfile.h"

namespace {

constexpr std::uint64_t million = std::uint64_t{1} << 20;
constexpr std::uint64_t leastMemory = 100 << 10;
constexpr std::uint64_t ownMemory = 40 * million;  // of the program with its libraries

std::atomic<std::uint64_t> bound{0};
thread_local std::uint64_t taken = 0;
thread_local int scratchFiles = 0;

}  // namespace

std::uint64_t usualMemory() {
    const std::uint64_t all = machineMemory();
    if (all == 0) return 1024 * million;
    return std::min<std::uint64_t>(std::max(all / 2, 256 * million), SIZE_MAX / 2);
}

std::uint64_t memoryBound() {
    const std::uint64_t said = bound;
    return said != 0 ? said : usualMemory();
}

void setMemoryBound(std::uint64_t bytes) {
    bound = std::max(bytes, leastMemory);
}

std::uint64_t memoryFromText(const std::string &text) {
    std::uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc()) return 0;
    std::string unit(rest, end);
    for (char &letter : unit)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    int shift = unit.empty() || unit == "B" ? 0 : -1;
    // As people write it: 300M, 300MB and 300MiB are the same here.
    for (int power = 1; power <= 3; power++) {
        const std::string prefix(1, " KMG"[power]);
        if (unit == prefix || unit == prefix + "B" || unit == prefix + "IB") shift = 10 * power;
    }
    if (shift < 0 || number > (std::uint64_t{1} << 50) >> shift) return 0;
    number <<= shift;
    return number < leastMemory ? 0 : number;
}

std::uint64_t pixelMemory() {
    const std::uint64_t all = memoryBound();
    return all - std::min(all / 2, ownMemory);
}

std::uint64_t largestWhole() {
    return pixelMemory() / 6;
}

std::string megabytes(std::uint64_t bytes) {
    if (bytes < 10 * million) return std::to_string(bytes / 1024 + (bytes % 1024 != 0 ? 1 : 0)) + " KB";
    return std::to_string(bytes / million + (bytes % million != 0 ? 1 : 0)) + " MB";
}

std::uint64_t boundFor(std::uint64_t pixels) {
    return pixels + std::min(pixels, ownMemory);
}

std::string tooLargeText(const std::string &what, std::uint64_t bytes) {
    return what + " has to be in memory whole, which takes " + megabytes(boundFor(bytes)) +
           " or more; --memory allows " + megabytes(memoryBound());
}

void failMemory(const std::string &what, std::uint64_t bytes) {
    throw TooLarge{{exitOperation, tooLargeText(what, bytes)}};
}

std::uint64_t tileMemory() {
    return pixelMemory() / 3;
}

void countScratch(int more) {
    scratchFiles += more;
}

void checkMemory(const std::string &what, std::uint64_t bytes) {
    const bool shares = scratchFiles > 0;
    const std::uint64_t all = taken + bytes, most = pixelMemory() - (shares ? tileMemory() : 0);
    if (all > most) failMemory(what, shares ? all + all / 2 : all);
}

void takeMemory(const std::string &what, std::uint64_t bytes) {
    checkMemory(what, bytes);
    taken += bytes;
}

void giveMemory(std::uint64_t bytes) {
    taken -= bytes;
}

std::uint64_t memoryTaken() {
    return taken;
}
