// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <set>

#include "face.h"
#include "frame/kinds.h"

namespace tarnc {
namespace {

// Names in the namespace or in a class, each with the line that it comes from.
class Names {
 public:
    Names(std::string scope, Diagnostics &diagnostics)
        : scope_(std::move(scope)), diagnostics_(diagnostics) {}

    void add(const std::string &name, const Place &place) {
        const auto [other, is_new] = places_.emplace(name, place);
        if (is_new) return;
        diagnostics_.report(place,
                            "a second " + scope_ + name + " in C++; the first is from line " +
                                std::to_string(other->second.line) + " of " + *other->second.file,
                            "names that differ there too");
    }

 private:
    std::string scope_;
    Diagnostics &diagnostics_;
    std::map<std::string, Place> places_;
};

// Whether fields of some kind have that type.
bool is_type_of_kind(const std::string &face) {
    return std::ranges::any_of(tarnbase::all_kinds,
                               [&](const auto &kind) { return face == kind.face; });
}

bool is_own_name(const std::string &name) {
    static const std::set<std::string> own = {"basic_iterator",
                                              "basic_new_record",
                                              "basic_range",
                                              "basic_record",
                                              "basic_table",
                                              "basic_table_reader",
                                              "byte_range",
                                              "bytes",
                                              "callback",
                                              "descriptors",
                                              "detail",
                                              "differences",
                                              "duration_of",
                                              "enumeration_traits",
                                              "enumerator",
                                              "error",
                                              "every_enumeration",
                                              "every_structure",
                                              "every_table",
                                              "field_difference",
                                              "field_value",
                                              "from_name",
                                              "label",
                                              "name",
                                              "new_record",
                                              "object_traits",
                                              "object_view",
                                              "owned",
                                              "quiet_scope",
                                              "record",
                                              "record_change",
                                              "replica",
                                              "result",
                                              "selection",
                                              "session",
                                              "set_journal",
                                              "set_time",
                                              "snapshot",
                                              "source",
                                              "store",
                                              "sync",
                                              "table",
                                              "table_of",
                                              "tenant_scope",
                                              "text_form",
                                              "time_of",
                                              "tracking",
                                              "tracking_scope",
                                              "transaction",
                                              "try_describe_compression",
                                              "try_describe_journal",
                                              "try_differences",
                                              "try_label",
                                              "try_set_journal",
                                              "try_set_time",
                                              "try_sync",
                                              "type_list",
                                              "values",
                                              "variant_scope",
                                              "xml_document",
                                              "xml_element"};
    return own.count(name) != 0 || is_type_of_kind("::tarn::" + name);
}

void check_members(const Structure &structure, Diagnostics &diagnostics) {
    Names names("tarn::" + face_name(structure) + "::", diagnostics);
    for (const Field &field : structure.fields) {
        names.add(face_member(structure, field), field.place);
        names.add("set_" + field.name, field.place);
        names.add("try_set_" + field.name, field.place);
        if (field.first_variant > 0 || field.kind == FieldKind::array)
            names.add("try_" + field.name, field.place);
    }
}

}  // namespace

void check_face(const Schema &schema, Diagnostics &diagnostics) {
    Names names("tarn::", diagnostics);
    Names files("tarnbase/tarn/tables/", diagnostics);
    const auto add = [&](const std::string &name, const Place &place) {
        if (is_own_name(name))
            diagnostics.report(place, "tarn::" + name + " is a name of the C++ interface itself",
                               "another name");
        names.add(name, place);
    };
    for (const Structure &each : schema.structures) {
        add(face_name(each), each.place);
        check_members(each, diagnostics);
    }
    for (const Enumeration &each : schema.enumerations) {
        add(each.name, each.place);
        Names enumerators("tarn::" + each.name + "::", diagnostics);
        for (const std::string &name : face_enumerators(each)) enumerators.add(name, each.place);
    }
    for (const Table &each : schema.tables) {
        add(each.name, each.place);
        files.add(face_file(each) + ".hpp", each.place);
    }
}

}  // namespace tarnc
