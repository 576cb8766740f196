// How much memory is taken for pixels. What does not fit goes through scratch files.
#pragma once

#include <cstdint>
#include <string>

#include "failure.h"

// As --memory says, for each of several pictures that are worked on at once; without it half of what the machine has.
std::uint64_t memoryBound();
void setMemoryBound(std::uint64_t bytes);

// What the machine has of it.
std::uint64_t usualMemory();

// "300M", "2G", "500000K" or bytes; 0 for what is none, or less than 100K.
std::uint64_t memoryFromText(const std::string &text);

// The part of the bound that is for pixels. The rest is for the program itself and what the decoders take.
std::uint64_t pixelMemory();

// The bound with which there is so much for pixels.
std::uint64_t boundFor(std::uint64_t pixels);

// The largest image that is kept in memory whole, where it may as well be in a scratch file.
std::uint64_t largestWhole();

// What has to be in memory whole and is too large for it. Operations add their names.
struct TooLarge : Failure {};

// Both tell what --memory would have to allow for so many bytes of pixels.
std::string tooLargeText(const std::string &what, std::uint64_t bytes);
[[noreturn]] void failMemory(const std::string &what, std::uint64_t bytes);

// A third of it is for the tiles of scratch files, where there are any: each of them tells when it comes and goes.
std::uint64_t tileMemory();
void countScratch(int more);

// Throws TooLarge where so much more cannot be had.
void checkMemory(const std::string &what, std::uint64_t bytes);

// The bytes of images in memory, of the thread. Throws TooLarge as well.
void takeMemory(const std::string &what, std::uint64_t bytes);
void giveMemory(std::uint64_t bytes);
std::uint64_t memoryTaken();

// "300 MB"
std::string megabytes(std::uint64_t bytes);
