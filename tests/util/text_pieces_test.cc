#include "util/text_pieces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/windows_1252.h"

namespace kdzv {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> Pieces(std::string_view text, size_t piece_bytes) {
  std::vector<std::string> pieces;
  ForEachTextPiece(text, piece_bytes, [&](std::string_view piece) { pieces.emplace_back(piece); });
  return pieces;
}

TEST(TextPiecesTest, AnEmptyTextHasNoPiece) { EXPECT_TRUE(Pieces("", 4).empty()); }

TEST(TextPiecesTest, AsciiIsCutEveryPieceBytes) {
  EXPECT_THAT(Pieces("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
  EXPECT_THAT(Pieces("abc", 4), ElementsAre("abc"));
  EXPECT_THAT(Pieces("abcd", 4), ElementsAre("abcd"));
}

TEST(TextPiecesTest, APieceNeverEndsInsideASequence) {
  // "ab€c": the euro sign (E2 82 AC) would be cut at 3 and at 4.
  EXPECT_THAT(Pieces("ab\xE2\x82\xAC" "cd", 3), ElementsAre("ab\xE2\x82\xAC", "cd"));
  EXPECT_THAT(Pieces("abc\xC3\xBC\xC3\xA4xyz", 4), ElementsAre("abc\xC3\xBC\xC3\xA4", "xyz"));
}

TEST(TextPiecesTest, ATextWithoutAsciiAfterTheCutIsOnePiece) {
  EXPECT_THAT(Pieces("a\xC3\xBC\xC3\xBC\xC3\xBC", 2), ElementsAre("a\xC3\xBC\xC3\xBC\xC3\xBC"));
}

TEST(TextPiecesTest, AZeroPieceSizeStillMovesOn) {
  EXPECT_THAT(Pieces("abc", 0), ElementsAre("a", "b", "c"));
}

// Converted piece by piece, every text gives what it gives converted whole,
// malformed sequences and sequences cut by the text's end included.
TEST(TextPiecesTest, ConvertingThePiecesGivesTheWholeTextsConversion) {
  const std::string texts[] = {
      "<a>Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC 5</a>\r\n",
      "x\xC3(y\xE2\x82z\xF0\x9F\x98\x80w\xFF\x80\x80q\xED\xA0\x80r\xC0\xAFs",
      "\xE4\xB8\xAD\xE4\xB8\xAD" "a" "\xE2\x82",
      "end\xC3",
  };
  for (const std::string& text : texts) {
    for (size_t piece_bytes = 1; piece_bytes <= text.size() + 1; ++piece_bytes) {
      std::string converted;
      ForEachTextPiece(text, piece_bytes,
                       [&](std::string_view piece) { converted += Utf8ToWindows1252(piece); });
      EXPECT_EQ(converted, Utf8ToWindows1252(text)) << "pieces of " << piece_bytes;
    }
  }
}

}  // namespace
}  // namespace kdzv
