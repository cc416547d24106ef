#include "message/status_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "util/error.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {
namespace {

// Reports the error being handled under `procedure` and gives the error
// text that the operation returns: number "/" description, never empty.
std::string ReportAndDescribe(std::string_view module, std::string_view procedure) {
  const ErrorInfo error = CurrentErrorInfo();
  ReportError(error, module, procedure, "");
  return std::to_string(error.number) + "/" + error.description;
}

}  // namespace

// --- clZVStatus -------------------------------------------------------------

std::string clZVStatus::ReadFromXMLNode(const XmlNode& node) {
  try {
    for (const XmlNode& child : node.Children()) {
      const std::string_view name = child.Name();
      if (NameIs(name, "cmd")) {
        Cmd = child.Text();
      } else if (NameIs(name, "cmdid")) {
        CmdID = child.Text();
      } else if (NameIs(name, "cmdref")) {
        CmdRef = child.Text();
      } else if (NameIs(name, "data")) {
        Data = child.Text();
      } else if (NameIs(name, "msgref")) {
        MsgRef = child.Text();
      } else if (NameIs(name, "text")) {
        Text = child.Text();
      } else {
        LogLine("Unbekannter Knoten (Status): " + ToLower(name));
      }
    }
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVStatus.ReadFromXMLNode");
  }
}

std::string clZVStatus::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    // A status goes into the message whole or not at all.
    parent.AppendWholeChild("Status", [this](XmlWriter::Element status) {
      status.AppendTextElement("Cmd", Cmd);
      status.AppendTextElement("CmdID", CmdID);
      status.AppendTextElement("CmdRef", CmdRef);
      status.AppendTextElement("MsgRef", MsgRef);
      status.AppendTextElement("Data", Data);
      status.AppendTextElement("Text", Text);
    });
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVStatus.CreateXMLSource");
  }
}

// --- clZVAlert --------------------------------------------------------------

std::string clZVAlert::ReadFromXMLNode(const XmlNode& node) {
  try {
    for (const XmlNode& child : node.Children()) {
      const std::string_view name = child.Name();
      if (NameIs(name, "cmdid")) {
        // Numbers as the host reads them: a text that is not a number is a
        // type mismatch.
        CmdID = ToLong(child.Text());
      } else if (NameIs(name, "data")) {
        Data = ToLong(child.Text());
      } else if (NameIs(name, "text")) {
        Text = child.Text();
      } else {
        LogLine("Unbekannter Knoten (alert): " + ToLower(name));
      }
    }
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVAlert.ReadFromXMLNode");
  }
}

std::string clZVAlert::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    // An alert goes into the message whole or not at all.
    parent.AppendWholeChild("Alert", [this](XmlWriter::Element alert) {
      alert.AppendTextElement("CmdID", std::to_string(CmdID));
      alert.AppendTextElement("Data", std::to_string(Data));
      alert.AppendTextElement("Text", Text);
    });
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVAlert.CreateXMLSource");
  }
}

// --- clZVStatusCol ----------------------------------------------------------

std::shared_ptr<clZVStatus> clZVStatusCol::Add(std::string_view Cmd, std::string_view CmdID,
                                               std::string_view CmdRef, std::string_view MsgRef,
                                               std::string_view Data, std::string_view Text,
                                               std::string_view sKey) {
  auto status = std::make_shared<clZVStatus>();
  status->Cmd = std::string(Cmd);
  status->CmdID = std::string(CmdID);
  status->CmdRef = std::string(CmdRef);
  status->MsgRef = std::string(MsgRef);
  status->Data = std::string(Data);
  status->Text = std::string(Text);
  return KeyedCollection::Add(std::move(status), sKey);
}

std::string clZVStatusCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (const auto& status : *this) {
      if (!status->CreateXMLSource(parent).empty()) {
        return "CreateXMLSource fehlgeschlagen für SubItem 'clZVStatus'.";
      }
    }
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVStatusCol.CreateXMLSource");
  }
}

// --- clZVAlertCol -----------------------------------------------------------

std::shared_ptr<clZVAlert> clZVAlertCol::Add(std::string_view Text, int32_t CmdID, int32_t Data,
                                             std::string_view /*sItem*/, std::string_view sKey) {
  auto alert = std::make_shared<clZVAlert>();
  alert->Text = std::string(Text);
  alert->CmdID = CmdID;
  alert->Data = Data;
  return KeyedCollection::Add(std::move(alert), sKey);
}

std::string clZVAlertCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (const auto& alert : *this) {
      if (!alert->CreateXMLSource(parent).empty()) {
        return "CreateXMLSource fehlgeschlagen für SubItem 'clZVAlert'.";
      }
    }
    return std::string();
  } catch (...) {
    return ReportAndDescribe(kModule, "clZVAlertCol.CreateXMLSource");
  }
}

}  // namespace kdzv
