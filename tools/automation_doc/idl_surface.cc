#include "automation_doc/idl_surface.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

namespace kdzv::surface {
namespace {

// --- Windows-1252 ---

// The characters of 0x80 to 0x9F; 0 where Windows-1252 defines none.
constexpr char32_t kHighControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// --- Tokens ---

struct Token {
  enum class Kind { kWord, kNumber, kString, kPunct, kEnd };
  Kind kind = Kind::kEnd;
  std::string text;  // a string's text without its quotes
  int line = 0;
};

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) { Scan(); }

  const Token& Peek(size_t ahead = 0) const {
    const size_t at = position_ + ahead;
    return at < tokens_.size() ? tokens_[at] : tokens_.back();
  }
  Token Next() {
    Token token = Peek();
    if (position_ + 1 < tokens_.size()) ++position_;
    return token;
  }
  bool Accept(std::string_view punct_or_word) {
    if (Peek().kind != Token::Kind::kString && Peek().text == punct_or_word) {
      Next();
      return true;
    }
    return false;
  }
  Token Expect(std::string_view what) {
    if (Peek().kind == Token::Kind::kString || Peek().text != what) {
      Fail("expected '" + std::string(what) + "', found '" + Peek().text + "'");
    }
    return Next();
  }
  std::string ExpectWord() {
    if (Peek().kind != Token::Kind::kWord) Fail("expected a name, found '" + Peek().text + "'");
    return Next().text;
  }
  [[noreturn]] void Fail(const std::string& message) const {
    throw SurfaceError("kdZentavo.idl:" + std::to_string(Peek().line) + ": " + message);
  }
  // The text of the // comment that ends line `line` ("" when none).
  std::string CommentOnLine(int line) const {
    const auto found = comments_.find(line);
    return found == comments_.end() ? std::string() : found->second;
  }

 private:
  void Scan() {
    int line = 1;
    size_t i = 0;
    while (i < text_.size()) {
      const char c = text_[i];
      if (c == '\n') {
        ++line;
        ++i;
      } else if (std::isspace(static_cast<unsigned char>(c))) {
        ++i;
      } else if (text_.compare(i, 2, "//") == 0) {
        size_t end = text_.find('\n', i);
        if (end == std::string_view::npos) end = text_.size();
        std::string comment(text_.substr(i + 2, end - i - 2));
        while (!comment.empty() && std::isspace(static_cast<unsigned char>(comment.front()))) {
          comment.erase(comment.begin());
        }
        while (!comment.empty() && std::isspace(static_cast<unsigned char>(comment.back()))) {
          comment.pop_back();
        }
        comments_[line] = comment;
        i = end;
      } else if (text_.compare(i, 2, "/*") == 0) {
        const size_t end = text_.find("*/", i + 2);
        if (end == std::string_view::npos) {
          throw SurfaceError("kdZentavo.idl:" + std::to_string(line) + ": unclosed comment");
        }
        for (size_t k = i; k < end; ++k) line += text_[k] == '\n' ? 1 : 0;
        i = end + 2;
      } else if (c == '"') {
        const size_t end = text_.find('"', i + 1);
        if (end == std::string_view::npos || text_.substr(i, end - i).find('\n') != std::string_view::npos) {
          throw SurfaceError("kdZentavo.idl:" + std::to_string(line) + ": unclosed string");
        }
        tokens_.push_back({Token::Kind::kString, std::string(text_.substr(i + 1, end - i - 1)), line});
        i = end + 1;
      } else if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
        size_t end = i;
        while (end < text_.size() &&
               (std::isalnum(static_cast<unsigned char>(text_[end])) || text_[end] == '_')) {
          ++end;
        }
        tokens_.push_back({Token::Kind::kWord, std::string(text_.substr(i, end - i)), line});
        i = end;
      } else if (std::isdigit(static_cast<unsigned char>(c)) || c == '-') {
        // Numbers, and the GUIDs of uuid(...), which are read as one run of
        // hex digits and dashes.
        size_t end = i + 1;
        while (end < text_.size() &&
               (std::isxdigit(static_cast<unsigned char>(text_[end])) || text_[end] == '-' ||
                text_[end] == '.' || text_[end] == 'x')) {
          ++end;
        }
        tokens_.push_back({Token::Kind::kNumber, std::string(text_.substr(i, end - i)), line});
        i = end;
      } else {
        tokens_.push_back({Token::Kind::kPunct, std::string(1, c), line});
        ++i;
      }
    }
    tokens_.push_back({Token::Kind::kEnd, "end of file", line});
  }

  std::string_view text_;
  std::vector<Token> tokens_;
  std::map<int, std::string> comments_;
  size_t position_ = 0;
};

