#pragma once

#include <string>
#include <vector>

// What the word behind "type" makes of a section. One of an unknown kind is read like a device's
// and then dropped.
enum class SectionKind { kReal, kVirtual, kConfFile, kDevice, kUnknown };

// What the key lines of a section give.
//
// Shape:  the type of a field says what stands behind its key: a name, a number or a path is one
//         word, a list takes the words of all of its lines. `Values` has the types: the daemon
//         keeps what a word means, a checker also where it stands. A field of which there is no
//         line keeps its default.
// Units:  `sampling` in milliseconds, set points in millidegrees Celsius.
// Source: the lines below "type", by the keys of `visitKeys`.
template <typename Values> struct SectionFields {
  // Of a sensor.
  typename Values::Number sampling{1000};

  // Of a virtual sensor.
  typename Values::Number setPoint{};
  typename Values::Number setPointClr{};
  std::vector<typename Values::Source> sources;
  typename Values::Number math{};
  std::vector<typename Values::Number> offsets;
  std::vector<typename Values::Number> weights;
  typename Values::Sensor trip{};

  // Of a real sensor or a device.
  typename Values::Text nodePath{};
  // Of a device, or of a section of an unknown kind.
  std::vector<typename Values::Level> levels;

  // Of the section that names the configuration.
  typename Values::Text fileName{};
};

// Calls `visit(key, field)` for each key of a section of that kind.
template <typename Section, typename Visit>
void visitKeys(Section& section, SectionKind kind, Visit visit) {
  const bool isSensor = kind == SectionKind::kReal || kind == SectionKind::kVirtual;
  const bool isDevice = kind == SectionKind::kDevice || kind == SectionKind::kUnknown;
  if (isSensor) visit("sampling", section.sampling);
  if (isDevice || kind == SectionKind::kReal) visit("node_path", section.nodePath);
  if (isDevice) visit("level_table", section.levels);
  if (kind == SectionKind::kConfFile) visit("file_name", section.fileName);
  if (kind != SectionKind::kVirtual) return;
  visit("set_point", section.setPoint);
  visit("set_point_clr", section.setPointClr);
  visit("sensors", section.sources);
  visit("math", section.math);
  visit("offsets", section.offsets);
  visit("weights", section.weights);
  visit("trip_sensor", section.trip);
}

// How a device writes the entries of its table: the last entry that is quoted or that has "0x" or
// "0b" in it decides for all.
template <typename Level> std::string valueTypeOf(const std::vector<Level>& levels) {
  for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
    if (level->quoted) return "string";
    if (level->text.find("0x") != std::string::npos) return "hex";
    if (level->text.find("0b") != std::string::npos) return "bin";
  }
  return "integer";
}
