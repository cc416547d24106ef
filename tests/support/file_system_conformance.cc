// The tests of the file-system contract; instantiated per implementation.
#include "support/file_system_conformance.h"

#include <filesystem>

#include "util/error.h"

namespace kdzv::test {

int32_t FileSystemConformance::AppendError(const std::string& path) {
  try {
    fs->AppendToFile(path, "x");
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

std::string FileSystemConformance::InFolder(std::string_view folder,
                                            std::string_view name) const {
  return (std::filesystem::path(dir.File(folder)) / std::filesystem::path(name)).string();
}

namespace {

TEST_P(FileSystemConformance, AppendCreatesAndAppendsBytesAsGiven) {
  const std::string path = dir.File("kdZentavo.log");
  fs->AppendToFile(path, "eins\r\n");
  fs->AppendToFile(path, "zwei\r\n");
  fs->AppendToFile(path, "");
  fs->AppendToFile(path, std::string("drei\n\0\xC3\xA4", 8));
  EXPECT_EQ(ReadFileBytes(path), std::string("eins\r\nzwei\r\ndrei\n\0\xC3\xA4", 20));
}

TEST_P(FileSystemConformance, AppendKeepsWhatTheFileHeld) {
  const std::string path = dir.File("kdZentavo.log");
  WriteFileBytes(path, "alt\n");
  fs->AppendToFile(path, "neu\r\n");
  EXPECT_EQ(ReadFileBytes(path), "alt\nneu\r\n");
}

TEST_P(FileSystemConformance, MissingFolderIsPathNotFound) {
  EXPECT_EQ(AppendError(InFolder("missing", "kdZentavo.log")), 76);
  EXPECT_FALSE(std::filesystem::exists(dir.File("missing")));
}

TEST_P(FileSystemConformance, AFolderInsteadOfAFileIsRefused) {
  EXPECT_NE(AppendError(dir.path()), 0);
}

TEST_P(FileSystemConformance, AFileInsteadOfAFolderIsPathNotFound) {
  WriteFileBytes(dir.File("plain"), "");
  EXPECT_EQ(AppendError(InFolder("plain", "kdZentavo.log")), 76);
  EXPECT_EQ(ReadFileBytes(dir.File("plain")), "");
}

TEST_P(FileSystemConformance, EmptyPathIsAnError) { EXPECT_NE(AppendError(""), 0); }

TEST_P(FileSystemConformance, WriteTextFileReplacesTheFile) {
  const std::string path = dir.File("HX1_1.xml");
  WriteFileBytes(path, "a much longer old content\r\n");
  fs->WriteTextFile(path, "<a/>\r\n");
  EXPECT_EQ(ReadFileBytes(path), "<a/>\r\n");
}

TEST_P(FileSystemConformance, WriteTextFileUsesTheSingleByteCodePage) {
  const std::string path = dir.File("HX1_1.xml");
  // e acute, euro sign, a with macron (not in the code page), u umlaut.
  fs->WriteTextFile(path, "Caf\xC3\xA9 \xE2\x82\xAC \xC4\x81 \xC3\xBC");
  EXPECT_EQ(ReadFileBytes(path), "Caf\xE9 \x80 ? \xFC");
}

TEST_P(FileSystemConformance, WriteTextFileIntoAMissingFolderIsPathNotFound) {
  try {
    fs->WriteTextFile(InFolder("missing", "HX1_1.xml"), "x");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
  }
}

}  // namespace
}  // namespace kdzv::test
