// SPDX-License-Identifier: Apache-2.0
#include "pages/program_page.h"

#include <fstream>
#include <iostream>

#include "pages/roff.h"
#include "pages/sections.h"

namespace tarnctl {
namespace {

std::string page_text(const ProgramPage &described, const cli::Command &program) {
    Page page(described.program, described.summary);
    page.section("Synopsis");
    page.raw(synopsis(program));
    page.section("Description");
    page.paragraph(program.summary);
    page.section("Options");
    write_options(page, program);
    page.section("Notes");
    write_notes(page, program.notes);
    write_end(page, described.see_also);
    return page.text();
}

}  // namespace

int write_program_page(const ProgramPage &page, const cli::Command &program, int argc,
                       char **argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FILE\n";
        return 2;
    }
    std::ofstream file(argv[1], std::ios::binary | std::ios::trunc);
    file << page_text(page, program) << std::flush;
    if (!file) std::cerr << argv[0] << ": " << argv[1] << " can't be written\n";
    return file ? 0 : 4;
}

}  // namespace tarnctl
