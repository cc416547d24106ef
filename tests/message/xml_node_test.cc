#include "message/xml_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/item_reports.h"

namespace kdzv {
namespace {

using test::ChildNames;

TEST(XmlNodeTreeTest, ChildrenComeInDocumentOrder) {
  XmlNodeTree tree;
  tree.Open("Add");
  tree.Open("CmdID");
  tree.Append("7");
  tree.Close();
  tree.Open("VEvent");
  tree.Open("Source");
  tree.Append("ZV-1");
  tree.Close();
  tree.Close();
  tree.Open("Final");
  tree.Close();
  EXPECT_FALSE(tree.Complete());
  tree.Close();
  ASSERT_TRUE(tree.Complete());

  const XmlNode add = tree.Root();
  EXPECT_EQ(add.Name(), "Add");
  EXPECT_EQ(add.Children().size(), 3u);
  EXPECT_EQ(ChildNames(add), (std::vector<std::string>{"CmdID", "VEvent", "Final"}));
  const XmlNode vevent = *++add.Children().begin();
  EXPECT_EQ(ChildNames(vevent), std::vector<std::string>{"Source"});
  EXPECT_TRUE((*vevent.Children().begin()).Children().empty());
}

TEST(XmlNodeTreeTest, TextIsAllTextBelowTrimmedOfXmlWhiteSpace) {
  XmlNodeTree tree;
  tree.Open("a");
  tree.Append(" \t\r\nx");
  tree.Open("b");
  tree.Append("y ");
  tree.Close();
  tree.Append("z\n\u00a0");  // a no-break space is not white space here
  tree.Append(" \r\n");
  tree.Close();
  EXPECT_EQ(tree.Root().Text(), "xy z\n\u00a0");
  EXPECT_EQ((*tree.Root().Children().begin()).Text(), "y");
}

TEST(XmlNodeTreeTest, ClearForgetsEverything) {
  XmlNodeTree tree;
  tree.Open("first");
  tree.Append("text");
  tree.Close();
  tree.Clear();
  EXPECT_TRUE(tree.Empty());
  tree.Open("second");
  tree.Close();
  EXPECT_EQ(tree.Root().Name(), "second");
  EXPECT_EQ(tree.Root().Text(), "");
}

TEST(XmlNodeTreeTest, ToElementKeepsOwnTextAndThePlaceOfEachChild) {
  XmlElement a("a");
  a.AppendText("x");
  XmlElement b("b");
  b.SetText("inner");
  a.AppendChild(std::move(b));
  a.AppendText("y");
  a.AppendChild(XmlElement("c"));
  a.AppendText("z");

  const XmlNodeTree tree = XmlNodeTree::Of(a);
  EXPECT_EQ(tree.Root().Text(), "xinneryz");
  const XmlElement back = tree.Root().ToElement();
  EXPECT_EQ(SerializeXml(back), SerializeXml(a));
  EXPECT_EQ(back.OwnText(), "xyz");
  ASSERT_EQ(back.Children().size(), 2u);
  EXPECT_EQ(back.Children()[0].TextOffset(), 1u);
  EXPECT_EQ(back.Children()[1].TextOffset(), 2u);
}

}  // namespace
}  // namespace kdzv
