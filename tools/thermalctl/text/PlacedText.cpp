#include "text/PlacedText.h"

PlacedText::PlacedText(const std::string& content) : ContentStream(content), TextReader(stream) {
  std::istringstream whole(content);
  for (std::string each; std::getline(whole, each);)
    lines.push_back(each);
}

bool PlacedText::nextLine() {
  hasLine = fetchLine();
  return hasLine;
}

bool PlacedText::nextWord() {
  hasWord = TextReader::nextWord();
  if (!hasWord) return false;
  // A stream at its end no longer tells its position.
  const size_t end = line.eof() ? length : static_cast<size_t>(line.tellg());
  at = {number, static_cast<int>(indent + end - word().size() + 1)};
  return true;
}

bool PlacedText::advance() {
  nextLine();
  nextWord();
  return hasLine;
}

std::vector<Word> PlacedText::restOfLine() {
  std::vector<Word> words;
  while (nextWord())
    words.push_back(placedWord());
  return words;
}

bool PlacedText::findBelow(const std::string& first) {
  while (!advance())
    if (ended()) return false;
  if (word() != first) readLineAgain();
  return word() == first;
}

bool PlacedText::fetchLine() {
  if (again) {
    again = false;
    line.clear();
    line.seekg(0);
    return true;
  }
  // At its end the stream gives nothing more, however often it is asked.
  if (in.good()) ++fetched;
  if (!TextReader::nextLine()) return false;
  number = fetched;
  const std::string& whole = lines[static_cast<size_t>(number) - 1];
  std::string trimmed = whole;
  trim(trimmed);
  indent = whole.find(trimmed);
  length = trimmed.size();
  return true;
}
