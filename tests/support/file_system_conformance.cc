// The tests of the file-system contract; instantiated per implementation.
#include "support/file_system_conformance.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "support/file_holder.h"
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

std::string FileSystemConformance::InFolder(std::string_view folder, std::string_view name) const {
  return (std::filesystem::path(dir.File(folder)) / std::filesystem::path(name)).string();
}

namespace {

namespace fsys = std::filesystem;

std::vector<std::string> Sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

const std::string kSeparator(1, static_cast<char>(fsys::path::preferred_separator));

// Takes the write permission (on Windows: sets the read-only attribute) from
// a file and gives it back when it goes out of scope, so that the test
// folder can be removed.
class ReadOnly {
 public:
  explicit ReadOnly(std::string path) : path_(std::move(path)) {
    fsys::permissions(
        path_, fsys::perms::owner_write | fsys::perms::group_write | fsys::perms::others_write,
        fsys::perm_options::remove);
  }
  ~ReadOnly() {
    std::error_code ignored;
    fsys::permissions(path_, fsys::perms::owner_write, fsys::perm_options::add, ignored);
  }
  ReadOnly(const ReadOnly&) = delete;
  ReadOnly& operator=(const ReadOnly&) = delete;

 private:
  std::string path_;
};

// (How a character beyond ASCII is written depends on the system's text
// files; the platforms' own tests check it.)
TEST_P(FileSystemConformance, AppendCreatesAndAppendsAsciiTextAsGiven) {
  const std::string path = dir.File("kdZentavo.log");
  fs->AppendToFile(path, "eins\r\n");
  fs->AppendToFile(path, "zwei\r\n");
  fs->AppendToFile(path, "");
  fs->AppendToFile(path, std::string("drei\n\0x", 7));
  EXPECT_EQ(ReadFileBytes(path), std::string("eins\r\nzwei\r\ndrei\n\0x", 19));
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

TEST_P(FileSystemConformance, WriteTextFilePartsWritesThePartsOneAfterAnother) {
  const std::string path = dir.File("HX1_1.xml");
  WriteFileBytes(path, "a much longer old content, longer than the new one\r\n");
  // Parts of several pieces each: a large text is converted piece by piece.
  const std::string long_part = "<a>" + std::string(200000, 'x') + "\xC3\xA9</a>";
  const std::string_view parts[] = {"<m>Caf\xC3\xA9 \xE2\x82\xAC", long_part, "", "<b>\xC4\x81</b></m>\r\n"};
  fs->WriteTextFileParts(path, parts);
  EXPECT_EQ(ReadFileBytes(path),
            "<m>Caf\xE9 \x80<a>" + std::string(200000, 'x') + "\xE9</a><b>?</b></m>\r\n");
}

TEST_P(FileSystemConformance, WriteTextFileIntoAMissingFolderIsPathNotFound) {
  try {
    fs->WriteTextFile(InFolder("missing", "HX1_1.xml"), "x");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
  }
}

TEST_P(FileSystemConformance, FolderExistsOnlyForAFolder) {
  WriteFileBytes(dir.File("HX1_2.xml"), "x");
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_TRUE(fs->FolderExists(dir.path()));
  EXPECT_TRUE(fs->FolderExists(dir.File("Ablage")));
  EXPECT_TRUE(fs->FolderExists(dir.path() + kSeparator));
  EXPECT_FALSE(fs->FolderExists(dir.File("HX1_2.xml")));
  EXPECT_FALSE(fs->FolderExists(dir.File("missing")));
  EXPECT_FALSE(fs->FolderExists(InFolder("missing", "deeper")));
  EXPECT_FALSE(fs->FolderExists(""));
}

TEST_P(FileSystemConformance, ListFilesNamesTheFilesOnly) {
  WriteFileBytes(dir.File("HX1_2.xml"), "<a/>");
  WriteFileBytes(dir.File("notiz.txt"), "");
  fsys::create_directory(dir.File("Ablage"));
  WriteFileBytes(InFolder("Ablage", "HX1_1.xml"), "<b/>");
  EXPECT_EQ(Sorted(fs->ListFiles(dir.path())),
            (std::vector<std::string>{"HX1_2.xml", "notiz.txt"}));
  EXPECT_EQ(fs->ListFiles(dir.File("Ablage")), std::vector<std::string>{"HX1_1.xml"});
}

TEST_P(FileSystemConformance, ListFilesTakesAFolderEndingInASeparator) {
  WriteFileBytes(dir.File("HX1_2.xml"), "");
  EXPECT_EQ(fs->ListFiles(dir.path() + kSeparator), std::vector<std::string>{"HX1_2.xml"});
}

TEST_P(FileSystemConformance, ListFilesOfAnEmptyFolderIsEmpty) {
  fsys::create_directory(dir.File("leer"));
  fsys::create_directory(InFolder("leer", "sub"));
  EXPECT_TRUE(fs->ListFiles(dir.File("leer")).empty());
}

TEST_P(FileSystemConformance, ListFilesOfAMissingFolderIsPathNotFound) {
  EXPECT_EQ(ErrorOf([&] { fs->ListFiles(dir.File("missing")); }), 76);
  EXPECT_EQ(ErrorOf([&] { fs->ListFiles(""); }), 76);
  WriteFileBytes(dir.File("plain"), "");
  EXPECT_EQ(ErrorOf([&] { fs->ListFiles(dir.File("plain")); }), 76);
}

TEST_P(FileSystemConformance, BuildPathAddsASeparatorOnlyWhereNeeded) {
  EXPECT_EQ(fs->BuildPath(dir.path(), "HX1_2.xml"), dir.File("HX1_2.xml"));
  EXPECT_EQ(fs->BuildPath("Download", "HX1_2.xml"), "Download" + kSeparator + "HX1_2.xml");
  EXPECT_EQ(fs->BuildPath("Download" + kSeparator, "HX1_2.xml"),
            "Download" + kSeparator + "HX1_2.xml");
  EXPECT_EQ(fs->BuildPath("Download/", "HX1_2.xml"), "Download/HX1_2.xml");
  EXPECT_EQ(fs->BuildPath("", "HX1_2.xml"), "HX1_2.xml");
  EXPECT_EQ(fs->BuildPath("Download", ""), "Download" + kSeparator);
}

TEST_P(FileSystemConformance, CopyFileCopiesTheBytes) {
  const std::string bytes("<?xml?>\r\n\0\xE4\xFF\n", 13);
  WriteFileBytes(dir.File("HX1_2.xml"), bytes);
  fsys::create_directory(dir.File("Ablage"));
  fs->CopyFile(dir.File("HX1_2.xml"), InFolder("Ablage", "HX1_2.xml"));
  EXPECT_EQ(ReadFileBytes(InFolder("Ablage", "HX1_2.xml")), bytes);
  EXPECT_EQ(ReadFileBytes(dir.File("HX1_2.xml")), bytes);
  // Nothing else is left in the target folder.
  EXPECT_EQ(FolderEntries(dir.File("Ablage")), std::vector<std::string>{"HX1_2.xml"});
}

TEST_P(FileSystemConformance, CopyFileCopiesALargeFile) {
  std::string bytes;
  for (int i = 0; i < 300000; ++i) bytes += static_cast<char>(i * 7 % 251);
  WriteFileBytes(dir.File("gross.xml"), bytes);
  fs->CopyFile(dir.File("gross.xml"), dir.File("kopie.xml"));
  EXPECT_EQ(ReadFileBytes(dir.File("kopie.xml")), bytes);
}

TEST_P(FileSystemConformance, CopyFileOverwritesAnExistingTarget) {
  WriteFileBytes(dir.File("HX1_2.xml"), "neu");
  fsys::create_directory(dir.File("Ablage"));
  WriteFileBytes(InFolder("Ablage", "HX1_2.xml"), "a much longer old content");
  fs->CopyFile(dir.File("HX1_2.xml"), InFolder("Ablage", "HX1_2.xml"));
  EXPECT_EQ(ReadFileBytes(InFolder("Ablage", "HX1_2.xml")), "neu");
  EXPECT_EQ(FolderEntries(dir.File("Ablage")), std::vector<std::string>{"HX1_2.xml"});
}

TEST_P(FileSystemConformance, CopyFileOverwritesAReadOnlyTarget) {
  WriteFileBytes(dir.File("HX1_2.xml"), "neu");
  const std::string target = dir.File("alt.xml");
  WriteFileBytes(target, "alt");
  ReadOnly guard(target);
  fs->CopyFile(dir.File("HX1_2.xml"), target);
  EXPECT_EQ(ReadFileBytes(target), "neu");
  EXPECT_EQ(ReadFileBytes(dir.File("HX1_2.xml")), "neu");
}

TEST_P(FileSystemConformance, CopyFileOfAMissingSourceIsFileNotFound) {
  EXPECT_EQ(ErrorOf([&] { fs->CopyFile(dir.File("missing.xml"), dir.File("x.xml")); }), 53);
  EXPECT_EQ(FolderEntries(dir.path()), std::vector<std::string>{});
}

TEST_P(FileSystemConformance, CopyFileIntoAMissingFolderIsPathNotFound) {
  WriteFileBytes(dir.File("HX1_2.xml"), "x");
  EXPECT_EQ(ErrorOf([&] { fs->CopyFile(dir.File("HX1_2.xml"), InFolder("missing", "a.xml")); }),
            76);
  EXPECT_EQ(FolderEntries(dir.path()), std::vector<std::string>{"HX1_2.xml"});
}

TEST_P(FileSystemConformance, CopyFileOntoAFolderIsPermissionDenied) {
  WriteFileBytes(dir.File("HX1_2.xml"), "x");
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_EQ(ErrorOf([&] { fs->CopyFile(dir.File("HX1_2.xml"), dir.File("Ablage")); }), 70);
  EXPECT_TRUE(fsys::is_directory(dir.File("Ablage")));
  EXPECT_EQ(Sorted(FolderEntries(dir.path())), (std::vector<std::string>{"Ablage", "HX1_2.xml"}));
}

TEST_P(FileSystemConformance, CopyFileOfAFolderIsPermissionDenied) {
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_EQ(ErrorOf([&] { fs->CopyFile(dir.File("Ablage"), dir.File("x.xml")); }), 70);
  EXPECT_FALSE(fsys::exists(dir.File("x.xml")));
}

TEST_P(FileSystemConformance, MoveFileMovesTheFile) {
  fsys::create_directory(dir.File("Ablage"));
  const std::string source = dir.File("HX1_2.xml");
  WriteFileBytes(source, "<a/>\r\n");
  fs->MoveFile(source, InFolder("Ablage", "HX1_2.xml"));
  EXPECT_FALSE(fsys::exists(source));
  EXPECT_EQ(ReadFileBytes(InFolder("Ablage", "HX1_2.xml")), "<a/>\r\n");
}

TEST_P(FileSystemConformance, MoveFileNeverReplacesAFileOfThatName) {
  fsys::create_directory(dir.File("Ablage"));
  const std::string source = dir.File("HX1_2.xml");
  WriteFileBytes(source, "new");
  WriteFileBytes(InFolder("Ablage", "HX1_2.xml"), "older");
  EXPECT_EQ(ErrorOf([&] { fs->MoveFile(source, InFolder("Ablage", "HX1_2.xml")); }), 58);
  // Both stay as they were.
  EXPECT_EQ(ReadFileBytes(source), "new");
  EXPECT_EQ(ReadFileBytes(InFolder("Ablage", "HX1_2.xml")), "older");
}

TEST_P(FileSystemConformance, MoveFileOntoAFolderOfThatNameIsRefused) {
  fsys::create_directory(dir.File("Ablage"));
  fsys::create_directory(InFolder("Ablage", "HX1_2.xml"));
  const std::string source = dir.File("HX1_2.xml");
  WriteFileBytes(source, "new");
  EXPECT_NE(ErrorOf([&] { fs->MoveFile(source, InFolder("Ablage", "HX1_2.xml")); }), 0);
  EXPECT_EQ(ReadFileBytes(source), "new");
}

TEST_P(FileSystemConformance, MoveFileOfAMissingSourceIsFileNotFound) {
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_EQ(ErrorOf([&] { fs->MoveFile(dir.File("HX1_2.xml"), InFolder("Ablage", "x.xml")); }),
            53);
}

TEST_P(FileSystemConformance, MoveFileIntoAMissingFolderIsPathNotFound) {
  const std::string source = dir.File("HX1_2.xml");
  WriteFileBytes(source, "x");
  EXPECT_EQ(ErrorOf([&] { fs->MoveFile(source, InFolder("missing", "HX1_2.xml")); }), 76);
  EXPECT_EQ(ReadFileBytes(source), "x");
}

TEST_P(FileSystemConformance, MoveFileTakesAReadOnlyFile) {
  fsys::create_directory(dir.File("Ablage"));
  const std::string source = dir.File("HX1_2.xml");
  WriteFileBytes(source, "x");
  {
    ReadOnly guard(source);
    fs->MoveFile(source, InFolder("Ablage", "HX1_2.xml"));
  }
  EXPECT_FALSE(fsys::exists(source));
  ReadOnly restore_later(InFolder("Ablage", "HX1_2.xml"));
  EXPECT_EQ(ReadFileBytes(InFolder("Ablage", "HX1_2.xml")), "x");
}

TEST_P(FileSystemConformance, DeleteFileRemovesTheFile) {
  WriteFileBytes(dir.File("HX1_2.xml"), "x");
  WriteFileBytes(dir.File("HX1_3.xml"), "y");
  fs->DeleteFile(dir.File("HX1_2.xml"));
  EXPECT_EQ(FolderEntries(dir.path()), std::vector<std::string>{"HX1_3.xml"});
}

TEST_P(FileSystemConformance, DeleteFileRemovesAReadOnlyFile) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "x");
  ReadOnly guard(path);
  fs->DeleteFile(path);
  EXPECT_FALSE(fsys::exists(path));
}

