// Writes the emblem of kdZentavo as a Windows icon file (.ico) with 16, 32
// and 48 pixel images in 32-bit colour with alpha: the picture the sync
// window shows, two arrows chasing each other round a circle in a framed
// white square, the sign of an exchange that goes both ways.
//
// Runs on the build machine (there is no icon tool in the setup):
//   make_icon OUTPUT.ico
// Each pixel is the coverage of 8 x 8 samples, so the small sizes stay
// smooth. Plain C++, no platform headers.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <vector>

namespace {

struct Colour {
  double r, g, b;
};
// The colours of the sync window's emblem.
constexpr Colour kFrame = {62, 104, 158};
constexpr Colour kPaper = {255, 255, 255};
constexpr Colour kArrow = {38, 140, 96};
constexpr double kPi = 3.14159265358979323846;

struct Pixel {
  double r = 0, g = 0, b = 0, a = 0;  // premultiplied, a in 0..1
};

// A shape of the picture, in pixel units of an image `size` wide.
struct Emblem {
  double size;
  // Whole pixels, so that the frame's edges are sharp.
  double frame() const { return std::floor(std::max(1.0, size / 16.0)); }
  double centre() const { return size / 2.0; }
  double radius() const { return size * 0.27; }
  double stroke() const { return std::max(1.7, size / 10.0); }
  double head() const { return std::max(2.5, size * 0.15); }

