// SPDX-License-Identifier: Apache-2.0
#include "mib.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <set>

#include "mib_parts.h"
#include "render.h"

namespace tarnc {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_lower(char c) { return c >= 'a' && c <= 'z'; }

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// The notifications by name. Reports those with a name or a number of another one.
std::map<std::string, MibNotification> notifications_of(const syntax::Schema &written,
                                                        Diagnostics &diagnostics) {
    std::map<std::string, MibNotification> by_name;
    std::set<std::uint64_t> numbers;
    for (const syntax::Notification &each : written.notifications) {
        if (!by_name
                 .emplace(each.name.text,
                          MibNotification{each.name.text, each.number.value, each.meaning})
                 .second)
            diagnostics.report(each.name.place, "a second notification " + each.name.text,
                               "a name of its own");
        if (each.number.value == 0 || !numbers.insert(each.number.value).second)
            diagnostics.report(each.number.place, "the number " + std::to_string(each.number.value),
                               "a number from 1 on that no other notification has");
    }
    return by_name;
}

void add_events(Mib &mib, const Table &table, const std::vector<syntax::MibNote> &notes,
                const std::map<std::string, MibNotification> &notifications,
                Diagnostics &diagnostics) {
    for (const syntax::MibNote &each : notes) {
        const auto found = notifications.find(each.name.text);
        if (found == notifications.end()) {
            diagnostics.report(each.name.place, "notification " + each.name.text + " is unknown",
                               "the name of a 'notification' item");
            continue;
        }
        const Field *field = field_at(*table.type, each.path.text);
        if (field == nullptr || field->measure != "counter") {
            diagnostics.report(each.path.place,
                               each.path.text + " is no counter of " + table.type->name,
                               "the path of a counter");
            continue;
        }
        mib.events.push_back({&table, each.path.text, found->second.number});
    }
}

std::size_t common_front(const Enumeration &enumeration) {
    const std::string &first = enumeration.enumerators.front().name;
    std::size_t length = first.size();
    for (const Enumerator &each : enumeration.enumerators) {
        const auto differs = std::mismatch(first.begin(), first.begin() + static_cast<long>(length),
                                           each.name.begin(), each.name.end());
        length = static_cast<std::size_t>(differs.first - first.begin());
    }
    const std::size_t line = first.substr(0, length).rfind('_');
    return line == std::string::npos ? 0 : line + 1;
}

}  // namespace

std::vector<std::uint64_t> parse_oid(const std::string &text) {
    std::vector<std::uint64_t> numbers;
    if (text.ends_with('.')) return {};
    for (const std::string &part : split(text, '.')) {
        const bool is_number = !part.empty() && std::all_of(part.begin(), part.end(), is_digit);
        if (!is_number || part.size() > 10) return {};
        numbers.push_back(std::stoull(part));
        if (numbers.back() > std::numeric_limits<std::uint32_t>::max()) return {};
    }
    return numbers.size() < 2 || numbers[0] > 2 ? std::vector<std::uint64_t>{} : numbers;
}

const Field *field_at(const Structure &structure, const std::string &path) {
    const std::size_t dot = path.find('.');
    const std::string name = path.substr(0, dot);
    const auto found = std::find_if(structure.fields.begin(), structure.fields.end(),
                                    [&](const Field &each) { return each.name == name; });
    if (found == structure.fields.end()) return nullptr;
    if (dot == std::string::npos) return &*found;
    return found->structure == nullptr ? nullptr
                                       : field_at(*found->structure, path.substr(dot + 1));
}

std::string camel_words(std::string_view words) {
    const bool has_lower = std::any_of(words.begin(), words.end(), is_lower);
    std::string name;
    char before = '_';
    for (const char c : words) {
        if (c != '_') {
            // Two numbers stay apart.
            if (before == '_' && is_digit(c) && !name.empty() && is_digit(name.back())) name += 'x';
            name += before == '_' ? upper(c) : has_lower ? c : lower(c);
        }
        before = c;
    }
    return name;
}

std::vector<std::string> mib_names(const Enumeration &enumeration) {
    const std::size_t front = common_front(enumeration);
    std::vector<std::string> names;
    for (const Enumerator &each : enumeration.enumerators) {
        std::string name = camel_words(std::string_view(each.name).substr(front));
        if (name.empty() || is_digit(name[0])) name = camel_words(each.name);
        name[0] = lower(name[0]);
        names.push_back(name);
    }
    return names;
}

std::string mib_type(const Schema &schema, const Enumeration &enumeration) {
    return camel_words(schema.module) + camel_words(enumeration.name);
}

Mib make_mib(const Schema &schema, const syntax::Schema &written, Diagnostics &diagnostics) {
    Mib mib;
    mib.standard = make_standard_tables(schema, written, diagnostics);
    mib.own = make_own_tables(schema, written, diagnostics);
    const auto notifications = notifications_of(written, diagnostics);
    for (const auto &[name, each] : notifications) mib.notifications.push_back(each);
    for (const Table &table : schema.tables) {
        for (const syntax::Table &each : written.tables) {
            if (each.name.text == table.name)
                add_events(mib, table, each.events, notifications, diagnostics);
        }
    }
    return mib;
}

}  // namespace tarnc