TEST_P(FileSystemConformance, DeleteFileOfAMissingFileIsFileNotFound) {
  EXPECT_EQ(ErrorOf([&] { fs->DeleteFile(dir.File("missing.xml")); }), 53);
  EXPECT_EQ(ErrorOf([&] { fs->DeleteFile(InFolder("missing", "a.xml")); }), 76);
}

TEST_P(FileSystemConformance, DeleteFileOfAFolderIsPermissionDenied) {
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_EQ(ErrorOf([&] { fs->DeleteFile(dir.File("Ablage")); }), 70);
  EXPECT_TRUE(fsys::is_directory(dir.File("Ablage")));
}

TEST_P(FileSystemConformance, ExclusiveAccessToAPlainFile) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "<a/>\r\n");
  EXPECT_TRUE(fs->TryExclusiveAccess(path));
  // The file was closed again and left as it was.
  EXPECT_TRUE(fs->TryExclusiveAccess(path));
  EXPECT_EQ(ReadFileBytes(path), "<a/>\r\n");
  fs->DeleteFile(path);
  EXPECT_FALSE(fsys::exists(path));
}

TEST_P(FileSystemConformance, NoExclusiveAccessToWhatIsNoFile) {
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_FALSE(fs->TryExclusiveAccess(dir.File("missing.xml")));
  EXPECT_FALSE(fs->TryExclusiveAccess(InFolder("missing", "a.xml")));
  EXPECT_FALSE(fs->TryExclusiveAccess(dir.File("Ablage")));
  EXPECT_FALSE(fs->TryExclusiveAccess(""));
  EXPECT_FALSE(fsys::exists(dir.File("missing.xml")));
}

