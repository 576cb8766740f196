// Pictures that the gallery draws for itself. A drawing is a function from a point to a colour; antialiasing is the
// mean of 4 x 4 points in each pixel. The unit of length is the height of the picture, y grows downwards.
#include "scene.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numbers>

namespace {

struct Color {
    double r;
    double g;
    double b;
};

constexpr double pi = std::numbers::pi;

Color mix(const Color &a, const Color &b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Color scaled(const Color &c, double by) {
    return {c.r * by, c.g * by, c.b * by};
}

Color plus(const Color &a, const Color &b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}

double smooth(double low, double high, double value) {
    const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// A fixed pseudo-random value in 0..1 for a lattice point.
double lattice(int x, int y) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return static_cast<double>((h ^ (h >> 15)) & 0xFFFFFF) / 0xFFFFFF;
}

double noise(double x, double y) {
    const int ix = static_cast<int>(std::floor(x));
    const int iy = static_cast<int>(std::floor(y));
    const double fx = smooth(0, 1, x - ix);
    const double fy = smooth(0, 1, y - iy);
    const double above = lattice(ix, iy) + (lattice(ix + 1, iy) - lattice(ix, iy)) * fx;
    const double below = lattice(ix, iy + 1) + (lattice(ix + 1, iy + 1) - lattice(ix, iy + 1)) * fx;
    return above + (below - above) * fy;
}

// Noise of several scales, about 0..1.
double ruggedNoise(double x, double y) {
    double sum = 0;
    double weight = 0.5;
    for (int octave = 0; octave < 5; octave++) {
        sum += weight * noise(x, y + 17.0 * octave);
        x *= 2;
        y *= 2;
        weight *= 0.5;
    }
    return sum;
}

constexpr double horizon = 0.66;
constexpr double sunX = 1.02;
constexpr double sunY = 0.53;
constexpr Color sunColor = {1.0, 0.93, 0.72};

Color skyAt(double x, double y) {
    constexpr Color top = {0.10, 0.22, 0.50};
    constexpr Color middle = {0.45, 0.50, 0.74};
    constexpr Color low = {0.98, 0.66, 0.45};
    constexpr Color bottom = {1.0, 0.84, 0.56};
    Color color = mix(top, middle, smooth(-0.05, 0.36, y));
    color = mix(color, low, smooth(0.24, 0.52, y));
    color = mix(color, bottom, smooth(0.46, horizon, y));
    const double distance = std::hypot(x - sunX, (y - sunY) * 1.15);
    color = plus(color, scaled({0.9, 0.5, 0.2}, 0.55 * std::exp(-distance * 4.2)));
    if (distance < 0.070) return sunColor;
    const double thinning = smooth(0.62, 0.3, y);
    const double cloud = thinning > 0 ? smooth(0.50, 0.74, ruggedNoise(x * 2.1 + 3, y * 8.5 + 1)) * thinning : 0;
    const Color lit = mix({0.98, 0.72, 0.62}, {1.0, 0.90, 0.80}, smooth(0.9, 0.2, distance));
    color = mix(color, lit, 0.75 * cloud);
    return mix(color, sunColor, smooth(0.076, 0.070, distance));
}

struct Hills {
    double base;    // height of the ridge over the horizon
    double height;  // of its highest peaks, more
    double scale;
    double seed;
    Color top;
    Color foot;
};

constexpr Hills ridges[] = {{0.07, 0.30, 2.4, 5.3, {0.42, 0.40, 0.62}, {0.80, 0.62, 0.62}},
                            {0.03, 0.24, 3.0, 31.7, {0.27, 0.30, 0.47}, {0.56, 0.46, 0.52}},
                            {-0.01, 0.16, 3.6, 57.1, {0.11, 0.24, 0.24}, {0.23, 0.38, 0.30}}};

Color hillsAt(const Hills &hills, double ridge, double x, double y) {
    const double texture = 0.10 * (ruggedNoise(x * 14 + hills.seed, y * 22) - 0.5);
    const double towardsSun = 0.20 * std::exp(-std::abs(x - sunX) * 2.5);
    const Color color = mix(hills.top, hills.foot, smooth(ridge, horizon + 0.02, y));
    return plus(scaled(color, 1 + texture), scaled({0.7, 0.4, 0.15}, towardsSun));
}

// The nearest ridge that reaches up to here hides the others.
Color landAt(double x, double y) {
    for (auto hills = std::rbegin(ridges); hills != std::rend(ridges); ++hills) {
        if (y < horizon - hills->base - 0.68 * hills->height) continue;
        const double ridge =
            horizon - hills->base - hills->height * (ruggedNoise(x * hills->scale, hills->seed) - 0.32);
        if (y >= ridge) return hillsAt(*hills, ridge, x, y);
    }
    return skyAt(x, y);
}

struct Balloon {
    double x;
    double y;
    double radius;
    Color first;
    Color second;
};

constexpr Balloon balloons[] = {{0.36, 0.25, 0.135, {0.86, 0.13, 0.16}, {1.0, 0.80, 0.16}},
                                {0.72, 0.15, 0.072, {0.09, 0.45, 0.75}, {0.93, 0.96, 0.98}},
                                {1.29, 0.30, 0.050, {0.20, 0.62, 0.30}, {0.96, 0.90, 0.30}},
                                {0.10, 0.40, 0.036, {0.55, 0.20, 0.62}, {0.98, 0.62, 0.22}}};

double envelopeHalfWidth(double v) {
    if (v < -1 || v > 1.32) return 0;
    return v < 0 ? std::sqrt(1 - v * v) : std::pow(std::cos(pi / 2 * v / 1.62), 0.85);
}

// True and the colour where the balloon is. Local coordinates: the radius is 1, the middle of the sphere 0.
bool balloonAt(const Balloon &balloon, double x, double y, Color *color) {
    const double u = (x - balloon.x) / balloon.radius;
    const double v = (y - balloon.y) / balloon.radius;
    const double half = envelopeHalfWidth(v);
    if (std::abs(u) < half) {
        const double turn = std::asin(u / half) / pi + 0.5;
        const bool even = static_cast<int>(turn * 9) % 2 == 0;
        const double belt = smooth(0.52, 0.54, v) * smooth(0.80, 0.78, v);
        const Color cloth = mix(even ? balloon.first : balloon.second, even ? balloon.second : balloon.first, belt);
        const double light = 0.62 + 0.34 * turn + 0.22 * std::exp(-4 * (std::pow(u - 0.35, 2) + std::pow(v + 0.35, 2)));
        *color = scaled(cloth, light - 0.18 * smooth(0.4, 1.4, v));
        return true;
    }
    const bool basket = std::abs(u) < 0.17 && v > 1.58 && v < 1.86;
    const double rope = 0.42 - (v - 1.3) * 0.9;
    const bool ropes = v > 1.3 && v <= 1.58 && std::abs(std::abs(u) - rope) < 0.025;
    if (!basket && !ropes) return false;
    *color = basket ? Color{0.36, 0.22, 0.12} : Color{0.20, 0.15, 0.14};
    return true;
}

Color airAt(double x, double y) {
    Color color = landAt(x, y);
    for (const Balloon &balloon : balloons) {
        if (balloonAt(balloon, x, y, &color)) break;
    }
    return color;
}

// The lake mirrors what is above the horizon, broken by ripples that grow towards the eye.
Color waterAt(double x, double y) {
    const double depth = y - horizon;
    const double ripple = ruggedNoise(x * 7, depth * 90 / (0.25 + depth * 2.2)) - 0.5;
    const double mirroredX = x + ripple * 0.10 * smooth(0, 0.3, depth);
    const double mirroredY = horizon - depth * 1.55 + ripple * 0.16 * smooth(0, 0.3, depth);
    Color color = airAt(mirroredX, std::min(mirroredY, horizon - 0.002));
    color = mix(scaled(color, 0.80), {0.08, 0.20, 0.34}, 0.20 + 0.45 * smooth(0, 0.34, depth));
    const double path = std::exp(-std::pow((x - sunX) / (0.045 + depth * 0.32), 2));
    const double glitter = smooth(0.50, 0.62, ruggedNoise(x * 24, depth * 170 / (0.3 + depth * 2)));
    return plus(color, scaled(sunColor, path * (0.16 + 0.70 * glitter)));
}

// A spruce: a stack of triangles. All of them stand on one dark bank.
bool spruceAt(double x, double y, double foot, double height) {
    const double up = (foot - y) / height;
    if (up < 0 || up > 1) return false;
    const double step = up * 6 - std::floor(up * 6);
    return std::abs(x) < height * 0.20 * (1 - up) * (1.25 - 0.55 * step);
}

double bankAt(double x) {
    return 0.93 + 0.16 * smooth(0.05, 0.62, x) - 0.025 * ruggedNoise(x * 9, 3.1);
}

bool shoreAt(double x, double y) {
    if (y < 0.45) return false;  // above the highest top
    if (y > bankAt(x)) return true;
    constexpr double spruces[][2] = {{0.035, 0.36}, {0.115, 0.27}, {0.185, 0.40}, {0.27, 0.22}, {0.335, 0.14}};
    for (const auto &spruce : spruces) {
        const bool near = std::abs(x - spruce[0]) < 0.25 * spruce[1];
        if (near && spruceAt(x - spruce[0], y, bankAt(spruce[0]) + 0.02, spruce[1])) return true;
    }
    return false;
}

// A sailing boat in front of the far shore.
bool boatAt(double x, double y, Color *color) {
    const double u = (x - 0.83) / 0.05;
    const double v = (y - 0.755) / 0.05;
    if (v > 0 && v < 0.28 && std::abs(u) < 0.95 - v * 1.1) {
        *color = {0.42, 0.16, 0.12};
        return true;
    }
    if (v > -2.1 && v < -0.08) {
        const double height = (v + 2.1) / 2.02;
        if (u > 0.06 && u < 0.06 + 0.85 * height) {
            *color = {1.0, 0.95, 0.86};
            return true;
        }
        if (u < -0.02 && u > -0.02 - 0.60 * (height - 0.15)) {
            *color = {0.92, 0.80, 0.70};
            return true;
        }
    }
    if (std::abs(u - 0.02) < 0.03 && v > -2.15 && v <= 0) {
        *color = {0.25, 0.16, 0.12};
        return true;
    }
    return false;
}

Color sceneAt(double x, double y) {
    if (shoreAt(x, y)) return mix({0.03, 0.07, 0.08}, {0.10, 0.13, 0.09}, ruggedNoise(x * 30, y * 30));
    Color color = y < horizon ? airAt(x, y) : waterAt(x, y);
    boatAt(x, y, &color);
    return color;
}

std::uint16_t byteOf(double value) {
    return static_cast<std::uint16_t>(std::lrint(255 * std::clamp(value, 0.0, 1.0)));
}

template <typename ColorAt>
Picture drawColors(int width, int height, ColorAt colorAt) {
    constexpr int fine = 4;
    Picture picture = makePicture(width, height, 3, 8);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            Color sum = {0, 0, 0};
            for (int i = 0; i < fine * fine; i++) {
                const double px = x + (i % fine + 0.5) / fine;
                const int row = i / fine;
                const double py = y + (row + 0.5) / fine;
                const Color color = colorAt(px / height, py / height);
                sum = plus(sum, {std::min(color.r, 1.0), std::min(color.g, 1.0), std::min(color.b, 1.0)});
            }
            std::uint16_t *pixel = pixelAt(&picture, x, y);
            const Color mean = scaled(sum, 1.0 / (fine * fine));
            pixel[0] = byteOf(mean.r);
            pixel[1] = byteOf(mean.g);
            pixel[2] = byteOf(mean.b);
        }
    }
    return picture;
}

