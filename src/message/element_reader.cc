#include "message/element_reader.h"

namespace kdzv {

bool ReadElement(const XmlNode& element, ElementReader& reader) {
  for (const XmlNode& child : element.Children()) {
    const ElementReader::Take take = reader.Child(child.Name());
    if (take.way == ElementReader::Take::Way::kText) {
      if (take.field == nullptr) {
        reader.TextOfChild(child.Text());
      } else {
        take.field->assign(child.Text());
      }
    } else if (take.way == ElementReader::Take::Way::kReader) {
      reader.ChildRead(ReadElement(child, *take.reader));
    }
  }
  return reader.End();
}

void ElementReading::Begin(ElementReader& reader) {
  frames_.clear();
  text_depth_ = 0;
  text_.clear();
  frames_.push_back(&reader);
}

void ElementReading::EndText() {
  if (text_to_ == &text_) {
    frames_.back()->TextOfChild(Trim(text_));
    return;
  }
  // Trimmed where it stands.
  std::string& field = *text_to_;
  const std::string_view trimmed = Trim(field);
  if (trimmed.size() != field.size()) {
    const size_t first = static_cast<size_t>(trimmed.data() - field.data());
    field.erase(first + trimmed.size());
    field.erase(0, first);
  }
}

bool ElementReading::CloseReader(bool& read) {
  ElementReader* const ended = frames_.back();
  frames_.pop_back();
  const bool was_read = ended->End();
  if (frames_.empty()) {
    read = was_read;
    return true;
  }
  frames_.back()->ChildRead(was_read);
  return false;
}

}  // namespace kdzv