TEST_P(FileSystemConformance, NoExclusiveAccessToAReadOnlyFile) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "x");
  {
    ReadOnly guard(path);
    EXPECT_FALSE(fs->TryExclusiveAccess(path));
  }
  EXPECT_TRUE(fs->TryExclusiveAccess(path));
}

TEST_P(FileSystemConformance, NoExclusiveAccessWhileAnotherHolderHasTheFile) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "<a/>");
  for (const auto lock : {FileHolder::Lock::kExclusive, FileHolder::Lock::kShared}) {
    FileHolder holder(path, lock);
    ASSERT_TRUE(holder.holding());
    EXPECT_FALSE(fs->TryExclusiveAccess(path));
    EXPECT_FALSE(fs->TryExclusiveAccess(path));
    holder.Release();
    EXPECT_TRUE(fs->TryExclusiveAccess(path));
  }
  EXPECT_EQ(ReadFileBytes(path), "<a/>");
}

TEST_P(FileSystemConformance, HeldOnlyWhileAnotherHolderHasTheFile) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "<a/>");
  EXPECT_FALSE(fs->HeldByAnotherProcess(path));
  for (const auto lock : {FileHolder::Lock::kExclusive, FileHolder::Lock::kShared}) {
    FileHolder holder(path, lock);
    ASSERT_TRUE(holder.holding());
    EXPECT_TRUE(fs->HeldByAnotherProcess(path));
    holder.Release();
    EXPECT_FALSE(fs->HeldByAnotherProcess(path));
  }
  EXPECT_EQ(ReadFileBytes(path), "<a/>");
}

