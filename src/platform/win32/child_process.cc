// The bridge host's child on Windows. The command line goes to CreateProcessW
// as it is (no shell): the program is its first word, found and quoted by
// CreateProcessW's own rules. The child's standard input and output are
// pipes; its standard error is ours.
//
// Our ends of the two pipes are opened for overlapped input and output, so
// that every time-out is a wait on an event, never a poll: a read or write
// that has not finished when its time runs out stays under way, keeps its
// buffer, and the next call waits for it first. The child's ends are plain
// (synchronous) handles, as every program expects, and they are the only
// handles it inherits.
//
// The child runs in a job object that ends it, and everything it started,
// when the job's last handle is closed: by CloseAndWait after the grace
// time, and by Windows itself when zvsync ends in any way, even killed.
// It also gets a process group of its own, so that Ctrl+C on the console
// reaches zvsync (which asks before cancelling) and not the host.
#include "platform/child_process.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"

namespace kdzv {
namespace win32 {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr DWORD kPipeBufferBytes = 64 * 1024;

SteadyClock::time_point DeadlineAfter(int64_t timeout_ms) {
  return SteadyClock::now() + std::chrono::milliseconds(std::max<int64_t>(timeout_ms, 0));
}

// What a wait may still take, in milliseconds (0 once the deadline is
// reached), rounded up so that a wait never ends just before the deadline.
DWORD WaitBudget(SteadyClock::time_point deadline) {
  const auto left = deadline - SteadyClock::now();
  if (left <= SteadyClock::duration::zero()) return 0;
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<DWORD>(std::min<int64_t>(ms, INFINITE - 1));
}

// The text of a Windows error number, without the line end.
std::string SystemText(DWORD error) {
  wchar_t* buffer = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, error, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text = length > 0 && buffer != nullptr ? std::wstring(buffer, length) : L"";
  if (buffer != nullptr) ::LocalFree(buffer);
  while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n' || text.back() == L' ' ||
                           text.back() == L'.')) {
    text.pop_back();
  }
  std::string narrow = Narrow(text);
  if (!narrow.empty()) narrow += " ";
  return narrow + "(Windows error " + std::to_string(error) + ")";
}

