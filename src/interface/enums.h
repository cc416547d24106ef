// The four public enumerations. Their values are part of the host's binary
// contract: the host compiles against them.
#ifndef KDZV_INTERFACE_ENUMS_H_
#define KDZV_INTERFACE_ENUMS_H_

#include <cstdint>

namespace kdzv {

enum enmZVRetValues : int32_t {
  ZV_Success = 0,
  ZV_Error_PathNotExist = 1,
  ZV_Error_TimeOut = 2,
  ZV_Error_PathNotEmpty = 3,
  ZV_Error_Cancel = 4,
  ZV_Error_General = 5,
  ZV_Error_LogFileAccess = 6,
};

// Delete (1) comes before replace (2).
enum enmZVTerminCommand : int32_t {
  Termin_Add = 0,
  Termin_Delete = 1,
  Termin_Replace = 2,
};

enum enmZVTerminStatus : int32_t {
  TerminStatus_Booked = 0,
  TerminStatus_Requested = 1,
  TerminStatus_ClientCanceled = 2,
  TerminStatus_ProviderCanceled = 3,
};

enum enmZVCalendarCommand : int32_t {
  Object_Add = 0,
  Object_Delete = 1,
  Object_Replace = 2,
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_ENUMS_H_
