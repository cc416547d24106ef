#include "message/element_reader.h"


namespace kdzv {

bool ReadElement(const XmlNode& element, ElementReader& reader) {
  for (const XmlNode& child : element.Children()) {
    const ElementReader::Take take = reader.Child(child.Name());
    if (take.way == ElementReader::Take::Way::kText) {
      reader.TextOfChild(child.Text());
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
