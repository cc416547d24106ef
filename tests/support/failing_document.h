// A document whose element creation fails (raises like a failing call into
// a document library) for one element name, from its n-th creation on.
#ifndef KDZV_TESTS_SUPPORT_FAILING_DOCUMENT_H_
#define KDZV_TESTS_SUPPORT_FAILING_DOCUMENT_H_

#include <string>
#include <string_view>

#include "message/xml_element.h"
#include "util/error.h"

namespace kdzv::test {

class FailingDocument : public XmlDocument {
 public:
  // Creating `name` fails from its `from_occurrence`-th creation (1-based)
  // on; every failure raises error 5.
  FailingDocument(std::string name, int from_occurrence = 1)
      : name_(std::move(name)), from_(from_occurrence) {}

  XmlElement CreateElement(std::string_view name) override {
    if (name == name_ && ++seen_ >= from_) {
      ++failures;
      RaiseStandard(err::kInvalidCall, "CreateElement");
    }
    return XmlDocument::CreateElement(name);
  }

  int failures = 0;

 private:
  std::string name_;
  int from_;
  int seen_ = 0;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAILING_DOCUMENT_H_