template <typename Inside>
Picture drawBits(int width, int height, Inside inside) {
    Picture picture = makePicture(width, height, 1, 1);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            pixelAt(&picture, x, y)[0] = inside((x + 0.5) / height, (y + 0.5) / height) ? 1 : 0;
        }
    }
    return picture;
}

double sideRatio(int width, int height) {
    return static_cast<double>(width) / height;
}

}  // namespace

Picture drawScene(int width, int height) {
    // Drawn for a picture half as wide again as high; others see it stretched.
    const double stretch = 1.5 / sideRatio(width, height);
    return drawColors(width, height, [stretch](double x, double y) { return sceneAt(x * stretch, y); });
}

Picture drawDiscs(int width, int height, double strength) {
    const double middle = sideRatio(width, height) / 2;
    const double reach = std::min(middle / 0.75, 1.0);
    return drawColors(width, height, [=](double x, double y) {
        const auto light = [&](double turn) {
            const double cx = middle + 0.19 * reach * std::sin(2 * pi * turn);
            const double cy = 0.53 - 0.19 * reach * std::cos(2 * pi * turn);
            return strength * smooth(0.302 * reach, 0.290 * reach, std::hypot(x - cx, y - cy));
        };
        return Color{light(0), light(1.0 / 3), light(2.0 / 3)};
    });
}