TEST_P(FileSystemConformance, AReadOnlyFileThatNobodyHoldsIsNotHeld) {
  const std::string path = dir.File("HX1_2.xml");
  WriteFileBytes(path, "x");
  ReadOnly guard(path);
  EXPECT_FALSE(fs->TryExclusiveAccess(path));
  EXPECT_FALSE(fs->HeldByAnotherProcess(path));
}

TEST_P(FileSystemConformance, WhatIsNoFileIsNotHeld) {
  fsys::create_directory(dir.File("Ablage"));
  EXPECT_FALSE(fs->HeldByAnotherProcess(dir.File("missing.xml")));
  EXPECT_FALSE(fs->HeldByAnotherProcess(dir.File("Ablage")));
  EXPECT_FALSE(fs->HeldByAnotherProcess(""));
}

// --- Folder entries, entry information, renaming over a file ---

const FolderEntry* Named(const std::vector<FolderEntry>& entries, std::string_view name) {
  for (const FolderEntry& entry : entries) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

TEST_P(FileSystemConformance, ListEntriesGivesEveryEntryWithItsKindAndSize) {
  WriteFileBytes(dir.File("HX1_2.xml"), "12345");
  WriteFileBytes(dir.File("notes.txt"), "");
  fsys::create_directory(dir.File("alt"));
  WriteFileBytes(InFolder("alt", "HX1_4.xml"), "inner");
  const std::vector<FolderEntry> entries = fs->ListEntries(dir.path());
  ASSERT_EQ(entries.size(), 3u);
  const FolderEntry* message = Named(entries, "HX1_2.xml");
  const FolderEntry* notes = Named(entries, "notes.txt");
  const FolderEntry* folder = Named(entries, "alt");
  ASSERT_TRUE(message != nullptr && notes != nullptr && folder != nullptr);
  EXPECT_EQ(message->kind, FolderEntry::Kind::kFile);
  EXPECT_EQ(message->size, 5u);
  EXPECT_EQ(notes->kind, FolderEntry::Kind::kFile);
  EXPECT_EQ(notes->size, 0u);
  EXPECT_EQ(folder->kind, FolderEntry::Kind::kFolder);
  EXPECT_EQ(folder->size, 0u);
}

TEST_P(FileSystemConformance, ListEntriesGivesTheLastWriteInLocalTime) {
  const std::string fresh = dir.File("fresh.xml");
  const std::string old = dir.File("old.xml");
  WriteFileBytes(fresh, "x");
  WriteFileBytes(old, "x");
  using std::chrono::hours;
  fsys::last_write_time(old, fsys::last_write_time(fresh) - hours(24 * 10));
  const std::vector<FolderEntry> entries = fs->ListEntries(dir.path());
  const FolderEntry* fresh_entry = Named(entries, "fresh.xml");
  const FolderEntry* old_entry = Named(entries, "old.xml");
  ASSERT_TRUE(fresh_entry != nullptr && old_entry != nullptr);
  // Ten days apart, give or take a change of daylight-saving time.
  const double days = fresh_entry->last_write.serial() - old_entry->last_write.serial();
  EXPECT_NEAR(days, 10.0, 1.0 / 24 + 1e-6);
  EXPECT_GT(fresh_entry->last_write.serial(), 40000.0);  // after 2009
  const std::optional<FolderEntry> again = fs->EntryAt(fresh);
  ASSERT_TRUE(again.has_value());
  EXPECT_EQ(again->last_write, fresh_entry->last_write);
}

TEST_P(FileSystemConformance, ListEntriesOfAMissingFolderIsPathNotFound) {
  EXPECT_EQ(ErrorOf([&] { fs->ListEntries(dir.File("missing")); }), 76);
  EXPECT_EQ(ErrorOf([&] { fs->ListEntries(""); }), 76);
  EXPECT_TRUE(fs->ListEntries(dir.path()).empty());
}

TEST_P(FileSystemConformance, EntryAtDescribesWhatIsThere) {
  WriteFileBytes(dir.File("kdZentavo.log"), "abc\r\n");
  fsys::create_directory(dir.File("Ablage"));
  const std::optional<FolderEntry> file = fs->EntryAt(dir.File("kdZentavo.log"));
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(file->kind, FolderEntry::Kind::kFile);
  EXPECT_EQ(file->size, 5u);
  const std::optional<FolderEntry> folder = fs->EntryAt(dir.File("Ablage"));
  ASSERT_TRUE(folder.has_value());
  EXPECT_EQ(folder->kind, FolderEntry::Kind::kFolder);
  EXPECT_FALSE(fs->EntryAt(dir.File("missing.log")).has_value());
  EXPECT_FALSE(fs->EntryAt(InFolder("missing", "a.log")).has_value());
  EXPECT_FALSE(fs->EntryAt("").has_value());
}

TEST_P(FileSystemConformance, RenameReplacingReplacesAnOlderFile) {
  const std::string log = dir.File("kdZentavo.log");
  const std::string older = dir.File("kdZentavo.log.1");
  WriteFileBytes(log, "new");
  fs->RenameReplacing(log, older);
  EXPECT_FALSE(fsys::exists(log));
  EXPECT_EQ(ReadFileBytes(older), "new");
  WriteFileBytes(log, "newer");
  fs->RenameReplacing(log, older);
  EXPECT_FALSE(fsys::exists(log));
  EXPECT_EQ(ReadFileBytes(older), "newer");
}

TEST_P(FileSystemConformance, RenameReplacingFailsWithoutHarm) {
  const std::string log = dir.File("kdZentavo.log");
  EXPECT_EQ(ErrorOf([&] { fs->RenameReplacing(log, dir.File("x.log.1")); }), 53);
  WriteFileBytes(log, "keep");
  fsys::create_directory(dir.File("busy"));
  EXPECT_NE(ErrorOf([&] { fs->RenameReplacing(log, dir.File("busy")); }), 0);
  EXPECT_EQ(ErrorOf([&] { fs->RenameReplacing(log, InFolder("missing", "x.log.1")); }), 76);
  EXPECT_EQ(ReadFileBytes(log), "keep");
  EXPECT_TRUE(fsys::is_directory(dir.File("busy")));
}

}  // namespace
}  // namespace kdzv::test
