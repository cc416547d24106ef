// Makes sure COM is initialised on the calling thread for the lifetime of
// the object.
#ifndef KDZV_PLATFORM_WIN32_COM_APARTMENT_H_
#define KDZV_PLATFORM_WIN32_COM_APARTMENT_H_

#include <windows.h>

namespace kdzv::win32 {

// Enters a single-threaded apartment, or joins the one the thread is
// already in; a thread already in the multithreaded apartment stays there.
// Only a successful initialisation is undone at the end.
class ComApartment {
 public:
  ComApartment();
  ~ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

  // Whether COM can be used on this thread now.
  bool ready() const { return ready_; }

 private:
  bool initialised_ = false;
  bool ready_ = false;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_COM_APARTMENT_H_
