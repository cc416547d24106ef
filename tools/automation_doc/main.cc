// automation_doc: writes docs/automation.md, the host developer's page of
// the automation surface, from src/com/kdZentavo.idl (types, members, help
// strings, the meanings of the enumeration members) and
// src/com/automation_errors.tsv (the run-time errors of each member).
//
//   automation_doc IDL TSV PAGE           writes PAGE
//   automation_doc --check IDL TSV PAGE   exit 1 when PAGE is not what it
//                                         would write (the test of the tree)
//
// The page depends on nothing but the two files: the same input gives the
// same bytes.
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "automation_doc/idl_surface.h"

namespace kdzv::surface {
namespace {

constexpr const char* kIdlPath = "src/com/kdZentavo.idl";
constexpr const char* kTablePath = "src/com/automation_errors.tsv";

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw SurfaceError("cannot read " + path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The coclass whose default interface is `interface_name`.
const Type* ClassOfInterface(const Library& library, const std::string& interface_name) {
  for (const Type& type : library.types) {
    if (type.kind == Type::Kind::kCoClass && type.default_interface == interface_name) return &type;
  }
  return nullptr;
}

// The Visual Basic name of an IDL type.
std::string VbType(const Library& library, const Parameter& parameter) {
  static const std::map<std::string, std::string> kPlain = {
      {"BSTR", "String"}, {"DATE", "Date"},      {"VARIANT_BOOL", "Boolean"},
      {"long", "Long"},   {"short", "Integer"},  {"VARIANT", "Variant"},
      {"IUnknown", "IUnknown"}};
  const auto plain = kPlain.find(parameter.type);
  if (plain != kPlain.end()) return plain->second;
  if (const Type* coclass = ClassOfInterface(library, parameter.type)) return coclass->name;
  return parameter.type;  // an enumeration
}

bool IsObject(const Library& library, const Parameter& parameter) {
  return ClassOfInterface(library, parameter.type) != nullptr || parameter.type == "IUnknown";
}

// The variable by which the examples name an object of class `name`.
std::string ObjectVariable(const std::string& name) {
  if (name == "kdZVInterface") return "mZV";
  return "m" + name.substr(2);
}

// A variable for a value of VB type `type` called `name`, with the
// product's type prefix.
std::string ValueVariable(const std::string& type, std::string name) {
  if (!name.empty()) name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  if (type == "String") return "s" + name;
  if (type == "Long" || type == "Integer") return "n" + name;
  if (type == "Boolean") return "b" + name;
  if (type == "Date") return "d" + name;
  if (type == "Variant") return "v" + name;
  return "e" + name;
}

// Sample values for the arguments the examples pass; other arguments are
// passed as variables of their own name.
std::string SampleArgument(const std::string& name) {
  static const std::map<std::string, std::string> kSamples = {
      {"vntIndexKey", "1"},
      {"sKey", "\"Vormittag\""},
      {"Dauer", "30"},
      {"StartZeit", "#8:30:00 AM#"},
      {"MethodeID", "12"},
      {"BehandlerID", "3"},
      {"Datum", "#7/1/2024#"},
      {"strLog", "\"Start\""},
      {"mOwner", "Me"},
      {"bServiceSeitigerSync", "False"},
      {"sMsg", "\"Die Ordner sind beim Dienst eingetragen.\""},
      {"nStyle", "vbInformation"},
      {"strFile", "\"C:\\Zentavo\\down\\Praxis_2.xml\""},
      {"dLocalDate", "Now"},
      {"strDTString", "\"20240701T063000Z\""}};
  const auto found = kSamples.find(name);
  return found == kSamples.end() ? std::string() : found->second;
}

// What a Visual Basic host sees in Err.Number for `code`: its own number,
// or the HRESULT as a signed Long.
std::string ErrNumber(const ErrorCode& code) {
  if (!code.vb_number.empty()) return code.vb_number;
  const auto value = static_cast<int32_t>(static_cast<uint32_t>(std::stoul(code.hresult, nullptr, 16)));
  return std::to_string(value);
}

// "Anchor" of a heading as the usual Markdown renderers make it.
std::string Anchor(const std::string& heading) {
  std::string anchor;
  for (const char c : heading) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-') {
      anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else if (c == ' ') {
      anchor += '-';
    }
  }
  return anchor;
}

std::string EscapeCell(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '|') out += "\\|";
    else out += c;
  }
  return out;
}

class Page {
 public:
  Page(const Library& library, const ErrorTable& errors) : library_(library), errors_(errors) {}

