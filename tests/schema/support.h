// SPDX-License-Identifier: Apache-2.0
// What the compiler's unit tests share.
#ifndef TARNBASE_TESTS_SCHEMA_SUPPORT_H
#define TARNBASE_TESTS_SCHEMA_SUPPORT_H

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>

#include "check.h"
#include "emit.h"
#include "parser.h"
#include "tests/support/temporary_directory.h"

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

// The checked schema of a module of this text.
inline tarnc::Schema compile_text(const std::string &text) {
    const TemporaryDirectory directory;
    write_file(directory / "module.tarn", text);
    return compile(directory / "module.tarn");
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
