// The in-memory file system that the core's tests use behaves like the
// real ones in everything those tests rely on.
#include "support/fakes.h"
#include "support/memory_file_system.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/error.h"

namespace kdzv::test {
namespace {

class MemoryFileSystemTest : public ::testing::Test {
 protected:
  MemoryFileSystemTest() {
    fs.folders = {"/dl", "/dl/sub", "/ablage"};
    fs.files = {{"/dl/HX1_2.xml", "<a/>"}, {"/dl/HX1_3.xml", "<b/>"}, {"/dl/sub/x.xml", "x"}};
  }
  MemoryFileSystem fs;
};

TEST_F(MemoryFileSystemTest, FolderExistsOnlyForAFolder) {
  EXPECT_TRUE(fs.FolderExists("/dl"));
  EXPECT_TRUE(fs.FolderExists("/dl/sub"));
  EXPECT_FALSE(fs.FolderExists("/dl/HX1_2.xml"));
  EXPECT_FALSE(fs.FolderExists("/missing"));
  EXPECT_FALSE(fs.FolderExists(""));
  fs.failures["/ablage"] = 76;
  EXPECT_FALSE(fs.FolderExists("/ablage"));
}

TEST_F(MemoryFileSystemTest, ListFilesNamesTheFilesDirectlyInTheFolder) {
  EXPECT_EQ(fs.ListFiles("/dl"), (std::vector<std::string>{"HX1_2.xml", "HX1_3.xml"}));
  EXPECT_EQ(fs.ListFiles("/dl/"), (std::vector<std::string>{"HX1_2.xml", "HX1_3.xml"}));
  EXPECT_EQ(fs.ListFiles("/dl/sub"), std::vector<std::string>{"x.xml"});
  EXPECT_TRUE(fs.ListFiles("/ablage").empty());
}

TEST_F(MemoryFileSystemTest, ListFilesOfAMissingFolderIsPathNotFound) {
  EXPECT_EQ(ErrorOf([&] { fs.ListFiles("/missing"); }), 76);
  EXPECT_EQ(ErrorOf([&] { fs.ListFiles(""); }), 76);
  fs.failures["/dl"] = 75;
  EXPECT_EQ(ErrorOf([&] { fs.ListFiles("/dl"); }), 75);
}

TEST_F(MemoryFileSystemTest, BuildPathUsesTheSlash) {
  EXPECT_EQ(fs.BuildPath("/dl", "HX1_2.xml"), "/dl/HX1_2.xml");
  EXPECT_EQ(fs.BuildPath("/dl/", "HX1_2.xml"), "/dl/HX1_2.xml");
  EXPECT_EQ(fs.BuildPath("", "HX1_2.xml"), "HX1_2.xml");
}

TEST_F(MemoryFileSystemTest, CopyFileCopiesAndOverwrites) {
  fs.files["/ablage/HX1_2.xml"] = "a much longer old content";
  fs.readonly.insert("/ablage/HX1_2.xml");
  fs.CopyFile("/dl/HX1_2.xml", "/ablage/HX1_2.xml");
  EXPECT_EQ(fs.files.at("/ablage/HX1_2.xml"), "<a/>");
  EXPECT_EQ(fs.files.at("/dl/HX1_2.xml"), "<a/>");
  EXPECT_EQ(fs.readonly.count("/ablage/HX1_2.xml"), 0u);
  EXPECT_TRUE(fs.TryExclusiveAccess("/ablage/HX1_2.xml"));
  EXPECT_EQ(fs.copies, 1);
}

TEST_F(MemoryFileSystemTest, CopyFileErrors) {
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/missing.xml", "/ablage/a.xml"); }), 53);
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/HX1_2.xml", "/missing/a.xml"); }), 76);
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/HX1_2.xml", "/dl/sub"); }), 70);
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/sub", "/ablage/a.xml"); }), 70);
  fs.failures["/ablage/HX1_3.xml"] = 70;
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/HX1_3.xml", "/ablage/HX1_3.xml"); }), 70);
  fs.failures["/dl/HX1_2.xml"] = 57;
  EXPECT_EQ(ErrorOf([&] { fs.CopyFile("/dl/HX1_2.xml", "/ablage/HX1_2.xml"); }), 57);
  EXPECT_EQ(fs.files.count("/ablage/HX1_2.xml") + fs.files.count("/ablage/HX1_3.xml") +
                fs.files.count("/ablage/a.xml") + fs.files.count("/missing/a.xml"),
            0u);
}

TEST_F(MemoryFileSystemTest, DeleteFileRemovesReadOnlyFilesToo) {
  fs.readonly.insert("/dl/HX1_2.xml");
  fs.DeleteFile("/dl/HX1_2.xml");
  fs.DeleteFile("/dl/HX1_3.xml");
  EXPECT_EQ(fs.files.count("/dl/HX1_2.xml") + fs.files.count("/dl/HX1_3.xml"), 0u);
  EXPECT_TRUE(fs.readonly.empty());
  EXPECT_EQ(fs.deletes, 2);
}

TEST_F(MemoryFileSystemTest, DeleteFileErrors) {
  EXPECT_EQ(ErrorOf([&] { fs.DeleteFile("/dl/missing.xml"); }), 53);
  EXPECT_EQ(ErrorOf([&] { fs.DeleteFile("/missing/a.xml"); }), 76);
  EXPECT_EQ(ErrorOf([&] { fs.DeleteFile("/dl/sub"); }), 70);
  fs.failures["/dl/HX1_2.xml"] = 70;
  EXPECT_EQ(ErrorOf([&] { fs.DeleteFile("/dl/HX1_2.xml"); }), 70);
  EXPECT_EQ(fs.files.count("/dl/HX1_2.xml"), 1u);
  EXPECT_TRUE(fs.folders.count("/dl/sub"));
}

TEST_F(MemoryFileSystemTest, ExclusiveAccess) {
  EXPECT_TRUE(fs.TryExclusiveAccess("/dl/HX1_2.xml"));
  EXPECT_FALSE(fs.TryExclusiveAccess("/dl/missing.xml"));
  EXPECT_FALSE(fs.TryExclusiveAccess("/dl/sub"));
  fs.held.insert("/dl/HX1_2.xml");
  EXPECT_FALSE(fs.TryExclusiveAccess("/dl/HX1_2.xml"));
  fs.held.clear();
  EXPECT_TRUE(fs.TryExclusiveAccess("/dl/HX1_2.xml"));
  fs.readonly.insert("/dl/HX1_3.xml");
  EXPECT_FALSE(fs.TryExclusiveAccess("/dl/HX1_3.xml"));
  fs.failures["/dl/HX1_2.xml"] = 70;
  EXPECT_FALSE(fs.TryExclusiveAccess("/dl/HX1_2.xml"));
  EXPECT_EQ(fs.probes, 7);
}

TEST_F(MemoryFileSystemTest, WritingStillWorks) {
  fs.AppendToFile("/dl/log", "a");
  fs.AppendToFile("/dl/log", "b");
  fs.WriteTextFile("/dl/HX1_3.xml", "neu");
  EXPECT_EQ(fs.files.at("/dl/log"), "ab");
  EXPECT_EQ(fs.files.at("/dl/HX1_3.xml"), "neu");
  EXPECT_EQ(fs.appends, 2);
  fs.failures["/dl/log"] = 70;
  EXPECT_EQ(ErrorOf([&] { fs.AppendToFile("/dl/log", "c"); }), 70);
  EXPECT_EQ(ErrorOf([&] { fs.WriteTextFile("/dl/log", "c"); }), 70);
}

}  // namespace
}  // namespace kdzv::test
