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
  // The file prefix of the exchange, taken from the settings when it was
  // opened: every file name of the session is made with this copy, so that
  // a host that changes the settings meanwhile cannot move the stem.
  std::string FilePraefix;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_SESSION_INFO_H_
