// Answers the message boxes the library shows on this thread, as a user
// would, and keeps their texts: a CBT hook sees each box as it is
// activated, reads its text and presses a button.
#ifndef KDZV_TESTS_COM_HOST_MESSAGE_BOXES_H_
#define KDZV_TESTS_COM_HOST_MESSAGE_BOXES_H_

#include <windows.h>

#include <string>
#include <vector>

namespace kdzv::host {

class MessageBoxAnswerer {
 public:
  // Boxes with Yes and No get `yes_no_answer` (IDYES or IDNO); others OK.
  explicit MessageBoxAnswerer(int yes_no_answer = IDNO);
  ~MessageBoxAnswerer();
  MessageBoxAnswerer(const MessageBoxAnswerer&) = delete;
  MessageBoxAnswerer& operator=(const MessageBoxAnswerer&) = delete;

  void SetYesNoAnswer(int answer) { yes_no_answer_ = answer; }
  // The button for a box without Yes (IDOK unless set; IDCANCEL closes a
  // folder browser without a choice).
  void SetOtherAnswer(int answer) { other_answer_ = answer; }

  // The text of every box answered so far (UTF-16), in order.
  const std::vector<std::wstring>& Texts() const { return texts_; }

 private:
  static LRESULT CALLBACK Hook(int code, WPARAM wparam, LPARAM lparam);

  HHOOK hook_ = nullptr;
  int yes_no_answer_;
  int other_answer_ = IDOK;
  std::vector<std::wstring> texts_;
  std::vector<HWND> answered_;  // a box activated again is answered once
};

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_MESSAGE_BOXES_H_
