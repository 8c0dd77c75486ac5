// SPDX-License-Identifier: Apache-2.0
//
// A day's figures drawn with characters: a line of bars, or a field of 24 rows of 60.
#ifndef TARNCTL_FIGURES_DRAWING_H
#define TARNCTL_FIGURES_DRAWING_H

#include <string>

#include "figures/day.h"
#include "terminal/screen.h"

namespace tarnctl {

// A line of bars, each for as many minutes as the width requires and as high as their highest
// figure, and a line of hours below.
std::string sparkline(const Day &day, const Screen &screen);
// A row an hour, a cell a minute.
std::string heatmap(const Day &day, const Screen &screen);

}  // namespace tarnctl

#endif
