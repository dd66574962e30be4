#include "check/rule/Visits.h"

namespace {

Check eachItemOf(ItemKind kind, Look<Item> look) {
  return eachItem([kind, look = std::move(look)](const Item& item, Context& context) {
    if (item.kind == kind) look(item, context);
  });
}

} // namespace

Check eachSection(Look<Section> look) {
  return [look = std::move(look)](Context& context) {
    for (const Section& section : context.subject.environment.sections)
      look(section, context);
  };
}

Check eachSensor(Look<Section> look) {
  return eachSection([look = std::move(look)](const Section& section, Context& context) {
    if (section.isSensor()) look(section, context);
  });
}

Check eachVirtual(Look<Section> look) {
  return eachSection([look = std::move(look)](const Section& section, Context& context) {
    if (section.kind == SectionKind::kVirtual) look(section, context);
  });
}

Check eachSectionLine(Look<SectionLine> look) {
  return eachSection([look = std::move(look)](const Section& section, Context& context) {
    for (const Property& property : section.properties) {
      if (property.key.text[0] == '[') return;
      look({section, property}, context);
    }
  });
}

Check eachConfiguration(Look<Configuration> look) {
  return [look = std::move(look)](Context& context) {
    for (const Configuration& configuration : context.subject.configurations) {
      context.configuration = &configuration;
      look(configuration, context);
    }
  };
}

Check eachItem(Look<Item> look) {
  return eachConfiguration(
      [look = std::move(look)](const Configuration& configuration, Context& context) {
        for (const Item* item : configuration.meant)
          look(*item, context);
      });
}

Check eachMonitor(Look<Item> look) {
  return eachItemOf(ItemKind::kMonitor, std::move(look));
}

Check eachSS(Look<Item> look) {
  return eachItemOf(ItemKind::kSS, std::move(look));
}

Check eachItemLine(Look<ItemLine> look) {
  return eachItem([look = std::move(look)](const Item& item, Context& context) {
    for (const Property& property : item.properties)
      look({item, property}, context);
  });
}
