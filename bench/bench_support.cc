#include "bench_support.h"

#include <libxml/xmlmemory.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>

namespace kdzv::bench {

namespace detail {

size_t g_in_use = 0;
size_t g_peak = 0;

// Every block carries its size in front of it, so freeing can count it.
constexpr size_t kHeader = alignof(std::max_align_t);

void* CountedAlloc(size_t size) {
  auto* block = static_cast<unsigned char*>(std::malloc(size + kHeader));
  if (block == nullptr) return nullptr;
  std::memcpy(block, &size, sizeof size);
  g_in_use += size;
  if (g_in_use > g_peak) g_peak = g_in_use;
  return block + kHeader;
}

void CountedFree(void* pointer) {
  if (pointer == nullptr) return;
  auto* block = static_cast<unsigned char*>(pointer) - kHeader;
  size_t size = 0;
  std::memcpy(&size, block, sizeof size);
  g_in_use -= size;
  std::free(block);
}

void* CountedRealloc(void* pointer, size_t size) {
  if (pointer == nullptr) return CountedAlloc(size);
  auto* block = static_cast<unsigned char*>(pointer) - kHeader;
  size_t old = 0;
  std::memcpy(&old, block, sizeof old);
  auto* grown = static_cast<unsigned char*>(std::realloc(block, size + kHeader));
  if (grown == nullptr) return nullptr;
  std::memcpy(grown, &size, sizeof size);
  g_in_use = g_in_use - old + size;
  if (g_in_use > g_peak) g_peak = g_in_use;
  return grown + kHeader;
}

}  // namespace detail

namespace {

using detail::CountedAlloc;
using detail::CountedFree;
using detail::CountedRealloc;

char* CountedStrdup(const char* text) {
  const size_t size = std::strlen(text) + 1;
  auto* copy = static_cast<char*>(CountedAlloc(size));
  if (copy != nullptr) std::memcpy(copy, text, size);
  return copy;
}

std::string Customer(int i) {
  return "<Customer><Title>Dr.</Title><FirstName>Erika" + std::to_string(i) +
         "</FirstName><LastName>Musterfrau</LastName><DateOfBirth>19700315</DateOfBirth>"
         "<Address>Hauptstrasse 12</Address><PostalCode>53111</PostalCode><City>Bonn</City>"
         "<Phone>0228 123456</Phone><Email>erika" +
         std::to_string(i) + "@example.org</Email></Customer>";
}

std::string Attribute(const char* source, const char* name, const std::string& value_id,
                      const char* value) {
  return std::string("<Attribute><Source>") + source + "</Source><Target/><Title>" + name +
         "</Title><Value><Source>" + value_id + "</Source><Target/><Title>" + value +
         "</Title></Value></Attribute>";
}

}  // namespace

std::string DownloadMessage(int appointments) { return DownloadMessage(appointments, 17, 2); }

std::string DownloadMessage(int appointments, int session_id, int msg_id) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
      "<VerProto>SyncZV/1.0</VerProto><SessionID>" +
      std::to_string(session_id) + "</SessionID><MsgID>" + std::to_string(msg_id) +
      "</MsgID>"
      "<Source><LocName>Zentavo</LocName><LocURI/></Source>"
      "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>\r\n<SyncBody>\r\n";
  for (int i = 1; i <= appointments; ++i) {
    const int day = 1 + i % 28;
    const std::string date = "202407" + std::string(day < 10 ? "0" : "") + std::to_string(day);
    text += "<Add><CmdID>" + std::to_string(i) + "</CmdID><VEvent><Source>ZV-" +
            std::to_string(100000 + i) + "</Source><Comment>Kontrolle nach Behandlung</Comment>" +
            "<Status>Requested</Status><DTStart>" + date + "T060000Z</DTStart><DTEnd>" + date +
            "T063000Z</DTEnd><Block>false</Block>" + Customer(i) +
            "<Calendar><Source>CAL-" + std::to_string(i % 7) +
            "</Source><Target/><Title>Dr. Weber</Title></Calendar>" +
            Attribute("ATT-1", "Behandlungsart", "V-" + std::to_string(i % 5), "Erstuntersuchung") +
            Attribute("ATT-2", "Neuer Patient", "NP-1", "Ja") +
            Attribute("ATT-3", "Versichertenart", "VA-" + std::to_string(i % 2), "gesetzlich") +
            "</VEvent></Add>\r\n";
  }
  text += "<Final/></SyncBody></SyncML>\r\n";
  return text;
}

std::string DenseDownloadMessage(int appointments) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
      "<VerProto>SyncZV/1.0</VerProto><SessionID>17</SessionID><MsgID>2</MsgID></SyncHdr>"
      "<SyncBody>";
  for (int i = 1; i <= appointments; ++i) {
    text += "<Add><CmdID>" + std::to_string(i) + "</CmdID><VEvent><Source>" + std::to_string(i) +
            "</Source><Target/><Comment/><Status/><DTStart/><DTEnd/><Cancel/><Block/>"
            "<Customer><Title/><FirstName/><LastName/><DateOfBirth/><Address/><PostalCode/>"
            "<City/><Phone/><Email/></Customer><Calendar><Source/><Target/><Title/></Calendar>"
            "<Attribute><Source>A</Source><Target/><Title/><Value><Source>V</Source><Target/>"
            "<Title/></Value></Attribute></VEvent></Add>";
  }
  text += "<Final/></SyncBody></SyncML>";
  return text;
}

std::string WriteTempFile(const std::string& name, const std::string& text) {
  char pattern[] = "/tmp/kdzv-bench-XXXXXX";
  const char* folder = ::mkdtemp(pattern);
  if (folder == nullptr) {
    std::perror("mkdtemp");
    std::exit(1);
  }
  const std::string path = std::string(folder) + "/" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string MakeTempFolder() {
  char pattern[] = "/tmp/kdzv-bench-XXXXXX";
  const char* folder = ::mkdtemp(pattern);
  if (folder == nullptr) {
    std::perror("mkdtemp");
    std::exit(1);
  }
  return folder;
}

size_t HeapInUse() { return detail::g_in_use; }
size_t HeapPeak() { return detail::g_peak; }
void ResetPeak() { detail::g_peak = detail::g_in_use; }

void InstallLibxml2Accounting() {
  xmlMemSetup(CountedFree, CountedAlloc, CountedRealloc, CountedStrdup);
}

}  // namespace kdzv::bench

// Every C++ allocation of the program is counted.
void* operator new(size_t size) {
  void* pointer = kdzv::bench::detail::CountedAlloc(size == 0 ? 1 : size);
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return kdzv::bench::detail::CountedAlloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return kdzv::bench::detail::CountedAlloc(size == 0 ? 1 : size);
}
void operator delete(void* pointer) noexcept { kdzv::bench::detail::CountedFree(pointer); }
void operator delete[](void* pointer) noexcept { kdzv::bench::detail::CountedFree(pointer); }
void operator delete(void* pointer, size_t) noexcept { kdzv::bench::detail::CountedFree(pointer); }
void operator delete[](void* pointer, size_t) noexcept {
  kdzv::bench::detail::CountedFree(pointer);
}
