#include "cli/line_stream.h"

namespace kdzv {

void SharedLines::Write(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  target_ << line << std::flush;
}

LineStream::LineStream(SharedLines& lines) : std::ostream(nullptr), buffer_(lines) {
  rdbuf(&buffer_);
}

LineStream::~LineStream() { buffer_.FlushLine(); }

void LineStream::Buffer::FlushLine() {
  if (line_.empty()) return;
  lines_.Write(line_);
  line_.clear();
}

LineStream::Buffer::int_type LineStream::Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  line_.push_back(traits_type::to_char_type(c));
  if (c == '\n') FlushLine();
  return c;
}

std::streamsize LineStream::Buffer::xsputn(const char* s, std::streamsize n) {
  for (std::streamsize i = 0; i < n; ++i) overflow(traits_type::to_int_type(s[i]));
  return n;
}

}  // namespace kdzv
