#include "util/error.h"

#include <new>
#include <utility>

namespace kdzv {

Error::Error(ErrorInfo info) : info_(std::move(info)) {}

std::string StandardDescription(int32_t number) {
  switch (number) {
    case err::kInvalidCall: return "Invalid procedure call or argument";
    case err::kOverflow: return "Overflow";
    case err::kOutOfMemory: return "Out of memory";
    case err::kSubscriptOutOfRange: return "Subscript out of range";
    case err::kTypeMismatch: return "Type mismatch";
    case err::kInternal: return "Internal error";
    case err::kBadFileNameOrNumber: return "Bad file name or number";
    case err::kFileNotFound: return "File not found";
    case err::kFileAlreadyOpen: return "File already open";
    case err::kFileAlreadyExists: return "File already exists";
    case err::kDeviceIo: return "Device I/O error";
    case err::kDiskFull: return "Disk full";
    case err::kPermissionDenied: return "Permission denied";
    case err::kPathFileAccess: return "Path/File access error";
    case err::kPathNotFound: return "Path not found";
    case err::kDuplicateKey:
      return "This key is already associated with an element of this collection";
    default: return {};
  }
}

void Raise(int32_t number, std::string description, std::string source) {
  throw Error(ErrorInfo{number, std::move(description), std::move(source)});
}

void RaiseStandard(int32_t number, std::string source) {
  Raise(number, StandardDescription(number), std::move(source));
}

ErrorInfo CurrentErrorInfo() {
  try {
    throw;
  } catch (const Error& e) {
    return e.info();
  } catch (const std::bad_alloc&) {
    return ErrorInfo{err::kOutOfMemory, StandardDescription(err::kOutOfMemory), {}};
  } catch (const std::exception& e) {
    return ErrorInfo{err::kInternal,
                     StandardDescription(err::kInternal) + " (" + e.what() + ")", {}};
  } catch (...) {
    return ErrorInfo{err::kInternal, StandardDescription(err::kInternal), {}};
  }
}

}  // namespace kdzv
