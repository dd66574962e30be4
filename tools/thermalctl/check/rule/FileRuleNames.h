#pragma once

// The rules whose findings stand for others.
inline constexpr char kWrongKindOfFile[] = "wrong-kind-of-file";
inline constexpr char kLookAlikeCharacter[] = "look-alike-character";
