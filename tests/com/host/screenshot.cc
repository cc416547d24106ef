#include "screenshot.h"

#include <cstdint>
#include <fstream>
#include <set>
#include <vector>

namespace kdzv::host {
namespace {

uint32_t Crc32(const uint8_t* data, size_t size, uint32_t crc = 0) {
  crc = ~crc;
  for (size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

void PutBig32(std::vector<uint8_t>& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

void Chunk(std::vector<uint8_t>& png, const char* type, const std::vector<uint8_t>& data) {
  PutBig32(png, static_cast<uint32_t>(data.size()));
  std::vector<uint8_t> typed(type, type + 4);
  typed.insert(typed.end(), data.begin(), data.end());
  png.insert(png.end(), typed.begin(), typed.end());
  PutBig32(png, Crc32(typed.data(), typed.size()));
}

// A PNG of 8-bit RGB rows; the image data is deflated without compression
// (stored blocks), which every reader takes.
std::vector<uint8_t> EncodePng(int width, int height, const std::vector<uint8_t>& rgb) {
  std::vector<uint8_t> raw;
  const size_t row = static_cast<size_t>(width) * 3;
  for (int y = 0; y < height; ++y) {
    raw.push_back(0);  // no filter
    raw.insert(raw.end(), rgb.begin() + static_cast<std::ptrdiff_t>(y * row),
               rgb.begin() + static_cast<std::ptrdiff_t>((y + 1) * row));
  }
  std::vector<uint8_t> zlib = {0x78, 0x01};
  for (size_t at = 0; at < raw.size() || at == 0; at += 65535) {
    const size_t length = std::min<size_t>(65535, raw.size() - at);
    const bool last = at + length >= raw.size();
    zlib.push_back(last ? 1 : 0);
    zlib.push_back(static_cast<uint8_t>(length));
    zlib.push_back(static_cast<uint8_t>(length >> 8));
    zlib.push_back(static_cast<uint8_t>(~length));
    zlib.push_back(static_cast<uint8_t>(~length >> 8));
    zlib.insert(zlib.end(), raw.begin() + static_cast<std::ptrdiff_t>(at),
                raw.begin() + static_cast<std::ptrdiff_t>(at + length));
    if (last) break;
  }
  uint32_t a = 1, b = 0;
  for (uint8_t byte : raw) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  PutBig32(zlib, (b << 16) | a);

  std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<uint8_t> header;
  PutBig32(header, static_cast<uint32_t>(width));
  PutBig32(header, static_cast<uint32_t>(height));
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB
  Chunk(png, "IHDR", header);
  Chunk(png, "IDAT", zlib);
  Chunk(png, "IEND", {});
  return png;
}

int CALLBACK NoteFound(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found) {
  *reinterpret_cast<bool*>(found) = true;
  return 0;
}

}  // namespace

bool FontInstalled(const wchar_t* face) {
  LOGFONTW wanted = {};
  wanted.lfCharSet = DEFAULT_CHARSET;
  ::lstrcpynW(wanted.lfFaceName, face, LF_FACESIZE);
  bool found = false;
  HDC screen = ::GetDC(nullptr);
  ::EnumFontFamiliesExW(screen, &wanted, NoteFound, reinterpret_cast<LPARAM>(&found), 0);
  ::ReleaseDC(nullptr, screen);
  return found;
}

bool SaveWindowPicture(HWND window, const std::wstring& path, size_t* distinct_colours) {
  return SaveWindowsPicture({window}, path, distinct_colours);
}

bool SaveWindowsPicture(std::initializer_list<HWND> windows, const std::wstring& path,
                        size_t* distinct_colours) {
  if (distinct_colours != nullptr) *distinct_colours = 0;
  // Without the symbol font the caption's buttons are drawn as the letters
  // that stand for their symbols ("0", "1", "r"): no picture is taken.
  if (!FontInstalled(L"Marlett")) return false;
  RECT bounds = {};
  for (HWND window : windows) {
    RECT one;
    if (!::GetWindowRect(window, &one)) return false;
    if (::IsRectEmpty(&bounds)) {
      bounds = one;
    } else {
      ::UnionRect(&bounds, &bounds, &one);
    }
  }
  const int width = bounds.right - bounds.left;
  const int height = bounds.bottom - bounds.top;
  if (width <= 0 || height <= 0) return false;
  HDC screen = ::GetDC(nullptr);
  HDC memory = ::CreateCompatibleDC(screen);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // top row first
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = ::CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  bool ok = bitmap != nullptr;
  if (ok) {
    HGDIOBJ old = ::SelectObject(memory, bitmap);
    // What the screen shows where the window is, after it has drawn itself
    // anew, frame and children included.
    for (HWND window : windows) {
      ::RedrawWindow(window, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    }
    ok = ::BitBlt(memory, 0, 0, width, height, screen, bounds.left, bounds.top, SRCCOPY) != FALSE;
    ::GdiFlush();
    ::SelectObject(memory, old);
  }
  std::vector<uint8_t> rgb;
  if (ok) {
    const auto* pixels = static_cast<const uint8_t*>(bits);
    std::set<uint32_t> colours;
    rgb.reserve(static_cast<size_t>(width) * height * 3);
    for (int i = 0; i < width * height; ++i) {
      const uint8_t* bgra = pixels + static_cast<size_t>(i) * 4;
      rgb.insert(rgb.end(), {bgra[2], bgra[1], bgra[0]});
      colours.insert(static_cast<uint32_t>(bgra[0]) | (bgra[1] << 8) | (bgra[2] << 16));
    }
    if (distinct_colours != nullptr) *distinct_colours = colours.size();
  }
  if (bitmap != nullptr) ::DeleteObject(bitmap);
  ::DeleteDC(memory);
  ::ReleaseDC(nullptr, screen);
  if (!ok) return false;
  const std::vector<uint8_t> png = EncodePng(width, height, rgb);
  std::ofstream out(path.c_str(), std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));
  return static_cast<bool>(out);
}

}  // namespace kdzv::host
