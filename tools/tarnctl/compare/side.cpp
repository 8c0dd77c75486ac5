// SPDX-License-Identifier: Apache-2.0
#include "compare/side.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include "base/failure.h"
#include "base/output_file.h"
#include "exchange/importer.h"
#include "exchange/writer.h"
#include "model/record.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

// A file that is removed at the end of the scope.
class TemporaryFile {
 public:
    TemporaryFile() {
        const char *directory = std::getenv("TMPDIR");
        path_ = fmt::format("{}/tarnctl.XXXXXX",
                            directory == nullptr || *directory == '\0' ? "/tmp" : directory);
        const int descriptor = mkstemp(path_.data());
        if (descriptor < 0)
            throw Failure(Exit::store, fmt::format("{}: {}", path_, std::strerror(errno)));
        close(descriptor);
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile() { unlink(path_.c_str()); }

    const std::string &path() const { return path_; }

 private:
    std::string path_;
};

// Reads the document into memory. `name` is its name in messages.
Side read_side(const std::string &name, Input &input, Format format,
               const std::vector<TableReference> &tables) {
    Side side{name, Store::scratch(), false};
    Progress progress("bytes", input.size());
    ImportOptions options;
    options.tables = tables;
    options.ids_as_names = true;
    options.advance = [&] { progress.advance_to(input.offset()); };
    Importer importer(side.store, KEL_TX_NONE, std::move(options));
    read_document(input, format, {}, importer);
    return side;
}

std::optional<Format> export_format(Input &input) { return format_of_content(input.rest()); }

// Moves a store into memory through a file of frames, and calls `between` while it is closed.
template <class Between>
Side moved(Side side, const std::vector<TableReference> &tables, Between between) {
    const TemporaryFile file;
    const std::string name = side.name;
    {
        const Side closing = std::move(side);
        OutputFile output(file.path());
        const std::unique_ptr<Writer> writer = make_writer(Format::frames, output.stream());
        for (const Instance &instance : instances(closing.store)) {
            writer->begin_table(instance);
            for_each_record(closing.store, instance, [&](const Record &record) {
                writer->write(record);
                return static_cast<bool>(output.stream());
            });
            writer->end_table();
        }
        writer->end();
        output.finish();
    }
    between();
    Input input(file.path());
    return read_side(name, input, Format::frames, tables);
}

bool is_export(const std::string &path) {
    if (path == "-") return true;
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) return false;
    Input input(path);
    return export_format(input).has_value();
}

Side read_export(const std::string &path, const std::vector<TableReference> &tables) {
    Input input(path);
    const auto format = export_format(input);
    if (!format)
        throw Failure(Exit::data, fmt::format("{}: expected XML, JSON or frames", input.name()));
    return read_side(path, input, *format, tables);
}

std::string text_of(const SideName &name) {
    return name.at ? fmt::format("{} at {}", name.path, name.at->text) : name.path;
}

Side open_store(const SideName &name) {
    return {text_of(name), Store::open_to_read(name.path, name.at), true};
}

std::pair<Side, Side> open_stores(const SideName &a, const SideName &b,
                                  const std::vector<TableReference> &tables) {
    Side first = open_store(a);
    if (std::optional<Store> second = Store::open_if_room(b.path, b.at))
        return {std::move(first), Side{text_of(b), std::move(*second), true}};
    std::optional<Side> second;
    Side copy = moved(std::move(first), tables, [&] { second.emplace(open_store(b)); });
    return {std::move(copy), std::move(*second)};
}

}  // namespace

std::vector<kel_record *> Side::records_of(const Instance &instance) const {
    std::vector<kel_record *> records;
    const auto keep = [&](const Record &each) {
        records.push_back(each.record);
        return true;
    };
    if (has_files) for_each_record(store, instance, keep);
    else for_each_own_record(store, instance, keep);
    return records;
}

std::pair<Side, Side> open_sides(const SideName &a, const SideName &b,
                                 const std::vector<TableReference> &tables) {
    const bool a_is_export = is_export(a.path);
    const bool b_is_export = is_export(b.path);
    if ((a_is_export && a.at) || (b_is_export && b.at))
        throw Failure(Exit::usage, "--at: an export has only one state");
    if (!a_is_export && !b_is_export) return open_stores(a, b, tables);
    // Stores first: they have fixed addresses, which the memory of an export could take.
    if (!a_is_export) {
        Side first = open_store(a);
        return {std::move(first), read_export(b.path, tables)};
    }
    if (!b_is_export) {
        Side second = open_store(b);
        Side first = read_export(a.path, tables);
        return {std::move(first), std::move(second)};
    }
    Side first = read_export(a.path, tables);
    return {std::move(first), read_export(b.path, tables)};
}

}  // namespace tarnctl
