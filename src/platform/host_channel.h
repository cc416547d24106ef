// A line channel to a host program that runs as a child process: zvsync
// writes one line to the child's standard input and reads one line from its
// standard output, each with a time-out, and at the end closes the child's
// input and waits for it.
//
// Header only: the platform layer implements it and the command-line host
// uses it, and neither library links the other.
#ifndef KDZV_PLATFORM_HOST_CHANNEL_H_
#define KDZV_PLATFORM_HOST_CHANNEL_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kdzv {

class HostChannel {
 public:
  enum class Status {
    kOk,       // the line went out, or a whole line came in
    kTimeout,  // nothing (more) happened within the time-out
    kClosed,   // the child no longer reads or writes: it has ended
    kTooLong,  // the child sent a line longer than kMaxLineBytes
  };

  // The longest line read. A longer one is not kept: ReadLine answers
  // kTooLong, and the channel is of no further use.
  static constexpr size_t kMaxLineBytes = size_t{4} * 1024 * 1024;

  virtual ~HostChannel() = default;

  // Sends `line` and a line feed. A line that cannot go out completely
  // within `timeout_ms` (the child does not read) stays queued and goes out
  // first with the next line, so lines never mix.
  virtual Status WriteLine(std::string_view line, int64_t timeout_ms) = 0;

  // Reads the next line (without its line feed, and without a carriage
  // return before it) into `line`. Text after the last line feed when the
  // child closes its output counts as a last line. The time-out holds on
  // the wall clock, also while the child keeps sending without a line feed;
  // every byte received is looked at once.
  virtual Status ReadLine(int64_t timeout_ms, std::string& line) = 0;

  // Closes the child's input (dropping anything still queued), waits up to
  // `grace_ms` for the child to exit, kills it otherwise, and collects it.
  // Later calls do nothing.
  virtual void CloseAndWait(int64_t grace_ms) = 0;
};

}  // namespace kdzv

#endif  // KDZV_PLATFORM_HOST_CHANNEL_H_
