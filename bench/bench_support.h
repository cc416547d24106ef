// What the benchmark programs share: test messages of a given size, and a
// count of the heap the component (C++ allocations) and libxml2 use.
#ifndef KDZV_BENCH_BENCH_SUPPORT_H_
#define KDZV_BENCH_BENCH_SUPPORT_H_

#include <cstddef>
#include <string>

namespace kdzv::bench {

// An answer of the agent with `appointments` added appointments, each with a
// customer, a calendar and three attributes, as UTF-8 text.
std::string DownloadMessage(int appointments);
// The same answer as message `msg_id` of session `session_id` (the one
// above is message 2 of session 17).
std::string DownloadMessage(int appointments, int session_id, int msg_id);

// An element-dense answer: `appointments` added appointments whose every
// field is an element of its own, most of them empty, with one attribute.
// The most elements (and items) per byte that a real message has.
std::string DenseDownloadMessage(int appointments);

// Writes `text` to a file in a fresh temporary folder and returns its path.
std::string WriteTempFile(const std::string& name, const std::string& text);

// Makes a fresh, empty temporary folder and returns its path.
std::string MakeTempFolder();

// Heap accounting: bytes in use now and the highest figure since the last
// ResetPeak. Counts every operator new of the program and every allocation
// of libxml2 (after InstallLibxml2Accounting).
size_t HeapInUse();
size_t HeapPeak();
void ResetPeak();
void InstallLibxml2Accounting();

}  // namespace kdzv::bench

#endif  // KDZV_BENCH_BENCH_SUPPORT_H_
