// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-radius(1).
//   tarn-radius_page FILE
#include "pages/program_page.h"

#include "settings.h"

int main(int argc, char **argv) {
    tarn_radius::Settings settings;
    const auto program = tarn_radius::make_program(settings);
    return tarnctl::write_program_page(
        {"tarn-radius", "keep what RADIUS servers count in a tarnbase store",
         "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)"},
        *program, argc, argv);
}