Picture drawStripes(int width, int height) {
    return drawColors(width, height, [](double x, double y) {
        const double across = (x + y * 0.6) * 9;
        const double white = across - std::floor(across) < 0.5 ? 1 : 0;
        return Color{white, white, white};
    });
}

Picture drawVignette(int width, int height) {
    const double middle = sideRatio(width, height) / 2;
    return withChannels(drawColors(width, height,
                                   [middle](double x, double y) {
                                       const double off = std::hypot((x - middle) / middle, (y - 0.5) / 0.5);
                                       const double light = 1 - 0.92 * smooth(0.35, 1.35, off);
                                       return Color{light, light, light};
                                   }),
                        1);
}

Picture drawMask(int width, int height) {
    const double middle = sideRatio(width, height) / 2;
    const double reach = std::min(middle / 0.5, 1.0);
    return drawBits(width, height, [=](double x, double y) {
        const double distance = std::hypot(x - middle, y - 0.5) / reach;
        const double petals = std::cos(7 * std::atan2(x - middle, 0.5 - y));
        if (distance < 0.14) return distance < 0.09;
        return distance < 0.33 + 0.12 * petals;
    });
}

Picture drawDisc(int width, int height, double x) {
    const double ratio = sideRatio(width, height);
    const double radius = std::min(0.36, 0.24 * ratio);
    return drawBits(width, height, [=](double px, double py) { return std::hypot(px - x * ratio, py - 0.5) < radius; });
}

