#include "exchange/test_down_file.h"

#include "interface/error_report.h"
#include "exchange/log_writer.h"
#include "message/up_down_file.h"

namespace kdzv {

bool TestDownFile(std::string_view strFile, XmlParser& parser, FileSystem& file_system,
                  const std::string& service_host) {
  try {
    clZVUpDownFile reader(parser, file_system, service_host);
    return reader.AnalyzeDownFile(strFile);
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "TestDownFile", "File=" + std::string(strFile));
    return false;
  }
}

}  // namespace kdzv
