// A writer whose making of one element fails (raises like a failing call
// into a document library) for one element name, from its n-th time on.
#ifndef KDZV_TESTS_SUPPORT_FAILING_WRITER_H_
#define KDZV_TESTS_SUPPORT_FAILING_WRITER_H_

#include <string>
#include <string_view>
#include <utility>

#include "message/xml_writer.h"
#include "util/error.h"

namespace kdzv::test {

class FailingWriter : public XmlWriter {
 public:
  // Making `name` fails from its `from_occurrence`-th time (1-based) on;
  // every failure raises error 5 before anything of the element is written.
  explicit FailingWriter(std::string name, int from_occurrence = 1)
      : name_(std::move(name)), from_(from_occurrence) {}

  int failures = 0;

 protected:
  void BeforeElement(std::string_view name) override {
    if (name == name_ && ++seen_ >= from_) {
      ++failures;
      RaiseStandard(err::kInvalidCall, "AppendChild");
    }
  }

 private:
  std::string name_;
  int from_;
  int seen_ = 0;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAILING_WRITER_H_
