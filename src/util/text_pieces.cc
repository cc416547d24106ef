#include "util/text_pieces.h"

namespace kdzv {

size_t TextPieceEnd(std::string_view text, size_t from, size_t piece_bytes) {
  // At least one byte per piece, so that every call moves on.
  size_t end = from + (piece_bytes == 0 ? 1 : piece_bytes);
  if (end >= text.size()) return text.size();
  while (end < text.size() && static_cast<unsigned char>(text[end]) >= 0x80) ++end;
  return end;
}

}  // namespace kdzv
