// Run-time errors inside the component.
//
// Every procedure of the component traps its own failures and hands them to
// the error report (interface/error_report.h); nothing escapes to the host.
// Inside the core a failure travels as kdzv::Error, which carries the classic
// triple of an automation error: a number, a description and a source.
#ifndef KDZV_UTIL_ERROR_H_
#define KDZV_UTIL_ERROR_H_

#include <cstdint>
#include <exception>
#include <string>

namespace kdzv {

struct ErrorInfo {
  int32_t number = 0;
  std::string description;
  std::string source;
};

class Error : public std::exception {
 public:
  explicit Error(ErrorInfo info);
  const ErrorInfo& info() const { return info_; }
  int32_t number() const { return info_.number; }
  const std::string& description() const { return info_.description; }
  const std::string& source() const { return info_.source; }
  const char* what() const noexcept override { return info_.description.c_str(); }

 private:
  ErrorInfo info_;
};

// The numbers of the host language's standard run-time errors that the
// component raises itself.
namespace err {
inline constexpr int32_t kInvalidCall = 5;          // "Invalid procedure call or argument"
inline constexpr int32_t kOverflow = 6;             // "Overflow"
inline constexpr int32_t kOutOfMemory = 7;          // "Out of memory"
inline constexpr int32_t kSubscriptOutOfRange = 9;  // "Subscript out of range"
inline constexpr int32_t kTypeMismatch = 13;        // "Type mismatch"
inline constexpr int32_t kInternal = 51;            // "Internal error"
inline constexpr int32_t kBadFileNameOrNumber = 52; // "Bad file name or number"
inline constexpr int32_t kFileNotFound = 53;        // "File not found"
inline constexpr int32_t kFileAlreadyOpen = 55;     // "File already open"
inline constexpr int32_t kFileAlreadyExists = 58;   // "File already exists"
inline constexpr int32_t kDeviceIo = 57;            // "Device I/O error"
inline constexpr int32_t kDiskFull = 61;            // "Disk full"
inline constexpr int32_t kPermissionDenied = 70;    // "Permission denied"
inline constexpr int32_t kPathFileAccess = 75;      // "Path/File access error"
inline constexpr int32_t kPathNotFound = 76;        // "Path not found"
// "This key is already associated with an element of this collection"
inline constexpr int32_t kDuplicateKey = 457;
// Base of the numbers a component defines for its own errors.
inline constexpr int32_t kObjectError = -2147221504;
}  // namespace err

// The standard description of one of the numbers above ("" for others).
std::string StandardDescription(int32_t number);

[[noreturn]] void Raise(int32_t number, std::string description, std::string source = {});
// Raises a standard error with its standard description.
[[noreturn]] void RaiseStandard(int32_t number, std::string source = {});

// The error being handled, as ErrorInfo. Call only inside a catch block:
// kdzv::Error keeps its triple, std::bad_alloc becomes "Out of memory", any
// other exception "Internal error" with its what() appended.
ErrorInfo CurrentErrorInfo();

}  // namespace kdzv

#endif  // KDZV_UTIL_ERROR_H_
