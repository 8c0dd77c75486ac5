// SPDX-License-Identifier: Apache-2.0
#include "columns.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "key.h"
#include "tarnbase/tarn/address.hpp"
#include "tarnbase/tarn/callback.hpp"

namespace tarnbase::python {
namespace {

constexpr std::string_view time_type = "kel_timespec";
constexpr std::int64_t nanoseconds = 1'000'000'000;

// What a cell is made of.
enum class Cell : std::uint8_t { plain, time, text, address, array, tenant, source };

const char *format_of(const Field &field) {
    switch (field.kind) {
        case Kind::u_int8:
        case Kind::array:
            return "B";
        case Kind::u_int16:
            return "H";
        case Kind::u_int64:
            return "Q";
        case Kind::int32:
            return "i";
        case Kind::int64:
            return "q";
        case Kind::boolean:
            return "?";
        default:
            return "I";
    }
}

std::size_t size_of(std::string_view format) {
    switch (format[0]) {
        case 'H':
            return 2;
        case 'I':
        case 'i':
            return 4;
        case 'Q':
        case 'q':
            return 8;
        default:
            return 1;
    }
}

std::shared_ptr<Buffer> buffer_of(std::string_view format) {
    auto made = std::make_shared<Buffer>();
    made->format = format;
    made->item_size = size_of(format);
    return made;
}

// The first bytes of a number are its lowest ones.
void append(std::vector<unsigned char> &bytes, std::uint64_t number, std::size_t size) {
    unsigned char low[sizeof number];
    std::memcpy(low, &number, sizeof number);
    bytes.insert(bytes.end(), low, low + size);
}

// Fills a column, a record after the other.
class Filler {
 public:
    Filler(const Table &table, const std::string &name, std::size_t expected_rows);

    void add(kel_handle *handle, std::uint32_t tx_id, kel_record *record);
    Column finish();

 private:
    void find_leaf(const catalogue::Table &type);
    void choose_form();
    void *leaf_object(kel_handle *handle, std::uint32_t tx_id, kel_record *record) const;
    void add_value(const Access &at);
    void add_text(const char *bytes, std::size_t length);
    void add_blank();
    void end_row(bool is_valid);

