#include "platform/posix/posix_file_system.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "support/fakes.h"
#include "support/file_system_conformance.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

using test::ErrorOf;
using test::FileSystemConformance;

std::unique_ptr<FileSystem> MakePosixFileSystem() { return std::make_unique<PosixFileSystem>(); }

INSTANTIATE_TEST_SUITE_P(PosixFileSystem, FileSystemConformance,
                         ::testing::Values(test::FileSystemFactory{"PosixFileSystem",
                                                                   &MakePosixFileSystem}));

// Linux tells a folder apart: "Path/File access error".
TEST(PosixFileSystem, AFolderInsteadOfAFileIsPathFileAccessError) {
  test::TempDir dir;
  PosixFileSystem fs;
  try {
    fs.AppendToFile(dir.path(), "x");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 75);
  }
}

// Symbolic links in the exchange folders: never listed, never followed by
// a write, a copy, a move or the probe, and their targets never touched.
class PosixLinks : public ::testing::Test {
 protected:
  PosixLinks() {
    outside = elsewhere.File("precious.txt");
    test::WriteFileBytes(outside, "keep me");
  }
  void Link(const std::string& name, const std::string& target) {
    ASSERT_EQ(::symlink(target.c_str(), dir.File(name).c_str()), 0);
  }
  bool IsLink(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
  }
  test::TempDir dir;
  test::TempDir elsewhere;
  std::string outside;
  PosixFileSystem fs;
};

TEST_F(PosixLinks, ListFilesLeavesLinksOut) {
  test::WriteFileBytes(dir.File("HX1_2.xml"), "x");
  Link("to_file.xml", outside);
  Link("dangling.xml", elsewhere.File("nothing"));
  Link("to_folder", elsewhere.path());
  EXPECT_EQ(fs.ListFiles(dir.path()), std::vector<std::string>{"HX1_2.xml"});
}

TEST_F(PosixLinks, WriteTextFileReplacesALinkAndLeavesItsTarget) {
  Link("HX1_3.xml", outside);
  fs.WriteTextFile(dir.File("HX1_3.xml"), "<answer/>");
  EXPECT_FALSE(IsLink(dir.File("HX1_3.xml")));
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_3.xml")), "<answer/>");
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
}

TEST_F(PosixLinks, WriteTextFileOverADanglingLinkMakesNoFileElsewhere) {
  const std::string nowhere = elsewhere.File("made-through-the-link.xml");
  Link("HX1_1.xml", nowhere);
  fs.WriteTextFile(dir.File("HX1_1.xml"), "<opening/>");
  EXPECT_FALSE(std::filesystem::exists(nowhere));
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_1.xml")), "<opening/>");
}

TEST_F(PosixLinks, AppendToFileRefusesALink) {
  Link("kdZentavo.log", outside);
  EXPECT_NE(ErrorOf([&] { fs.AppendToFile(dir.File("kdZentavo.log"), "line\r\n"); }), 0);
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
}

TEST_F(PosixLinks, CopyAndMoveRefuseALinkAsTheirSource) {
  std::filesystem::create_directory(dir.File("Ablage"));
  Link("HX1_2.xml", outside);
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile(dir.File("HX1_2.xml"), dir.File("Ablage/a.xml")); }), 75);
  EXPECT_EQ(ErrorOf([&] { fs.MoveFile(dir.File("HX1_2.xml"), dir.File("Ablage/b.xml")); }), 75);
  EXPECT_TRUE(IsLink(dir.File("HX1_2.xml")));
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
  EXPECT_TRUE(test::FolderEntries(dir.File("Ablage")).empty());
}

TEST_F(PosixLinks, CopyFileReplacesALinkAtTheTarget) {
  test::WriteFileBytes(dir.File("HX1_2.xml"), "answer");
  Link("depot.xml", outside);
  fs.CopyFile(dir.File("HX1_2.xml"), dir.File("depot.xml"));
  EXPECT_FALSE(IsLink(dir.File("depot.xml")));
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
}

TEST_F(PosixLinks, DeleteFileRemovesTheLinkNotItsTarget) {
  Link("HX1_2.xml", outside);
  fs.DeleteFile(dir.File("HX1_2.xml"));
  EXPECT_FALSE(IsLink(dir.File("HX1_2.xml")));
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
}

