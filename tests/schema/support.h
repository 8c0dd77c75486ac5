// SPDX-License-Identifier: Apache-2.0
// What the compiler's unit tests share.
#ifndef TARNBASE_TESTS_SCHEMA_SUPPORT_H
#define TARNBASE_TESTS_SCHEMA_SUPPORT_H

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "check.h"
#include "emit.h"
#include "parser.h"

namespace tarn::test {

// Path of a schema in this folder.
inline std::string schema_path(const std::string &name) {
    return std::string(TARNBASE_SCHEMAS) + "/" + name;
}

// The checked schema of a module file; throws with the errors if it is bad.
inline tarnc::Schema compile(const std::string &path) {
    tarnc::Diagnostics diagnostics;
    const tarnc::syntax::Schema written = tarnc::parse_schema(path, diagnostics);
    tarnc::Schema schema;
    if (diagnostics.clean()) schema = tarnc::check_schema(written, diagnostics);
    if (!diagnostics.clean()) {
        std::ostringstream errors;
        diagnostics.print(errors);
        throw std::runtime_error(errors.str());
    }
    return schema;
}

// A folder of its own for a test, gone with it.
class Folder {
 public:
    explicit Folder(const std::string &name)
        : path_(std::filesystem::temp_directory_path() /
                (name + "-" + std::to_string(::getpid()))) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string operator/(const std::string &name) const { return (path_ / name).string(); }
    std::string path() const { return path_.string(); }

 private:
    std::filesystem::path path_;
};

// The checked schema of a module of this text.
inline tarnc::Schema compile_text(const std::string &text) {
    const Folder folder("tarnc-text");
    std::ofstream(folder / "module.tarn") << text;
    return compile(folder / "module.tarn");
}

template <typename Items>
const auto &item(const Items &items, const std::string &name) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const auto &each) { return each.name == name; });
    if (found == items.end()) throw std::runtime_error("no item " + name);
    return *found;
}

}  // namespace tarn::test

#endif
