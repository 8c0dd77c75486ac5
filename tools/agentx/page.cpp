// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-agentx(1).
//   tarn-agentx_page FILE
#include "pages/program_page.h"

#include "agentx/settings.h"

int main(int argc, char **argv) {
    agentx::Settings settings;
    const auto program = agentx::make_program(settings);
    return tarnctl::write_program_page(
        {"tarn-agentx", "show the contents of a tarnbase store in SNMP",
         "\\fBtarnctl\\fP(1), \\fBsnmpd\\fP(8), \\fBtarnbase\\fP(7)"},
        *program, argc, argv);
}
