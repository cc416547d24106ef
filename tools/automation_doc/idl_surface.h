// The automation surface as src/com/kdZentavo.idl declares it, and the
// table of run-time errors beside it (src/com/automation_errors.tsv): read
// by the generator of docs/automation.md, and by the type library's test,
// which compares every help string of the built type libraries with the
// text declared here. Portable C++ (no Windows header).
#ifndef KDZV_TOOLS_AUTOMATION_DOC_IDL_SURFACE_H_
#define KDZV_TOOLS_AUTOMATION_DOC_IDL_SURFACE_H_

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kdzv::surface {

// A malformed IDL or table; what() names the file's line.
class SurfaceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Parameter {
  std::string name;
  std::string type;  // as written, without the pointer stars
  int pointers = 0;
  bool in = false;
  bool out = false;
  bool retval = false;
  bool optional = false;
};

struct Function {
  std::string name;
  std::string help;  // UTF-8
  std::string id;    // as written: "0", "DISPID_NEWENUM"
  // "method", "propget", "propput" or "propputref".
  std::string kind = "method";
  bool hidden = false;
  std::vector<Parameter> parameters;
};

struct EnumMember {
  std::string name;
  long value = 0;
  std::string meaning;  // UTF-8, the comment behind the member
};

struct Type {
  enum class Kind { kEnum, kInterface, kDispInterface, kCoClass };
  Kind kind = Kind::kInterface;
  std::string name;
  std::string help;  // UTF-8
  std::string uuid;
  std::vector<Function> functions;    // interfaces and dispinterfaces
  std::vector<EnumMember> members;    // enumerations
  std::string default_interface;      // coclasses
  std::string source_interface;       // coclasses with events
};

struct Library {
  std::string name;
  std::string help;
  std::string uuid;
  std::string version;
  std::vector<Type> types;  // in the order of the IDL

  const Type* Find(std::string_view name) const;
};

// Text in Windows-1252 as UTF-8. Throws SurfaceError for a byte that
// Windows-1252 leaves undefined, and for text that reads as UTF-8 already
// (the IDL must stay in Windows-1252: widl copies its bytes as they are).
std::string Utf8FromWindows1252(std::string_view bytes);

// Reads the IDL text (Windows-1252). Every type and function must carry a
// help string and every enumeration member a comment; otherwise it throws
// SurfaceError naming the declaration.
Library ReadIdl(std::string_view idl_bytes);

struct ErrorCode {
  std::string name;     // "DISP_E_TYPEMISMATCH"
  std::string hresult;  // "0x80020005"
  std::string vb_number;  // "13", or "" when a Visual Basic host sees the HRESULT itself
  std::string meaning;
};

// One row of the error table: the code `code` (empty: no run-time error,
// `when` says what happens instead) raised by `target` when `when`.
// Targets: "*" (every member), "Class" (creating the class), "Class.*"
// (every member of the class), "Class.Member".
struct ErrorRow {
  std::string target;
  std::string code;
  std::string when;
};

struct ErrorTable {
  std::vector<ErrorCode> codes;
  std::vector<ErrorRow> rows;

  const ErrorCode* Code(std::string_view name) const;
  // The rows for member `member` of class `class_name` ("" for creating
  // it): the class's own rows and the "Class.*" rows, in table order,
  // without the rows for every member.
  std::vector<const ErrorRow*> RowsFor(std::string_view class_name,
                                       std::string_view member) const;
};

// Reads the table (UTF-8, tab-separated) and checks it against `library`:
// every target names a class or member of the library, every code is
// defined, and every member of every class and every class's creation has
// at least one row of its own. Throws SurfaceError.
ErrorTable ReadErrorTable(std::string_view tsv, const Library& library);

// The members of coclass `class_name` that a host sees: those of its
// default interface and then the events of its source interface, each
// name once, in the order of the IDL.
std::vector<std::string> MemberNames(const Library& library, std::string_view class_name);

}  // namespace kdzv::surface

#endif  // KDZV_TOOLS_AUTOMATION_DOC_IDL_SURFACE_H_