// One direction of a pipe: our end, opened for overlapped use, and at most
// one operation under way on it, with its own buffer.
class OverlappedEnd {
 public:
  OverlappedEnd() { overlapped_.hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  ~OverlappedEnd() {
    Close();
    if (overlapped_.hEvent != nullptr) ::CloseHandle(overlapped_.hEvent);
  }
  OverlappedEnd(const OverlappedEnd&) = delete;
  OverlappedEnd& operator=(const OverlappedEnd&) = delete;

  void Adopt(HANDLE handle) { handle_ = UniqueHandle(handle); }
  bool Open() const { return handle_.valid(); }
  bool Ready() const { return overlapped_.hEvent != nullptr; }

  // Cancels what is under way, waits until Windows lets go of the buffer,
  // and closes the handle.
  void Close() {
    if (busy_) {
      ::CancelIoEx(handle_.get(), &overlapped_);
      DWORD ignored = 0;
      ::GetOverlappedResult(handle_.get(), &overlapped_, &ignored, TRUE);
      busy_ = false;
    }
    handle_.reset();
    buffer_.clear();
  }

  // The outcome of an operation: done with `bytes`, still under way when
  // the time ran out, or failed with `error`.
  enum class Outcome { kDone, kPending, kFailed };

  // Starts writing `data` (kept here until the write is done).
  Outcome StartWrite(std::string data, DWORD& bytes, DWORD& error) {
    buffer_ = std::move(data);
    return Start(false, bytes, error);
  }
  // Starts reading up to kPipeBufferBytes.
  Outcome StartRead(DWORD& bytes, DWORD& error) {
    buffer_.resize(kPipeBufferBytes);
    return Start(true, bytes, error);
  }
  // Waits up to `wait_ms` for the operation under way.
  Outcome Finish(DWORD wait_ms, DWORD& bytes, DWORD& error) {
    if (::WaitForSingleObject(overlapped_.hEvent, wait_ms) == WAIT_TIMEOUT) {
      return Outcome::kPending;
    }
    busy_ = false;
    if (!::GetOverlappedResult(handle_.get(), &overlapped_, &bytes, FALSE)) {
      error = ::GetLastError();
      return Outcome::kFailed;
    }
    return Outcome::kDone;
  }

  bool Busy() const { return busy_; }
  // The buffer of the last operation (the data read, or what was to be
  // written).
  const std::string& Buffer() const { return buffer_; }

 private:
  Outcome Start(bool read, DWORD& bytes, DWORD& error) {
    ::ResetEvent(overlapped_.hEvent);
    overlapped_.Offset = 0;
    overlapped_.OffsetHigh = 0;
    bytes = 0;
    const DWORD size = static_cast<DWORD>(buffer_.size());
    const BOOL done = read ? ::ReadFile(handle_.get(), buffer_.data(), size, nullptr, &overlapped_)
                           : ::WriteFile(handle_.get(), buffer_.data(), size, nullptr, &overlapped_);
    if (!done) {
      error = ::GetLastError();
      if (error != ERROR_IO_PENDING) return Outcome::kFailed;
    }
    busy_ = true;
    return Outcome::kPending;  // the caller waits with Finish (at once when done)
  }

  UniqueHandle handle_;
  OVERLAPPED overlapped_{};
  std::string buffer_;
  bool busy_ = false;
};

// A pipe whose one end is ours (overlapped) and whose other end is for the
// child (synchronous, inheritable). `inbound` is true when we read.
bool MakePipe(bool inbound, OverlappedEnd& ours, UniqueHandle& childs, std::string& error) {
  static std::atomic<unsigned> serial{0};
  const std::wstring name = L"\\\\.\\pipe\\kdZentavo-host-" +
                            std::to_wstring(::GetCurrentProcessId()) + L"-" +
                            std::to_wstring(serial.fetch_add(1)) + L"-" +
                            std::to_wstring(::GetTickCount64());
  HANDLE server = ::CreateNamedPipeW(
      name.c_str(),
      (inbound ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND) | FILE_FLAG_OVERLAPPED |
          FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
      kPipeBufferBytes, kPipeBufferBytes, 0, nullptr);
  if (server == INVALID_HANDLE_VALUE) {
    error = "cannot create a pipe: " + SystemText(::GetLastError());
    return false;
  }
  ours.Adopt(server);
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE client = ::CreateFileW(name.c_str(), inbound ? GENERIC_WRITE : GENERIC_READ, 0, &inherit,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (client == INVALID_HANDLE_VALUE) {
    error = "cannot create a pipe: " + SystemText(::GetLastError());
    return false;
  }
  childs = UniqueHandle(client);
  if (!ours.Ready()) {
    error = "cannot create a pipe: " + SystemText(::GetLastError());
    return false;
  }
  return true;
}

class WindowsChild : public HostChannel {
 public:
  static constexpr int64_t kDefaultGraceMs = 2000;

  WindowsChild() = default;
  ~WindowsChild() override { CloseAndWait(kDefaultGraceMs); }
  WindowsChild(const WindowsChild&) = delete;
  WindowsChild& operator=(const WindowsChild&) = delete;

  OverlappedEnd& Input() { return to_child_; }
  OverlappedEnd& Output() { return from_child_; }
  void Started(HANDLE process, HANDLE job) {
    process_ = UniqueHandle(process);
    job_ = UniqueHandle(job);
  }

  Status WriteLine(std::string_view line, int64_t timeout_ms) override {
    if (!to_child_.Open()) return Status::kClosed;
    unsent_.append(line);
    unsent_.push_back('\n');
    const auto deadline = DeadlineAfter(timeout_ms);
    while (to_child_.Busy() || !unsent_.empty()) {
      DWORD bytes = 0;
      DWORD error = 0;
      if (!to_child_.Busy()) {
        // What is left of a write that went out in part goes first.
        std::string data = std::move(unsent_);
        unsent_.clear();
        if (to_child_.StartWrite(std::move(data), bytes, error) ==
            OverlappedEnd::Outcome::kFailed) {
          return Broken();
        }
      }
      const OverlappedEnd::Outcome outcome = to_child_.Finish(WaitBudget(deadline), bytes, error);
      if (outcome == OverlappedEnd::Outcome::kPending) return Status::kTimeout;
      if (outcome == OverlappedEnd::Outcome::kFailed) return Broken();
      const std::string& written = to_child_.Buffer();
      if (bytes < written.size()) unsent_.insert(0, written, bytes, std::string::npos);
    }
    return Status::kOk;
  }

  Status ReadLine(int64_t timeout_ms, std::string& line) override {
    const auto deadline = DeadlineAfter(timeout_ms);
    while (true) {
      // Only what came in since the last look is searched.
      const size_t feed = received_.find('\n', scanned_);
      if (feed != std::string::npos) {
        TakeLine(feed, feed + 1, line);
        return Status::kOk;
      }
      scanned_ = received_.size();
      if (received_.size() > kMaxLineBytes) {
        // Nothing after such a line can be trusted to start a line.
        received_.clear();
        scanned_ = 0;
        from_child_.Close();
        return Status::kTooLong;
      }
      if (!from_child_.Open()) {
        if (received_.empty()) return Status::kClosed;
        TakeLine(received_.size(), received_.size(), line);
        return Status::kOk;
      }
      DWORD bytes = 0;
      DWORD error = 0;
      if (!from_child_.Busy()) {
        // A child that keeps sending gets no more than the time-out either.
        if (SteadyClock::now() >= deadline) return Status::kTimeout;
        if (from_child_.StartRead(bytes, error) == OverlappedEnd::Outcome::kFailed) {
          from_child_.Close();  // the end of the pipe: the child has ended
          continue;
        }
      }
      const OverlappedEnd::Outcome outcome =
          from_child_.Finish(WaitBudget(deadline), bytes, error);
      if (outcome == OverlappedEnd::Outcome::kPending) return Status::kTimeout;
      if (outcome == OverlappedEnd::Outcome::kFailed) {
        from_child_.Close();
        continue;
      }
      received_.append(from_child_.Buffer(), 0, bytes);
    }
  }

  void CloseAndWait(int64_t grace_ms) override {
    to_child_.Close();
    unsent_.clear();
    if (process_.valid()) {
      const DWORD waited =
          ::WaitForSingleObject(process_.get(), WaitBudget(DeadlineAfter(grace_ms)));
      if (waited != WAIT_OBJECT_0) {
        if (!job_.valid() || !::TerminateJobObject(job_.get(), 1)) {
          ::TerminateProcess(process_.get(), 1);
        }
        ::WaitForSingleObject(process_.get(), INFINITE);
      }
      process_.reset();
    }
    // Whatever the host started and left behind ends with the job.
    job_.reset();
    from_child_.Close();
  }

 private:
  // The child no longer reads: its input is closed and what was queued
  // for it is dropped.
  Status Broken() {
    unsent_.clear();
    to_child_.Close();
    return Status::kClosed;
  }

  // Moves received_[0, end) into `line`, less a carriage return at its end,
  // and drops received_[0, next).
  void TakeLine(size_t end, size_t next, std::string& line) {
    line.assign(received_, 0, end);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    received_.erase(0, next);
    scanned_ = 0;
  }

  OverlappedEnd to_child_;
  OverlappedEnd from_child_;
  UniqueHandle process_;
  UniqueHandle job_;
  std::string unsent_;
  std::string received_;
  size_t scanned_ = 0;  // received_[0, scanned_) holds no line feed
};

// A job that ends its processes when its last handle is closed; null when
// Windows offers none.
HANDLE MakeKillingJob() {
  HANDLE job = ::CreateJobObjectW(nullptr, nullptr);
  if (job == nullptr) return nullptr;
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (!::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits,
                                 sizeof limits)) {
    ::CloseHandle(job);
    return nullptr;
  }
  return job;
}

// Starts `command` with the three standard handles given, inheriting only
// those. Fills `process` and `thread`; false with `error` otherwise.
bool Spawn(const std::string& command, HANDLE input, HANDLE output, HANDLE error_output,
           PROCESS_INFORMATION& started, std::string& error) {
  std::wstring command_line = Widen(command);
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input;
  startup.StartupInfo.hStdOutput = output;
  startup.StartupInfo.hStdError = error_output;

  // The list of the handles the child inherits: nothing else of ours (not
  // the pipes of another child, above all) reaches it.
  HANDLE inherited[3] = {input, output, error_output};
  const DWORD inherited_count = error_output != nullptr ? 3 : 2;
  SIZE_T list_size = 0;
  ::InitializeProcThreadAttributeList(nullptr, 1, 0, &list_size);
  std::vector<unsigned char> list_memory(list_size);
  auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(list_memory.data());
  bool have_list = list_size > 0 && ::InitializeProcThreadAttributeList(list, 1, 0, &list_size);
  if (have_list && !::UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                                inherited, inherited_count * sizeof(HANDLE),
                                                nullptr, nullptr)) {
    ::DeleteProcThreadAttributeList(list);
    have_list = false;
  }
  DWORD flags = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP;
  if (have_list) {
    startup.lpAttributeList = list;
    flags |= EXTENDED_STARTUPINFO_PRESENT;
  }
  const BOOL created =
      ::CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                       nullptr, &startup.StartupInfo, &started);
  const DWORD create_error = ::GetLastError();
  if (have_list) ::DeleteProcThreadAttributeList(list);
  if (!created) {
    error = "cannot start \"" + command + "\": " + SystemText(create_error);
    return false;
  }
  return true;
}

}  // namespace
}  // namespace win32

