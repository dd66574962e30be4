#include "margin/SearchReport.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "text/Json.h"

namespace {

using ReportJson = nlohmann::ordered_json;

ReportJson asJsonOf(const SearchResult::Worst& worst) {
  return {{"point", worst.point},           {"scores", worst.outcome.scores},
          {"broken", worst.outcome.broken}, {"measured", worst.outcome.measured},
          {"found", worst.found},           {"first", worst.broken.value_or(0)}};
}

SearchResult::Worst worstFrom(const ReportJson& json) {
  SearchResult::Worst worst;
  json.at("point").get_to(worst.point);
  json.at("scores").get_to(worst.outcome.scores);
  json.at("broken").get_to(worst.outcome.broken);
  json.at("measured").get_to(worst.outcome.measured);
  json.at("found").get_to(worst.found);
  if (const size_t first = json.at("first").get<size_t>(); first > 0) worst.broken = first;
  return worst;
}

ReportJson asJsonOf(const SearchReport::Told& told) {
  ReportJson json = {{"measured", told.measured},
                     {"simulations", told.simulations},
                     {"milliseconds", told.duration},
                     {"workload", told.workload},
                     {"unit", told.unit}};
  if (told.broken) json["broken"] = *told.broken;
  return json;
}

SearchReport::Told toldFrom(const ReportJson& json) {
  SearchReport::Told told;
  if (json.contains("broken")) told.broken = json.at("broken").get<size_t>();
  json.at("measured").get_to(told.measured);
  json.at("simulations").get_to(told.simulations);
  json.at("milliseconds").get_to(told.duration);
  json.at("workload").get_to(told.workload);
  json.at("unit").get_to(told.unit);
  return told;
}

SearchReport reportFrom(const ReportJson& json) {
  SearchReport report;
  json.at("within").get_to(report.within);
  json.at("from").get_to(report.from);
  json.at("simulations").get_to(report.simulations);
  json.at("stood_still").get_to(report.stoodStill);
  json.at("unjudged").get_to(report.unjudged);
  for (const ReportJson& worst : json.at("worst"))
    report.worst.push_back(worstFrom(worst));
  report.told = toldFrom(json.at("told"));
  return report;
}

// The budget whose worst is told: the first that is broken, or else the first.
size_t toldBudget(const std::vector<SearchResult::Worst>& worst) {
  const auto isBroken = [](const SearchResult::Worst& each) { return each.broken.has_value(); };
  const auto broken = std::find_if(worst.begin(), worst.end(), isBroken);
  return broken == worst.end() ? 0 : static_cast<size_t>(broken - worst.begin());
}

// Of the parts, the first that has the worst for a budget.
const SearchReport& worstOf(const std::vector<SearchReport>& parts, size_t budget) {
  const SearchReport* worst = &parts.front();
  for (const SearchReport& part : parts)
    if (worst->worst[budget].isLessThan(part.worst[budget].outcome, budget)) worst = &part;
  return *worst;
}

} // namespace

std::string SearchReport::asJson() const {
  ReportJson all = ReportJson::array();
  for (const SearchResult::Worst& each : worst)
    all.push_back(asJsonOf(each));
  const ReportJson json = {{"within", within},           {"from", from},
                           {"simulations", simulations}, {"stood_still", stoodStill},
                           {"unjudged", unjudged},       {"worst", all},
                           {"told", asJsonOf(told)}};
  return jsonText(json);
}

std::optional<SearchReport> SearchReport::fromJson(const std::string& text) {
  try {
    return reportFrom(parsedJson(text));
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

void SearchReport::count(const SearchReport& other) {
  simulations += other.simulations;
  stoodStill += other.stoodStill;
  unjudged += other.unjudged;
}

SearchReport reportOf(const SearchSpace& space, const SearchResult& result) {
  SearchReport report;
  report.within = space.described();
  report.simulations = result.simulations;
  report.stoodStill = result.stoodStill;
  report.unjudged = result.unjudged;
  report.complete = result.complete;
  report.worst = result.worst;
  Attempt attempt = space.at(result.worst[toldBudget(result.worst)].point);
  if (result.smallest) {
    attempt = result.smallest->attempt;
    report.told.broken = result.smallest->budget;
    report.told.measured = result.smallest->outcome.measured[result.smallest->budget];
    report.told.simulations = result.smallest->simulations;
  }
  report.told.duration = attempt.duration;
  report.told.workload = space.workloadOf(attempt);
  report.told.unit = space.tolerancesOf(attempt);
  return report;
}

SearchReport joined(const std::vector<SearchReport>& parts) {
  SearchReport all = parts.front();
  for (size_t i = 1; i < parts.size(); ++i)
    all.count(parts[i]);
  for (size_t budget = 0; budget < all.worst.size(); ++budget) {
    std::optional<size_t> first;
    for (const SearchReport& part : parts)
      if (const auto broken = part.worst[budget].broken)
        first = std::min(first.value_or(*broken), *broken);
    all.worst[budget] = worstOf(parts, budget).worst[budget];
    all.worst[budget].broken = first;
  }
  // Whoever broke the first budget that is broken most has made that small, and no other before it.
  all.told = worstOf(parts, toldBudget(all.worst)).told;
  return all;
}
