// Helpers for the tests in which a test plays the component against a
// running agent: folders, messages as the component writes them, waits.
#ifndef KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_
#define KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_

#include <string>

#include "support/exit_status.h"

namespace kdzv::test {

// A component message as the component writes it: one line ending CR LF.
std::string ComponentMessage(const std::string& session, const std::string& msg_id,
                             const std::string& body);

// Waits up to `timeout_ms` for `path` to exist and hold at least one byte.
bool WaitForBytes(const std::string& path, int timeout_ms = 5000);

// Waits up to `timeout_ms` for `path` to be gone.
bool WaitForNoFile(const std::string& path, int timeout_ms = 5000);

// Whether another process or thread holds the writer's lock on `path`: on
// Linux an exclusive flock() cannot be had, on Windows the file cannot be
// opened at all.
bool LockedByWriter(const std::string& path);

#ifdef _WIN32
// Starts `command_line` (UTF-8) with its input from NUL and its output and
// error into `output_file`; the process handle, or null.
void* StartProgram(const std::string& command_line, const std::string& output_file);
// ExitStatusAfter(process, wait_ms): support/exit_status.h.
#endif

}  // namespace kdzv::test

#endif  // KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_
