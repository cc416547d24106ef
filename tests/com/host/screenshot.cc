#include "screenshot.h"

#include <algorithm>
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

// Deflate (one block with the fixed Huffman codes) with a greedy LZ77
// search over a 32 KiB window: a window's picture, of large flat areas and
// repeated rows, shrinks to a few per cent.
class Deflater {
 public:
  std::vector<uint8_t> Compress(const std::vector<uint8_t>& data) {
    PutBits(1, 1);  // the last block
    PutBits(1, 2);  // fixed codes
    constexpr size_t kWindow = 32768, kMaxLength = 258, kMaxChain = 48;
    constexpr size_t kHashSize = 1u << 15;
    std::vector<int64_t> head(kHashSize, -1);
    std::vector<int64_t> previous(data.size(), -1);
    auto hash = [&](size_t at) {
      return ((data[at] << 10) ^ (data[at + 1] << 5) ^ data[at + 2]) & (kHashSize - 1);
    };
    auto remember = [&](size_t at) {
      if (at + 2 >= data.size()) return;
      const size_t h = hash(at);
      previous[at] = head[h];
      head[h] = static_cast<int64_t>(at);
    };
    size_t at = 0;
    while (at < data.size()) {
      size_t best_length = 0, best_distance = 0;
      if (at + 2 < data.size()) {
        const size_t limit = std::min(kMaxLength, data.size() - at);
        int64_t candidate = head[hash(at)];
        for (size_t chain = 0; candidate >= 0 && chain < kMaxChain; ++chain) {
          const size_t from = static_cast<size_t>(candidate);
          if (at - from > kWindow) break;
          size_t length = 0;
          while (length < limit && data[from + length] == data[at + length]) ++length;
          if (length > best_length) {
            best_length = length;
            best_distance = at - from;
            if (length == limit) break;
          }
          candidate = previous[from];
        }
      }
      if (best_length >= 3) {
        PutLength(best_length);
        PutDistance(best_distance);
        for (size_t i = 0; i < best_length; ++i) remember(at + i);
        at += best_length;
      } else {
        PutSymbol(data[at]);
        remember(at);
        ++at;
      }
    }
    PutSymbol(256);  // end of block
    if (bit_count_ > 0) out_.push_back(static_cast<uint8_t>(bits_));
    return std::move(out_);
  }

 private:
  void PutBits(uint32_t value, int count) {
    bits_ |= value << bit_count_;
    bit_count_ += count;
    while (bit_count_ >= 8) {
      out_.push_back(static_cast<uint8_t>(bits_));
      bits_ >>= 8;
      bit_count_ -= 8;
    }
  }
  // Huffman codes go most significant bit first.
  void PutCode(uint32_t code, int length) {
    uint32_t reversed = 0;
    for (int i = 0; i < length; ++i) reversed |= ((code >> i) & 1u) << (length - 1 - i);
    PutBits(reversed, length);
  }
  void PutSymbol(uint32_t symbol) {
    if (symbol < 144) PutCode(0x30 + symbol, 8);
    else if (symbol < 256) PutCode(0x190 + symbol - 144, 9);
    else if (symbol < 280) PutCode(symbol - 256, 7);
    else PutCode(0xC0 + symbol - 280, 8);
  }
  void PutLength(size_t length) {
    static const uint16_t kBase[] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                     31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
    static const uint8_t kExtra[] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                     2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
    int code = 28;
    while (kBase[code] > length) --code;
    PutSymbol(257 + static_cast<uint32_t>(code));
    PutBits(static_cast<uint32_t>(length - kBase[code]), kExtra[code]);
  }
  void PutDistance(size_t distance) {
    static const uint16_t kBase[] = {1,    2,    3,    4,    5,    7,     9,     13,    17,   25,
                                     33,   49,   65,   97,   129,  193,   257,   385,   513,  769,
                                     1025, 1537, 2049, 3073, 4097, 6145,  8193,  12289, 16385,
                                     24577};
    int code = 29;
    while (kBase[code] > distance) --code;
    PutCode(static_cast<uint32_t>(code), 5);
    PutBits(static_cast<uint32_t>(distance - kBase[code]), code < 4 ? 0 : code / 2 - 1);
  }

  std::vector<uint8_t> out_;
  uint32_t bits_ = 0;
  int bit_count_ = 0;
};

// A PNG of 8-bit RGB rows, unfiltered.
std::vector<uint8_t> EncodePng(int width, int height, const std::vector<uint8_t>& rgb) {
  std::vector<uint8_t> raw;
  const size_t row = static_cast<size_t>(width) * 3;
  for (int y = 0; y < height; ++y) {
    raw.push_back(0);  // no filter
    raw.insert(raw.end(), rgb.begin() + static_cast<std::ptrdiff_t>(y * row),
               rgb.begin() + static_cast<std::ptrdiff_t>((y + 1) * row));
  }
  std::vector<uint8_t> zlib = {0x78, 0x01};
  const std::vector<uint8_t> deflated = Deflater().Compress(raw);
  zlib.insert(zlib.end(), deflated.begin(), deflated.end());
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

// Waits about `milliseconds` while the thread's display connection is
// served (window contents flushed, events read), without taking any of the
// thread's messages.
void LetTheDisplayCatchUp(DWORD milliseconds) {
  const DWORD start = ::GetTickCount();
  while (::GetTickCount() - start < milliseconds) {
    ::MsgWaitForMultipleObjectsEx(0, nullptr, 10, QS_ALLINPUT, 0);
    ::Sleep(5);
  }
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
  std::vector<uint8_t> rgb;
  if (ok) {
    HGDIOBJ old = ::SelectObject(memory, bitmap);
    // What the screen shows where the windows are, after they have drawn
    // themselves anew, frame and children included. Wine hands what a window
    // draws to the display a little later: the screen is read until two
    // readings a moment apart agree.
    for (HWND window : windows) {
      ::RedrawWindow(window, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    }
    std::vector<uint8_t> previous;
    bool stable = false;
    for (int reading = 0; ok && !stable && reading < 20; ++reading) {
      LetTheDisplayCatchUp(100);
      ok = ::BitBlt(memory, 0, 0, width, height, screen, bounds.left, bounds.top, SRCCOPY) !=
           FALSE;
      ::GdiFlush();
      const auto* pixels = static_cast<const uint8_t*>(bits);
      rgb.clear();
      rgb.reserve(static_cast<size_t>(width) * height * 3);
      for (int i = 0; i < width * height; ++i) {
        const uint8_t* bgra = pixels + static_cast<size_t>(i) * 4;
        rgb.insert(rgb.end(), {bgra[2], bgra[1], bgra[0]});
      }
      stable = rgb == previous;
      previous = rgb;
    }
    ok = ok && stable;
    ::SelectObject(memory, old);
  }
  if (ok && distinct_colours != nullptr) {
    std::set<uint32_t> colours;
    for (size_t i = 0; i + 2 < rgb.size(); i += 3) {
      colours.insert(static_cast<uint32_t>(rgb[i]) | (rgb[i + 1] << 8) | (rgb[i + 2] << 16));
    }
    *distinct_colours = colours.size();
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
