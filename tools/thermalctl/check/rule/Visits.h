#pragma once

#include "check/rule/Rule.h"

// The ways of a rule through the files. A configuration's items are taken as they were meant, so
// that one mistake gives one finding and does not hide the next: those that the daemon merges one
// by one, and a value that another finding concerns not once more.

// A line of a section.
struct SectionLine {
  const Section& section;
  const Property& property;
};
// A line of an item.
struct ItemLine {
  const Item& item;
  const Property& property;
};

Check eachSection(Look<Section> look);
Check eachSensor(Look<Section> look);
Check eachVirtual(Look<Section> look);
// Up to the header of a further section, which is in the wrong place: what stands behind it was not
// meant for this one.
Check eachSectionLine(Look<SectionLine> look);

Check eachConfiguration(Look<Configuration> look);
Check eachItem(Look<Item> look);
Check eachMonitor(Look<Item> look);
Check eachSS(Look<Item> look);
Check eachItemLine(Look<ItemLine> look);
