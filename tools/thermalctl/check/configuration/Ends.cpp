#include "check/configuration/Ends.h"

#include <algorithm>

#include "check/rule/Keys.h"

std::string ending(bool first) {
  return first ? "the daemon ends: " : "the daemon would end here too: ";
}

std::string ending(const ConfigurationError& error, const Context& context) {
  return ending(context.configuration->fatal() == &error);
}

bool endsForWantOf(const Configuration& configuration, const Item& item, const std::string& key) {
  const ConfigurationError* fatal = configuration.fatal();
  if (!fatal || fatal->failure != ConfigurationError::kMissingProperty) return false;
  if (!contains(fatal->item->missing, key)) return false;
  // Of the items that the daemon merges, the first that lacks the key is to blame.
  const auto guilty =
      std::find_if(configuration.meant.begin(), configuration.meant.end(), [&](const Item* meant) {
        return meant->header.at.line >= fatal->item->header.at.line &&
               contains(meant->missing, key);
      });
  return guilty != configuration.meant.end() && *guilty == &item;
}

std::string endForWantOf(const std::string& key, const Item& item, const Context& context) {
  if (!contains(item.missing, key)) return "";
  const bool ends = endsForWantOf(*context.configuration, item, key);
  return fmt::format(", and {} because '{}' is missing", ends ? "ends" : "would end here too", key);
}
