#pragma once

#include "widgets/CColor.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

// The spectrum view's traces drawn at device resolution into a premultiplied
// ARGB32 image (Cairo's layout), one device column at a time. Cairo fills and
// strokes a path by compositing every row of its bounding box through a coverage
// mask, so a few noisy outlines over the whole panel cost as much as many full
// panels; here the areas under the traces are copied from a per-row table of
// the colours that a set of overlapping areas makes, and only the pixels an edge
// crosses are blended. Edges are anti-aliased vertically: a trace has one value
// per column, so its top is sampled at each device column's centre.
namespace zkeditor::raster {

struct Image {
    std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0; // pixels from one row to the next
};

// Position, on the axis of the trace's own columns (their centres at 0, 1, ...),
// of the centre of device column d at a scale: (d + 0.5) / scale - 0.5. Its
// inverse is the device column whose centre lies at a position.
double PositionOfDeviceColumn(int d, double scale);
double DeviceColumnOfPosition(double position, double scale);

// The value at a position on the polyline through (i, values[i]); held flat
// beyond both ends.
float Interpolate(std::span<const float> values, double position);

// An area under a trace: tops[d] is the device y of its top edge at device column
// d (0 the image's top row; from there down to the bottom it is covered), its
// colour's opacity runs from topAlpha in the first row to bottomAlpha in the last.
struct Area {
    std::span<const float> tops;
    CColor colour;
    float topAlpha = 1.f;
    float bottomAlpha = 1.f;
};

// Opacity of an area's colour in row y of an image `height` rows high (at the row's centre).
float AreaAlpha(const Area& area, int y, int height);

// Draws the areas and lines of one picture after another into the same image.
// An image that shows the last picture is brought up to date: only the rows
// where an area's top moved, and those an edge or a line crossed, are written
// again. A picture is drawn whole when the image, its size or the areas'
// colours change, or after Reset.
class TracePainter {
public:
    static constexpr std::size_t kMaxAreas = 4;
    static constexpr std::size_t kMaxLines = 2 * kMaxAreas;

    // Starts a picture with up to kMaxAreas areas, each over the ones before it;
    // every row of the image gets only what the areas put there.
    void Areas(const Image& image, std::span<const Area> areas);
    // A line of this picture (see DrawLine), over what is there; up to kMaxLines.
    void Line(std::span<const float> tops, std::span<const float> bottoms, CColor colour,
              float alpha);
    void Reset() { image = {}; }

private:
    bool PrepareTable(std::span<const Area> areas, int height);
    // Rows [from, to) of column d as the areas make them, with full[k] the first
    // row area k covers entirely.
    void FillRows(int d, int from, int to, const std::array<int, kMaxAreas>& full);

    Image image;
    std::size_t areaCount = 0;
    // Per set of areas covering a pixel (bit k: area k) and row, the pixel.
    std::array<std::vector<std::uint32_t>, 1u << kMaxAreas> table;
    std::vector<CColor> tableColours;
    std::vector<float> tableAlphas;
    int tableHeight = -1;
    // What the image shows, per column: each area's first fully covered row, the
    // row its top crosses (-1: none) and the rows each line covered.
    std::array<std::vector<int>, kMaxAreas> full, edge;
    std::array<std::vector<int>, kMaxLines> lineFrom, lineTo;
    std::size_t lines = 0;
};

// A line through the image: at device column d it covers the rows from tops[d]
// to bottoms[d] (device y), the partly covered rows in proportion; blended over
// what is there with the colour at `alpha`.
void DrawLine(const Image& image, std::span<const float> tops, std::span<const float> bottoms,
              CColor colour, float alpha);

// The topmost row an area or a line reaches (0 when it would be above the image).
int FirstRow(std::span<const float> tops, int height);

} // namespace zkeditor::raster
