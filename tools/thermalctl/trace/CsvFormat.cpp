#include "trace/CsvFormat.h"

namespace csv {

std::string field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + '"';
}

namespace {

// The columns from `first` up to `end`, with a comma at each side that has a neighbour.
template <typename Texts> std::string joined(const Texts& texts, size_t first, size_t end) {
  std::string text(first > 0 ? "," : "");
  for (size_t i = first; i < end; ++i)
    text += field(std::string(texts[i])) + (i + 1 < kColumns ? "," : "");
  return text;
}

} // namespace

Frame::Frame(const Fields& line)
    : start(joined(line, 0, kTime)), middle(joined(line, kTime + 1, kValue)),
      end(joined(line, kValue + 1, kColumns) + "\n") {}

const std::string& header() {
  static const std::string line = joined(kNames, 0, kColumns) + "\n";
  return line;
}

bool takeField(std::string_view& line, std::string& field) {
  field.clear();
  bool quoted = false;
  size_t i = 0;
  for (; i < line.size() && (quoted || line[i] != ','); ++i) {
    if (line[i] != '"')
      field += line[i];
    else if (quoted && i + 1 < line.size() && line[i + 1] == '"')
      field += line[i++];
    else
      quoted = !quoted;
  }
  const bool more = i < line.size();
  line.remove_prefix(more ? i + 1 : i);
  return more;
}

bool takeFields(std::string_view line, Fields& fields) {
  for (size_t i = 0; i < kColumns; ++i) {
    // A comma behind the last column would be a further field, and the line another program's.
    const bool more = takeField(line, fields[i]);
    if (more != (i + 1 < kColumns)) return false;
  }
  return true;
}

} // namespace csv