TEST_F(PosixLinks, ListEntriesShowsLinksAsLinksWhateverTheyPointTo) {
  test::WriteFileBytes(dir.File("HX1_2.xml"), "x");
  Link("to_file.xml", outside);
  Link("dangling.xml", elsewhere.File("nothing"));
  Link("to_folder", elsewhere.path());
  std::map<std::string, FolderEntry::Kind> kinds;
  for (const FolderEntry& entry : fs.ListEntries(dir.path())) kinds[entry.name] = entry.kind;
  const std::map<std::string, FolderEntry::Kind> expected{
      {"HX1_2.xml", FolderEntry::Kind::kFile},
      {"dangling.xml", FolderEntry::Kind::kLink},
      {"to_file.xml", FolderEntry::Kind::kLink},
      {"to_folder", FolderEntry::Kind::kLink}};
  EXPECT_EQ(kinds, expected);
  const std::optional<FolderEntry> link = fs.EntryAt(dir.File("to_file.xml"));
  ASSERT_TRUE(link.has_value());
  EXPECT_EQ(link->kind, FolderEntry::Kind::kLink);
  EXPECT_EQ(link->size, 0u);
}

TEST_F(PosixLinks, RenameReplacingRefusesALinkAsItsSource) {
  Link("kdZentavo.log", outside);
  EXPECT_EQ(ErrorOf([&] { fs.RenameReplacing(dir.File("kdZentavo.log"), dir.File("a.log.1")); }),
            75);
  EXPECT_TRUE(IsLink(dir.File("kdZentavo.log")));
  EXPECT_EQ(test::ReadFileBytes(outside), "keep me");
}

TEST_F(PosixLinks, NoExclusiveAccessThroughALink) {
  Link("HX1_2.xml", outside);
  EXPECT_FALSE(fs.TryExclusiveAccess(dir.File("HX1_2.xml")));
}

TEST(PosixFileSystem, AppendToFileWritesUtf8AsItIs) {
  test::TempDir dir;
  PosixFileSystem fs;
  fs.AppendToFile(dir.File("kdZentavo.log"), "\xC3\xBC" "berpr\xC3\xBC" "fen\r\n");
  EXPECT_EQ(test::ReadFileBytes(dir.File("kdZentavo.log")), "\xC3\xBC" "berpr\xC3\xBC" "fen\r\n");
}

// A move between two file systems (the test folder and the shared-memory
// file system) copies and deletes, and still never replaces.
class PosixMoveAcross : public ::testing::Test {
 protected:
  void SetUp() override {
    struct stat a {};
    struct stat b {};
    if (::stat(dir.path().c_str(), &a) != 0 || ::stat("/dev/shm", &b) != 0 ||
        a.st_dev == b.st_dev || ::access("/dev/shm", W_OK) != 0) {
      GTEST_SKIP() << "no second file system to move to";
    }
    other = "/dev/shm/kdzv-move-" + std::to_string(::getpid());
    std::filesystem::create_directory(other);
  }
  void TearDown() override {
    if (!other.empty()) std::filesystem::remove_all(other);
  }
  test::TempDir dir;
  std::string other;
  PosixFileSystem fs;
};

TEST_F(PosixMoveAcross, MovesTheFile) {
  test::WriteFileBytes(dir.File("HX1_2.xml"), std::string(200000, 'x'));
  fs.MoveFile(dir.File("HX1_2.xml"), other + "/HX1_2.xml");
  EXPECT_FALSE(std::filesystem::exists(dir.File("HX1_2.xml")));
  EXPECT_EQ(test::ReadFileBytes(other + "/HX1_2.xml"), std::string(200000, 'x'));
  // No temporary file is left beside it.
  EXPECT_EQ(test::FolderEntries(other), std::vector<std::string>{"HX1_2.xml"});
}

TEST_F(PosixMoveAcross, NeverReplacesAFileOfThatName) {
  test::WriteFileBytes(dir.File("HX1_2.xml"), "new");
  test::WriteFileBytes(other + "/HX1_2.xml", "older");
  EXPECT_EQ(ErrorOf([&] { fs.MoveFile(dir.File("HX1_2.xml"), other + "/HX1_2.xml"); }), 58);
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_2.xml")), "new");
  EXPECT_EQ(test::ReadFileBytes(other + "/HX1_2.xml"), "older");
  EXPECT_EQ(test::FolderEntries(other), std::vector<std::string>{"HX1_2.xml"});
}

}  // namespace
}  // namespace kdzv::posix
