// SPDX-License-Identifier: Apache-2.0
#include "operations.h"

#include <cctype>
#include <sstream>
#include <stdexcept>

namespace tarnc {
namespace {

bool begins_paragraph(const std::string &line) {
    const std::size_t end = line.find_first_of(" :");
    return end != std::string::npos && line[end] == ':';
}

// Reads a rendered catalogue, operation by operation.
class Catalogue {
 public:
    explicit Catalogue(const std::string &text) : in_(text) {}

    bool next(Operation &operation) {
        operation = {};
        std::string line;
        if (!next_line(line)) return false;
        read_meaning(line, operation);
        next_line(line);
        for (; line[0] == '@'; next_line(line)) {
            if (line == "@unsafe") operation.has_twin = true;
            if (line == "@weak") operation.is_weak = true;
            if (line == "@wide") operation.is_wide = true;
        }
        read_prototype(line, operation);
        next_line(line);
        if (line.front() != '{' || line.back() != '}') fail(line);
        operation.body = trim(line.substr(1, line.size() - 2));
        return true;
    }

 private:
    // The next line that isn't blank, trimmed.
    bool next_line(std::string &line) {
        while (std::getline(in_, line)) {
            line = trim(line);
            if (!line.empty()) return true;
        }
        return false;
    }

    void read_meaning(std::string line, Operation &operation) {
        if (line.compare(0, 3, "/* ") != 0) fail(line);
        line.erase(0, 3);
        for (bool first = true;; first = false) {
            const bool is_last = line.size() > 2 && line.compare(line.size() - 2, 2, "*/") == 0;
            if (is_last) line = trim(line.substr(0, line.size() - 2));
            if (first || begins_paragraph(line)) {
                operation.meaning.push_back(line);
            } else {
                operation.meaning.back() += " " + line;
            }
            if (is_last || !next_line(line)) return;
        }
    }

    void read_prototype(const std::string &line, Operation &operation) {
        const std::size_t open = line.find('(');
        if (open == std::string::npos || line.back() != ')') fail(line);
        const std::size_t name = line.find_last_of(" *", open) + 1;
        operation.result = line.substr(0, name);
        operation.name = line.substr(name, open - name);
        operation.arguments = split(line.substr(open + 1, line.size() - open - 2), ',');
    }

    [[noreturn]] static void fail(const std::string &line) {
        throw std::logic_error("not an operation of a catalogue: " + line);
    }

    std::istringstream in_;
};

bool is_part_of_word(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// Whether the body names the argument; a part of `a::b` is something else.
bool uses(const std::string &body, const std::string &word) {
    for (std::size_t at = body.find(word); at != std::string::npos; at = body.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        const bool begins = at == 0 || (!is_part_of_word(body[at - 1]) && body[at - 1] != ':');
        const bool ends = end == body.size() || (!is_part_of_word(body[end]) && body[end] != ':');
        if (begins && ends) return true;
    }
    return false;
}

// Without the name if the body doesn't use it.
std::string in_definition(const std::string &argument, const std::string &body) {
    std::size_t name = argument.size();
    while (name > 0 && is_part_of_word(argument[name - 1])) --name;
    return uses(body, argument.substr(name)) ? argument : trim(argument.substr(0, name));
}

std::vector<std::string> in_definition(const Operation &operation) {
    if (operation.arguments == std::vector<std::string>{"void"}) return {};
    std::vector<std::string> arguments;
    for (const std::string &each : operation.arguments)
        arguments.push_back(in_definition(each, operation.body));
    return arguments;
}

// The definition takes more arguments than the prototype has, so it has a name of
// its own; for the linker it is the exported one.
std::string define_wide(const Operation &operation) {
    constexpr const char *words[] = {"first", "second", "third", "fourth", "fifth", "sixth"};
    std::vector<std::string> arguments = operation.arguments;
    for (std::size_t i = arguments.size(); i < std::size(words); ++i)
        arguments.push_back(std::string("uintptr_t ") + words[i]);
    const std::string wide = operation.name + "_wide";
    return "\n" +
           prototype("extern \"C\" TARNBASE_API " + operation.result + wide, arguments, "\n") +
           "    __asm__(\"" + operation.name + "\");\n" +
           prototype("TARN_CALLED_WITH_FEWER " + operation.result + wide, arguments, " {") + "\n" +
           fill_call(operation.body, 4) + "\n}\n";
}

}  // namespace

std::vector<std::string> Operation::names() const {
    if (!has_twin) return {name};
    return {name, name + "_unsafe"};
}

std::vector<Operation> list_operations(std::string_view catalogue, const Context &item) {
    Catalogue text(render(catalogue, item));
    std::vector<Operation> operations;
    for (Operation operation; text.next(operation);) operations.push_back(operation);
    return operations;
}

std::string declare_operations(const std::vector<Operation> &operations) {
    std::string text;
    for (const Operation &each : operations) {
        text += "\n" + comment(each.meaning);
        for (const std::string &name : each.names())
            text += prototype("TARNBASE_API " + each.result + name, each.arguments, ";") + "\n";
    }
    return text;
}

std::string define_operations(const std::vector<Operation> &operations) {
    std::string text;
    for (const Operation &each : operations) {
        if (each.is_wide) {
            text += define_wide(each);
            continue;
        }
        const std::string weak = each.is_weak ? "__attribute__((weak)) " : "";
        for (const std::string &name : each.names()) {
            text += "\n" + prototype(weak + each.result + name, in_definition(each), " {");
            if (!each.body.empty()) text += "\n" + fill_call(each.body, 4) + "\n";
            text += "}\n";
        }
    }
    return text;
}

}  // namespace tarnc
