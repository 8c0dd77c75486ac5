// SPDX-License-Identifier: Apache-2.0
//
// ldap_show: shows the LDAP tables of a store that another process writes, and verifies that their
// XML form is complete.
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <optional>

#include "cli/start.h"
#include "difference.h"
#include "follow.h"
#include "history.h"
#include "tables.h"
#include "tarnbase/tarn/replica.hpp"
#include "xml_file.h"

namespace {

enum ExitCode { kDone = 0, kDifferent = 1, kUsage = 2, kBadXml = 3, kFile = 4, kStore = 5 };

constexpr const char *kNotes = R"(
Tables are walked in key order: shorter names first, then by their bytes.

With --verify or --copy-to the records are read from XML into a second store and compared with
those of the first: from a file that --xml wrote, or else from the XML form of the first store.
What another process writes to the first store in between is reported as a difference.)";

// Of the numbers beyond it, two have other meanings for a replica.
constexpr std::uint64_t kLastTransaction = std::numeric_limits<std::int64_t>::max();

struct Arguments {
    std::string store;
    bool xml = false;
    bool follow = false;
    bool history = false;
    std::optional<std::uint64_t> at;
    std::string output;
    std::string verify;
    std::string copy_to;
};

class FileError : public std::runtime_error {
 public:
    explicit FileError(const std::string &path)
        : std::runtime_error(path + ": " + std::strerror(errno)) {}
};

void describe(cli::Command &program, Arguments &arguments) {
    program.add_help(std::string("ldap_show ") + TARNBASE_VERSION);
    program.notes = kNotes;
    program.statuses = {{kDone, "done"},
                        {kDifferent, "the stores differ"},
                        {kUsage, "the arguments are wrong"},
                        {kBadXml, "the file is no XML of these tables"},
                        {kFile, "a file can't be read or written"},
                        {kStore, "a store failed"}};
    program.option("-s,--store", "STORE", cli::into(arguments.store), "Store to show").required();
    program.flag("--xml", arguments.xml, "Write XML; text otherwise");
    program
        .flag("-f,--follow", arguments.follow,
              "Print a line for each server, now and whenever another process has committed, "
              "until SIGINT or SIGTERM")
        .excludes("xml");
    program
        .flag("--history", arguments.history,
              "Print what each transaction has changed in the counters, if the store keeps a "
              "journal")
        .excludes("xml")
        .excludes("follow")
        .excludes("output")
        .excludes("verify")
        .excludes("copy-to");
    program
        .option("--at", "NUMBER", cli::number_into(arguments.at, 0, kLastTransaction),
                "Show the tables as they were after this transaction")
        .excludes("follow")
        .excludes("history");
    program.option("-o,--output", "FILE", cli::into(arguments.output),
                   "File to write; standard output otherwise");
    program
        .option("--verify", "FILE", cli::into(arguments.verify),
                "XML file to read back and to compare")
        .excludes("xml")
        .excludes("follow")
        .excludes("output");
    program
        .option("--copy-to", "STORE", cli::into(arguments.copy_to),
                "Store to create as the second one; kept in memory otherwise")
        .excludes("xml")
        .excludes("follow")
        .excludes("output");
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

ExitCode round_trip(const tarn::session &first, const Arguments &arguments) {
    const ldap_show::XmlFile file(arguments.verify.empty() ? ldap_show::to_xml(first)
                                                           : read_file(arguments.verify));
    const tarn::store store = arguments.copy_to.empty() ? tarn::store::create_private()
                                                        : tarn::store::create(arguments.copy_to);
    tarn::session second(store);
    file.store_in(second);
    const ldap_show::Comparison comparison = ldap_show::compare(first, second);
    std::cout << comparison.equal << " records equal, " << comparison.differences.size()
              << " different\n";
    for (const std::string &difference : comparison.differences) std::cout << difference << '\n';
    return comparison.differences.empty() ? kDone : kDifferent;
}

ExitCode show(const tarn::store &store, tarn::descriptors descriptors, const Arguments &arguments) {
    const tarn::session session(store, descriptors);
    if (!arguments.verify.empty() || !arguments.copy_to.empty())
        return round_trip(session, arguments);
    write_out(arguments.output,
              arguments.xml ? ldap_show::to_xml(session) : ldap_show::to_text(session));
    return kDone;
}

ExitCode run(const Arguments &arguments) {
    if (arguments.history) {
        ldap_show::print_history(arguments.store, std::cout);
        return kDone;
    }
    if (arguments.at) {
        const tarn::replica replica = tarn::replica::open(arguments.store, *arguments.at);
        return show(replica.store(), tarn::descriptors::of_library, arguments);
    }
    tarn::store store = tarn::store::open(arguments.store);
    if (arguments.follow) {
        ldap_show::follow(store, std::cout);
        return kDone;
    }
    return show(store, tarn::descriptors::of_store, arguments);
}

int fail(ExitCode code, const std::exception &error) {
    std::cerr << "ldap_show: " << error.what() << '\n';
    return code;
}

}  // namespace

int main(int argc, char **argv) {
    cli::Command program("ldap_show", "Shows the LDAP tables of a store.");
    Arguments arguments;
    describe(program, arguments);
    const cli::Start start = cli::start(program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return run(arguments);
    } catch (const ldap_show::XmlError &error) {
        return fail(kBadXml, error);
    } catch (const FileError &error) {
        return fail(kFile, error);
    } catch (const tarn::error &error) {
        return fail(kStore, error);
    }
}
