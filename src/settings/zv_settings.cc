#include "settings/zv_settings.h"

#include <optional>
#include <utility>

#include "interface/error_report.h"
#include "util/error.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {

namespace {

constexpr std::string_view kModule = clZVSettings::ClassName();

// The names in the order of the type library; the index enum follows it.
const std::vector<std::string_view> kNames = {
    "DownloadPath", "UploadPath", "DoLog",          "FilePraefix",      "AblagePath",
    "SlowSync",     "SystemName", "TimeoutSeconds", "PatIdentKriterium"};

std::optional<size_t> IndexOf(std::string_view name) {
  for (size_t i = 0; i < kNames.size(); ++i) {
    if (EqualsIgnoreCase(kNames[i], name)) return i;
  }
  return std::nullopt;
}

// "True"/"False" in any case, also "1", "-1" (true) and "0" (false).
std::optional<bool> ParseBoolean(std::string_view text) {
  const std::string_view trimmed = Trim(text);
  if (EqualsIgnoreCase(trimmed, "True") || trimmed == "1" || trimmed == "-1") return true;
  if (EqualsIgnoreCase(trimmed, "False") || trimmed == "0") return false;
  return std::nullopt;
}

// A decimal 16-bit integer with an optional sign, blanks around it allowed.
std::optional<int16_t> ParseStrictInteger(std::string_view text) {
  std::string_view digits = Trim(text);
  bool negative = false;
  if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
    negative = digits.front() == '-';
    digits.remove_prefix(1);
  }
  if (digits.empty() || digits.size() > 6) return std::nullopt;
  int32_t value = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  if (negative) value = -value;
  if (value < -32768 || value > 32767) return std::nullopt;
  return static_cast<int16_t>(value);
}

std::string Quoted(std::string_view name, std::string_view text) {
  std::string details(name);
  details += "=\"";
  details += text;
  details += "\"";
  return details;
}

}  // namespace

clZVSettings::clZVSettings(RegistryBackend& registry) : clZVSettings(registry, Unread{}) { Load(); }

clZVSettings::clZVSettings(RegistryBackend& registry, Unread) : store_(registry) {
  store_.SetMyCompanyName(std::string(kCompanyName));
  store_.SetMyProductName(std::string(kProductName));
  for (size_t i = 0; i < kCount; ++i) values_[i] = Default(i);
}

const std::vector<std::string_view>& clZVSettings::PropertyNames() { return kNames; }

bool clZVSettings::IsPropertyName(std::string_view name) { return IndexOf(name).has_value(); }

clZVSettings::Value clZVSettings::Default(size_t index) {
  switch (index) {
    case kDoLog:
    case kSlowSync: return false;
    case kFilePraefix: return std::string("HX");
    case kTimeoutSeconds: return int16_t{60};
    case kPatIdentKriterium: return int16_t{0};
    default: return std::string();
  }
}

std::string clZVSettings::TextOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "True" : "False";
  return std::to_string(std::get<int16_t>(value));
}

void clZVSettings::Load() {
  for (size_t i = 0; i < kCount; ++i) LoadOne(i);
}

void clZVSettings::LoadOne(size_t index) {
  const std::string_view name = kNames[index];
  const Value fallback = Default(index);
  std::string text;
  try {
    text = store_.LocalGetSetting(kSection, name, TextOf(fallback));
  } catch (...) {
    ReportCurrentError(kModule, "Load", name);
    values_[index] = fallback;
    return;
  }
  try {
    if (std::holds_alternative<std::string>(fallback)) {
      values_[index] = std::move(text);
    } else if (std::holds_alternative<bool>(fallback)) {
      const std::optional<bool> flag = ParseBoolean(text);
      if (!flag) RaiseStandard(err::kTypeMismatch);
      values_[index] = *flag;
    } else {
      values_[index] = ToInteger(text);
    }
  } catch (...) {
    ReportCurrentError(kModule, "Load", Quoted(name, text));
    values_[index] = fallback;
  }
}

void clZVSettings::Put(size_t index, Value value) {
  values_[index] = std::move(value);
  const std::string text = TextOf(values_[index]);
  try {
    store_.LocalSaveSetting(kSection, kNames[index], text);
  } catch (...) {
    ReportCurrentError(kModule, "Save", Quoted(kNames[index], text));
  }
}

std::string clZVSettings::GetAsText(std::string_view name) const {
  const std::optional<size_t> index = IndexOf(name);
  return index ? TextOf(values_[*index]) : std::string();
}

bool clZVSettings::SetFromText(std::string_view name, std::string_view text, std::string* error) {
  const auto fail = [error](std::string why) {
    if (error != nullptr) *error = std::move(why);
    return false;
  };
  const std::optional<size_t> index = IndexOf(name);
  if (!index) return fail("unknown setting \"" + std::string(name) + "\"");
  const std::string_view property = kNames[*index];
  const Value& current = values_[*index];
  if (*index == kFilePraefix && !IsPlainFileNamePart(text)) {
    return fail("FilePraefix becomes part of file names: \"" + std::string(text) +
                "\" has a folder separator, \"..\", one of : * ? \" < > |, a control "
                "character, or more than " + std::to_string(kMaxFileNamePart) + " bytes");
  }
  if (std::holds_alternative<std::string>(current)) {
    Put(*index, std::string(text));
  } else if (std::holds_alternative<bool>(current)) {
    const std::optional<bool> flag = ParseBoolean(text);
    if (!flag) {
      return fail(std::string(property) + " takes True or False (or 1, 0), not \"" +
                  std::string(text) + "\"");
    }
    Put(*index, *flag);
  } else {
    const std::optional<int16_t> number = ParseStrictInteger(text);
    if (!number) {
      return fail(std::string(property) + " takes a whole number from -32768 to 32767, not \"" +
                  std::string(text) + "\"");
    }
    Put(*index, *number);
  }
  return true;
}

}  // namespace kdzv