Picture drawGlass(int width, int height, double x, const Rgb &colour) {
    Picture picture = makePicture(width, height, 4, 8);
    const double ratio = sideRatio(width, height), radius = std::min(0.4, 0.27 * ratio);
    for (int row = 0; row < height; row++) {
        for (int column = 0; column < width; column++) {
            const double px = (column + 0.5) / height, py = (row + 0.5) / height;
            const double distance = std::hypot(px - x * ratio, py - 0.5) / radius;
            const double alpha = smooth(1, 0.94, distance) * (0.45 + 0.4 * distance);
            std::uint16_t *pixel = pixelAt(&picture, column, row);
            pixel[0] = static_cast<std::uint16_t>(colour.red);
            pixel[1] = static_cast<std::uint16_t>(colour.green);
            pixel[2] = static_cast<std::uint16_t>(colour.blue);
            pixel[3] = static_cast<std::uint16_t>(255 * alpha);
        }
    }
    return picture;
}

Picture drawShifted(const Picture &picture, int by) {
    Picture result = picture;
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            const std::uint16_t *from = pixelAt(&picture, std::max(x - by, 0), std::max(y - by, 0));
            std::copy_n(from, picture.channels, pixelAt(&result, x, y));
        }
    }
    return result;
}

Picture drawPiece(const Picture &picture, int x, int y, int width, int height) {
    Picture result = makePicture(width, height, picture.channels, picture.bits);
    for (int row = 0; row < height; row++)
        std::copy_n(pixelAt(&picture, x, y + row), width * picture.channels, pixelAt(&result, 0, row));
    return result;
}