// One attribute list "[a, b(x), helpstring("..")]", as name -> argument
// text (the string's text for helpstring).
using Attributes = std::map<std::string, std::string>;

Attributes ReadAttributes(Lexer& lexer) {
  Attributes attributes;
  if (!lexer.Accept("[")) return attributes;
  for (;;) {
    const std::string name = lexer.ExpectWord();
    std::string argument;
    if (lexer.Accept("(")) {
      int depth = 1;
      for (;;) {
        const Token token = lexer.Next();
        if (token.kind == Token::Kind::kEnd) lexer.Fail("unclosed attribute " + name);
        if (token.kind != Token::Kind::kString && token.text == "(") ++depth;
        if (token.kind != Token::Kind::kString && token.text == ")" && --depth == 0) break;
        argument += token.text;
      }
    }
    if (attributes.count(name) != 0) lexer.Fail("attribute " + name + " given twice");
    attributes[name] = argument;
    if (lexer.Accept("]")) break;
    lexer.Expect(",");
  }
  return attributes;
}

std::string HelpOf(const Attributes& attributes, const std::string& what, const Lexer& lexer) {
  const auto found = attributes.find("helpstring");
  if (found == attributes.end() || found->second.empty()) {
    lexer.Fail(what + " has no help string");
  }
  return Utf8FromWindows1252(found->second);
}

Parameter ReadParameter(Lexer& lexer) {
  Parameter parameter;
  const Attributes attributes = ReadAttributes(lexer);
  parameter.in = attributes.count("in") != 0;
  parameter.out = attributes.count("out") != 0;
  parameter.retval = attributes.count("retval") != 0;
  parameter.optional = attributes.count("optional") != 0;
  parameter.type = lexer.ExpectWord();
  while (lexer.Accept("*")) ++parameter.pointers;
  parameter.name = lexer.ExpectWord();
  return parameter;
}

Function ReadFunction(Lexer& lexer, const std::string& owner) {
  Function function;
  const Attributes attributes = ReadAttributes(lexer);
  const std::string result = lexer.ExpectWord();
  if (result != "HRESULT" && result != "void") lexer.Fail("unexpected result type " + result);
  function.name = lexer.ExpectWord();
  const auto id = attributes.find("id");
  if (id == attributes.end()) lexer.Fail(owner + "." + function.name + " has no id");
  function.id = id->second;
  for (const char* kind : {"propget", "propput", "propputref"}) {
    if (attributes.count(kind) != 0) function.kind = kind;
  }
  function.hidden = attributes.count("hidden") != 0;
  function.help = HelpOf(attributes, owner + "." + function.name, lexer);
  lexer.Expect("(");
  if (!lexer.Accept(")")) {
    for (;;) {
      function.parameters.push_back(ReadParameter(lexer));
      if (lexer.Accept(")")) break;
      lexer.Expect(",");
    }
  }
  lexer.Expect(";");
  return function;
}

void ReadFunctions(Lexer& lexer, Type& type) {
  lexer.Expect("{");
  while (!lexer.Accept("}")) {
    if (lexer.Accept("properties") || lexer.Accept("methods")) {
      lexer.Expect(":");
      continue;
    }
    type.functions.push_back(ReadFunction(lexer, type.name));
  }
  lexer.Expect(";");
}

void ReadEnum(Lexer& lexer, Library& library) {
  Type type;
  type.kind = Type::Kind::kEnum;
  const Attributes attributes = ReadAttributes(lexer);
  lexer.Expect("enum");
  type.name = lexer.ExpectWord();
  type.help = HelpOf(attributes, type.name, lexer);
  type.uuid = attributes.count("uuid") != 0 ? attributes.at("uuid") : std::string();
  lexer.Expect("{");
  while (!lexer.Accept("}")) {
    EnumMember member;
    const int line = lexer.Peek().line;
    member.name = lexer.ExpectWord();
    lexer.Expect("=");
    const Token value = lexer.Next();
    if (value.kind != Token::Kind::kNumber) lexer.Fail("expected the value of " + member.name);
    member.value = std::stol(value.text);
    member.meaning = Utf8FromWindows1252(lexer.CommentOnLine(line));
    if (member.meaning.empty()) lexer.Fail(member.name + " has no comment with its meaning");
    type.members.push_back(std::move(member));
    if (!lexer.Accept(",")) {
      lexer.Expect("}");
      break;
    }
  }
  if (lexer.ExpectWord() != type.name) lexer.Fail("typedef name differs from " + type.name);
  lexer.Expect(";");
  library.types.push_back(std::move(type));
}

