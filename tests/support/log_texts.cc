#include "support/log_texts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kdzv::test {

std::string LogTexts(const std::string& log, const std::string& dir) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < log.size()) {
    size_t end = log.find("\r\n", start);
    if (end == std::string::npos) end = log.size();
    std::string line = log.substr(start, end - start);
    start = end + 2;
    const size_t first_tab = line.find('\t');
    const size_t second_tab =
        first_tab == std::string::npos ? std::string::npos : line.find('\t', first_tab + 1);
    // The access check's line has no date and time columns.
    if (second_tab != std::string::npos) line = line.substr(second_tab + 1);
    for (size_t at = line.find(dir); at != std::string::npos; at = line.find(dir, at)) {
      line.replace(at, dir.size(), "{dir}");
      // The rest of the path with the separators of the goldens (a
      // Windows path has backslashes).
      for (size_t c = at + 5; c < line.size() && line[c] != ' '; ++c) {
        if (line[c] == '\\') line[c] = '/';
      }
    }
    lines.push_back(line);
  }
  std::vector<std::string> kept;
  for (const std::string& line : lines) {
    kept.push_back(line);
    for (size_t block = 1; block <= 4 && 2 * block <= kept.size(); ++block) {
      if (std::equal(kept.end() - static_cast<std::ptrdiff_t>(block), kept.end(),
                     kept.end() - static_cast<std::ptrdiff_t>(2 * block))) {
        kept.resize(kept.size() - block);
        break;
      }
    }
  }
  std::string text;
  for (const std::string& line : kept) text += line + "\n";
  return text;
}

std::string WithoutDates(const std::string& text) {
  const auto digits = [&](size_t at, size_t least, size_t most) {
    size_t n = 0;
    while (at + n < text.size() && n < most && text[at + n] >= '0' && text[at + n] <= '9') ++n;
    return n >= least ? n : 0;
  };
  std::string out;
  for (size_t i = 0; i < text.size();) {
    const size_t day = digits(i, 1, 2);
    if (day > 0 && (i == 0 || text[i - 1] < '0' || text[i - 1] > '9')) {
      const size_t first = i + day;
      if (first < text.size() && (text[first] == '.' || text[first] == '/')) {
        const char separator = text[first];
        const size_t month = digits(first + 1, 1, 2);
        const size_t second = first + 1 + month;
        if (month > 0 && second < text.size() && text[second] == separator &&
            digits(second + 1, 4, 4) == 4) {
          out += "{date}";
          i = second + 5;
          continue;
        }
      }
    }
    out.push_back(text[i]);
    ++i;
  }
  return out;
}

}  // namespace kdzv::test