Picture drawNegative(const Picture &picture) {
    Picture result = picture;
    for (std::uint16_t &sample : result.samples)
        sample = static_cast<std::uint16_t>(fullValue(picture.bits) - sample);
    return result;
}

namespace {

// What is written at (u, v) of a page whose sides are 1: lines of words, the first one a heading.
double inkAt(double u, double v) {
    constexpr int lines = 17;
    const double line = (v - 0.1) / 0.8 * lines;
    const int number = static_cast<int>(std::floor(line));
    if (number < 0 || number >= lines || number == 1) return 0;
    const double within = line - number, top = number == 0 ? 0.1 : 0.3;
    const double end = number % 6 == 5 ? 0.55 : 0.88;
    if (within < top || within > 0.75 || u < 0.12 || u > (number == 0 ? 0.6 : end)) return 0;
    const double letter = u * (number == 0 ? 40 : 90);
    const int which = static_cast<int>(letter);
    const bool isGap = lattice(which / 2, 31 * number) < 0.16 || letter - which > 0.72;
    return isGap ? 0 : 0.55 + 0.4 * lattice(which, number);
}

// The page's place for a point of the picture: the inverse of the map of the unit square onto the page's corners
// (Heckbert 1989).
void pageAt(double x, double y, double *u, double *v) {
    constexpr double x0 = 0.21, y0 = 0.08, x1 = 0.74, y1 = 0.15, x2 = 0.88, y2 = 0.93, x3 = 0.07, y3 = 0.82;
    constexpr double dx1 = x1 - x2, dx2 = x3 - x2, sx = x0 - x1 + x2 - x3;
    constexpr double dy1 = y1 - y2, dy2 = y3 - y2, sy = y0 - y1 + y2 - y3;
    constexpr double g = (sx * dy2 - dx2 * sy) / (dx1 * dy2 - dx2 * dy1);
    constexpr double h = (dx1 * sy - sx * dy1) / (dx1 * dy2 - dx2 * dy1);
    constexpr double a = x1 - x0 + g * x1, b = x3 - x0 + h * x3, d = y1 - y0 + g * y1, e = y3 - y0 + h * y3;
    const double across = (e - h * y0) * x + (h * x0 - b) * y + b * y0 - e * x0;
    const double down = (g * y0 - d) * x + (a - g * x0) * y + d * x0 - a * y0;
    const double depth = (d * h - e * g) * x + (b * g - a * h) * y + a * e - b * d;
    *u = across / depth;
    *v = down / depth;
}

Color pagePictureAt(double x, double y) {
    constexpr Color wood = {0.36, 0.24, 0.15}, paper = {0.95, 0.93, 0.88}, ink = {0.12, 0.12, 0.2};
    double u, v;
    pageAt(x, y, &u, &v);
    const double light = 1.06 - 0.35 * x - 0.1 * y;
    if (u < 0 || u > 1 || v < 0 || v > 1) return scaled(wood, light * (0.8 + 0.4 * ruggedNoise(4 * x, 40 * y)));
    return scaled(mix(paper, ink, inkAt(u, v)), light);
}

}  // namespace

