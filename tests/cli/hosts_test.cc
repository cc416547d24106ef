#include "cli/hosts.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kdzv {
namespace {

TEST(AcceptingHostTest, AcceptsAndGivesNewIdsPerKind) {
  std::ostringstream out;
  AcceptingHost host(out);
  auto add = std::make_shared<kdZVTermin>();
  int32_t retVal = 0;
  host.OnTermin(add, retVal);
  EXPECT_EQ(retVal, -1);
  EXPECT_EQ(add->TerminIDHX, "1");
  auto replace = std::make_shared<kdZVTermin>();
  replace->TerminCommand = Termin_Replace;
  replace->TerminIDHX = "12";
  retVal = 0;
  host.OnTermin(replace, retVal);
  EXPECT_EQ(replace->TerminIDHX, "12");
  auto calendar = std::make_shared<kdZVCalendar>();
  retVal = 0;
  host.OnCalendar(calendar, retVal);
  EXPECT_EQ(calendar->BehandlerIDHX, 1);
  auto attribute = std::make_shared<kdZVCalendar>();
  host.OnAttribute(attribute, retVal);
  EXPECT_EQ(attribute->AttributeIDHX, "1");
  std::string line = "Warten auf Antwort ...";
  host.OnSyncLog(line);
  EXPECT_EQ(out.str(), "Warten auf Antwort ...\n");
  EXPECT_EQ(host.Counts().at("OnTermin Add"), 1);
  EXPECT_EQ(host.Counts().at("OnTermin Replace"), 1);
}

TEST(RefusingHostTest, LeavesEveryAnswerAtFalse) {
  std::ostringstream out;
  RefusingHost host(out);
  auto add = std::make_shared<kdZVTermin>();
  int32_t retVal = 0;
  host.OnTermin(add, retVal);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(add->TerminIDHX, "");
  auto calendar = std::make_shared<kdZVCalendar>();
  host.OnCalendar(calendar, retVal);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(calendar->BehandlerIDHX, 0);
}

}  // namespace
}  // namespace kdzv
