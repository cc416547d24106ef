#include "message/xml_writer.h"

#include <utility>

#include "util/error.h"

namespace kdzv {

void AppendEscapedXmlText(std::string& out, std::string_view text) {
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char* replacement = nullptr;
    switch (text[i]) {
      case '&': replacement = "&amp;"; break;
      case '<': replacement = "&lt;"; break;
      case '>': replacement = "&gt;"; break;
      default: continue;
    }
    out.append(text.substr(start, i - start));
    out.append(replacement);
    start = i + 1;
  }
  out.append(text.substr(start));
}

// --- XmlWriter::Element -----------------------------------------------------

XmlWriter::Element XmlWriter::Element::AppendChild(std::string_view name) const {
  XmlWriter& writer = *writer_;
  writer.Check(*this);
  // Nothing of the child exists before this has passed; an element left
  // open inside this one could still take content.
  writer.BeforeElement(name);
  writer.CloseDeeperThan(depth_);
  const Open open{writer.next_serial_, writer.handed_on_ + writer.markup_.size(),
                  static_cast<uint32_t>(writer.names_.size()), static_cast<uint32_t>(name.size()),
                  writer.start_open_};
  writer.open_.reserve(writer.open_.size() + 1);
  writer.names_.reserve(writer.names_.size() + name.size());
  writer.WriteWhole([&writer, name] {
    writer.EndStartTag();
    writer.markup_.push_back('<');
    writer.markup_.append(name);
  });
  // Room was made above: nothing below fails.
  writer.names_.append(name);
  writer.open_.push_back(open);
  writer.start_open_ = true;
  ++writer.next_serial_;
  return Element(writer_, writer.open_.size(), open.serial);
}

void XmlWriter::Element::AppendText(std::string_view text) const {
  XmlWriter& writer = *writer_;
  writer.Check(*this);
  // Character data belongs into an element.
  if (depth_ == 0) RaiseStandard(err::kInternal, "XmlWriter");
  writer.CloseDeeperThan(depth_);
  if (text.empty()) return;
  writer.WriteWhole([&writer, text] {
    writer.EndStartTag();
    AppendEscapedXmlText(writer.markup_, text);
  });
}

XmlWriter::Element XmlWriter::Element::AppendTextElement(std::string_view name,
                                                         std::string_view text) const {
  const Element child = AppendChild(name);
  child.AppendText(text);
  return child;
}

void XmlWriter::Element::Remove() const {
  XmlWriter& writer = *writer_;
  writer.Check(*this);
  if (depth_ == 0) RaiseStandard(err::kInternal, "XmlWriter");
  const Open open = writer.open_[depth_ - 1];
  if (open.begin < writer.handed_on_) RaiseStandard(err::kInternal, "XmlWriter");
  writer.markup_.resize(open.begin - writer.handed_on_);
  writer.names_.resize(open.name_begin);
  writer.open_.resize(depth_ - 1);
  writer.start_open_ = open.parent_start_open;
}

bool XmlWriter::Element::IsOpen() const {
  if (depth_ == 0) return true;
  return depth_ <= writer_->open_.size() && writer_->open_[depth_ - 1].serial == serial_;
}

// --- XmlWriter --------------------------------------------------------------

void XmlWriter::Check(const Element& element) const {
  if (element.writer_ != this || !element.IsOpen()) RaiseStandard(err::kInternal, "XmlWriter");
}

void XmlWriter::HandOnChildren(Element parent, ChildSink sink) {
  Check(parent);
  sink_ = std::move(sink);
  sink_parent_depth_ = parent.depth_;
  sink_parent_serial_ = parent.serial_;
}

void XmlWriter::ForgetMarkup() {
  handed_on_ += markup_.size();
  markup_.clear();
}

void XmlWriter::CloseDeeperThan(size_t depth) {
  while (open_.size() > depth) CloseInnermost();
}

void XmlWriter::CloseInnermost() {
  const Open open = open_.back();
  WriteWhole([this, &open] {
    if (start_open_) {
      markup_.append("/>");
      start_open_ = false;
    } else {
      markup_.append("</");
      markup_.append(names_, open.name_begin, open.name_size);
      markup_.push_back('>');
    }
  });
  names_.resize(open.name_begin);
  open_.pop_back();
  const bool handed_on_child =
      sink_ && open_.size() == sink_parent_depth_ &&
      (sink_parent_depth_ == 0 || open_.back().serial == sink_parent_serial_);
  if (handed_on_child) {
    sink_(markup_);
    ForgetMarkup();
  }
}

}  // namespace kdzv
