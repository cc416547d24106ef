// Whole lines from several threads onto one stream: each thread writes
// through its own LineStream, and a line reaches the target only when it is
// complete, under a lock the streams share. zvsync demo uses it so that the
// agent's transcript and the exchange's window lines never cut into each
// other.
#ifndef KDZV_CLI_LINE_STREAM_H_
#define KDZV_CLI_LINE_STREAM_H_

#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>

namespace kdzv {

// The target and its lock.
class SharedLines {
 public:
  explicit SharedLines(std::ostream& target) : target_(target) {}
  void Write(const std::string& line);

 private:
  std::mutex mutex_;
  std::ostream& target_;
};

class LineStream : public std::ostream {
 public:
  explicit LineStream(SharedLines& lines);
  // Writes what is left of an unfinished line.
  ~LineStream() override;

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(SharedLines& lines) : lines_(lines) {}
    void FlushLine();

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;

   private:
    SharedLines& lines_;
    std::string line_;
  };
  Buffer buffer_;
};

}  // namespace kdzv

#endif  // KDZV_CLI_LINE_STREAM_H_
