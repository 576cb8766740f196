// Pictures that the gallery draws for itself.
#pragma once

#include "picture.h"

// An evening by a lake, with hills, a low sun and balloons.
Picture drawScene(int width, int height);

// A colour of 0 to 255.
struct Rgb {
    int red, green, blue;
};

// The rest fits a picture of any size.
Picture drawDiscs(int width, int height, double strength);  // red, green and blue lights that overlap, on black
Picture drawStripes(int width, int height);                 // black and white, aslant
Picture drawVignette(int width, int height);                // white in the middle, dark in the corners
Picture drawMask(int width, int height);                    // 1 bit: a flower
Picture drawDisc(int width, int height, double x);          // 1 bit: a disc about x of the width
Picture drawShifted(const Picture &picture, int by);        // the picture moved right and down, its edge repeated
Picture drawPiece(const Picture &picture, int x, int y, int width, int height);  // cut out of it
Picture drawGlass(int width, int height, double x, const Rgb &colour);  // a soft disc about x of the width, with alpha
Picture drawNegative(const Picture &picture);
Picture drawHazy(const Picture &picture);     // gray, its levels in the middle of the scale
Picture drawStriped(const Picture &picture);  // with stripes that repeat 40 times across and 24 times down
Picture drawNotches(int width, int height);   // the spectrum's points that such stripes have, black on white
Picture drawSpecks(const Picture &picture);   // the picture with black and white specks
Picture drawTiny();                           // a few pixels to be seen one by one
Picture drawPage(int width, int height);      // a page with lines of writing, seen askew
Picture drawChecks();                         // black and white squares, small enough to be enlarged
