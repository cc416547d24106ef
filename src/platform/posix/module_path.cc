// Where the component's binary lies on Linux: the shared object that holds
// this code, or the executable when the core is linked into a program.
#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <stdlib.h>

#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace kdzv {
namespace {

std::string RealPath(const char* path) {
  char resolved[PATH_MAX];
  if (path == nullptr || ::realpath(path, resolved) == nullptr) return {};
  return resolved;
}

// An address inside this binary.
void Anchor() {}

struct Search {
  uintptr_t address = 0;
  bool found = false;
  std::string name;  // empty for the main program
};

// Finds the loaded object one of whose segments holds the anchor.
int VisitObject(dl_phdr_info* info, size_t, void* data) {
  auto* search = static_cast<Search*>(data);
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    const uintptr_t start = info->dlpi_addr + segment.p_vaddr;
    if (search->address >= start && search->address < start + segment.p_memsz) {
      search->found = true;
      search->name = info->dlpi_name != nullptr ? info->dlpi_name : "";
      return 1;
    }
  }
  return 0;
}

}  // namespace

std::string ComponentModulePath() {
  Search search;
  search.address = reinterpret_cast<uintptr_t>(&Anchor);
  ::dl_iterate_phdr(&VisitObject, &search);
  if (search.found && !search.name.empty()) {
    std::string path = RealPath(search.name.c_str());
    if (!path.empty()) return path;
  }
  // The main program: the kernel knows its real path, whatever name and
  // working folder it was started with.
  return RealPath("/proc/self/exe");
}

char PathSeparator() { return '/'; }

}  // namespace kdzv
