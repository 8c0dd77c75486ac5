// SPDX-License-Identifier: Apache-2.0
#include "model/state.h"

#include <fmt/core.h>

#include <charconv>
#include <map>
#include <string_view>

#include "base/failure.h"

namespace tarnctl {
namespace {

void *checked_inner_object(const Field &field, kel_handle *handle, uint32_t tx_id, void *object) {
    uint32_t err = 0;
    void *inner = field.call.get(handle, tx_id, object, 0, &err);
    need(err, field.name);
    return inner;
}

void collect(kel_handle *handle, void *object, const Structure &structure,
             const std::string &prefix, StateFlags &flags) {
    const int8_t variant = static_cast<kel_object *>(object)->variant;
    for (const Field &field : structure.fields) {
        if (field.first_variant > variant) return;
        const std::string path = fmt::format("{}{}", prefix, field.name);
        uint32_t err = 0;
        if (const uint8_t flag = field.call.state_flag(handle, KEL_TX_NONE, object, &err))
            flags.emplace_back(path, flag);
        for (uint32_t i = 0; i < field.elements; ++i) {
            if (const uint8_t flag =
                    field.call.element_state_flag(handle, KEL_TX_NONE, object, i, &err))
                flags.emplace_back(fmt::format("{}[{}]", path, i), flag);
        }
        need(err, fmt::format("the state of {}", path));
        if (field.structure != nullptr)
            collect(handle, checked_inner_object(field, handle, KEL_TX_NONE, object),
                    *field.structure, path + ".", flags);
    }
}

// A field by its name, and which element of it.
struct Target {
    const Field *field = nullptr;
    bool whole = true;
    uint32_t index = 0;
};

Target target_of(const Structure &structure, std::string_view name) {
    const std::size_t open = name.find('[');
    Target target;
    target.field = structure.find(name.substr(0, open));
    if (open == std::string_view::npos || target.field == nullptr) return target;
    target.whole = false;
    const std::string_view digits = name.substr(open + 1);
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, target.index);
    const bool closed = error == std::errc() && end - stop == 1 && *stop == ']';
    if (!closed || target.index >= target.field->elements) target.field = nullptr;
    return target;
}

Failure no_field(const Structure &structure, const std::string &path) {
    return Failure(Exit::data, fmt::format("state: {} has no field `{}`", structure.name, path));
}

}  // namespace

bool is_tracked(const void *object) {
    return object != nullptr &&
           (static_cast<const kel_object *>(object)->flags & OBJ_STATE_TRACKED) != 0;
}

StateFlags state_flags_of(kel_handle *handle, void *object, const Structure &structure) {
    StateFlags flags;
    if (!is_tracked(object)) return flags;
    const tarn::tracking_scope scope(handle, tarn::tracking::existing);
    collect(handle, object, structure, "", flags);
    return flags;
}

RecordFlags state_flags_of(const Record &record) {
    const Table &table = *record.table;
    RecordFlags flags;
    flags.object = state_flags_of(
        record.handle, table.object(record.handle, KEL_TX_NONE, record.record), *table.type);
    if (table.key_type != nullptr)
        flags.key = state_flags_of(record.handle,
                                   table.key_object(record.handle, KEL_TX_NONE, record.record),
                                   *table.key_type);
    return flags;
}

namespace {

void add_changes(bool is_of_key, const StateFlags &before, const StateFlags &after,
                 std::vector<FlagChange> &changes) {
    std::map<std::string, std::pair<uint8_t, uint8_t>> flags;
    for (const auto &[path, flag] : before) flags[path].first = flag;
    for (const auto &[path, flag] : after) flags[path].second = flag;
    for (const auto &[path, pair] : flags) {
        if (pair.first != pair.second)
            changes.push_back({is_of_key, path, pair.first, pair.second});
    }
}

// A state flag as a field.
const Field state_field = [] {
    Field field{};
    field.kind = Kind::u_int8;
    return field;
}();

}  // namespace

std::vector<FlagChange> flags_between(const RecordFlags &before, const RecordFlags &after) {
    std::vector<FlagChange> changes;
    add_changes(false, before.object, after.object, changes);
    add_changes(true, before.key, after.key, changes);
    return changes;
}

FieldChange field_change(const FlagChange &change) {
    FieldChange field{fmt::format("{}({})", change.is_of_key ? "key_state" : "state", change.path),
                      std::to_string(change.before), std::to_string(change.after)};
    field.leaf = &state_field;
    return field;
}

void set_state_flag(kel_handle *handle, uint32_t tx_id, void *object, const Structure &structure,
                    const std::string &path, uint8_t flag) {
    const tarn::tracking_scope scope(handle, tarn::tracking::existing);
    const Structure *inside = &structure;
    std::string_view rest = path;
    for (std::size_t dot = rest.find('.'); dot != std::string_view::npos; dot = rest.find('.')) {
        const Field *field = inside->find(rest.substr(0, dot));
        if (field == nullptr || field->structure == nullptr) throw no_field(structure, path);
        object = checked_inner_object(*field, handle, tx_id, object);
        inside = field->structure;
        rest.remove_prefix(dot + 1);
    }
    const Target target = target_of(*inside, rest);
    if (target.field == nullptr) throw no_field(structure, path);
    const FieldFunctions &call = target.field->call;
    uint32_t err = 0;
    if (target.whole) call.set_state_flag(handle, tx_id, object, flag, &err);
    else call.set_element_state_flag(handle, tx_id, object, target.index, flag, &err);
    need(err, "state: " + path);
}

}  // namespace tarnctl
