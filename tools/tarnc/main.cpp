// SPDX-License-Identifier: Apache-2.0
// tarnc: the schema compiler.
//
// Exit codes: 0 the output is written, 2 bad usage or a file that can't be
// written, 3 a bad schema.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "check.h"
#include "emit.h"
#include "manifest.h"
#include "output.h"
#include "parser.h"

namespace {

constexpr int exit_usage = 2;
constexpr int exit_schema = 3;

struct Options {
    std::string module;
    std::string out;
    std::string depfile;
    std::string depfile_target;
    std::size_t shards = 4;
    std::string section;
    tarnc::Build build;
};

int compile(const Options &options) {
    tarnc::Diagnostics diagnostics;
    tarnc::Files files;
    tarnc::Schema schema;
    const tarnc::syntax::Schema written = tarnc::parse_schema(options.module, diagnostics);
    if (diagnostics.clean()) schema = tarnc::check_schema(written, diagnostics);
    if (diagnostics.clean()) files = tarnc::emit(schema, options.shards, diagnostics);
    if (!diagnostics.clean()) {
        diagnostics.print(std::cerr);
        return exit_schema;
    }
    if (!options.out.empty()) tarnc::write_files(options.out, files);
    if (!options.section.empty())
        tarnc::write_file(options.section, tarnc::manifest_section(schema, options.build));
    if (!options.depfile.empty())
        tarnc::write_file(options.depfile,
                          tarnc::dependency_rule(options.depfile_target, schema.files));
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    CLI::App app{"Compiles a schema to headers, models and stamps.", "tarnc"};
    app.set_version_flag("--version", "tarnc " TARNC_VERSION);
    app.add_option("module", options.module, "The schema's module file")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_option("--out,-o", options.out,
                   "Folder to write to; without it the schema is only checked");
    app.add_option("--shards", options.shards, "Source files that the stamps are dealt out to")
        ->check(CLI::Range(std::size_t{1}, std::size_t{64}));
    auto *depfile =
        app.add_option("--depfile", options.depfile, "Make-style dependency file to write");
    auto *target = app.add_option("--depfile-target", options.depfile_target,
                                  "Target of the rule in the dependency file");
    auto *section = app.add_option("--section", options.section,
                                   "Bytes of the library's manifest section to write");
    app.add_option("--built-file", options.build.output, "The file that the section is for")
        ->needs(section);
    app.add_option("--built-target", options.build.target, "The name of the build target")
        ->needs(section);
    depfile->needs(target);
    target->needs(depfile);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : exit_usage;
    }
    try {
        return compile(options);
    } catch (const std::exception &error) {
        std::cerr << "tarnc: " << error.what() << '\n';
        return exit_usage;
    }
}