  bool InSquare(double x, double y) const { return x >= 0 && y >= 0 && x <= size && y <= size; }
  bool InFrame(double x, double y) const {
    const double f = frame();
    return InSquare(x, y) && (x < f || y < f || x > size - f || y > size - f);
  }
  // Two arcs of one ring, with gaps at the left and the right where the
  // heads sit. Angles as on a clock face turned: 0 at the right, counted
  // upwards (y grows downwards in the image).
  bool InArcs(double x, double y) const {
    const double dx = x - centre();
    const double dy = centre() - y;
    const double distance = std::sqrt(dx * dx + dy * dy);
    if (std::fabs(distance - radius()) > stroke() / 2) return false;
    double angle = std::atan2(dy, dx) * 180 / kPi;
    if (angle < 0) angle += 360;
    // Each arc starts past the tip of the other's head.
    const double gap = std::asin(std::min(1.0, head() * 1.25 / radius())) * 180 / kPi;
    return (angle > gap && angle <= 180) || (angle > 180 + gap && angle <= 360);
  }
  // The heads: one at the left end of the upper arc pointing down, one at
  // the right end of the lower arc pointing up.
  bool InHeads(double x, double y) const {
    const double h = head();
    const double left = centre() - radius();
    const double right = centre() + radius();
    return InTriangle(x, y, left - h, centre(), left + h, centre(), left, centre() + h * 1.1) ||
           InTriangle(x, y, right - h, centre(), right + h, centre(), right, centre() - h * 1.1);
  }
  static bool InTriangle(double x, double y, double ax, double ay, double bx, double by, double cx,
                         double cy) {
    const auto side = [](double px, double py, double qx, double qy, double rx, double ry) {
      return (qx - px) * (ry - py) - (qy - py) * (rx - px);
    };
    const double d1 = side(ax, ay, bx, by, x, y);
    const double d2 = side(bx, by, cx, cy, x, y);
    const double d3 = side(cx, cy, ax, ay, x, y);
    const bool negative = d1 < 0 || d2 < 0 || d3 < 0;
    const bool positive = d1 > 0 || d2 > 0 || d3 > 0;
    return !(negative && positive);
  }
};

void Over(Pixel& pixel, const Colour& colour, double coverage) {
  pixel.r = colour.r * coverage + pixel.r * (1 - coverage);
  pixel.g = colour.g * coverage + pixel.g * (1 - coverage);
  pixel.b = colour.b * coverage + pixel.b * (1 - coverage);
  pixel.a = coverage + pixel.a * (1 - coverage);
}

std::vector<Pixel> Draw(int size) {
  const Emblem emblem{static_cast<double>(size)};
  constexpr int kSamples = 8;
  std::vector<Pixel> pixels(static_cast<size_t>(size * size));
  for (int py = 0; py < size; ++py) {
    for (int px = 0; px < size; ++px) {
      int square = 0, frame = 0, arrow = 0;
      for (int sy = 0; sy < kSamples; ++sy) {
        for (int sx = 0; sx < kSamples; ++sx) {
          const double x = px + (sx + 0.5) / kSamples;
          const double y = py + (sy + 0.5) / kSamples;
          square += emblem.InSquare(x, y);
          frame += emblem.InFrame(x, y);
          arrow += emblem.InArcs(x, y) || emblem.InHeads(x, y);
        }
      }
      constexpr double kAll = kSamples * kSamples;
      Pixel& pixel = pixels[static_cast<size_t>(py * size + px)];
      Over(pixel, kPaper, square / kAll);
      if (square > 0) {
        // Frame and arrows are drawn on the paper, inside the square.
        const double inside = square / kAll;
        Over(pixel, kFrame, frame / kAll);
        Over(pixel, kArrow, arrow / kAll);
        pixel.a = inside;
      }
    }
  }
  return pixels;
}

void Put16(std::vector<uint8_t>& out, uint32_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}
void Put32(std::vector<uint8_t>& out, uint32_t value) {
  Put16(out, value & 0xFFFF);
  Put16(out, value >> 16);
}

// One image of the file: a BITMAPINFOHEADER (height doubled for the mask),
// the colour rows bottom-up in BGRA, then the 1-bit mask rows (1 where the
// picture is transparent), each padded to 32 bits.
std::vector<uint8_t> Image(int size) {
  const std::vector<Pixel> pixels = Draw(size);
  const uint32_t mask_row = static_cast<uint32_t>((size + 31) / 32 * 4);
  std::vector<uint8_t> out;
  Put32(out, 40);
  Put32(out, static_cast<uint32_t>(size));
  Put32(out, static_cast<uint32_t>(size * 2));
  Put16(out, 1);   // planes
  Put16(out, 32);  // bits per pixel
  Put32(out, 0);   // no compression
  Put32(out, static_cast<uint32_t>(size * size * 4) + mask_row * static_cast<uint32_t>(size));
  for (int i = 0; i < 4; ++i) Put32(out, 0);
  for (int y = size - 1; y >= 0; --y) {
    for (int x = 0; x < size; ++x) {
      const Pixel& pixel = pixels[static_cast<size_t>(y * size + x)];
      // Stored straight (not premultiplied): colour divided by the alpha.
      const double a = pixel.a;
      const auto channel = [a](double value) {
        return static_cast<uint8_t>(a > 0 ? std::clamp(std::lround(value / a), 0L, 255L) : 0);
      };
      out.push_back(channel(pixel.b));
      out.push_back(channel(pixel.g));
      out.push_back(channel(pixel.r));
      out.push_back(static_cast<uint8_t>(std::lround(a * 255)));
    }
  }
  for (int y = size - 1; y >= 0; --y) {
    std::vector<uint8_t> row(mask_row, 0);
    for (int x = 0; x < size; ++x) {
      if (pixels[static_cast<size_t>(y * size + x)].a < 0.5) {
        row[static_cast<size_t>(x / 8)] |= static_cast<uint8_t>(0x80 >> (x % 8));
      }
    }
    out.insert(out.end(), row.begin(), row.end());
  }
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_icon OUTPUT.ico\n");
    return 2;
  }
  constexpr int kSizes[] = {16, 32, 48};
  std::vector<std::vector<uint8_t>> images;
  for (int size : kSizes) images.push_back(Image(size));
  std::vector<uint8_t> file;
  Put16(file, 0);  // reserved
  Put16(file, 1);  // an icon
  Put16(file, static_cast<uint32_t>(images.size()));
  uint32_t offset = 6 + 16 * static_cast<uint32_t>(images.size());
  for (size_t i = 0; i < images.size(); ++i) {
    file.push_back(static_cast<uint8_t>(kSizes[i]));
    file.push_back(static_cast<uint8_t>(kSizes[i]));
    file.push_back(0);  // no palette
    file.push_back(0);
    Put16(file, 1);   // planes
    Put16(file, 32);  // bits per pixel
    Put32(file, static_cast<uint32_t>(images[i].size()));
    Put32(file, offset);
    offset += static_cast<uint32_t>(images[i].size());
  }
  for (const auto& image : images) file.insert(file.end(), image.begin(), image.end());
  std::ofstream out(argv[1], std::ios::binary);
  out.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
  out.close();
  if (!out) {
    std::fprintf(stderr, "make_icon: cannot write %s\n", argv[1]);
    return 1;
  }
  return 0;
}