void ReadLibraryBody(Lexer& lexer, Library& library) {
  lexer.Expect("{");
  while (!lexer.Accept("}")) {
    if (lexer.Accept("importlib")) {
      lexer.Expect("(");
      lexer.Next();
      lexer.Expect(")");
      lexer.Expect(";");
      continue;
    }
    if (lexer.Accept("typedef")) {
      ReadEnum(lexer, library);
      continue;
    }
    const Attributes attributes = ReadAttributes(lexer);
    Type type;
    const std::string keyword = lexer.ExpectWord();
    type.name = lexer.ExpectWord();
    if (keyword == "interface" && attributes.empty() && lexer.Accept(";")) continue;  // forward
    type.uuid = attributes.count("uuid") != 0 ? attributes.at("uuid") : std::string();
    type.help = HelpOf(attributes, type.name, lexer);
    if (keyword == "interface") {
      type.kind = Type::Kind::kInterface;
      lexer.Expect(":");
      lexer.ExpectWord();
      ReadFunctions(lexer, type);
    } else if (keyword == "dispinterface") {
      type.kind = Type::Kind::kDispInterface;
      ReadFunctions(lexer, type);
    } else if (keyword == "coclass") {
      type.kind = Type::Kind::kCoClass;
      lexer.Expect("{");
      while (!lexer.Accept("}")) {
        const Attributes use = ReadAttributes(lexer);
        lexer.ExpectWord();  // interface or dispinterface
        const std::string name = lexer.ExpectWord();
        lexer.Expect(";");
        (use.count("source") != 0 ? type.source_interface : type.default_interface) = name;
      }
      lexer.Expect(";");
    } else {
      lexer.Fail("unexpected " + keyword);
    }
    library.types.push_back(std::move(type));
  }
}

std::vector<std::string> SplitTabs(const std::string& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (;;) {
    const size_t tab = line.find('\t', start);
    fields.push_back(line.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
    if (tab == std::string::npos) break;
    start = tab + 1;
  }
  return fields;
}

}  // namespace

const Type* Library::Find(std::string_view wanted) const {
  for (const Type& type : types) {
    if (type.name == wanted) return &type;
  }
  return nullptr;
}

std::string Utf8FromWindows1252(std::string_view bytes) {
  std::string out;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    // "Ã" or "Â" followed by a byte of 0x80 to 0xBF is how a UTF-8 "ü"
    // reads: the file was saved as UTF-8.
    if ((byte == 0xC3 || byte == 0xC2) && i + 1 < bytes.size() &&
        static_cast<unsigned char>(bytes[i + 1]) >= 0x80 &&
        static_cast<unsigned char>(bytes[i + 1]) <= 0xBF) {
      throw SurfaceError("kdZentavo.idl reads as UTF-8; it must be saved in Windows-1252");
    }
    if (byte < 0x80) {
      out += static_cast<char>(byte);
    } else if (byte < 0xA0) {
      const char32_t c = kHighControls[byte - 0x80];
      if (c == 0) throw SurfaceError("kdZentavo.idl holds a byte that Windows-1252 leaves undefined");
      AppendUtf8(out, c);
    } else {
      AppendUtf8(out, byte);
    }
  }
  return out;
}

Library ReadIdl(std::string_view idl_bytes) {
  Lexer lexer(idl_bytes);
  Library library;
  while (lexer.Accept("import")) {
    lexer.Next();
    lexer.Expect(";");
  }
  const Attributes attributes = ReadAttributes(lexer);
  lexer.Expect("library");
  library.name = lexer.ExpectWord();
  library.help = HelpOf(attributes, "the library", lexer);
  library.uuid = attributes.count("uuid") != 0 ? attributes.at("uuid") : std::string();
  library.version = attributes.count("version") != 0 ? attributes.at("version") : std::string();
  ReadLibraryBody(lexer, library);
  lexer.Expect(";");
  if (lexer.Peek().kind != Token::Kind::kEnd) lexer.Fail("unexpected text after the library");
  return library;
}

