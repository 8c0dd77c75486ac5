// SPDX-License-Identifier: Apache-2.0
//
// The only file that includes toml++, which is slow to compile.
#include "cli/config_file.h"

#include <toml++/toml.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

namespace cli {
namespace {

constexpr const char *expected = "expected a text, a number, true or false, or a list of these";

std::string read_text(const std::string &path) {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    if (file == nullptr) throw UsageError(path + ": " + std::strerror(errno));
    std::string text;
    char buffer[4096];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, file.get()))
        text.append(buffer, got);
    if (std::ferror(file.get()) != 0) throw UsageError(path + ": " + std::strerror(errno));
    return text;
}

std::string place_of(const std::string &path, const toml::source_region &region) {
    return path + ":" + std::to_string(region.begin.line);
}

// Numbers in the form that options have on the command line.
template <class Number>
std::string word_of(Number number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

std::string word_of(const toml::node &node, const Setting &setting) {
    if (const auto *text = node.as_string()) return text->get();
    if (const auto *number = node.as_integer()) return word_of(number->get());
    if (const auto *number = node.as_floating_point()) return word_of(number->get());
    if (const auto *truth = node.as_boolean()) return truth->get() ? "true" : "false";
    throw UsageError(setting.place + ": " + setting.name + ": " + expected);
}

Setting setting_of(const std::string &path, std::string_view name, const toml::node &node) {
    Setting setting{std::string(name), {}, place_of(path, node.source())};
    if (const toml::array *list = node.as_array()) {
        for (const toml::node &each : *list) setting.words.push_back(word_of(each, setting));
    } else {
        setting.words.push_back(word_of(node, setting));
    }
    return setting;
}

}  // namespace

std::vector<Setting> read_config(const std::string &path) {
    const std::string text = read_text(path);
    try {
        std::vector<Setting> settings;
        for (const auto &[key, node] : toml::parse(text))
            settings.push_back(setting_of(path, key.str(), node));
        return settings;
    } catch (const toml::parse_error &error) {
        throw UsageError(place_of(path, error.source()) + ": " + std::string(error.description()));
    }
}

void add_config_option(Command &program) {
    program
        .option("-c,--config", "FILE", {[](const std::string &) {}, {}, false},
                "File of settings, TOML: its keys are the options' names")
        .reads(read_config);
}

}  // namespace cli
