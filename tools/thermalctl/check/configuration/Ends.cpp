#include "check/configuration/Ends.h"

#include <algorithm>

#include "check/rule/Keys.h"

Ending ending(bool first) {
  if (first) return {"the daemon ends: ", End::kNow};
  return {"the daemon would end here too: ", End::kLater};
}

Ending ending(const ConfigurationError& error, const Context& context) {
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

Ending endForWantOf(const std::string& key, const Item& item, const Context& context) {
  if (!contains(item.missing, key)) return {};
  const bool ends = endsForWantOf(*context.configuration, item, key);
  return {
      fmt::format(", and {} because '{}' is missing", ends ? "ends" : "would end here too", key),
      ends ? End::kNow : End::kLater};
}