std::unique_ptr<HostChannel> StartShellCommand(const std::string& command, std::string& error) {
  if (command.find_first_not_of(" \t") == std::string::npos) {
    error = "the command is empty";
    return nullptr;
  }
  auto child = std::make_unique<win32::WindowsChild>();
  win32::UniqueHandle child_input;
  win32::UniqueHandle child_output;
  if (!win32::MakePipe(false, child->Input(), child_input, error)) return nullptr;
  if (!win32::MakePipe(true, child->Output(), child_output, error)) return nullptr;

  // Our standard error, as an inheritable copy of its own (the original
  // may not be inheritable); none when we have none.
  win32::UniqueHandle child_error;
  HANDLE our_error = ::GetStdHandle(STD_ERROR_HANDLE);
  if (our_error != nullptr && our_error != INVALID_HANDLE_VALUE) {
    HANDLE copy = nullptr;
    if (::DuplicateHandle(::GetCurrentProcess(), our_error, ::GetCurrentProcess(), &copy, 0, TRUE,
                          DUPLICATE_SAME_ACCESS)) {
      child_error = win32::UniqueHandle(copy);
    }
  }

  PROCESS_INFORMATION started{};
  if (!win32::Spawn(command, child_input.get(), child_output.get(),
                    child_error.valid() ? child_error.get() : nullptr, started, error)) {
    return nullptr;
  }
  HANDLE job = win32::MakeKillingJob();
  if (job != nullptr && !::AssignProcessToJobObject(job, started.hProcess)) {
    // Inside a job that allows no other: the child is still ended by
    // CloseAndWait, though not when zvsync is killed.
    ::CloseHandle(job);
    job = nullptr;
  }
  ::ResumeThread(started.hThread);
  ::CloseHandle(started.hThread);
  child->Started(started.hProcess, job);
  // Our copies of the child's ends go (when this returns), so that its exit
  // shows as the end of its output and as a broken pipe on its input.
  return child;
}

}  // namespace kdzv
