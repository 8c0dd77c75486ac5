// SPDX-License-Identifier: Apache-2.0
//
// The common parts of insert, set and delete: options, batches, trials and output.
#ifndef TARNCTL_COMMANDS_WRITING_H
#define TARNCTL_COMMANDS_WRITING_H

#include "cli/command.h"
#include "edit/order.h"

namespace tarnctl {

// How a verb is declared. The texts live as long as the program.
struct WritingCommand {
    Verb verb;
    const char *name;
    const char *description;
    const char *footer;
};

// The positional arguments and the options that choose records, which a line of a batch has too.
void add_order_options(cli::Command &command, Verb verb, OrderWords &words);
void declare_writing(cli::Command &program, const WritingCommand &what);

}  // namespace tarnctl

#endif
