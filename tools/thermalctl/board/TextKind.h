#pragma once

#include <string>
#include <string_view>

#include "text/Word.h"

// What a file is that was named as one of a board's two, by its look alone.
//
// Shape:  `at` is the first place that shows it, and the text there.
// Errors: a text of neither kind is `kText`: it may be either of them, badly written.
// Source: the whole content of a file.
struct TextKind {
  enum Kind {
    kText,
    kEmpty, // white space at most
    kEnvironment,
    kConfiguration,
    // What the daemon reads nothing of, though its author sees one of the two.
    kByteOrderMark,
    kUtf16,
    kCarriageReturns, // with no other line ends
    kSeparators,      // the cells of a spreadsheet
    kBinary,
    // Files that stand beside the two.
    kPlant,
    kWorkload,
  };
  Kind kind = kText;
  Word at;
};

TextKind textKindOf(const std::string& content);

// A plant or a workload by a line that no other file has, without the white space around it; text
// otherwise.
TextKind::Kind kindOfLine(std::string_view line);

// Whether nothing of such a file is what its author meant.
bool isUnreadable(TextKind::Kind kind);
