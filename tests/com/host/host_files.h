// Files and programs as the test host handles them: UTF-16 paths, UTF-8
// texts.
#ifndef KDZV_TESTS_COM_HOST_HOST_FILES_H_
#define KDZV_TESTS_COM_HOST_HOST_FILES_H_

#include <windows.h>

#include <string>
#include <vector>

#include "support/exit_status.h"

namespace kdzv::host {

std::string Narrow(const std::wstring& text);  // to UTF-8
std::wstring Widen(const std::string& text);   // from UTF-8

// The whole content of a file (empty when it cannot be read).
std::string ReadBytes(const std::wstring& path);
// The names of the files (not folders) in `folder`, sorted.
std::vector<std::string> FilesIn(const std::wstring& folder);
// Removes `folder` with everything in it.
void RemoveTree(const std::wstring& folder);

// Starts `command` with its output and errors written to the file `output`
// (and no input); the process's handle, null when it cannot be started.
HANDLE StartWithOutput(std::wstring command, const std::wstring& output);
// (And ExitStatusAfter(process, wait_ms) of support/exit_status.h.)

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_HOST_FILES_H_
