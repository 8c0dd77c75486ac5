// SPDX-License-Identifier: Apache-2.0
//
// A day's figures as a picture: a bar a minute, with axes and a title.
#ifndef TARNCTL_FIGURES_CHART_H
#define TARNCTL_FIGURES_CHART_H

#include <string>

#include "figures/day.h"

namespace tarnctl {

// The bytes of a picture of these measures, in pixels.
std::string svg_chart(const Day &day, int width, int height);
std::string png_chart(const Day &day, int width, int height);

}  // namespace tarnctl

#endif
