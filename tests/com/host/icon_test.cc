// The library's icon: an icon group in its resources with the emblem in
// 16, 32 and 48 pixels of 32-bit colour, read from the DLL as a file of
// resources.
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "host_environment.h"

namespace kdzv::host {
namespace {

#pragma pack(push, 2)
struct GroupEntry {
  BYTE width, height, colours, reserved;
  WORD planes, bit_count;
  DWORD bytes;
  WORD id;
};
#pragma pack(pop)

TEST(ComIcon, TheLibraryCarriesTheEmblemIn16And32And48Pixels) {
  HMODULE library = ::LoadLibraryExW(LibraryPath().c_str(), nullptr,
                                     LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  ASSERT_NE(library, nullptr);
  HRSRC found = ::FindResourceW(library, MAKEINTRESOURCEW(101), MAKEINTRESOURCEW(14));
  ASSERT_NE(found, nullptr);  // RT_GROUP_ICON 101
  const auto* group = static_cast<const BYTE*>(::LockResource(::LoadResource(library, found)));
  ASSERT_NE(group, nullptr);
  const WORD type = *reinterpret_cast<const WORD*>(group + 2);
  const WORD count = *reinterpret_cast<const WORD*>(group + 4);
  EXPECT_EQ(type, 1);
  ASSERT_EQ(count, 3);
  std::vector<int> sizes;
  for (WORD i = 0; i < count; ++i) {
    GroupEntry entry;
    ::memcpy(&entry, group + 6 + i * sizeof(GroupEntry), sizeof entry);
    sizes.push_back(entry.width);
    EXPECT_EQ(entry.height, entry.width);
    EXPECT_EQ(entry.bit_count, 32);
    // Each image is there, with a picture that is neither empty nor one colour.
    HRSRC image = ::FindResourceW(library, MAKEINTRESOURCEW(entry.id), MAKEINTRESOURCEW(3));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(::SizeofResource(library, image), entry.bytes);
    const auto* bits = static_cast<const BYTE*>(::LockResource(::LoadResource(library, image)));
    ASSERT_NE(bits, nullptr);
    const BYTE* pixels = bits + 40;
    std::vector<DWORD> colours;
    for (int p = 0; p < entry.width * entry.width; ++p) {
      DWORD colour;
      ::memcpy(&colour, pixels + 4 * p, 4);
      bool seen = false;
      for (DWORD other : colours) seen = seen || other == colour;
      if (!seen) colours.push_back(colour);
    }
    EXPECT_GT(colours.size(), 3u) << entry.width;
  }
  EXPECT_EQ(sizes, (std::vector<int>{16, 32, 48}));
  ::FreeLibrary(library);
}

}  // namespace
}  // namespace kdzv::host
