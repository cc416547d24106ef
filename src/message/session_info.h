// clZVSessionInfo: the state of the running exchange. The component's files
// and the agent's answers share one message counter.
#ifndef KDZV_MESSAGE_SESSION_INFO_H_
#define KDZV_MESSAGE_SESSION_INFO_H_

#include <cstdint>
#include <string>

namespace kdzv {

struct clZVSessionInfo {
  int32_t SessionID = 0;
  // The number of the last message written or taken in this exchange.
  int32_t MsgID = 0;
  // "M" once the exchange has been opened.
  std::string Mark;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_SESSION_INFO_H_
