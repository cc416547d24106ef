#include "platform/win32/win32_error.h"

#include <gtest/gtest.h>

#include "util/error.h"

namespace kdzv::win32 {
namespace {

TEST(Win32ErrorTest, MapsSystemErrorsToFileErrors) {
  EXPECT_EQ(FileErrorNumber(ERROR_FILE_NOT_FOUND), 53);
  EXPECT_EQ(FileErrorNumber(ERROR_PATH_NOT_FOUND), 76);
  EXPECT_EQ(FileErrorNumber(ERROR_BAD_NETPATH), 76);
  EXPECT_EQ(FileErrorNumber(ERROR_ACCESS_DENIED), 70);
  EXPECT_EQ(FileErrorNumber(ERROR_SHARING_VIOLATION), 70);
  EXPECT_EQ(FileErrorNumber(ERROR_DISK_FULL), 61);
  EXPECT_EQ(FileErrorNumber(ERROR_WRITE_FAULT), 57);
  EXPECT_EQ(FileErrorNumber(ERROR_INVALID_NAME), 52);
  EXPECT_EQ(FileErrorNumber(ERROR_NOT_ENOUGH_MEMORY), 7);
  EXPECT_EQ(FileErrorNumber(ERROR_INVALID_PARAMETER), 75);
  EXPECT_EQ(FileErrorNumber(ERROR_SUCCESS), 75);
}

TEST(Win32ErrorTest, RaisesWithTheStandardDescription) {
  try {
    RaiseFileError(ERROR_PATH_NOT_FOUND, "WriteString");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
    EXPECT_EQ(e.description(), "Path not found");
    EXPECT_EQ(e.source(), "WriteString");
  }
  try {
    RaiseFileError(ERROR_ACCESS_DENIED, "x");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 70);
    EXPECT_EQ(e.description(), "Permission denied");
  }
}

}  // namespace
}  // namespace kdzv::win32