  std::string Write() {
    Introduction();
    ErrorsSection();
    for (const Type& type : library_.types) {
      if (type.kind == Type::Kind::kCoClass) ClassSection(type);
    }
    out_ << "## Enumerations\n\n"
         << "widl takes no help strings on enumeration members; their meanings, from the comments "
            "of the IDL, are here.\n\n";
    for (const Type& type : library_.types) {
      if (type.kind == Type::Kind::kEnum) EnumSection(type);
    }
    std::string text = out_.str();
    while (text.size() >= 2 && text[text.size() - 1] == '\n' && text[text.size() - 2] == '\n') {
      text.pop_back();
    }
    return text;
  }

 private:
  void Introduction() {
    out_ << "# The automation surface of kdZentavo\n\n"
         << "<!-- Made by tools/automation_doc from " << kIdlPath << " and " << kTablePath
         << ". Do not edit: change those files and run\n"
         << "     cmake --build --preset linux --target automation_doc -->\n\n"
         << "Type library `" << library_.name << "` " << library_.version << ", `{"
         << library_.uuid << "}`, \"" << library_.help << "\".\n\n"
         << "Every class is created with `New` (with a reference to the type library) or with "
            "`CreateObject(\"kdZentavo.<class>\")`. The descriptions are the type library's own "
            "help strings, as an object browser shows them. The examples are in the Visual Basic "
            "style; each names its object with the variable given under its class.\n\n";
    out_ << "- [Run-time errors](#run-time-errors)\n";
    for (const Type& type : library_.types) {
      if (type.kind == Type::Kind::kCoClass) {
        out_ << "- [" << type.name << "](#" << Anchor(type.name) << "): " << type.help << "\n";
      }
    }
    out_ << "- [Enumerations](#enumerations):";
    const char* separator = " ";
    for (const Type& type : library_.types) {
      if (type.kind == Type::Kind::kEnum) {
        out_ << separator << "[" << type.name << "](#" << Anchor(type.name) << ")";
        separator = ", ";
      }
    }
    out_ << "\n\n";
  }

  void ErrorsSection() {
    out_ << "## Run-time errors\n\n"
         << "A failure inside the component never reaches the host: it goes to the component's "
            "error report (the log, or a message box when no interface object exists) and the "
            "member ends normally. What does reach the host is one of these errors; the number is "
            "the one a Visual Basic host sees in `Err.Number`.\n\n"
         << "| Error | HRESULT | Err.Number | Meaning |\n|---|---|---|---|\n";
    for (const ErrorCode& code : errors_.codes) {
      out_ << "| `" << code.name << "` | `" << code.hresult << "` | "
           << ErrNumber(code) << " | "
           << EscapeCell(code.meaning) << " |\n";
    }
    out_ << "\nEvery member can raise these, through the automation runtime that dispatches a "
            "late-bound call:\n\n";
    ErrorRows(AllMemberRows());
  }

  std::vector<const ErrorRow*> AllMemberRows() const {
    std::vector<const ErrorRow*> rows;
    for (const ErrorRow& row : errors_.rows) {
      if (row.target == "*") rows.push_back(&row);
    }
    return rows;
  }

