// SPDX-License-Identifier: Apache-2.0
#include "exporter/open_metrics.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>

namespace exporter {
namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

constexpr std::string_view total = "_total";
// A unit is the last word of a family's name.
constexpr std::string_view units[] = {"seconds", "bytes"};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
            continue;
        }
        if (c == '\\' || c == '"') result += '\\';
        result += c;
    }
    return result;
}

// Without the end that only the samples of a counter have.
std::string_view name_of(const MetricFamily &family) {
    std::string_view name = family.name;
    if (family.type == MetricType::Counter && name.ends_with(total))
        name.remove_suffix(total.size());
    return name;
}

std::string number_text(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "+Inf" : "-Inf";
    return fmt::format("{}", number);
}

void write_labels(std::ostream &out, const std::vector<ClientMetric::Label> &labels) {
    const char *before = "{";
    for (const ClientMetric::Label &each : labels) {
        out << before << each.name << "=\"" << escaped(each.value) << '"';
        before = ",";
    }
    if (!labels.empty()) out << '}';
}

void write_family(std::ostream &out, const MetricFamily &family) {
    const bool is_counter = family.type == MetricType::Counter;
    const std::string_view name = name_of(family);
    out << "# TYPE " << name << (is_counter ? " counter\n" : " gauge\n");
    for (const std::string_view unit : units) {
        if (name.ends_with(fmt::format("_{}", unit)))
            out << "# UNIT " << name << ' ' << unit << '\n';
    }
    out << "# HELP " << name << ' ' << escaped(family.help) << '\n';
    for (const ClientMetric &each : family.metric) {
        out << name << (is_counter ? total : "");
        write_labels(out, each.label);
        out << ' ' << number_text(is_counter ? each.counter.value : each.gauge.value) << '\n';
    }
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// Takes the part up to the separator from the front of the text.
std::string_view take_part(std::string_view &text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

// A media range of the header, and how much it is wanted: 0 to 1.
struct MediaRange {
    std::string_view type;
    double quality = 1;
};

MediaRange media_range_of(std::string_view text) {
    MediaRange range{take_part(text, ';')};
    while (!text.empty()) {
        const std::string_view parameter = take_part(text, ';');
        if (!parameter.starts_with("q=")) continue;
        const char *end = parameter.data() + parameter.size();
        const auto read = std::from_chars(parameter.data() + 2, end, range.quality);
        if (read.ec != std::errc() || read.ptr != end) range.quality = 0;
    }
    return range;
}

}  // namespace

bool prefers_open_metrics(std::string_view accept) {
    double open_metrics = 0;
    double text = 0;
    while (!accept.empty()) {
        const MediaRange range = media_range_of(take_part(accept, ','));
        if (range.type == "application/openmetrics-text")
            open_metrics = std::max(open_metrics, range.quality);
        else if (range.type == "text/plain") text = std::max(text, range.quality);
    }
    return open_metrics > 0 && open_metrics >= text;
}

void OpenMetricsSerializer::Serialize(std::ostream &out,
                                      const std::vector<MetricFamily> &families) const {
    for (const MetricFamily &each : families) write_family(out, each);
    out << "# EOF\n";
}

}  // namespace exporter
