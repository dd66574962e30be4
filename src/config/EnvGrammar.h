#pragma once

// How the lines of an environment file make up sections: a header line, a "type" line directly
// below it and key lines up to a blank line. `text` is a TextReader, and `parts` takes each part
// where its word is the one in hand.

inline constexpr char kSectionTypeKey[] = "type";

// Reads a section from its first word on. False where a header or a type line is none; the line
// that should be it is in hand.
template <typename Text, typename Parts> bool readSection(Text& text, Parts& parts) {
  if (text.word()[0] != '[') return false;
  parts.beginSection();
  // Whatever comes back: where the next line is blank, the rest of the header line stands in for
  // it.
  text.advance();
  if (text.word() != kSectionTypeKey) return false;
  parts.takeKind();
  while (text.advance())
    parts.takeProperty();
  parts.endSection();
  return true;
}
