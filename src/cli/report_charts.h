// The pictures of the HTML report, as inline SVG: the hotspot map and the
// commits per week. Every name in them is escaped; none becomes markup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/report.h"

namespace lomarind::cli {

// A risk score in [0, 1] as a colour from pale yellow (calm) to dark red.
std::string risk_colour(double risk);

// Components as regions, their files inside, each file's area by lines
// changed and its colour by risk score, with a hover title.
std::string hotspot_map_svg(const ReportContent& content);

// The hottest files in rank order: the numbers on map boxes too small for
// a name.
std::string hottest_key_html(const ReportContent& content);

// The legend that explains the map's colours and areas.
std::string hotspot_legend_html();

// One bar per week, each with a hover title.
std::string weekly_chart_svg(const std::vector<WeekCount>& weeks);

}  // namespace lomarind::cli