Picture drawPage(int width, int height) {
    constexpr int finer = 4;
    Picture picture = makePicture(width, height, 3, 8);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            Color sum = {0, 0, 0};
            for (int down = 0; down < finer; down++) {
                for (int across = 0; across < finer; across++)
                    sum = plus(sum, pagePictureAt((x + (across + 0.5) / finer - 0.5) / width,
                                                  (y + (down + 0.5) / finer - 0.5) / height));
            }
            const double values[] = {sum.r, sum.g, sum.b};
            for (int c = 0; c < 3; c++) {
                const double value = std::clamp(values[c] / (finer * finer), 0.0, 1.0);
                pixelAt(&picture, x, y)[c] = static_cast<std::uint16_t>(std::lround(value * 255));
            }
        }
    }
    return picture;
}

Picture drawChecks() {
    Picture picture = makePicture(96, 64, 3, 8);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            const bool light = (x / 8 + y / 8) % 2 == 0;
            std::uint16_t *pixel = pixelAt(&picture, x, y);
            pixel[0] = light ? 250 : 200;
            pixel[1] = light ? 240 : 120;
            pixel[2] = light ? 220 : 40;
        }
    }
    return picture;
}

Picture drawTiny() {
    Picture picture = makePicture(12, 8, 3, 8);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            std::uint16_t *pixel = pixelAt(&picture, x, y);
            pixel[0] = static_cast<std::uint16_t>(30 + 8 * x);
            pixel[1] = static_cast<std::uint16_t>(60 + 16 * y);
            pixel[2] = static_cast<std::uint16_t>(170 - 6 * x);
        }
    }
    return picture;
}

namespace {

constexpr int stripesAcross = 40;
constexpr int stripesDown = 24;

}  // namespace

Picture drawStriped(const Picture &picture) {
    Picture result = picture;
    const double full = fullValue(picture.bits);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            const double turns = static_cast<double>(x) * stripesAcross / picture.width +
                                 static_cast<double>(y) * stripesDown / picture.height;
            // What is added stays within the scale: the stripes are one pair of frequencies and no others.
            const double stripe = 0.12 * std::cos(2 * pi * turns) * full;
            std::uint16_t *pixel = pixelAt(&result, x, y);
            for (int channel = 0; channel < picture.channels; channel++)
                pixel[channel] = static_cast<std::uint16_t>(std::lrint(pixel[channel] * 0.76 + 0.12 * full + stripe));
        }
    }
    return result;
}

Picture drawNotches(int width, int height) {
    Picture result = makePicture(width, height, 1, 8);
    std::fill(result.samples.begin(), result.samples.end(), std::uint16_t{255});
    for (const int sign : {-1, 1}) {
        for (int y = -2; y <= 2; y++) {
            for (int x = -2; x <= 2; x++) {
                const int column = width / 2 + sign * stripesAcross + x, row = height / 2 + sign * stripesDown + y;
                if (column >= 0 && column < width && row >= 0 && row < height) *pixelAt(&result, column, row) = 0;
            }
        }
    }
    return result;
}

Picture drawSpecks(const Picture &picture) {
    Picture result = picture;
    const std::uint32_t full = fullValue(picture.bits);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            const double chance = lattice(x, y + 7919);
            if (chance > 0.04) continue;
            const auto at = (static_cast<std::size_t>(y) * picture.width + x) * picture.channels;
            std::fill_n(result.samples.begin() + static_cast<std::ptrdiff_t>(at), picture.channels,
                        static_cast<std::uint16_t>(chance < 0.02 ? 0 : full));
        }
    }
    return result;
}

Picture drawHazy(const Picture &picture) {
    Picture result = withChannels(picture, 1);
    for (std::uint16_t &sample : result.samples)
        sample = static_cast<std::uint16_t>(110 + rescale(sample, fullValue(picture.bits), 74));
    return result;
}
