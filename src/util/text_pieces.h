// Cutting a long UTF-8 text into pieces for a conversion that goes piece by
// piece (a message file written in its code page without a second copy of
// the whole text).
//
// A piece ends right before an ASCII byte or at the text's end. An ASCII
// byte is never part of a multi-byte sequence, and a malformed sequence is
// malformed up to it either way, so converting the pieces one after another
// gives what converting the whole text gives.
#ifndef KDZV_UTIL_TEXT_PIECES_H_
#define KDZV_UTIL_TEXT_PIECES_H_

#include <cstddef>
#include <string_view>

namespace kdzv {

// The end of the piece of `text` that starts at `from`: the first position
// at or after from + `piece_bytes` that holds an ASCII byte, or the text's
// size. A text without ASCII bytes past that point is one piece.
size_t TextPieceEnd(std::string_view text, size_t from, size_t piece_bytes);

// Calls `each(piece)` for the pieces of `text` in order; an empty text has
// no piece.
template <typename Each>
void ForEachTextPiece(std::string_view text, size_t piece_bytes, Each&& each) {
  for (size_t from = 0; from < text.size();) {
    const size_t end = TextPieceEnd(text, from, piece_bytes);
    each(text.substr(from, end - from));
    from = end;
  }
}

}  // namespace kdzv

#endif  // KDZV_UTIL_TEXT_PIECES_H_
