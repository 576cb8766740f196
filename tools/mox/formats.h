// The kinds of files that are read and written, each by a library that knows it or by a few lines here.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bitmap.h"
#include "files.h"
#include "rows.h"

enum class Format { none, png, jpeg, tiff, pnm, bmp };

// By the ending of a name, in capitals or not; none for one that is unknown.
Format formatOfName(const std::string &name);

// By the first bytes of a file, eight at most.
Format formatOfBytes(const unsigned char *begin, std::size_t size);

// "jpeg" and its like, as endings have it; none for a word that is unknown.
Format formatFromWord(const std::string &word);

// "png" and its like: the usual ending.
const char *endingOf(Format format);

// For messages: the kinds with all of their endings.
std::string formatsText();

// How a result is written.
struct OutputForm {
    Format format = Format::png;
    std::string kind;  // of pnm: pbm, pgm, ppm, pam, or anything else for whichever fits
    int quality = 90;  // of jpeg, 1 to 100
};

// By the result's name, unless word says it. Throws Failure for what nobody can write.
OutputForm outputForm(const std::string &name, const std::string &word, int quality);

// A file that is open for reading. What comes from a pipe, or is not a plain file, has been brought into a scratch
// file, so that any reader may go back and forth in it.
struct Input {
    std::string name;
    std::shared_ptr<std::FILE> file;
    std::uint64_t size = 0;
    Format format = Format::none;
};

// Opens a file, or standard input where the name is -, and tells by its first bytes what it is. Throws Failure for what
// is no picture.
Input openInput(const std::string &name);

// As far as can be seen without reading: throws Failure for what is not there, is a folder or no picture. Pipes are
// left alone.
void checkInput(const std::string &name);

RowSource readRows(const Input &input);
RowSource readRows(const std::string &name);

// Rows to a file of any kind but a bitmap: whole or not at all. Samples of 32 bits are for TIFF alone; others get them
// with 16. Throws Failure.
void writeRows(RowSource source, const std::string &name, const OutputForm &form);

// Each kind by itself. Readers may assume that the first bytes are right.
RowSource readPng(const Input &input);
RowSource readJpeg(const Input &input);
RowSource readTiff(const Input &input);
RowSource readPnm(const Input &input);
void writePng(const RowSource &source, NewFile *file);
void writeJpeg(RowSource source, NewFile *file, int quality);
void writeTiff(const RowSource &source, NewFile *file);
void writePnm(RowSource source, NewFile *file, const std::string &kind);
