// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-exporter(1).
//   tarn-exporter_page FILE
#include "pages/program_page.h"

#include "exporter/settings.h"

int main(int argc, char **argv) {
    exporter::Settings settings;
    const auto program = exporter::make_program(settings);
    return tarnctl::write_program_page(
        {"tarn-exporter", "serve the contents of tarnbase stores over HTTP",
         "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)"},
        *program, argc, argv);
}
