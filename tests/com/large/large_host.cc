// A host for one large message through the library, measured from the Linux
// side by scripts/bench-slow-sync (the peak resident memory of the Wine
// process). Not a test of the test command: a message of 64 or 128 MiB takes
// minutes under Wine.
//
//   kdzv_large_host exchange DIR   a whole slow sync on DIR\up, DIR\down and
//                                  DIR\depot; the agent is started beside it
//                                  by the script; every appointment accepted
//   kdzv_large_host read FILE      TestDownFile of FILE
//
// It loads a copy of the library itself (no registration needed), prints
// its result line ("RESULT ..."), then "MEASURE" and waits for a line on
// standard input before it ends, so that the script can read the process's
// peak while it is still there.
#include <objbase.h>
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "com/host/automation_client.h"
#include "com/host/event_sink.h"
#include "com/host/host_files.h"
#include "com/host/library_calls.h"
#include "com/host/library_copy.h"
#include "com/host/message_boxes.h"
#include "com/host/practice_host.h"
#include "support/fresh_user_settings.h"

namespace kdzv::host {
namespace {

std::wstring Wide(const char* text) {
  const int size = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
  std::wstring wide(static_cast<size_t>(size > 0 ? size - 1 : 0), L'\0');
  if (size > 1) ::MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), size);
  return wide;
}

int Exchange(const LibraryCopy& library, const std::wstring& dir) {
  const Obj settings = library.Create(L"kdZentavo.clZVSettings");
  if (!settings) return std::printf("RESULT no settings object\n"), 1;
  const std::pair<const wchar_t*, Var> values[] = {
      {L"DownloadPath", Var(dir + L"\\down")}, {L"UploadPath", Var(dir + L"\\up")},
      {L"AblagePath", Var(dir + L"\\depot")},  {L"FilePraefix", Var(L"HX")},
      {L"SystemName", Var(L"")},                 {L"SlowSync", Var(true)},
      {L"DoLog", Var(false)},                    {L"TimeoutSeconds", Var(short{600})},
      {L"PatIdentKriterium", Var(short{0})}};
  for (const auto& [name, value] : values) {
    if (settings.Put(name, value) != S_OK) return std::printf("RESULT settings refused\n"), 1;
  }
  HRESULT hr = E_FAIL;
  const Obj zv = library.Create(L"kdZentavo.kdZVInterface", &hr);
  if (!zv) return std::printf("RESULT no interface object (%08lx)\n", hr), 1;
  PracticeHost host;
  auto* sink = new EventSink(EventInterfaceOf(zv), [&host](DISPID id, DISPPARAMS& args) {
    return host.Handle(id, args);
  });
  const DWORD cookie = Connect(zv, sink);
  MessageBoxAnswerer boxes;
  std::wstring error;
  const DWORD start = ::GetTickCount();
  const Result synced = CallStartSync(zv, MissingArgument(), &error);
  const DWORD elapsed = ::GetTickCount() - start;
  Disconnect(zv, cookie);
  sink->Release();
  std::printf("RESULT StartSync %ld in %lu ms, OnTermin %d, boxes %zu\n", synced.value.Long(),
              static_cast<unsigned long>(elapsed), host.events["OnTermin"], boxes.Texts().size());
  return synced.hr == S_OK && synced.value.Long() == 0 ? 0 : 1;
}

int Read(const LibraryCopy& library, const std::wstring& file) {
  HRESULT hr = E_FAIL;
  const Obj zv = library.Create(L"kdZentavo.kdZVInterface", &hr);
  if (!zv) return std::printf("RESULT no interface object (%08lx)\n", hr), 1;
  MessageBoxAnswerer boxes;
  const DWORD start = ::GetTickCount();
  const Result read = zv.Call(L"TestDownFile", {Var(file)});
  const DWORD elapsed = ::GetTickCount() - start;
  // A sub without a result: what it found goes to the log and to boxes.
  std::printf("RESULT TestDownFile %08lx in %lu ms, boxes %zu\n", static_cast<unsigned long>(read.hr),
              static_cast<unsigned long>(elapsed), boxes.Texts().size());
  return read.hr == S_OK && boxes.Texts().empty() ? 0 : 1;
}

}  // namespace
}  // namespace kdzv::host

int main(int argc, char** argv) {
  using namespace kdzv::host;
  if (argc != 3 || (std::strcmp(argv[1], "exchange") != 0 && std::strcmp(argv[1], "read") != 0)) {
    std::fprintf(stderr, "usage: kdzv_large_host exchange DIR | read FILE\n");
    return 2;
  }
  if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  int status = 1;
  {
    kdzv::test::FreshUserSettings fresh_user;
    const std::wstring dir = WindowsPath(KDZV_HOST_WORK_DIR) + L"\\large";
    ::CreateDirectoryW(WindowsPath(KDZV_HOST_WORK_DIR).c_str(), nullptr);
    ::CreateDirectoryW(dir.c_str(), nullptr);
    const std::wstring copy = dir + L"\\kdZentavo.dll";
    if (!::CopyFileW(WindowsPath(KDZV_DLL_PATH).c_str(), copy.c_str(), FALSE)) {
      std::printf("RESULT the library could not be copied\n");
    } else {
      LibraryCopy library(copy);
      if (!library.loaded()) {
        std::printf("RESULT the library could not be loaded\n");
      } else {
        const std::wstring argument = Wide(argv[2]);
        status = std::strcmp(argv[1], "exchange") == 0 ? Exchange(library, argument)
                                                      : Read(library, argument);
      }
    }
  }
  std::printf("MEASURE\n");
  std::fflush(stdout);
  char line[16];
  std::fgets(line, sizeof(line), stdin);
  ::CoUninitialize();
  return status;
}
