// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store backup: copies a store that is in use.
#include <memory>

#include "base/options.h"
#include "commands/command.h"
#include "commands/store.h"
#include "model/store.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string output;
};

}  // namespace

void declare_store_backup(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("backup", "Copy a store, also while it is in use");
    command.argument("STORE", store_into(options->store), "Store to copy").required();
    command.argument("OUT", store_into(options->output), "Store to make; it must not exist")
        .required();
    command.notes =
        "The copy has what is committed when the command reads the store. Nobody waits, and\n"
        "the writer goes on. OUT gets its name when it is complete. It is a store of its own\n"
        "at the same address, so a process that has STORE open can't open OUT too.\n\n"
        "Example:\n"
        "  tarnctl store backup net.store net-2026-11-22.store";
    command.action = [options] { Store::open_to_read(options->store).back_up(options->output); };
}

}  // namespace tarnctl
