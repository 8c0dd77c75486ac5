// SPDX-License-Identifier: Apache-2.0
#include "figures/chart.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "base/failure.h"

namespace tarnctl {
namespace {

constexpr double left = 52;
constexpr double right = 16;
constexpr double top = 40;
constexpr double bottom = 44;
constexpr double title_size = 16;
constexpr double label_size = 11;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

struct Canvas {
    cairo_t *cairo;
    double width;
    double height;

    double x(double minute) const {
        return left + minute / minutes_of_a_day * (width - left - right);
    }
    double y(double figure, double high) const {
        return height - bottom - figure / high * (height - top - bottom);
    }
};

cairo_status_t append(void *text, const unsigned char *bytes, unsigned length) {
    static_cast<std::string *>(text)->append(reinterpret_cast<const char *>(bytes), length);
    return CAIRO_STATUS_SUCCESS;
}

void check(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS)
        throw Failure(Exit::store, fmt::format("drawing: {}", cairo_status_to_string(status)));
}

enum class Anchor { start, middle, end };

void label(const Canvas &canvas, double x, double y, const std::string &text, Anchor anchor) {
    cairo_text_extents_t extents;
    cairo_text_extents(canvas.cairo, text.c_str(), &extents);
    if (anchor == Anchor::middle) x -= extents.x_advance / 2;
    if (anchor == Anchor::end) x -= extents.x_advance;
    cairo_move_to(canvas.cairo, x, y);
    cairo_show_text(canvas.cairo, text.c_str());
}

void line(const Canvas &canvas, double x1, double y1, double x2, double y2) {
    cairo_move_to(canvas.cairo, x1, y1);
    cairo_line_to(canvas.cairo, x2, y2);
    cairo_stroke(canvas.cairo);
}

// A round distance with about four labels up to `high`.
double round_step(double high) {
    for (const double step : {1.0, 2.0, 5.0, 10.0, 20.0, 25.0, 50.0}) {
        if (high / step <= 5) return step;
    }
    return 100;
}

void draw_figure_axis(const Canvas &canvas, double high) {
    for (double figure = 0; figure <= high; figure += round_step(high)) {
        const double y = canvas.y(figure, high);
        cairo_set_source_rgb(canvas.cairo, 0.88, 0.88, 0.88);
        line(canvas, left, y, canvas.width - right, y);
        cairo_set_source_rgb(canvas.cairo, 0.2, 0.2, 0.2);
        label(canvas, left - 6, y + label_size / 3, fmt::format("{:.0f}", figure), Anchor::end);
    }
}

void draw_hour_axis(const Canvas &canvas) {
    const double base = canvas.height - bottom;
    cairo_set_source_rgb(canvas.cairo, 0.2, 0.2, 0.2);
    line(canvas, left, base, canvas.width - right, base);
    for (std::size_t hour = 0; hour <= 24; hour += 3) {
        const double x = canvas.x(static_cast<double>(hour * minutes_of_an_hour));
        line(canvas, x, base, x, base + 4);
        label(canvas, x, base + 16, fmt::format("{:02}:00", hour), Anchor::middle);
    }
    label(canvas, (left + canvas.width - right) / 2, base + 34, "time of day", Anchor::middle);
}

void draw_bars(const Canvas &canvas, const Day &day, double high) {
    cairo_set_source_rgb(canvas.cairo, 0.13, 0.40, 0.67);
    for (std::size_t minute = 0; minute < day.minutes.size(); ++minute) {
        if (day.minutes[minute] == 0) continue;
        const double x = canvas.x(static_cast<double>(minute));
        const double y = canvas.y(day.minutes[minute], high);
        cairo_rectangle(canvas.cairo, x, y, canvas.x(static_cast<double>(minute + 1)) - x,
                        canvas.height - bottom - y);
    }
    cairo_fill(canvas.cairo);
}

void draw(cairo_surface_t *surface, const Day &day, int width, int height) {
    const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cairo(cairo_create(surface),
                                                                   &cairo_destroy);
    const Canvas canvas{cairo.get(), static_cast<double>(width), static_cast<double>(height)};
    // A day of zeros needs an axis too.
    const double high = std::max<double>(1, summary_of(day).high);
    cairo_set_source_rgb(canvas.cairo, 1, 1, 1);
    cairo_paint(canvas.cairo);
    cairo_set_line_width(canvas.cairo, 1);
    cairo_select_font_face(canvas.cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(canvas.cairo, label_size);
    draw_figure_axis(canvas, high);
    draw_bars(canvas, day, high);
    draw_hour_axis(canvas);
    cairo_set_source_rgb(canvas.cairo, 0, 0, 0);
    cairo_set_font_size(canvas.cairo, title_size);
    label(canvas, left, top - 14, day.title, Anchor::start);
    check(cairo_status(canvas.cairo));
}

}  // namespace

std::string svg_chart(const Day &day, int width, int height) {
    std::string bytes;
    const Surface surface(cairo_svg_surface_create_for_stream(append, &bytes, width, height),
                          &cairo_surface_destroy);
    check(cairo_surface_status(surface.get()));
    draw(surface.get(), day, width, height);
    cairo_surface_finish(surface.get());
    check(cairo_surface_status(surface.get()));
    return bytes;
}

std::string png_chart(const Day &day, int width, int height) {
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
                          &cairo_surface_destroy);
    check(cairo_surface_status(surface.get()));
    draw(surface.get(), day, width, height);
    std::string bytes;
    check(cairo_surface_write_to_png_stream(surface.get(), append, &bytes));
    return bytes;
}

}  // namespace tarnctl
