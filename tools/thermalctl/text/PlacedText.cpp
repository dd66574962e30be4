#include "text/PlacedText.h"

#include "base/TextReader.h"

PlacedText::PlacedText(const std::string& content) : in(content) {
  std::istringstream whole(content);
  for (std::string each; std::getline(whole, each);)
    lines.push_back(each);
}

bool PlacedText::nextLine() {
  if (again) {
    again = false;
    line.clear();
    line.seekg(0);
    return true;
  }
  // At its end the stream gives nothing more, however often it is asked.
  if (in.good()) ++fetched;
  if (getString(in, line) != 0) return false;
  takeInHand();
  return true;
}

void PlacedText::takeInHand() {
  number = fetched;
  const std::string& whole = lines[static_cast<size_t>(number) - 1];
  std::string trimmed = whole;
  trim(trimmed);
  indent = whole.find(trimmed);
  length = trimmed.size();
}

std::optional<Word> PlacedText::nextWord() {
  Word word;
  if (!(line >> word.text)) return std::nullopt;
  // A stream at its end no longer tells its position.
  const size_t end = line.eof() ? length : static_cast<size_t>(line.tellg());
  word.at = {number, static_cast<int>(indent + end - word.text.size() + 1)};
  return word;
}

std::vector<Word> PlacedText::restOfLine() {
  std::vector<Word> words;
  while (std::optional<Word> word = nextWord())
    words.push_back(std::move(*word));
  return words;
}
