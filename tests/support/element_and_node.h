// A test element that can be read both ways: as the XmlElement the tests
// build and nest, and as the XmlNode of a parsed tree that the item readers
// take.
#ifndef KDZV_TESTS_SUPPORT_ELEMENT_AND_NODE_H_
#define KDZV_TESTS_SUPPORT_ELEMENT_AND_NODE_H_

#include <utility>

#include "message/xml_element.h"
#include "message/xml_node.h"

namespace kdzv::test {

class ElementAndNode {
 public:
  // Implicit, so that a helper building an XmlElement can return one.
  ElementAndNode(XmlElement element)  // NOLINT(google-explicit-constructor)
      : element_(std::move(element)), tree_(XmlNodeTree::Of(element_)) {}

  operator const XmlElement&() const { return element_; }  // NOLINT
  operator XmlNode() const { return tree_.Root(); }        // NOLINT

 private:
  XmlElement element_;
  XmlNodeTree tree_;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_ELEMENT_AND_NODE_H_
