// SPDX-License-Identifier: Apache-2.0
#include "emit.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "context.h"
#include "context_mib.h"
#include "exports.h"
#include "face.h"
#include "identity.h"
#include "operations.h"
#include "python.h"
#include "render.h"

namespace tarnc {
namespace {

// Which templates an item of a kind is written with.
struct Templates {
    const char *folder;     // of the public header
    const char *catalogue;  // of the operations
    const char *header;
    const char *model;
    const char *stamp;
};
constexpr Templates of_structures = {"types", "structure.ops", "type.h", "structure_model.h",
                                     "structure.cpp"};
constexpr Templates of_enumerations = {"enums", "enumeration.ops", "enumeration.h",
                                       "enumeration_model.h", "enumeration.cpp"};
constexpr Templates of_tables = {"tables", "table.ops", "table.h", "table_model.h", "table.cpp"};

class Emitter {
 public:
    Emitter(const Schema &schema, Diagnostics &diagnostics)
        : schema_(schema), exports_(diagnostics), module_(empty_module()) {}

    Files emit(std::size_t shards);

 private:
    template <typename Items>
    Context emit_items(const Items &items, const Templates &templates);
    void emit_item(const Templates &templates, const std::string &name, const Place &place,
                   Context context);
    Place module_place() const;
    void export_data();
    void emit_module();
    void emit_catalogue();
    void emit_layout();
    void emit_mib();
    void emit_exports();
    void emit_shards(std::size_t shards);
    void emit_schema_header();
    Context empty_module() const;

