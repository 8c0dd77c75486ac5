// SPDX-License-Identifier: Apache-2.0
#include "query/pattern.h"

#include <fmt/core.h>

#include "base/failure.h"

namespace tarnctl {

void Pattern::Free::operator()(regex_t *compiled) const {
    regfree(compiled);
    delete compiled;
}

Pattern::Pattern(const std::string &expression, bool ignores_case) {
    auto compiled = std::make_unique<regex_t>();
    const int flags = REG_EXTENDED | REG_NOSUB | (ignores_case ? REG_ICASE : 0);
    const int err = regcomp(compiled.get(), expression.c_str(), flags);
    if (err == 0) {
        compiled_.reset(compiled.release());
        return;
    }
    char problem[256];
    regerror(err, compiled.get(), problem, sizeof problem);
    throw Failure(Exit::usage,
                  fmt::format("`{}` is no regular expression: {}{}", expression, problem,
                              expression.starts_with('*') ? "; any text is `.*`" : ""));
}

bool Pattern::matches(std::string_view text) const {
    // With the text's bounds, so that a NUL doesn't end it.
    regmatch_t bounds{0, static_cast<regoff_t>(text.size())};
    return regexec(compiled_.get(), text.data(), 1, &bounds, REG_STARTEND) == 0;
}

}  // namespace tarnctl