  void ErrorRows(const std::vector<const ErrorRow*>& rows) {
    std::vector<const ErrorRow*> raised;
    std::vector<const ErrorRow*> notes;
    for (const ErrorRow* row : rows) (row->code.empty() ? notes : raised).push_back(row);
    if (!raised.empty()) {
      out_ << "| Error | Err.Number | When |\n|---|---|---|\n";
      for (const ErrorRow* row : raised) {
        const ErrorCode* code = errors_.Code(row->code);
        out_ << "| `" << code->name << "` | "
             << ErrNumber(*code) << " | "
             << EscapeCell(row->when) << " |\n";
      }
      out_ << "\n";
    }
    for (const ErrorRow* row : notes) {
      std::string sentence = row->when;
      sentence[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[0])));
      out_ << sentence << "\n\n";
    }
  }

  void ClassSection(const Type& coclass) {
    const std::string variable = ObjectVariable(coclass.name);
    out_ << "## " << coclass.name << "\n\n"
         << "> " << coclass.help << "\n\n"
         << "ProgID `kdZentavo." << coclass.name << "`, interface `" << coclass.default_interface
         << "`";
    if (!coclass.source_interface.empty()) {
      out_ << ", events `" << coclass.source_interface << "`";
    }
    out_ << ". The examples name it `" << variable << "`:\n\n```vb\n";
    if (!coclass.source_interface.empty()) {
      out_ << "Private WithEvents " << variable << " As kdZentavo." << coclass.name << "\n"
           << "Set " << variable << " = New kdZentavo." << coclass.name << "\n";
    } else {
      out_ << "Dim " << variable << " As kdZentavo." << coclass.name << "\n"
           << "Set " << variable << " = New kdZentavo." << coclass.name << "\n";
    }
    out_ << "```\n\nCreating it:\n\n";
    ErrorRows(errors_.RowsFor(coclass.name, ""));

    const Type* interface_type = library_.Find(coclass.default_interface);
    if (interface_type != nullptr) {
      for (const std::string& name : MemberNames(library_, coclass.name)) {
        std::vector<const Function*> functions;
        for (const Function& function : interface_type->functions) {
          if (function.name == name) functions.push_back(&function);
        }
        if (!functions.empty()) Member(coclass, variable, functions);
      }
    }
    const Type* events = library_.Find(coclass.source_interface);
    if (events != nullptr) {
      for (const Function& function : events->functions) Event(coclass, variable, function);
    }
  }

  // A property (its getter and setters) or a method.
  void Member(const Type& coclass, const std::string& variable,
              const std::vector<const Function*>& functions) {
    const Function& first = *functions.front();
    bool get = false;
    bool put = false;
    bool putref = false;
    for (const Function* function : functions) {
      get = get || function->kind == "propget";
      put = put || function->kind == "propput";
      putref = putref || function->kind == "propputref";
    }
    const bool property = get || put || putref;
    std::vector<Parameter> arguments;
    const Parameter* result = nullptr;
    for (const Parameter& parameter : first.parameters) {
      if (parameter.retval) {
        result = &parameter;
      } else if (!(property && first.kind != "propget" && &parameter == &first.parameters.back())) {
        arguments.push_back(parameter);
      }
    }
    // The value of a property: the getter's result, or the setter's last
    // argument.
    const Parameter* value = result;
    if (value == nullptr && property) value = &first.parameters.back();
    const std::string value_type = value != nullptr ? VbType(library_, *value) : std::string();

    std::ostringstream signature;
    if (property) {
      signature << (get && !put && !putref ? "ReadOnly Property " : "Property ") << first.name;
    } else {
      signature << (result != nullptr ? "Function " : "Sub ") << first.name;
    }
    if (!arguments.empty() || !property) {
      signature << "(";
      for (size_t i = 0; i < arguments.size(); ++i) {
        const Parameter& argument = arguments[i];
        if (i != 0) signature << ", ";
        if (argument.optional) signature << "[";
        signature << (argument.out ? "ByRef " : "") << argument.name << " As "
                  << VbType(library_, argument);
        if (argument.optional) signature << "]";
      }
      signature << ")";
    }
    if (!value_type.empty()) signature << " As " << value_type;

    out_ << "### " << coclass.name << "." << first.name << "\n\n"
         << "`" << signature.str() << "`";
    if (property) {
      out_ << " (" << (get ? "get" : "") << (get && (put || putref) ? ", " : "")
           << (put ? "let" : "") << (putref ? "set by reference" : "") << ")";
    }
    std::string id = first.id;
    if (id == "0" && first.name == "Item") id = "0 (the default member)";
    if (id == "DISPID_NEWENUM") id = "-4 (DISPID_NEWENUM)";
    out_ << ", dispatch id " << id
         << (first.hidden ? ", hidden" : "") << "\n\n"
         << first.help << "\n\n";
    ErrorRows(errors_.RowsFor(coclass.name, first.name));

    out_ << "```vb\n";
    Example(variable, first, arguments, value, get, put, putref);
    out_ << "```\n\n";
  }

  std::string ArgumentList(const std::vector<Parameter>& arguments) {
    std::string list;
    for (size_t i = 0; i < arguments.size(); ++i) {
      if (i != 0) list += ", ";
      const std::string sample = SampleArgument(arguments[i].name);
      list += sample.empty() ? arguments[i].name : sample;
    }
    return list;
  }

  void DeclareUnsampled(const std::vector<Parameter>& arguments) {
    for (const Parameter& argument : arguments) {
      if (SampleArgument(argument.name).empty()) {
        out_ << "Dim " << argument.name << " As " << VbType(library_, argument) << "\n";
      }
    }
  }

  void Example(const std::string& variable, const Function& function,
               const std::vector<Parameter>& arguments, const Parameter* value, bool get,
               bool put, bool putref) {
    DeclareUnsampled(arguments);
    const std::string call = variable + "." + function.name +
                             (arguments.empty() ? std::string() : "(" + ArgumentList(arguments) + ")");
    if (function.name == "NewEnum") {
      // The hidden enumerator: what For Each uses.
      const Type* owner = nullptr;
      for (const Type& type : library_.types) {
        for (const Function& candidate : type.functions) {
          if (&candidate == &function) owner = &type;
        }
      }
      std::string element = "Object";
      if (owner != nullptr) {
        for (const Function& candidate : owner->functions) {
          if (candidate.name == "Item" && !candidate.parameters.empty()) {
            element = VbType(library_, candidate.parameters.back());
          }
        }
      }
      const std::string item = ObjectVariable(element);
      out_ << "Dim " << item << " As kdZentavo." << element << "\n"
           << "For Each " << item << " In " << variable << "\n"
           << "    ' ...\n"
           << "Next\n";
      return;
    }
    if (value == nullptr) {  // a Sub
      out_ << variable << "." << function.name
           << (arguments.empty() ? std::string() : " " + ArgumentList(arguments)) << "\n";
      return;
    }
    const bool object = IsObject(library_, *value);
    const std::string type = VbType(library_, *value);
    const bool property = get || put || putref;
    const std::string name = object ? ObjectVariable(type)
                                    : ValueVariable(type, property ? function.name : value->name);
    out_ << "Dim " << name << " As " << (object ? "kdZentavo." : "") << type << "\n";
    if (!property || get) {
      out_ << (object ? "Set " : "") << name << " = " << call << "\n";
    }
    if (put) out_ << call << " = " << name << "\n";
    if (putref) out_ << "Set " << call << " = " << name << "\n";
  }

  void Event(const Type& coclass, const std::string& variable, const Function& function) {
    std::ostringstream arguments;
    for (size_t i = 0; i < function.parameters.size(); ++i) {
      const Parameter& parameter = function.parameters[i];
      if (i != 0) arguments << ", ";
      arguments << parameter.name << " As " << VbType(library_, parameter);
    }
    out_ << "### Event " << coclass.name << "." << function.name << "\n\n"
         << "`Event " << function.name << "(" << arguments.str() << ")`, dispatch id "
         << function.id << "\n\n"
         << function.help << "\n\n";
    ErrorRows(errors_.RowsFor(coclass.name, function.name));
    out_ << "```vb\n"
         << "Private Sub " << variable << "_" << function.name << "(" << arguments.str() << ")\n";
    // A body that shows the handler's part: accept, or read the text.
    std::string body = "' ...";
    for (const Parameter& parameter : function.parameters) {
      if (parameter.name == "retVal") body = "retVal = True";
    }
    if (body == "' ..." && !function.parameters.empty() &&
        VbType(library_, function.parameters.front()) == "String") {
      body = "Debug.Print " + function.parameters.front().name;
    }
    out_ << "    " << body << "\n"
         << "End Sub\n"
         << "```\n\n";
  }

  void EnumSection(const Type& type) {
    out_ << "### " << type.name << "\n\n"
         << "> " << type.help << "\n\n"
         << "| Member | Value | Meaning |\n|---|---|---|\n";
    for (const EnumMember& member : type.members) {
      out_ << "| `" << member.name << "` | " << member.value << " | " << EscapeCell(member.meaning)
           << " |\n";
    }
    out_ << "\n";
  }

  const Library& library_;
  const ErrorTable& errors_;
  std::ostringstream out_;
};

