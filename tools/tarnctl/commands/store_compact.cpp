// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store compact: returns a store's free space to the file system.
#include <fmt/core.h>

#include <iostream>
#include <memory>

#include "base/options.h"
#include "base/size.h"
#include "commands/command.h"
#include "commands/store.h"
#include "json/document.h"
#include "model/store.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    double wait = usual_wait;
    bool json = false;
};

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    const uint64_t before = store.files().bytes;
    store.compact(options.wait);
    const uint64_t after = store.files().bytes;
    if (options.json) {
        const Json json{{"before", before}, {"after", after}};
        std::cout << json.dump() << '\n';
        return;
    }
    std::cout << fmt::format("{} on disk, {} before\n", size_text(after), size_text(before));
}

}  // namespace

void declare_store_compact(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("compact", "Return free space to the file system");
    add_store_argument(command, options->store, "Store to compact");
    add_wait_option(command, options->wait);
    add_json_option(command, options->json);
    command.notes =
        "Writes a checkpoint without the free pages, and begins a short log. The store may\n"
        "be in use: this is the writer for a moment only, and no record moves. Stores do the\n"
        "same by themselves when the log gets long.\n\n"
        "--json prints {\"before\", \"after\"}: bytes on disk.\n\n"
        "Examples:\n"
        "  tarnctl store compact net.store\n"
        "  tarnctl store compact --wait 60 net.store";
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
