// Reading a message the component wrote: its commands in short form and
// the checks of a scenario's expectations against it.
#ifndef KDZV_AGENT_RECEIVED_MESSAGE_H_
#define KDZV_AGENT_RECEIVED_MESSAGE_H_

#include <string>
#include <string_view>
#include <vector>

#include "agent/scenario.h"
#include "agent/send_message.h"
#include "message/xml_element.h"

namespace kdzv::agent {

// One command (a child of SyncBody) in short form: "Status Add 201" (Cmd
// and Data), "Alert 206" (Data), otherwise the element's name and that of
// its first child other than CmdID: "Map VEvent", "Replace OpeningTime".
std::string CommandKey(const XmlElement& command);

// The keys of all commands of the message `root`, in order.
std::vector<std::string> CommandKeys(const XmlElement& root);

// "Status Add 201 x3, Map VEvent x2, Replace VEvent": equal keys counted,
// in the order of their first appearance; "no commands" for none.
std::string SummarizeCommands(const std::vector<std::string>& keys);

// The trimmed text of SyncHdr/`child` ("" when missing).
std::string HeaderText(const XmlElement& root, std::string_view child);

struct CheckResult {
  bool ok = false;
  // For the transcript: the expectation as checked ("SyncBody/Alert/Data =
  // 206"), and for a failure what was found instead (": got \"201\"").
  std::string text;
};

// Checks `expectation` against the message `root` (placeholders filled
// from `values`). `root` null means the message could not be read.
CheckResult CheckExpectation(const Expectation& expectation, const XmlElement* root,
                             const Placeholders& values);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_RECEIVED_MESSAGE_H_
