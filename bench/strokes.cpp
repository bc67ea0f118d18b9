#include "strokes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kesto::bench {
namespace {

struct Point {
  double x, y;
};

/// A stroke along these points, in ems from the letter's upper left corner.
using Stroke = std::vector<Point>;

Stroke line(Point from, Point to) {
  return {from, to};
}

/// Part of an ellipse, angles in quarters of a turn.
Stroke arc(Point center, double radiusX, double radiusY, double from, double to) {
  constexpr int PIECES = 24;
  Stroke points;
  for (int i = 0; i <= PIECES; ++i) {
    const double angle = (from + (to - from) * i / PIECES) * std::numbers::pi / 2;
    points.push_back({center.x + radiusX * std::cos(angle), center.y + radiusY * std::sin(angle)});
  }
  return points;
}

// Heights of the parts of a letter, in ems.
constexpr double ASCENDER = 0.10;
constexpr double X_HEIGHT = 0.34;
constexpr double MIDDLE = 0.56;
constexpr double BASE = 0.78;
constexpr double DESCENDER = 0.96;
constexpr double LEFT = 0.08;
constexpr double RIGHT = 0.42;
constexpr double CENTER = 0.25;
constexpr double RADIUS = 0.17;
constexpr double LETTER_WIDTH = 0.5;
constexpr double STEM = 0.075;

std::vector<std::vector<Stroke>> letterStrokes() {
  const Stroke bowl = arc({CENTER, MIDDLE}, RADIUS, BASE - MIDDLE, 0, 4);
  const Stroke arch = arc({CENTER, MIDDLE}, RADIUS, MIDDLE - X_HEIGHT, 2, 4);
  const auto stem = [](double x, double top, double bottom) { return line({x, top}, {x, bottom}); };
  return {
      {bowl, stem(RIGHT, X_HEIGHT, BASE)},                                                                         // a
      {bowl, stem(LEFT, ASCENDER, BASE)},                                                                          // b
      {arc({CENTER, MIDDLE}, RADIUS, BASE - MIDDLE, 0.5, 3.5)},                                                    // c
      {bowl, stem(RIGHT, ASCENDER, BASE)},                                                                         // d
      {arc({CENTER, MIDDLE}, RADIUS, BASE - MIDDLE, 0.5, 4), line({LEFT, MIDDLE}, {RIGHT, MIDDLE})},               // e
      {stem(LEFT, ASCENDER, BASE), arch, stem(RIGHT, MIDDLE, BASE)},                                               // h
      {stem(CENTER, X_HEIGHT, BASE)},                                                                              // i
      {stem(LEFT, ASCENDER, BASE), line({LEFT, MIDDLE}, {RIGHT, X_HEIGHT}), line({LEFT, MIDDLE}, {RIGHT, BASE})},  // k
      {stem(CENTER, ASCENDER, BASE)},                                                                              // l
      {stem(LEFT, X_HEIGHT, BASE), arch, stem(RIGHT, MIDDLE, BASE)},                                               // n
      {bowl},                                                                                                      // o
      {bowl, stem(LEFT, X_HEIGHT, DESCENDER)},                                                                     // p
      {stem(LEFT, X_HEIGHT, BASE), arc({CENTER, MIDDLE}, RADIUS, MIDDLE - X_HEIGHT, 2, 3.6)},                      // r
      {stem(CENTER, ASCENDER, BASE), line({LEFT, X_HEIGHT}, {RIGHT, X_HEIGHT})},                                   // t
      {line({LEFT, X_HEIGHT}, {CENTER, BASE}), line({CENTER, BASE}, {RIGHT, X_HEIGHT})},                           // v
      {line({LEFT, X_HEIGHT}, {RIGHT, BASE}), line({RIGHT, X_HEIGHT}, {LEFT, BASE})},                              // x
  };
}

double distanceTo(const Point& p, const Point& from, const Point& to) {
  const Point along{to.x - from.x, to.y - from.y};
  const double length = along.x * along.x + along.y * along.y;
  const double share = std::clamp(((p.x - from.x) * along.x + (p.y - from.y) * along.y) / length, 0.0, 1.0);
  return std::hypot(p.x - from.x - share * along.x, p.y - from.y - share * along.y);
}

Glyph draw(const std::vector<Stroke>& strokes, double em) {
  Glyph glyph{static_cast<std::size_t>(LETTER_WIDTH * em), static_cast<std::size_t>(em), {}};
  for (std::size_t y = 0; y < glyph.height; ++y) {
    for (std::size_t x = 0; x < glyph.width; ++x) {
      const Point pixel{(static_cast<double>(x) + 0.5) / em, (static_cast<double>(y) + 0.5) / em};
      double nearest = 1;
      for (const Stroke& stroke : strokes) {
        for (std::size_t i = 1; i < stroke.size(); ++i) {
          nearest = std::min(nearest, distanceTo(pixel, stroke[i - 1], stroke[i]));
        }
      }
      // A pixel's edge is one pixel wide, so that it is covered in part within half a pixel of the stroke's.
      const double covered = std::clamp((STEM / 2 - nearest) * em + 0.5, 0.0, 1.0);
      glyph.ink.push_back(static_cast<std::uint8_t>(std::lround(255 * covered)));
    }
  }
  return glyph;
}

}  // namespace

std::vector<Glyph> makeGlyphs(double em) {
  std::vector<Glyph> glyphs;
  for (const auto& strokes : letterStrokes()) glyphs.push_back(draw(strokes, em));
  return glyphs;
}

}  // namespace kesto::bench
