// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-dot1x(1).
//   tarn-dot1x_page FILE
#include "pages/program_page.h"

#include "settings.h"

int main(int argc, char **argv) {
    tarn_dot1x::Settings settings;
    const auto program = tarn_dot1x::make_program(settings);
    return tarnctl::write_program_page(
        {"tarn-dot1x", "keep the state of hostapd's ports in a tarnbase store",
         "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)"},
        *program, argc, argv);
}