int Run(int argc, char** argv) {
  const bool check = argc == 5 && std::string(argv[1]) == "--check";
  if (argc != 4 && !check) {
    std::cerr << "usage: automation_doc [--check] IDL TSV PAGE\n";
    return 2;
  }
  const int first = check ? 2 : 1;
  const Library library = ReadIdl(ReadFile(argv[first]));
  const ErrorTable errors = ReadErrorTable(ReadFile(argv[first + 1]), library);
  const std::string page = Page(library, errors).Write();
  const std::string path = argv[first + 2];
  if (check) {
    std::ifstream in(path, std::ios::binary);
    const std::string current = in ? std::string(std::istreambuf_iterator<char>(in),
                                                 std::istreambuf_iterator<char>())
                                   : std::string();
    if (current == page) return 0;
    // The first line that differs, to find the change.
    std::istringstream want(page);
    std::istringstream have(current);
    std::string want_line;
    std::string have_line;
    int line = 0;
    for (;;) {
      ++line;
      const bool more_want = static_cast<bool>(std::getline(want, want_line));
      const bool more_have = static_cast<bool>(std::getline(have, have_line));
      if (!more_want && !more_have) break;
      if (!more_want || !more_have || want_line != have_line) {
        std::cerr << path << " is not what " << kIdlPath << " and " << kTablePath
                  << " make (line " << line << "):\n  page:      " << have_line
                  << "\n  generated: " << want_line << "\n"
                  << "Run: cmake --build --preset linux --target automation_doc\n";
        break;
      }
    }
    return 1;
  }
  std::ofstream out(path, std::ios::binary);
  out << page;
  if (!out.flush()) {
    std::cerr << "cannot write " << path << "\n";
    return 1;
  }
  return 0;
}

}  // namespace
}  // namespace kdzv::surface

int main(int argc, char** argv) {
  try {
    return kdzv::surface::Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "automation_doc: " << error.what() << "\n";
    return 1;
  }
}