std::vector<std::string> MemberNames(const Library& library, std::string_view class_name) {
  std::vector<std::string> names;
  const Type* coclass = library.Find(class_name);
  if (coclass == nullptr || coclass->kind != Type::Kind::kCoClass) return names;
  for (const std::string& interface_name : {coclass->default_interface, coclass->source_interface}) {
    const Type* interface_type = library.Find(interface_name);
    if (interface_type == nullptr) continue;
    for (const Function& function : interface_type->functions) {
      bool known = false;
      for (const std::string& name : names) known = known || name == function.name;
      if (!known) names.push_back(function.name);
    }
  }
  return names;
}

const ErrorCode* ErrorTable::Code(std::string_view name) const {
  for (const ErrorCode& code : codes) {
    if (code.name == name) return &code;
  }
  return nullptr;
}

std::vector<const ErrorRow*> ErrorTable::RowsFor(std::string_view class_name,
                                                 std::string_view member) const {
  std::vector<const ErrorRow*> found;
  const std::string own = member.empty() ? std::string(class_name)
                                         : std::string(class_name) + "." + std::string(member);
  const std::string every = std::string(class_name) + ".*";
  for (const ErrorRow& row : rows) {
    if (row.target == own || (!member.empty() && row.target == every)) found.push_back(&row);
  }
  return found;
}

ErrorTable ReadErrorTable(std::string_view tsv, const Library& library) {
  ErrorTable table;
  std::set<std::string> targets_seen;
  size_t start = 0;
  int line_number = 0;
  auto fail = [&](const std::string& message) {
    throw SurfaceError("automation_errors.tsv:" + std::to_string(line_number) + ": " + message);
  };
  // The rows first, the targets they name after: a row may use a code
  // defined further down.
  std::vector<std::pair<int, ErrorRow>> rows;
  while (start < tsv.size()) {
    size_t end = tsv.find('\n', start);
    if (end == std::string_view::npos) end = tsv.size();
    std::string line(tsv.substr(start, end - start));
    start = end + 1;
    ++line_number;
    if (!line.empty() && line.back() == '\r') fail("CR LF line ends; the table uses LF");
    if (line.empty() || line.front() == '#') continue;
    const std::vector<std::string> fields = SplitTabs(line);
    for (const std::string& field : fields) {
      if (field.empty()) fail("an empty field");
    }
    if (fields[0] == "code") {
      if (fields.size() != 5) fail("a code row has 5 fields: code, name, HRESULT, Err.Number, meaning");
      if (table.Code(fields[1]) != nullptr) fail("code " + fields[1] + " defined twice");
      table.codes.push_back({fields[1], fields[2], fields[3] == "-" ? "" : fields[3], fields[4]});
    } else if (fields[0] == "error") {
      if (fields.size() != 4) fail("an error row has 4 fields: error, targets, code, when");
      size_t at = 0;
      const std::string& targets = fields[1];
      while (at < targets.size()) {
        size_t space = targets.find(' ', at);
        if (space == std::string::npos) space = targets.size();
        rows.push_back({line_number, {targets.substr(at, space - at),
                                      fields[2] == "-" ? "" : fields[2], fields[3]}});
        at = space + 1;
      }
    } else {
      fail("a row starts with 'code' or 'error', not '" + fields[0] + "'");
    }
  }
  for (auto& [number, row] : rows) {
    line_number = number;
    if (!row.code.empty() && table.Code(row.code) == nullptr) fail("unknown code " + row.code);
    if (row.target != "*") {
      const size_t dot = row.target.find('.');
      const std::string class_name = row.target.substr(0, dot);
      const Type* coclass = library.Find(class_name);
      if (coclass == nullptr || coclass->kind != Type::Kind::kCoClass) {
        fail("no class " + class_name);
      }
      if (dot != std::string::npos) {
        const std::string member = row.target.substr(dot + 1);
        bool known = member == "*";
        for (const std::string& name : MemberNames(library, class_name)) known = known || name == member;
        if (!known) fail("class " + class_name + " has no member " + member);
      }
    }
    targets_seen.insert(row.target);
    table.rows.push_back(std::move(row));
  }
  for (const Type& type : library.types) {
    if (type.kind != Type::Kind::kCoClass) continue;
    if (targets_seen.count(type.name) == 0) {
      throw SurfaceError("automation_errors.tsv: no row for creating " + type.name);
    }
    for (const std::string& member : MemberNames(library, type.name)) {
      if (targets_seen.count(type.name + "." + member) == 0 &&
          targets_seen.count(type.name + ".*") == 0) {
        throw SurfaceError("automation_errors.tsv: no row for " + type.name + "." + member);
      }
    }
  }
  return table;
}

}  // namespace kdzv::surface
