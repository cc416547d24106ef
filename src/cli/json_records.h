// The host's records as JSON objects, for the bridge host of zvsync.
//
// Every property is a member under its own name: Text as a string (UTF-8),
// Long and the enumerations as numbers, Boolean as true/false, Date as the
// local text "YYYY-MM-DDTHH:MM:SS" (the zero date is "1899-12-30T00:00:00").
// Objects keep the order of the properties.
#ifndef KDZV_CLI_JSON_RECORDS_H_
#define KDZV_CLI_JSON_RECORDS_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "interface/records.h"
#include "util/date_time.h"

namespace kdzv {

using Json = nlohmann::ordered_json;

// "YYYY-MM-DDTHH:MM:SS".
Json DateToJson(DateTime value);

// Reads `json` into `value` when it has the property's type; otherwise
// leaves `value` alone, sets `error` (naming `name`) and answers false.
bool TextFromJson(const Json& json, std::string_view name, std::string& value,
                  std::string& error);
bool BooleanFromJson(const Json& json, std::string_view name, bool& value, std::string& error);
bool LongFromJson(const Json& json, std::string_view name, int32_t& value, std::string& error);
bool DateFromJson(const Json& json, std::string_view name, DateTime& value, std::string& error);

// Whichever of the above fits the property's type; an enumeration is read
// as a Long.
template <class T>
bool PropertyFromJson(const Json& json, std::string_view name, T& value, std::string& error) {
  if constexpr (std::is_same_v<T, std::string>) {
    return TextFromJson(json, name, value, error);
  } else if constexpr (std::is_same_v<T, bool>) {
    return BooleanFromJson(json, name, value, error);
  } else if constexpr (std::is_same_v<T, DateTime>) {
    return DateFromJson(json, name, value, error);
  } else if constexpr (std::is_same_v<T, int32_t>) {
    return LongFromJson(json, name, value, error);
  } else {
    static_assert(std::is_enum_v<T>, "a record property of an unknown type");
    int32_t number = 0;
    if (!LongFromJson(json, name, number, error)) return false;
    value = static_cast<T>(number);
    return true;
  }
}

template <class T>
Json PropertyToJson(const T& value) {
  if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, bool> ||
                std::is_same_v<T, int32_t>) {
    return Json(value);
  } else if constexpr (std::is_same_v<T, DateTime>) {
    return DateToJson(value);
  } else {
    static_assert(std::is_enum_v<T>, "a record property of an unknown type");
    return Json(static_cast<int32_t>(value));
  }
}

// All properties of `record`, in order.
template <class Record>
Json RecordToJson(const Record& record) {
  Json object = Json::object();
  record.VisitProperties([&object](std::string_view name, const auto& value) {
    object[std::string(name)] = PropertyToJson(value);
  });
  return object;
}

// Sets the properties that `changes` (an object) names and leaves the
// others. An unknown name or a value of the wrong type leaves the whole
// record unchanged, sets `error` and answers false.
template <class Record>
bool ApplyJsonToRecord(const Json& changes, Record& record, std::string& error) {
  if (!changes.is_object()) {
    error = "a record must be a JSON object";
    return false;
  }
  Record changed = record;
  for (const auto& item : changes.items()) {
    // Named copies, not a structured binding: a lambda may not capture one
    // before C++20's clang.
    const std::string& key = item.key();
    const Json& value = item.value();
    bool known = false;
    bool ok = true;
    changed.VisitProperties([&](std::string_view name, auto& property) {
      if (known || name != key) return;
      known = true;
      ok = PropertyFromJson(value, name, property, error);
    });
    if (!known) {
      error = "unknown property \"" + key + "\"";
      return false;
    }
    if (!ok) return false;
  }
  record = changed;
  return true;
}

// Appends the opening times of `list`, an array of objects with the value
// properties of kdZVBelegung (each optional) and "Zeiten", an array of
// objects with those of kdZVBelegungsZeit. Any fault leaves `target`
// unchanged, sets `error` (with the position, as in
// "belegungen[0].Zeiten[1]: ...") and answers false.
bool ReadBelegungen(const Json& list, kdZVBelegungen& target, std::string& error);

// The deepest nesting of arrays and objects an answer may have (an answer
// needs 5: answer, belegungen, one Belegung, Zeiten, one Zeit).
inline constexpr size_t kMaxJsonDepth = 16;
// The most members one object of an answer may have (a record has 24).
inline constexpr size_t kMaxJsonMembers = 256;

// Checks the shape of a JSON text in one pass over its bytes, before it is
// parsed: "" when its nesting stays within kMaxJsonDepth and no object has
// more than kMaxJsonMembers members, what is wrong otherwise. Brackets and
// colons inside strings (escapes included) do not count. The text need not
// be valid JSON; the parser decides that afterwards.
std::string CheckJsonShape(std::string_view text);

}  // namespace kdzv

#endif  // KDZV_CLI_JSON_RECORDS_H_
