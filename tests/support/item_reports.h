// Helpers for the tests of the message items: what was reported, and what an
// item wrote.
#ifndef KDZV_TESTS_SUPPORT_ITEM_REPORTS_H_
#define KDZV_TESTS_SUPPORT_ITEM_REPORTS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "message/xml_element.h"
#include "message/xml_parser.h"
#include "message/xml_writer.h"
#include "platform/platform.h"
#include "support/fakes.h"

namespace kdzv::test {

// The texts of the message boxes shown so far.
inline std::vector<std::string> BoxTexts(const ScopedProcess& scoped) {
  std::vector<std::string> texts;
  for (const auto& box : scoped.ui.boxes) texts.push_back(box.text);
  return texts;
}

// How often `text` occurs in `lines`.
inline int CountOf(const std::vector<std::string>& lines, std::string_view text) {
  return static_cast<int>(std::count(lines.begin(), lines.end(), text));
}

// The log line of the error report for a failing element creation of
// FailingWriter (error 5) inside `procedure` of `module`.
inline std::string CreateElementErrorLine(std::string_view module, std::string_view procedure) {
  return "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=" + std::string(module) +
         " / Proc=" + std::string(procedure) + " / Details=";
}

// The names of the child elements of `element` (an XmlElement or an
// XmlNode), in order.
template <class Element>
std::vector<std::string> ChildNames(const Element& element) {
  std::vector<std::string> names;
  for (const auto& child : element.Children()) names.emplace_back(child.Name());
  return names;
}

// The markup written into `writer`, every element closed.
inline std::string WrittenXml(XmlWriter& writer) {
  writer.CloseAll();
  return writer.Markup();
}

// The elements written at the top level of `writer` (every element closed),
// read back as the children of an element `parent`.
inline XmlElement WrittenInto(XmlWriter& writer, std::string_view parent) {
  const std::string name(parent);
  std::optional<XmlElement> read =
      System().xml_parser.ParseBytes("<" + name + ">" + WrittenXml(writer) + "</" + name + ">");
  if (!read) {
    ADD_FAILURE() << "not well-formed: " << writer.Markup();
    return XmlElement(name);
  }
  return std::move(*read);
}

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_ITEM_REPORTS_H_
