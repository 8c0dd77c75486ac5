// SPDX-License-Identifier: Apache-2.0
// tarnc: the schema compiler.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "check.h"
#include "cli/start.h"
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
    std::vector<std::uint64_t> mib_base;
    tarnc::Build build;
};

int compile(const Options &options) {
    tarnc::Diagnostics diagnostics;
    tarnc::Files files;
    tarnc::Schema schema;
    const tarnc::syntax::Schema written = tarnc::parse_schema(options.module, diagnostics);
    if (diagnostics.clean()) schema = tarnc::check_schema(written, diagnostics);
    if (!options.mib_base.empty()) schema.mib.base = options.mib_base;
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

// Leaves most of the 128 numbers of an object identifier to indices.
std::vector<std::uint64_t> mib_base_of(const std::string &word) {
    constexpr std::size_t longest = 32;
    const std::vector<std::uint64_t> oid = tarnc::parse_oid(word);
    if (oid.empty() || oid[0] != 1 || oid.size() > longest)
        throw cli::UsageError(
            "expected an object identifier that begins with 1, such as "
            "1.3.6.1.4.1.8072.9999.9999.1");
    return oid;
}

void describe(cli::Command &program, Options &options) {
    program.add_help("tarnc " TARNC_VERSION);
    program.statuses = {{0, "the output is written"},
                        {exit_usage, "the arguments are wrong, or a file can't be written"},
                        {exit_schema, "the schema is wrong, or can't be read"}};
    program.argument("FILE", cli::into(options.module), "The schema's module file").required();
    program.option("-o,--out", "FOLDER", cli::into(options.out),
                   "Folder to write to; without it the schema is only checked");
    program.option("--shards", "NUMBER", cli::number_into(options.shards, 1, 64),
                   "Number of source files for the stamps; 4 by default");
    program
        .option("--depfile", "FILE", cli::into(options.depfile),
                "Make-style dependency file to write")
        .needs("depfile-target");
    program
        .option("--depfile-target", "TARGET", cli::into(options.depfile_target),
                "Target of the rule in the dependency file")
        .needs("depfile");
    const auto take_base = [&options](const std::string &word) {
        options.mib_base = mib_base_of(word);
    };
    program.option("--mib-base", "OID", {take_base, {}, false},
                   "Object identifier of the module's own MIB");
    program.option("--section", "FILE", cli::into(options.section),
                   "Bytes of the library's manifest section to write");
    program
        .option("--built-file", "FILE", cli::into(options.build.output),
                "The file that the section is for")
        .needs("section");
    program
        .option("--built-target", "TARGET", cli::into(options.build.target),
                "The name of the build target")
        .needs("section");
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    cli::Command program("tarnc", "Compiles a schema to headers, models and stamps.");
    describe(program, options);
    const cli::Start start = cli::start(program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return compile(options);
    } catch (const std::exception &error) {
        std::cerr << "tarnc: " << error.what() << '\n';
        return exit_usage;
    }
}
