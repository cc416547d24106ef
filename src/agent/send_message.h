// The files the agent writes into the download folder, and the placeholders
// that scenario lines may hold.
#ifndef KDZV_AGENT_SEND_MESSAGE_H_
#define KDZV_AGENT_SEND_MESSAGE_H_

#include <string>
#include <string_view>
#include <vector>

namespace kdzv::agent {

// What the placeholders stand for at one point of a run.
struct Placeholders {
  std::string session;  // {session}: the SessionID of the exchange
  std::string stem;     // {stem}: the file names' stem, e.g. "HX17_"
  int last = 0;         // {last}: the last received message number;
                        // {msg} is last + 1, {next} last + 2
};

// `text` with every placeholder replaced.
std::string FillPlaceholders(std::string_view text, const Placeholders& values);

// "<SyncBody>" + the lines (placeholders filled) joined with "\n" +
// "</SyncBody>": the body of a sent message. Line k of the block is line
// k + 1 of the result.
std::string WrapBody(const std::vector<std::string>& lines, const Placeholders& values);

// A whole message of the agent with header number `msg_id`:
//   <?xml version="1.0" encoding="utf-8"?>LF
//   <SyncML xmlns="..."><SyncHdr>...</SyncHdr>LF
//   <SyncBody>line 1 LF line 2 ...</SyncBody></SyncML>LF
// The header names the service as source and the host as target.
std::string BuildMessage(const std::vector<std::string>& lines, const Placeholders& values,
                         int msg_id);

// The lines (placeholders filled), each followed by LF; nothing for none.
std::string BuildRaw(const std::vector<std::string>& lines, const Placeholders& values);

// The lines of a message of `count` added appointments, one "Add" a line
// (CmdID 1, 2, ...; sources "ZV-1", "ZV-2", ...; booked, each with a
// calendar, a customer and one attribute value), then "<Final/>".
std::vector<std::string> AppointmentLines(int count);

// The number of commands in a body made by WrapBody (its elements other
// than Final); -1 when it does not parse.
int CountCommands(std::string_view body);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_SEND_MESSAGE_H_
