#include "cli/json_records.h"

#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace kdzv {

namespace {

std::string Quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

// The date text of the bridge: exactly "YYYY-MM-DDTHH:MM:SS".
std::optional<DateTime> ParseDateText(const std::string& text) {
  if (text.size() != 19 || text[10] != 'T') return std::nullopt;
  return DateTime::ParseIsoText(text);
}

// One element of "Zeiten".
bool ReadZeit(const Json& json, const std::string& where, kdZVBelegungsZeiten& target,
              std::string& error) {
  auto slot = std::make_shared<kdZVBelegungsZeit>();
  if (!ApplyJsonToRecord(json, *slot, error)) {
    error = where + ": " + error;
    return false;
  }
  target.Add(std::move(slot));
  return true;
}

// One element of the list: its value properties, then its time slots.
std::shared_ptr<kdZVBelegung> ReadBelegung(const Json& json, const std::string& where,
                                           std::string& error) {
  if (!json.is_object()) {
    error = where + ": a record must be a JSON object";
    return nullptr;
  }
  auto day = std::make_shared<kdZVBelegung>();
  Json values = json;
  values.erase("Zeiten");
  if (!ApplyJsonToRecord(values, *day, error)) {
    error = where + ": " + error;
    return nullptr;
  }
  const auto zeiten = json.find("Zeiten");
  if (zeiten == json.end()) return day;
  if (!zeiten->is_array()) {
    error = where + ": \"Zeiten\" must be an array";
    return nullptr;
  }
  for (size_t i = 0; i < zeiten->size(); ++i) {
    const std::string slot_where = where + ".Zeiten[" + std::to_string(i) + "]";
    if (!ReadZeit((*zeiten)[i], slot_where, *day->Zeiten, error)) return nullptr;
  }
  return day;
}

}  // namespace

Json DateToJson(DateTime value) { return Json(value.ToIsoText()); }

bool TextFromJson(const Json& json, std::string_view name, std::string& value,
                  std::string& error) {
  if (!json.is_string()) {
    error = Quoted(name) + " must be a string";
    return false;
  }
  value = json.get<std::string>();
  return true;
}

bool BooleanFromJson(const Json& json, std::string_view name, bool& value, std::string& error) {
  if (!json.is_boolean()) {
    error = Quoted(name) + " must be true or false";
    return false;
  }
  value = json.get<bool>();
  return true;
}

bool LongFromJson(const Json& json, std::string_view name, int32_t& value, std::string& error) {
  if (!json.is_number_integer()) {
    error = Quoted(name) + " must be a whole number";
    return false;
  }
  constexpr int64_t kLowest = std::numeric_limits<int32_t>::min();
  constexpr int64_t kHighest = std::numeric_limits<int32_t>::max();
  const bool in_range =
      json.is_number_unsigned()
          ? json.get<uint64_t>() <= static_cast<uint64_t>(kHighest)
          : json.get<int64_t>() >= kLowest && json.get<int64_t>() <= kHighest;
  if (!in_range) {
    error = Quoted(name) + " must be a whole number from -2147483648 to 2147483647";
    return false;
  }
  value = static_cast<int32_t>(json.get<int64_t>());
  return true;
}

bool DateFromJson(const Json& json, std::string_view name, DateTime& value, std::string& error) {
  std::optional<DateTime> date;
  if (json.is_string()) date = ParseDateText(json.get<std::string>());
  if (!date) {
    error = Quoted(name) + " must be a date \"YYYY-MM-DDTHH:MM:SS\"";
    return false;
  }
  value = *date;
  return true;
}

bool ReadBelegungen(const Json& list, kdZVBelegungen& target, std::string& error) {
  if (!list.is_array()) {
    error = "\"belegungen\" must be an array";
    return false;
  }
  std::vector<std::shared_ptr<kdZVBelegung>> days;
  for (size_t i = 0; i < list.size(); ++i) {
    auto day = ReadBelegung(list[i], "belegungen[" + std::to_string(i) + "]", error);
    if (!day) return false;
    days.push_back(std::move(day));
  }
  for (auto& day : days) target.Add(std::move(day));
  return true;
}

std::string CheckJsonShape(std::string_view text) {
  // Per open bracket: whether it is an object, and its members so far.
  struct Open {
    bool object;
    size_t members;
  };
  std::vector<Open> open;
  bool in_string = false;
  bool escaped = false;
  for (const char c : text) {
    if (in_string) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        in_string = false;
      }
      continue;
    }
    switch (c) {
      case '"': in_string = true; break;
      case '{':
      case '[':
        if (open.size() >= kMaxJsonDepth) {
          return "nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
        }
        open.push_back({c == '{', 0});
        break;
      case '}':
      case ']':
        if (!open.empty()) open.pop_back();
        break;
      case ':':
        if (!open.empty() && open.back().object && ++open.back().members > kMaxJsonMembers) {
          return "an object of more than " + std::to_string(kMaxJsonMembers) + " members";
        }
        break;
      default: break;
    }
  }
  return "";
}

}  // namespace kdzv
