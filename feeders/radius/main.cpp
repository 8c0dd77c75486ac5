// SPDX-License-Identifier: Apache-2.0
//
// tarn-radius: keeps what RADIUS servers count in a table of a store.
#include "cli/start.h"
#include "service.h"
#include "settings.h"

int main(int argc, char **argv) {
    tarn_radius::Settings settings;
    const auto program = tarn_radius::make_program(settings);
    const cli::Start start = cli::start(*program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return tarn_radius::serve(settings);
    } catch (const cli::UsageError &error) {
        return cli::report(*program, cli::LineError(*program, error.what()));
    }
}
