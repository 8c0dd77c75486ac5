// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store: makes a store, and the group of the commands for stores.
#include <fmt/core.h>

#include <charconv>
#include <memory>

#include "base/options.h"
#include "base/size.h"
#include "commands/command.h"
#include "commands/store.h"
#include "model/store.h"
#include "tarnbase/tarnbase.h"

namespace tarnctl {
namespace {

constexpr uint64_t page = 4096;

struct Options {
    std::string path;
    std::string capacity;
    std::string base;
    bool types = false;
};

uint64_t capacity_of(const std::string &text) {
    if (text.empty()) return 0;
    const auto size = parse_size(text);
    if (!size || *size == 0 || *size % page != 0)
        throw Failure(Exit::usage,
                      fmt::format("--capacity `{}`: expected a size such as 512M or 64G, a "
                                  "multiple of {} bytes",
                                  text, page));
    return *size;
}

void *base_of(const std::string &text) {
    if (text.empty()) return nullptr;
    const std::string_view digits =
        std::string_view(text).substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    uintptr_t address = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, address, 16);
    if (error != std::errc() || stop != end || address == 0 || address % page != 0)
        throw Failure(Exit::usage, fmt::format("--base `{}`: expected a hexadecimal address, a "
                                               "multiple of {}",
                                               text, page));
    return reinterpret_cast<void *>(address);
}

void create(const Options &options) {
    const kel_store_options wanted{capacity_of(options.capacity), base_of(options.base)};
    const Store store = Store::create(options.path, wanted);
    if (!options.types) return;
    uint32_t err = 0;
    tarnbase_typeinfo_initialize(store.handle(), KEL_TX_NONE, &err);
    need(err, fmt::format("{}: entering the types", options.path));
    store.publish();
}

void declare_create(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("create", "Make a store");
    command.argument("STORE", store_into(options->path), "Store to make; it must not exist")
        .required();
    command.option("--capacity", "SIZE", cli::into(options->capacity),
                   "What the store may grow to, in bytes or as a number with K, M, G or T; "
                   "64G by default");
    command.option("--base", "ADDRESS", cli::into(options->base),
                   "Address at which every process maps the store, in hexadecimal; chosen by "
                   "the runtime by default");
    command.flag("--types", options->types,
                 "Enter the descriptors of all types at once, not with the first record");
    command.notes =
        "The store uses disk space only for its contents; the capacity is a range of\n"
        "addresses.\n\n"
        "Examples:\n"
        "  tarnctl store create net.store\n"
        "  tarnctl store create --capacity 512M --types net.store";
    command.action = [options] { create(*options); };
}

}  // namespace

void declare_store(cli::Command &program, Exit &status) {
    cli::Command &group =
        program.command("store", "Make, describe, check, salvage, copy and compact stores");
    group.notes = "Example:\n  tarnctl store create net.store";
    declare_create(group);
    declare_store_info(group);
    declare_store_check(group, status);
    declare_store_salvage(group, status);
    declare_store_backup(group);
    declare_store_compact(group);
}

}  // namespace tarnctl
