// SPDX-License-Identifier: Apache-2.0
// Compares tests/conformance/behaviours.md with the tests: every test that the list
// names exists, every row names one, and every test of the behaviour programs is in a row.
//
// A row of the list is a row of a Markdown table,
//
//     | behaviour in plain words | `Suite.Name` `ctest:name` |
//
// where `Suite.Name` is a GoogleTest without prefix and suffix of its parameters,
// and `ctest:name` a test that only ctest lists.
#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/start.h"

namespace {

struct Row {
    std::string place;  // "file:line"
    std::string behaviour;
    std::vector<std::string> tests;
};

std::string output_of(const std::string &command) {
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) throw std::runtime_error("can't run " + command);
    std::string text;
    std::array<char, 4096> part{};
    while (std::fgets(part.data(), part.size(), pipe.get()) != nullptr) text += part.data();
    if (text.empty()) throw std::runtime_error("no output of " + command);
    return text;
}

// "Mode/Records" of a suite with parameters and "Kinds/2" of one with types are
// both named as in the source.
std::string suite_in_the_source(std::string suite) {
    suite = std::regex_replace(suite, std::regex("/[0-9]+$"), "");
    return suite.substr(suite.find('/') == std::string::npos ? 0 : suite.find('/') + 1);
}

void add_tests_of(const std::string &program, std::set<std::string> &tests) {
    std::istringstream lines(output_of(program + " --gtest_list_tests"));
    const std::regex suite_line(R"(^(\S+)\.(\s+#.*)?$)");
    const std::regex test_line(R"(^  ([^\s/]+).*$)");
    std::string suite;
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, suite_line)) {
            suite = suite_in_the_source(match[1]);
        } else if (std::regex_match(line, match, test_line)) {
            tests.insert(suite + "." + match[1].str());
        }
    }
}

void add_tests_of_ctest(const std::string &folder, std::set<std::string> &tests) {
    std::istringstream lines(output_of("ctest -N --test-dir " + folder));
    const std::regex test_line(R"(^\s+Test\s+#\d+: (\S+)$)");
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, test_line)) tests.insert("ctest:" + match[1].str());
    }
}

// The names of the tests.
struct Tests {
    std::set<std::string> known;
    std::set<std::string> wanted;  // a row must name each
};

Tests tests_of(const std::vector<std::string> &behaviour_programs,
               const std::vector<std::string> &other_programs, const std::string &build_folder) {
    Tests tests;
    for (const std::string &each : behaviour_programs) add_tests_of(each, tests.wanted);
    tests.known = tests.wanted;
    for (const std::string &each : other_programs) add_tests_of(each, tests.known);
    add_tests_of_ctest(build_folder, tests.known);
    return tests;
}

bool is_rule_or_heading(const std::string &behaviour) {
    return behaviour == "behaviour" || behaviour.find_first_not_of("- :") == std::string::npos;
}

std::vector<Row> rows_of(const std::string &file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("can't read " + file);
    // A bar within a cell is written as \|, so that the last plain one ends the left cell.
    const std::regex row_line(R"(^\| (.*) \| (.*) ?\|\s*$)");
    const std::regex name("`([^`]+)`");
    std::vector<Row> rows;
    std::smatch match;
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (!std::regex_match(line, match, row_line) || is_rule_or_heading(match[1])) continue;
        Row row{file + ":" + std::to_string(number), match[1], {}};
        const std::string proof = match[2];
        for (auto at = std::sregex_iterator(proof.begin(), proof.end(), name);
             at != std::sregex_iterator(); ++at) {
            row.tests.push_back((*at)[1]);
        }
        rows.push_back(std::move(row));
    }
    if (rows.empty()) throw std::runtime_error(file + ": no row of a behaviour");
    return rows;
}

// Prints what is wrong with a row, and takes its tests from the wanted ones. Returns the number of
// failures.
std::size_t check_row(const Row &row, Tests &tests) {
    std::size_t failures = 0;
    if (row.tests.empty()) {
        std::cout << row.place << ": names no test: " << row.behaviour << '\n';
        ++failures;
    }
    for (const std::string &test : row.tests) {
        tests.wanted.erase(test);
        if (tests.known.count(test) != 0) continue;
        std::cout << row.place << ": there is no test " << test << '\n';
        ++failures;
    }
    return failures;
}

}  // namespace

int main(int argc, char **argv) try {
    cli::Command program("conformance_check",
                         "Checks that the list of behaviours and the tests are in step.");
    program.add_help("");
    std::vector<std::string> lists;
    std::vector<std::string> behaviour_programs;
    std::vector<std::string> other_programs;
    std::string build_folder;
    program.option("--list", "FILE", cli::into(lists), "A list of behaviours").required();
    program
        .option("--behaviour", "PROGRAM", cli::into(behaviour_programs),
                "A program whose tests must all be in a row")
        .required();
    program.option("--other", "PROGRAM", cli::into(other_programs),
                   "A program whose tests may be in a row");
    program
        .option("--build", "FOLDER", cli::into(build_folder), "The build folder, for ctest's names")
        .required();
    const cli::Start start = cli::start(program, argc, argv);
    if (start.command == nullptr) return start.status;

    Tests tests = tests_of(behaviour_programs, other_programs, build_folder);
    std::size_t row_count = 0;
    std::size_t failures = 0;
    for (const std::string &list : lists) {
        const std::vector<Row> rows = rows_of(list);
        row_count += rows.size();
        for (const Row &row : rows) failures += check_row(row, tests);
    }
    for (const std::string &test : tests.wanted) {
        std::cout << "no row names the test " << test << "; add it to " << lists.front() << '\n';
        ++failures;
    }
    std::cout << row_count << " behaviours, " << failures << " failures\n";
    return failures == 0 ? 0 : 1;
} catch (const std::exception &error) {
    std::cerr << "conformance_check: " << error.what() << '\n';
    return 2;
}
