// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-ldap(1).
//   tarn-ldap_page FILE
#include "pages/program_page.h"

#include "settings.h"

int main(int argc, char **argv) {
    tarn_ldap::Settings settings;
    const auto program = tarn_ldap::make_program(settings);
    return tarnctl::write_program_page(
        {"tarn-ldap", "keep the counters of an OpenLDAP server in a tarnbase store",
         "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)"},
        *program, argc, argv);
}
