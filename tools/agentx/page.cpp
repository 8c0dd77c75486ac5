// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual page tarn-agentx(1) from the texts of --help.
//   agentx_page FILE
#include <fstream>
#include <iostream>

#include "agentx/settings.h"
#include "pages/roff.h"
#include "pages/sections.h"

namespace {

std::string page_text() {
    agentx::Settings settings;
    const auto program = agentx::make_program(settings);
    tarnctl::Page page("tarn-agentx", "show the contents of a tarnbase store in SNMP");
    page.section("Synopsis");
    page.raw(tarnctl::synopsis(*program));
    page.section("Description");
    page.paragraph(program->summary);
    page.section("Options");
    tarnctl::write_options(page, *program);
    page.section("Notes");
    tarnctl::write_notes(page, program->notes);
    tarnctl::write_end(page, "\\fBtarnctl\\fP(1), \\fBsnmpd\\fP(8), \\fBtarnbase\\fP(7)");
    return page.text();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: agentx_page FILE\n";
        return 2;
    }
    std::ofstream file(argv[1], std::ios::binary | std::ios::trunc);
    file << page_text() << std::flush;
    if (!file) std::cerr << "agentx_page: " << argv[1] << " can't be written\n";
    return file ? 0 : 4;
}