    const catalogue::Table &type_;
    Cell cell_ = Cell::plain;
    bool in_key_ = false;
    std::vector<const Field *> outer_;
    const Field *leaf_ = nullptr;
    Column column_;
};

[[noreturn]] void no_field(const catalogue::Table &type, const std::string &name) {
    throw Failure(Problem::no_field, ENOENT, std::string(type.name) + " has no field " + name);
}

Filler::Filler(const Table &table, const std::string &name, std::size_t expected_rows)
    : type_(table.type()) {
    column_.name = name;
    const std::string first = name.substr(0, name.find('.'));
    const bool is_field = type_.type->find(first) != nullptr ||
                          (type_.key_type != nullptr && type_.key_type->find(first) != nullptr);
    if (!is_field && name == "tenant") cell_ = Cell::tenant;
    else if (!is_field && name == "source") cell_ = Cell::source;
    else find_leaf(type_);
    choose_form();
    column_.valid = buffer_of("?");
    column_.valid->bytes.reserve(expected_rows);
    const std::size_t elements = cell_ == Cell::array ? leaf_->elements : 1;
    column_.values->bytes.reserve(expected_rows * column_.values->item_size * elements);
    if (column_.offsets != nullptr) {
        column_.offsets->bytes.reserve((expected_rows + 1) * column_.offsets->item_size);
        append(column_.offsets->bytes, 0, column_.offsets->item_size);
    }
}

void Filler::find_leaf(const catalogue::Table &type) {
    const std::string &name = column_.name;
    const std::string first = name.substr(0, name.find('.'));
    in_key_ = type.key_type != nullptr && type.key_type->find(first) != nullptr;
    const Structure *inside = in_key_ ? type.key_type : type.type;
    for (std::size_t begin = 0;;) {
        const std::size_t dot = name.find('.', begin);
        const Field *field = inside == nullptr
                                 ? nullptr
                                 : inside->find(std::string_view(name).substr(begin, dot - begin));
        if (field == nullptr) no_field(type, name);
        leaf_ = field;
        inside = field->structure;
        if (dot == std::string::npos) break;
        outer_.push_back(field);
        begin = dot + 1;
    }
    if (inside != nullptr && inside->name != time_type)
        throw Failure(Problem::no_field, EINVAL,
                      name + " is a " + std::string(inside->name) +
                          ": name one of its fields, as " + name + "." +
                          std::string(inside->fields.front().name));
}

void Filler::choose_form() {
    if (cell_ == Cell::tenant || cell_ == Cell::source) {
        column_.values = buffer_of(cell_ == Cell::tenant ? "H" : "B");
        return;
    }
    if (leaf_->structure != nullptr) cell_ = Cell::time;
    else if (leaf_->kind == Kind::vstring) cell_ = Cell::text;
    else if (leaf_->kind == Kind::address) cell_ = Cell::address;
    else if (leaf_->kind == Kind::array) cell_ = Cell::array;
    const bool is_text = cell_ == Cell::text || cell_ == Cell::address;
    column_.values = buffer_of(is_text ? "B" : cell_ == Cell::time ? "q" : format_of(*leaf_));
    if (is_text) column_.offsets = buffer_of("q");
}

// Null if the record has no object with the leaf.
void *Filler::leaf_object(kel_handle *handle, std::uint32_t tx_id, kel_record *record) const {
    void *object =
        in_key_ ? type_.key_object(handle, tx_id, record) : type_.object(handle, tx_id, record);
    for (const Field *field : outer_) {
        if (!has(object, *field)) return nullptr;
        object = inside({handle, tx_id, object}, *field).object;
    }
    return has(object, *leaf_) ? object : nullptr;
}

void Filler::end_row(bool is_valid) {
    column_.valid->bytes.push_back(is_valid ? 1 : 0);
    ++column_.rows;
}

void Filler::add_text(const char *bytes, std::size_t length) {
    auto &all = column_.values->bytes;
    all.insert(all.end(), bytes, bytes + length);
    append(column_.offsets->bytes, all.size(), column_.offsets->item_size);
}

void Filler::add_blank() {
    if (column_.offsets != nullptr) return add_text("", 0);
    const std::size_t elements = cell_ == Cell::array ? leaf_->elements : 1;
    column_.values->bytes.resize(column_.values->bytes.size() +
                                 elements * column_.values->item_size);
}

std::uint64_t number_at(const Access &at, const Field &field) {
    std::uint32_t err = 0;
    const std::uint64_t value = field.call.get_value(at.handle, at.tx_id, at.object, 0, &err);
    if (err != 0) throw tarn::detail::make_error(err, "reading", std::string(field.name).c_str());
    return value;
}

void Filler::add_value(const Access &at) {
    auto &bytes = column_.values->bytes;
    if (cell_ == Cell::plain) {
        append(bytes, number_at(at, *leaf_), column_.values->item_size);
        return;
    }
    const void *found = inside(at, *leaf_).object;
    if (cell_ == Cell::time) {
        const Access time{at.handle, at.tx_id, const_cast<void *>(found)};
        const std::span<const Field> fields = leaf_->structure->fields;
        append(bytes, number_at(time, fields[0]) * nanoseconds + number_at(time, fields[1]),
               column_.values->item_size);
    } else if (cell_ == Cell::array) {
        const auto *elements = static_cast<const unsigned char *>(found);
        bytes.insert(bytes.end(), elements, elements + leaf_->elements);
    } else if (cell_ == Cell::text) {
        std::uint32_t length = 0;
        const char *text = kel_vstring_bytes(static_cast<const kel_vstring *>(found), &length);
        add_text(text, length);
    } else {
        const std::string text = tarn::address(*static_cast<const ip_address *>(found)).to_text();
        add_text(text.data(), text.size());
    }
}

void Filler::add(kel_handle *handle, std::uint32_t tx_id, kel_record *record) {
    if (leaf_ == nullptr) {
        append(column_.values->bytes, cell_ == Cell::tenant ? record->tenant_id : record->src,
               column_.values->item_size);
        end_row(true);
        return;
    }
    void *object = leaf_object(handle, tx_id, record);
    if (object != nullptr) add_value({handle, tx_id, object});
    else add_blank();
    end_row(object != nullptr);
}

Column Filler::finish() {
    column_.valid->shape = {column_.rows};
    if (column_.offsets != nullptr) {
        column_.offsets->shape = {column_.rows + 1};
        column_.values->shape = {column_.values->bytes.size()};
    } else {
        column_.values->shape = {column_.rows};
        if (cell_ == Cell::array) column_.values->shape.push_back(leaf_->elements);
    }
    return std::move(column_);
}

}  // namespace

std::shared_ptr<Buffer> Column::fixed() const {
    if (offsets == nullptr)
        throw Failure(Problem::bad_type, EINVAL, name + " isn't a column of texts");
    std::vector<std::int64_t> ends(rows + 1);
    std::memcpy(ends.data(), offsets->bytes.data(), offsets->bytes.size());
    std::size_t longest = 1;
    for (std::size_t i = 0; i < rows; ++i)
        longest = std::max(longest, static_cast<std::size_t>(ends[i + 1] - ends[i]));
    auto made = std::make_shared<Buffer>();
    made->format = std::to_string(longest) + "s";
    made->item_size = longest;
    made->shape = {rows};
    made->bytes.resize(rows * longest);
    for (std::size_t i = 0; i < rows; ++i)
        std::copy(values->bytes.begin() + ends[i], values->bytes.begin() + ends[i + 1],
                  made->bytes.begin() + static_cast<std::ptrdiff_t>(i * longest));
    return made;
}

std::vector<Column> columns_of(Table &table, const std::vector<std::string> &names,
                               const Choice &choice) {
    const std::uint64_t expected = table.count(choice);
    const Reading reading(table.store());
    kel_table *const block = table.block();
    kel_handle *const handle = table.store().handle();
    const std::uint16_t tenant = current_tenant();
    std::vector<Filler> fillers;
    fillers.reserve(names.size());
    for (const std::string &name : names) fillers.emplace_back(table, name, expected);
    const auto visit = [&](kel_record *record) {
        if (!choice.every_tenant && record->tenant_id != tenant) return record->tenant_id < tenant;
        if (choice.source && *choice.source != record->src) return true;
        table.need_readable(record);
        for (Filler &filler : fillers) filler.add(handle, handle->cr_tx_id, record);
        return true;
    };
    tarn::callback walk(visit);
    std::uint32_t err = 0;
    table.type().walk(block, walk.run<kel_record *>, &walk, &err);
    walk.finish();
    if (err != 0) throw tarn::detail::make_error(err, "walking", table.full_name().c_str());
    std::vector<Column> columns;
    for (Filler &filler : fillers) columns.push_back(filler.finish());
    return columns;
}

}  // namespace tarnbase::python
