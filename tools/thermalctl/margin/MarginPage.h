#pragma once

#include <ostream>

#include "margin/MarginResult.h"
#include "margin/MarginStudy.h"

// A result as one page that needs nothing else: what share keeps each limit, how its figure is
// spread in every configuration, what drives it, the worst units, and how the share became known.
//
// Size: some kilobytes for each limit of each run, however many units there are.
void writeMarginPage(const MarginStudy& study, const MarginResult& result, bool complete,
                     std::ostream& out);
