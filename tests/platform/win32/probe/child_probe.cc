// A small Windows program that the tests of the bridge host's child start:
// each mode behaves as one kind of host would. Standard input and output
// are used through their raw handles, so that no line end is translated.
//
//   child_probe echo            answers every line with "got:" + line
//   child_probe lines           writes "one\r\ntwo\n\nlast" and ends
//   child_probe late            pid; reads a line; after 1 s "late"
//   child_probe bye             pid; reads a line; "bye " + line; exit 3
//   child_probe sleep MS        pid; sleeps without reading
//   child_probe drain           pid; reads until its input ends; exit 0
//   child_probe stderr          "to stderr" on standard error, "done" on output
//   child_probe endless         'x' without end, as fast as the pipe takes it
//   child_probe trickle         'x' every 10 ms, never a line feed
//   child_probe spawn           pid; starts "child_probe sleep 30000"; its pid;
//                               waits for it
//   child_probe args ...        every argument on a line of its own
//   child_probe accept-host F   the bridge host that accepts every event
//                               (answers {"retVal":true}) and keeps every
//                               line it receives in file F
#include <windows.h>

#include <cstring>
#include <string>

namespace {

HANDLE In() { return ::GetStdHandle(STD_INPUT_HANDLE); }
HANDLE Out() { return ::GetStdHandle(STD_OUTPUT_HANDLE); }

bool Write(HANDLE handle, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    DWORD written = 0;
    if (!::WriteFile(handle, text.data() + done, static_cast<DWORD>(text.size() - done), &written,
                     nullptr)) {
      return false;
    }
    done += written;
  }
  return true;
}

// One line from standard input, without its line feed; false at the end.
bool ReadLine(std::string& line) {
  line.clear();
  char c = 0;
  DWORD got = 0;
  while (::ReadFile(In(), &c, 1, &got, nullptr) && got == 1) {
    if (c == '\n') return true;
    line.push_back(c);
  }
  return !line.empty();
}

void WritePid() { Write(Out(), std::to_string(::GetCurrentProcessId()) + "\n"); }

int Spawn() {
  WritePid();
  wchar_t self[MAX_PATH];
  ::GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(self) + L"\" sleep 30000";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = nullptr;
  startup.hStdOutput = nullptr;  // the grandchild's pid comes from here
  startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION started{};
  if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
    return 1;
  }
  Write(Out(), std::to_string(started.dwProcessId) + "\n");
  ::WaitForSingleObject(started.hProcess, INFINITE);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  std::string line;
  if (mode == "echo") {
    while (ReadLine(line)) {
      if (!Write(Out(), "got:" + line + "\n")) return 1;
    }
    return 0;
  }
  if (mode == "lines") return Write(Out(), "one\r\ntwo\n\nlast") ? 0 : 1;
  if (mode == "late") {
    WritePid();
    ReadLine(line);
    ::Sleep(1000);
    Write(Out(), "late\n");
    return 0;
  }
  if (mode == "bye") {
    WritePid();
    ReadLine(line);
    Write(Out(), "bye " + line + "\n");
    return 3;
  }
  if (mode == "sleep" && argc > 2) {
    WritePid();
    ::Sleep(static_cast<DWORD>(std::stoul(argv[2])));
    return 0;
  }
  if (mode == "drain") {
    WritePid();
    while (ReadLine(line)) {
    }
    return 0;
  }
  if (mode == "stderr") {
    Write(::GetStdHandle(STD_ERROR_HANDLE), "to stderr\n");
    Write(Out(), "done\n");
    return 0;
  }
  if (mode == "endless") {
    const std::string block(64 * 1024, 'x');
    while (Write(Out(), block)) {
    }
    return 0;
  }
  if (mode == "trickle") {
    while (Write(Out(), "x")) ::Sleep(10);
    return 0;
  }
  if (mode == "spawn") return Spawn();
  if (mode == "args") {
    for (int i = 2; i < argc; ++i) Write(Out(), std::string(argv[i]) + "\n");
    return 0;
  }
  if (mode == "accept-host" && argc > 2) {
    HANDLE kept = ::CreateFileA(argv[2], GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (kept == INVALID_HANDLE_VALUE) return 1;
    while (ReadLine(line)) {
      Write(kept, line + "\n");
      if (line.find("\"event\":\"OnSyncLog\"") != std::string::npos) continue;
      if (!Write(Out(), "{\"retVal\":true}\n")) return 1;
    }
    ::CloseHandle(kept);
    return 0;
  }
  Write(::GetStdHandle(STD_ERROR_HANDLE), "child_probe: unknown mode\n");
  return 2;
}
