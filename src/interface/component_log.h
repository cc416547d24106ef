// The three ways in which a class of the component tells about what it is
// doing, besides the error report (interface/error_report.h):
//
//   LogLine:    one line in the component's log (through the active interface,
//               so only when its logging is on);
//   ReportLine: the same line, and then a message box with only an OK button
//               and the component's title, which the user has to confirm;
//   TraceLine:  a developer's trace, outside the log (see process::SetTrace).
#ifndef KDZV_INTERFACE_COMPONENT_LOG_H_
#define KDZV_INTERFACE_COMPONENT_LOG_H_

#include <string>
#include <string_view>
#include <unordered_set>

namespace kdzv {

// The title of the component's message boxes.
inline constexpr std::string_view kComponentTitle = "kdZentavo";

void LogLine(std::string_view text);
void ReportLine(std::string_view text);
void TraceLine(std::string_view text);

// While one lives (the reading of one message), ReportLine logs every
// report but shows each distinct text in a box only once: a message with
// thousands of unknown elements would otherwise stop the user at thousands
// of boxes. Scopes may nest; the innermost one counts.
class OneBoxPerText {
 public:
  OneBoxPerText();
  ~OneBoxPerText();
  OneBoxPerText(const OneBoxPerText&) = delete;
  OneBoxPerText& operator=(const OneBoxPerText&) = delete;

  // Whether `text` is shown now: true the first time within the innermost
  // scope (and always outside any).
  static bool ShowNow(std::string_view text);

 private:
  OneBoxPerText* outer_;
  std::unordered_set<std::string> shown_;
};

// Makes the calling thread's report scopes (which live in thread-local
// storage, made on first use) now, as part of setting up the process, so
// that the first report of the thread allocates nothing.
void PrepareReportScopes();

// While one lives (the reading of one message, until the file is known to
// be well-formed to its end), LogLine, ReportLine and the error report keep
// what they would show instead of showing it. Release() then shows it all,
// in its order; a scope that ends unreleased drops it. A line repeated right
// after itself is kept once with a count. Scopes may nest; the innermost
// one holds.
class HeldReports {
 public:
  enum class Kind : char { kLog, kReport, kError };

  HeldReports();
  ~HeldReports();
  HeldReports(const HeldReports&) = delete;
  HeldReports& operator=(const HeldReports&) = delete;

  // The bytes held so far.
  size_t HeldBytes() const { return held_.size(); }
  // Stops holding and shows what was held.
  void Release();

  // Keeps `text` in the innermost scope; false when there is none.
  static bool Hold(Kind kind, std::string_view text);

 private:
  void Append(Kind kind, std::string_view text);

  HeldReports* outer_;
  bool holding_ = true;
  // Records of kind, repeat count, length and text, one after another.
  std::string held_;
  size_t last_ = std::string::npos;  // where the newest record starts
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_COMPONENT_LOG_H_
