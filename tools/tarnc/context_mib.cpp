// SPDX-License-Identifier: Apache-2.0
#include "context_mib.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <vector>

#include "context.h"
#include "context_parts.h"
#include "mib_parts.h"

namespace tarnc {
namespace {

// Groups of objects before those of the tables.
constexpr std::uint64_t first_group = 10;

std::string joined(const std::vector<std::uint64_t> &numbers, const char *between) {
    std::string list;
    for (const std::uint64_t each : numbers) list += (list.empty() ? "" : between) + text(each);
    return list;
}

// Names with commas between them, a line each.
std::string lines_of(const std::vector<std::string> &names) {
    std::string lines;
    for (const std::string &each : names) lines += (lines.empty() ? "" : ",\n            ") + each;
    return lines;
}

// A limit of a column as C++ writes it, or what there is without one.
std::string limit(const std::string &written, const char *without) {
    return written.empty() ? without : written;
}

// A type with its sizes, if an index needs them.
std::string index_type(const MibColumn &column) {
    if (column.syntax == "address") return column.type + " (SIZE (0|4|16))";
    if (column.syntax == "text") return column.type + " (SIZE (0..100))";
    return column.type;
}

Context context_of(const MibColumn &column) {
    Context context;
    context.set("object", column.name);
    context.set("number", text(column.number));
    context.set("syntax", column.syntax);
    context.set("smi_type", column.is_accessible ? column.type : index_type(column));
    context.set("sequence_type", column.type);
    context.set("access", column.is_accessible ? "read-only" : "not-accessible");
    context.set("path", column.path);
    context.set("fraction", column.fraction);
    context.set("in_key", column.in_key ? "true" : "false");
    context.set("low", limit(column.low, "lowest"));
    context.set("high", limit(column.high, "highest"));
    context.set("measured", flag(!column.unit.empty()));
    context.set("unit", column.unit);
    context.set("meaning", column.meaning);
    return context;
}

Context list_of(const std::vector<MibColumn> &columns) {
    Context list = empty_list();
    for (const MibColumn &each : columns) list.push_back(context_of(each));
    return list;
}

// All objects of a table in the order of their numbers, and what is in its index.
void set_objects(Context &context, const MibTable &table) {
    std::vector<MibColumn> all = table.columns;
    std::string names;
    for (const MibColumn &each : table.index) {
        names += ", " + each.name;
        if (!each.is_accessible) all.push_back(each);
    }
    std::sort(all.begin(), all.end(),
              [](const MibColumn &a, const MibColumn &b) { return a.number < b.number; });
    context.set("objects", list_of(all));
    context.set("key_objects", names);
}

Context context_of(const MibTable &table, std::size_t place) {
    std::string name = table.name;
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    Context context;
    context.set("place", text(place));
    context.set("mib_table", table.name);
    context.set("row_type", name + "Entry");
    context.set("own", table.is_own ? "true" : "false");
    context.set("schema_table", table.table->name);
    context.set("entry", joined(table.entry, ", "));
    context.set("table_number", table.is_own ? text(table.entry[1]) : "");
    context.set("group_number", table.is_own ? text(table.entry[1] + first_group) : "");
    context.set("meaning",
                table.table->meaning.empty() ? table.table->type->meaning : table.table->meaning);
    context.set("index", list_of(table.index));
    context.set("columns", list_of(table.columns));
    std::vector<std::string> group;
    for (const MibColumn &each : table.columns) group.push_back(each.name);
    context.set("group", lines_of(group));
    set_objects(context, table);
    return context;
}

bool is_used(const Mib &mib, const std::string &type) {
    const auto has_type = [&](const MibColumn &column) { return column.type == type; };
    return std::any_of(mib.own.begin(), mib.own.end(), [&](const MibTable &table) {
        return std::any_of(table.index.begin(), table.index.end(), has_type) ||
               std::any_of(table.columns.begin(), table.columns.end(), has_type);
    });
}

Context conventions(const Schema &schema) {
    Context list = empty_list();
    for (const Enumeration &each : schema.enumerations) {
        if (!is_used(schema.mib, mib_type(schema, each))) continue;
        std::string values;
        const std::vector<std::string> names = mib_names(each);
        for (std::size_t i = 0; i < names.size(); ++i)
            values += (i == 0 ? "" : ",\n        ") + names[i] + "(" +
                      text(each.enumerators[i].value) + ")";
        Context context;
        context.set("convention", mib_type(schema, each));
        context.set("meaning", each.meaning);
        context.set("values", values);
        list.push_back(context);
    }
    return list;
}

void set_groups(Context &context, const Schema &schema) {
    std::vector<std::string> groups;
    std::vector<std::string> notifications;
    for (const MibTable &each : schema.mib.own) groups.push_back(each.name + "Group");
    for (const char *each : {"StoreGroup", "EventGroup"}) groups.push_back(schema.module + each);
    for (const MibNotification &each : schema.mib.notifications)
        notifications.push_back(schema.module + camel_words(each.name));
    if (!notifications.empty()) groups.push_back(schema.module + "NotificationGroup");
    context.set("all_groups", lines_of(groups));
    context.set("notification_names", lines_of(notifications));
}

Context notifications_of(const Mib &mib) {
    Context list = empty_list();
    for (const MibNotification &each : mib.notifications) {
        Context context;
        context.set("notification", camel_words(each.name));
        context.set("number", text(each.number));
        context.set("meaning", each.meaning);
        list.push_back(context);
    }
    return list;
}

Context events_of(const Mib &mib) {
    Context list = empty_list();
    for (const MibEvent &each : mib.events) {
        Context context;
        context.set("schema_table", each.table->name);
        context.set("path", each.path);
        context.set("number", text(each.notification));
        list.push_back(context);
    }
    return list;
}

// The numbers below "iso", which is 1.
std::string below_iso(const Mib &mib) {
    return joined({mib.base.begin() + 1, mib.base.end()}, " ");
}

}  // namespace

std::string mib_module(const Schema &schema) {
    std::string name;
    for (const char c : schema.module)
        name += c == '_' ? '-' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name + "-MIB";
}

Context context_of_mib(const Schema &schema) {
    const Mib &mib = schema.mib;
    Context all = empty_list();
    Context own = empty_list();
    std::size_t place = 0;
    for (const MibTable &each : mib.standard) all.push_back(context_of(each, place++));
    for (const MibTable &each : mib.own) {
        all.push_back(context_of(each, place));
        own.push_back(context_of(each, place++));
    }
    Context context;
    context.set("module", schema.module);
    context.set("type_prefix", camel_words(schema.module));
    context.set("mib_module", mib_module(schema));
    context.set("origin",
                origin(schema, {std::make_shared<const std::string>(schema.files.front()), 1, 1}));
    context.set("base", joined(mib.base, ", "));
    context.set("below_iso", below_iso(mib));
    context.set("tables", all);
    context.set("has_tables", flag(place > 0));
    context.set("own_tables", own);
    context.set("conventions", conventions(schema));
    context.set("notifications", notifications_of(mib));
    context.set("has_notifications", flag(!mib.notifications.empty()));
    context.set("events", events_of(mib));
    context.set("has_events", flag(!mib.events.empty()));
    set_groups(context, schema);
    return context;
}

}  // namespace tarnc
