// SPDX-License-Identifier: Apache-2.0
#include "base/options.h"

#include <utility>

namespace tarnctl {

cli::Target store_into(std::string &path) {
    return {[&path](const std::string &word) {
                if (word.empty()) throw cli::UsageError("expected the name of a store");
                path = word;
            },
            {},
            false};
}

cli::Option &add_store_option(cli::Command &command, std::string &path) {
    return add_optional_store_option(command, path).required();
}

cli::Option &add_optional_store_option(cli::Command &command, std::string &path) {
    return command.option("-s,--store", "STORE", store_into(path), "Name of the store")
        .environment("TARNBASE_STORE");
}

cli::Option &add_store_argument(cli::Command &command, std::string &path, std::string meaning) {
    return command.argument("STORE", store_into(path), std::move(meaning))
        .named("-s,--store")
        .environment("TARNBASE_STORE")
        .required();
}

cli::Option &add_wait_option(cli::Command &command, double &seconds) {
    return command.option("--wait", "SECONDS", cli::seconds_into(seconds, 0, 1e9),
                          "How long to wait while another process is the store's writer; 1 by "
                          "default. After a second standard error says for whom");
}

cli::Option &add_json_option(cli::Command &command, bool &json) {
    return command.flag("--json", json, "Print JSON");
}

}  // namespace tarnctl
