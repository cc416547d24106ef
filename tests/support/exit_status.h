// The end of a child process, as the tests that start programs wait for it.
// Plain Win32 only: the test host of the automation library shares it.
#ifndef KDZV_TESTS_SUPPORT_EXIT_STATUS_H_
#define KDZV_TESTS_SUPPORT_EXIT_STATUS_H_

namespace kdzv::test {

#ifdef _WIN32
// The exit status of `process` (a process HANDLE) once it has ended within
// `wait_ms`; one still running then is ended and gives -1; a null process
// gives -2. Closes the handle.
int ExitStatusAfter(void* process, unsigned long wait_ms);
#endif

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_EXIT_STATUS_H_