    const Schema &schema_;
    Exports exports_;
    Files files_;
    Context module_;
    std::vector<std::string> names_;  // of all items
};

Context list() { return Context{Context::type::list}; }

// "sample" exports under the version node SAMPLE_1.
std::string version_node(const std::string &module) {
    std::string node;
    for (const char c : module)
        node += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return node + "_1";
}

Files Emitter::emit(std::size_t shards) {
    module_.set("structures", emit_items(schema_.structures, of_structures));
    module_.set("enumerations", emit_items(schema_.enumerations, of_enumerations));
    module_.set("tables", emit_items(schema_.tables, of_tables));
    export_data();
    emit_module();
    emit_catalogue();
    emit_face(schema_, module_, files_);
    emit_layout();
    emit_mib();
    emit_exports();
    emit_schema_header();
    emit_shards(shards);
    return std::move(files_);
}

Context Emitter::empty_module() const {
    Context context;
    context.set("module", schema_.module);
    context.set("origin", origin(schema_, module_place()));
    context.set("structure_count", std::to_string(schema_.structures.size()));
    context.set("enumeration_count", std::to_string(schema_.enumerations.size()));
    context.set("table_count", std::to_string(schema_.tables.size()));
    context.set("kinds", kinds());
    return context;
}

Place Emitter::module_place() const {
    return {std::make_shared<const std::string>(schema_.files.front()), 1, 1};
}

template <typename Items>
Context Emitter::emit_items(const Items &items, const Templates &templates) {
    Context all = list();
    for (const auto &item : items) {
        const Context context = context_of(schema_, item);
        emit_item(templates, item.name, item.place, context);
        all.push_back(context);
    }
    return all;
}

void Emitter::emit_item(const Templates &templates, const std::string &name, const Place &place,
                        Context context) {
    const std::vector<Operation> operations = list_operations(templates.catalogue, context);
    exports_.add(operations, place);
    context.set("operations", declare_operations(operations));
    files_["include/tarnbase/" + std::string(templates.folder) + "/" + name + ".h"] =
        render(templates.header, context);
    files_["model/" + name + ".h"] = render(templates.model, context);
    context.set("operations", define_operations(operations));
    files_["stamps/" + name + ".cpp"] = render(templates.stamp, context);
    names_.push_back(name);
}

void Emitter::export_data() {
    const auto descriptor = [this](const std::string &item, const Place &place) {
        exports_.add('D', "_" + item + "_type_info_internal", place);
    };
    for (const Structure &each : schema_.structures) descriptor(each.name, each.place);
    for (const Enumeration &each : schema_.enumerations) descriptor(each.name, each.place);
    for (const Table &each : schema_.tables) {
        descriptor(each.name + "_table", each.place);
        descriptor(each.name + "_table_record", each.place);
        exports_.add('D', each.name + "_table_vft", each.place);
        for (const char *constant : {"_luid", "_luid_text", "_name"})
            exports_.add('D', "table_" + each.name + constant, each.place);
    }
    std::istringstream module_exports(render("module_exports.txt", module_));
    std::string symbol;
    for (char kind = 0; module_exports >> kind >> symbol;)
        exports_.add(kind, symbol, module_place());
}

void Emitter::emit_module() {
    Context sorted = list();
    for (const Table *table : schema_.tables_by_luid())
        sorted.push_back(context_of(schema_, *table));
    module_.set("tables_by_luid", sorted);
    files_["module.cpp"] = render("module.cpp", module_);
    files_["include/tarnbase/tarnbase.h"] = render("tarnbase.h", module_);
    for (const char *schema_as_data : {"gdb_schema.py", "wireshark_schema.lua"})
        files_[schema_as_data] = render(schema_as_data, module_);
    files_[schema_.module + ".yang"] = render("module.yang", module_);
    files_["schema.pyi"] = python_types(schema_, origin(schema_, module_place()));
}

// The schema as data, for programs that work on any table.
void Emitter::emit_catalogue() {
    files_["catalogue.cpp"] = render("catalogue.cpp", module_);
    files_["catalogue_operations.cpp"] = render("catalogue_operations.cpp", module_);
}

// What SNMP shows: constants for the program that answers, and the module's own MIB.
void Emitter::emit_mib() {
    const Context context = context_of_mib(schema_);
    files_["mib_map.cpp"] = render("mib_map.cpp", context);
    if (!schema_.mib.own.empty())
        files_[mib_module(schema_) + ".txt"] = render("module.mib", context);
}

void Emitter::emit_layout() {
    files_["layout.txt"] = render("layout.txt", module_);
    // A structure comes after those nested in it.
    Context context = empty_module();
    Context inside_out = list();
    std::vector<const Structure *> done;
    const auto add = [&](const auto &self, const Structure &structure) -> void {
        if (std::find(done.begin(), done.end(), &structure) != done.end()) return;
        for (const Field &field : structure.fields) {
            if (field.structure != nullptr) self(self, *field.structure);
        }
        done.push_back(&structure);
        inside_out.push_back(context_of(schema_, structure));
    };
    for (const Structure &structure : schema_.structures) add(add, structure);
    context.set("structures", inside_out);
    files_["layout_check.cpp"] = render("layout_check.cpp", context);
}

void Emitter::emit_exports() {
    Context symbols = list();
    for (const std::string &symbol : exports_.symbols())
        symbols.push_back(Context{"symbol", Context{symbol}});
    Context context = empty_module();
    context.set("exports", symbols);
    context.set("version_node", version_node(schema_.module));
    files_["exports.txt"] = exports_.list();
    files_["exports.map"] = render("exports.map", context);
}

// Every generated header includes this one, whose digest changes with any of them. The
// build has no list of the generated headers and depends on this one instead.
void Emitter::emit_schema_header() {
    std::string all;
    for (const auto &[path, content] : files_) {
        if (path.ends_with(".h")) all += path + "\n" + content;
    }
    Context context = empty_module();
    context.set("digest", digest(all, 0));
    files_["include/tarnbase/schema.h"] = render("schema.h", context);
}

// Distributes the stamps, the longest first, each to the shortest shard. The digest
// makes a shard change with its stamps, for the same reason as above.
void Emitter::emit_shards(std::size_t shards) {
    struct Shard {
        std::size_t length = 0;
        std::string stamps;
        Context items = list();
    };
    const auto stamp = [this](const std::string &name) -> const std::string & {
        return files_.at("stamps/" + name + ".cpp");
    };
    std::stable_sort(names_.begin(), names_.end(), [&](const auto &a, const auto &b) {
        return stamp(a).size() > stamp(b).size();
    });
    std::vector<Shard> dealt(shards);
    for (const std::string &name : names_) {
        Shard &shard =
            *std::min_element(dealt.begin(), dealt.end(),
                              [](const Shard &a, const Shard &b) { return a.length < b.length; });
        shard.length += stamp(name).size();
        shard.stamps += stamp(name);
        shard.items.push_back(Context{"item", Context{name}});
    }
    for (std::size_t i = 0; i < dealt.size(); ++i) {
        Context context = empty_module();
        context.set("digest", digest(dealt[i].stamps, 0));
        context.set("items", dealt[i].items);
        files_["shard_" + std::to_string(i) + ".cpp"] = render("shard.cpp", context);
    }
}

}  // namespace

Files emit(const Schema &schema, std::size_t shards, Diagnostics &diagnostics) {
    return Emitter(schema, diagnostics).emit(shards);
}

}  // namespace tarnc
