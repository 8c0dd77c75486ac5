// SPDX-License-Identifier: Apache-2.0
//
// Options that several commands have, with one wording.
#ifndef TARNCTL_BASE_OPTIONS_H
#define TARNCTL_BASE_OPTIONS_H

#include <string>
#include <utility>

#include "cli/command.h"

namespace tarnctl {

// The name of a store, which isn't empty.
cli::Target store_into(std::string &path);
// -s, --store STORE: required; by default TARNBASE_STORE of the environment.
cli::Option &add_store_option(cli::Command &command, std::string &path);
// The same, but optional.
cli::Option &add_optional_store_option(cli::Command &command, std::string &path);
// The argument STORE, which -s, --store and TARNBASE_STORE replace.
cli::Option &add_store_argument(cli::Command &command, std::string &path, std::string meaning);
// --wait SECONDS, for commands that change a store.
inline constexpr double usual_wait = 1;
cli::Option &add_wait_option(cli::Command &command, double &seconds);
// --json
cli::Option &add_json_option(cli::Command &command, bool &json);
// -t, --tenant NUMBER, from 0 to 65535, and --source NUMBER, from 0 to 255, into a number or an
// optional one.
template <class Number>
cli::Option &add_tenant_option(cli::Command &command, Number &tenant, std::string meaning) {
    return command.option("-t,--tenant", "NUMBER", cli::number_into(tenant, 0, 65535),
                          std::move(meaning));
}
template <class Number>
cli::Option &add_source_option(cli::Command &command, Number &source, std::string meaning) {
    return command.option("--source", "NUMBER", cli::number_into(source, 0, 255),
                          std::move(meaning));
}

}  // namespace tarnctl

#endif
