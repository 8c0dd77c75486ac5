// SPDX-License-Identifier: Apache-2.0
#include "compare/comparison.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <optional>

#include "base/failure.h"
#include "exchange/frames.h"
#include "model/state.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

// The header of a frame has a stamp of the handle that wrote it, and isn't compared.
constexpr std::size_t frame_body = KEL_MESSAGE_HEADER_SIZE;

struct Pair {
    std::optional<Instance> a;
    std::optional<Instance> b;

    const Instance &any() const { return a ? *a : *b; }
};

// Not TableReference::means: a side read from an export has its tables by id under names, as `#7`.
bool is_chosen(const Instance &instance, const std::vector<TableReference> &tables) {
    if (tables.empty()) return true;
    return std::any_of(tables.begin(), tables.end(), [&](const TableReference &each) {
        if (each.table != instance.table) return false;
        if (each.id) return instance.name() == fmt::format("#{}", *each.id);
        return !each.name || instance.name() == *each.name;
    });
}

// In the order of the catalogue, instances by name.
std::vector<Pair> pairs_of(const Side &a, const Side &b,
                           const std::vector<TableReference> &tables) {
    std::map<std::pair<std::size_t, std::string>, Pair> pairs;
    const auto add = [&](const Side &side, std::optional<Instance> Pair::*member) {
        for (const Instance &each : instances(side.store)) {
            if (!is_chosen(each, tables)) continue;
            const auto place =
                std::find(catalogue.tables.begin(), catalogue.tables.end(), each.table);
            const auto position = static_cast<std::size_t>(place - catalogue.tables.begin());
            pairs[{position, each.name()}].*member = each;
        }
    };
    add(a, &Pair::a);
    add(b, &Pair::b);
    std::vector<Pair> sorted;
    for (auto &[name, pair] : pairs) sorted.push_back(pair);
    return sorted;
}

// The frame of a record without its header; empty if the record can't have one.
std::string_view body_of(const Record &record, std::string &buffer) {
    try {
        const std::string_view frame = frames::frame_of(record, record.table->name, buffer);
        return frame.substr(std::min(frame_body, frame.size()));
    } catch (const Failure &) {
        return {};
    }
}

class TableComparison {
 public:
    TableComparison(const Side &a, const Side &b, const Pair &pair, const CompareOptions &options,
                    const Differences &differences)
        : a_(a), b_(b), pair_(pair), options_(options), differences_(differences) {}

    bool run() {
        if (!pair_.a || !pair_.b) {
            differ_ = true;
            differences_.table(pair_.any(), !pair_.a);
        }
        const auto records = [](const Side &side, const std::optional<Instance> &instance) {
            return instance ? side.records_of(*instance) : std::vector<kel_record *>();
        };
        merge(records(a_, pair_.a), records(b_, pair_.b));
        return differ_;
    }

 private:
    bool done() const { return differ_ && options_.brief; }

    void merge(const std::vector<kel_record *> &as, const std::vector<kel_record *> &bs) {
        Progress progress("records", as.size() + bs.size());
        auto a = as.begin();
        auto b = bs.begin();
        while (!done() && (a != as.end() || b != bs.end())) {
            const uint32_t order = b == bs.end()   ? a_first
                                   : a == as.end() ? b_first
                                                   : order_of(**a, **b);
            if (order == a_first) gone(record(a_, *a++));
            else if (order == b_first) added(record(b_, *b++));
            else both(record(a_, *a++), record(b_, *b++));
            progress.advance(order == equal ? 2 : 1);
        }
    }

    uint32_t order_of(const kel_record &a, const kel_record &b) const {
        return pair_.any().table->order(&a.index_node, &b.index_node);
    }

    Record record(const Side &side, kel_record *record) const {
        return {pair_.any().table, side.store.handle(), record};
    }

    void gone(const Record &record) {
        report({pair_.any().full_name(), RecordCopy(record), std::nullopt, std::nullopt});
    }

    void added(const Record &record) {
        report({pair_.any().full_name(), std::nullopt, RecordCopy(record), std::nullopt});
    }

    void both(const Record &a, const Record &b) {
        const std::string_view body = body_of(a, a_buffer_);
        if (!body.empty() && body == body_of(b, b_buffer_) && a.is_pending() == b.is_pending())
            return;
        Change change{pair_.any().full_name(), RecordCopy(a), RecordCopy(b), std::nullopt};
        std::vector<FieldChange> fields = changes_between(*change.before, *change.after);
        for (const FlagChange &flag : flags_between(state_flags_of(a), state_flags_of(b)))
            fields.push_back(field_change(flag));
        std::erase_if(fields, [&](const FieldChange &field) { return is_ignored(field.field); });
        if (fields.empty()) return;
        change.fields = std::move(fields);
        report(change);
    }

    void report(const Change &change) {
        differ_ = true;
        differences_.record(change);
    }

    bool is_ignored(std::string_view field) const {
        return std::any_of(options_.ignored.begin(), options_.ignored.end(),
                           [&](const std::string &each) {
                               if (!field.starts_with(each)) return false;
                               return field.size() == each.size() || field[each.size()] == '.' ||
                                      field[each.size()] == '[';
                           });
    }

    // The index's order.
    static constexpr uint32_t a_first = 0;
    static constexpr uint32_t equal = 1;
    static constexpr uint32_t b_first = 2;

    const Side &a_;
    const Side &b_;
    const Pair &pair_;
    const CompareOptions &options_;
    const Differences &differences_;
    std::string a_buffer_;
    std::string b_buffer_;
    bool differ_ = false;
};

}  // namespace

bool compare(const Side &a, const Side &b, const CompareOptions &options,
             const Differences &differences) {
    bool differ = false;
    for (const Pair &pair : pairs_of(a, b, options.tables)) {
        if (differ && options.brief) break;
        differ = TableComparison(a, b, pair, options, differences).run() || differ;
    }
    return differ;
}

}  // namespace tarnctl
