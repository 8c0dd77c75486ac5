// SPDX-License-Identifier: Apache-2.0
//
// ldap_show: shows the LDAP tables of a store that another process keeps, and proves that their
// XML form holds all of them.
#include <CLI/CLI.hpp>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

#include "difference.h"
#include "tables.h"
#include "xml_file.h"

namespace {

enum ExitCode { kDone = 0, kDifferent = 1, kUsage = 2, kBadXml = 3, kFile = 4, kStore = 5 };

constexpr const char *kFooter = R"(
Tables are walked in key order: shorter names first, then by their bytes.

With --verify or --copy-to the records are read from XML into a second store and compared with
the first one's: from a file that --xml wrote, or else from the XML form of this moment. What
another process has written to the first store in between is told as a difference.

Exit code: 0 done; 1 the stores differ; 2 wrong arguments; 3 the file is no XML of these tables;
4 a file can't be read or written; 5 a store failed.)";

struct Arguments {
    std::string store;
    bool xml = false;
    std::string output;
    std::string verify;
    std::string copy_to;
};

class FileError : public std::runtime_error {
 public:
    explicit FileError(const std::string &path)
        : std::runtime_error(path + ": " + std::strerror(errno)) {}
};

void declare(CLI::App &app, Arguments &arguments) {
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("ldap_show ") + TARNBASE_VERSION);
    app.add_option("-s,--store", arguments.store, "store file")->required();
    CLI::Option *xml = app.add_flag("--xml", arguments.xml, "write XML; text otherwise");
    CLI::Option *output =
        app.add_option("-o,--output", arguments.output, "file to write; standard output otherwise");
    app.add_option("--verify", arguments.verify, "XML file to read back and to compare")
        ->excludes(xml)
        ->excludes(output);
    app.add_option("--copy-to", arguments.copy_to,
                   "store file to make for the second store; kept in memory otherwise")
        ->excludes(xml)
        ->excludes(output);
}

void write_out(const std::string &path, const std::string &text) {
    if (path.empty() || path == "-") {
        std::cout << text << std::flush;
        if (!std::cout) throw FileError("standard output");
        return;
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << std::flush;
    if (!file) throw FileError(path);
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw FileError(path);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad()) throw FileError(path);
    return text;
}

ExitCode round_trip(const example::Session &first, const Arguments &arguments) {
    const ldap_show::XmlFile file(arguments.verify.empty() ? ldap_show::to_xml(first)
                                                           : read_file(arguments.verify));
    const example::Session second = arguments.copy_to.empty()
                                        ? example::Session::create_private()
                                        : example::Session::create(arguments.copy_to);
    file.store_in(second);
    const ldap_show::Comparison comparison = ldap_show::compare(first, second);
    std::cout << comparison.equal << " records equal, " << comparison.differences.size()
              << " different\n";
    for (const std::string &difference : comparison.differences) std::cout << difference << '\n';
    return comparison.differences.empty() ? kDone : kDifferent;
}

ExitCode run(const Arguments &arguments) {
    const example::Session session = example::Session::open(arguments.store);
    if (!arguments.verify.empty() || !arguments.copy_to.empty())
        return round_trip(session, arguments);
    write_out(arguments.output,
              arguments.xml ? ldap_show::to_xml(session) : ldap_show::to_text(session));
    return kDone;
}

int fail(ExitCode code, const std::exception &error) {
    std::cerr << "ldap_show: " << error.what() << '\n';
    return code;
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("Shows the LDAP tables of a store.", "ldap_show");
    Arguments arguments;
    declare(app, arguments);
    try {
        app.parse(argc, argv);
        return run(arguments);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    } catch (const ldap_show::XmlError &error) {
        return fail(kBadXml, error);
    } catch (const FileError &error) {
        return fail(kFile, error);
    } catch (const example::StoreError &error) {
        return fail(kStore, error);
    }
}
