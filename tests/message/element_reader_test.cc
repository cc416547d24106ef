#include "message/element_reader.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_parser.h"

namespace kdzv {
namespace {

// Writes down what it is told. A child named "t..." is read as text, one
// named "r..." by another recording reader, anything else not at all; a
// child named "boom" raises.
class RecordingReader final : public ElementReader {
 public:
  explicit RecordingReader(std::vector<std::string>& log, int level = 0)
      : log_(log), level_(level) {}

  Take Child(std::string_view name) override {
    log_.push_back(Indent() + "child " + std::string(name));
    if (name == "boom") throw std::runtime_error("boom");
    if (name.starts_with("t")) return AsText();
    if (name.starts_with("r")) {
      inner_.clear();
      inner_.emplace_back(log_, level_ + 1);
      return By(inner_.back());
    }
    return Skip();
  }
  void TextOfChild(std::string_view text) override {
    log_.push_back(Indent() + "text [" + std::string(text) + "]");
  }
  void ChildRead(bool read) override {
    log_.push_back(Indent() + (read ? "child read" : "child not read"));
  }
  bool End() override {
    log_.push_back(Indent() + "end");
    return level_ > 0;  // the inner readers answer true, the outermost false
  }

 private:
  std::string Indent() const { return std::string(static_cast<size_t>(level_) * 2, ' '); }

  std::vector<std::string>& log_;
  int level_;
  std::vector<RecordingReader> inner_;
};

// Reads every element of the document below the root with a recording
// reader, and writes down what reaches the sink.
class ReadingSink final : public XmlStreamSink {
 public:
  Take Open(std::string_view name, size_t depth) override {
    if (depth == 1) return Take::kStream;
    log.push_back("open " + std::string(name));
    reader_.emplace_back(log);
    return Take::kRead;
  }
  ElementReader* Reader() override { return &reader_.back(); }
  void Element(const XmlNode&, size_t) override { log.push_back("built"); }
  void Read(bool read, size_t depth) override {
    log.push_back("read " + std::string(read ? "true" : "false") + " at " +
                  std::to_string(depth));
  }
  void ReadFailed() override { log.push_back("failed"); }

  std::vector<std::string> log;

 private:
  std::vector<RecordingReader> reader_;
};

// Feeds a document through the builder as a parser would; "|" in a text
// cuts it into two pieces of character data.
void Feed(XmlTreeBuilder& builder, const XmlElement& element) {
  ASSERT_TRUE(builder.StartElement(element.Name()));
  element.ForEachContent(
      [&](std::string_view text) {
        const size_t cut = text.find('|');
        if (cut == std::string_view::npos) {
          ASSERT_TRUE(builder.Characters(text));
        } else {
          ASSERT_TRUE(builder.Characters(text.substr(0, cut)));
          ASSERT_TRUE(builder.Characters(text.substr(cut + 1)));
        }
      },
      [&](const XmlElement& child) { Feed(builder, child); });
  builder.EndElement();
}

XmlElement Element(std::string name, std::vector<XmlElement> children = {},
                   std::string text = {}) {
  XmlElement element{std::move(name)};
  if (!text.empty()) element.AppendText(text);
  for (XmlElement& child : children) element.AppendChild(std::move(child));
  return element;
}

// <cmd><t1> a|b </t1><x><t2>unseen</t2></x><r1><t3>c</t3><tn>d<q>e</q>|f</tn></r1>
//  <t4/><r2/></cmd>
XmlElement Command() {
  XmlElement nested = Element("tn", {}, "d");
  nested.AppendChild(Element("q", {}, "e"));
  nested.AppendText("|f");
  return Element("cmd", {Element("t1", {}, " a|b "), Element("x", {Element("t2", {}, "unseen")}),
                         Element("r1", {Element("t3", {}, "c"), std::move(nested)}),
                         Element("t4"), Element("r2")});
}

const std::vector<std::string> kCommandLog = {
    "child t1", "text [ab]", "child x", "child r1", "  child t3", "  text [c]",
    "  child tn", "  text [de|f]", "  end", "child read", "child t4", "text []",
    "child r2", "  end", "child read", "end"};

TEST(ElementReaderTest, ATreeIsReadChildByChild) {
  const XmlNodeTree tree = XmlNodeTree::Of(Command());
  std::vector<std::string> log;
  RecordingReader reader(log);
  EXPECT_FALSE(ReadElement(tree.Root(), reader));
  // The tree keeps the "|" of the text as it is.
  std::vector<std::string> expected = kCommandLog;
  expected[1] = "text [a|b]";
  EXPECT_EQ(log, expected);
}

TEST(ElementReaderTest, StreamedEventsAreReadAsTheTreeIs) {
  ReadingSink sink;
  XmlTreeBuilder builder(sink);
  Feed(builder, Element("root", {Command(), Command()}));
  EXPECT_TRUE(builder.Done());
  // Text cut into pieces comes together; an element passed over is seen
  // neither by the reader nor by the sink.
  std::vector<std::string> once = {"open cmd"};
  once.insert(once.end(), kCommandLog.begin(), kCommandLog.end());
  once.push_back("read false at 2");
  for (std::string& line : once) {
    if (line == "  text [de|f]") line = "  text [def]";
  }
  std::vector<std::string> expected = once;
  expected.insert(expected.end(), once.begin(), once.end());
  EXPECT_EQ(sink.log, expected);
}

TEST(ElementReaderTest, AReaderThatRaisesPassesOverTheRestOfItsElementOnly) {
  ReadingSink sink;
  XmlTreeBuilder builder(sink);
  Feed(builder, Element("root", {Element("cmd", {Element("r1", {Element("boom", {Element("t1")}),
                                                                Element("t2", {}, "later")}),
                                                 Element("t3")}),
                                 Element("cmd", {Element("t4", {}, "next")})}));
  EXPECT_TRUE(builder.Done());
  EXPECT_EQ(sink.log, (std::vector<std::string>{"open cmd", "child r1", "  child boom", "failed",
                                                "open cmd", "child t4", "text [next]", "end",
                                                "read false at 2"}));
}

}  // namespace
}  // namespace kdzv
