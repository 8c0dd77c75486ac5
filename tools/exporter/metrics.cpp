// SPDX-License-Identifier: Apache-2.0
#include "exporter/metrics.h"

#include <prometheus/metric_family.h>

#include <algorithm>
#include <map>
#include <utility>

#include "exporter/figures.h"
#include "model/instance.h"

namespace exporter {
namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using tarnctl::Instance;
using tarnctl::Record;
using tarnctl::Store;
using tarnctl::Value;
using Labels = std::vector<ClientMetric::Label>;

ClientMetric metric_of(Labels labels, double value, MetricType type) {
    ClientMetric metric;
    metric.label = std::move(labels);
    if (type == MetricType::Counter) metric.counter.value = value;
    else metric.gauge.value = value;
    return metric;
}

MetricFamily family_of(std::string name, std::string help, MetricType type) {
    return {std::move(name), std::move(help), type, {}};
}

void add(MetricFamily &family, Labels labels, double value) {
    family.metric.push_back(metric_of(std::move(labels), value, family.type));
}

double number_of(const Value &value) {
    const uint64_t number = value.number();
    return value.field().is_signed() ? static_cast<double>(static_cast<int64_t>(number))
                                     : static_cast<double>(number);
}

std::string label_text(const Record &record, const LabelField &label) {
    const Value value = record.value(label.column);
    return value.present() ? value.text() : "";
}

// The families of one table of the schema, filled from its instances in all stores.
class TableFamilies {
 public:
    TableFamilies(const TableFigures &figures, uint64_t most_series)
        : figures_(figures),
          most_series_(most_series),
          info_(family_of(figures.info_name, std::string(figures.table->type->meaning),
                          MetricType::Gauge)) {
        for (const Figure &each : figures.figures)
            families_.push_back(family_of(
                each.name, each.help, each.is_counter ? MetricType::Counter : MetricType::Gauge));
    }

    // Returns how many series were left out.
    uint64_t read(const std::string &name, const Store &store, const Instance &instance) {
        uint64_t &used = used_[name];
        uint64_t left_out = 0;
        const auto read_record = [&](const Record &record) {
            if (record.is_shadow()) return true;
            if (used + figures_.series_per_record() > most_series_) {
                ++left_out;
                return true;
            }
            used += figures_.series_per_record();
            add_record(labels_of(name, instance, record), record);
            return true;
        };
        const uint64_t unreadable =
            tarnctl::for_each_record(store, instance, read_record, tarnctl::Unreadable::leave_out);
        return (left_out + unreadable) * figures_.series_per_record();
    }

    void move_to(std::vector<MetricFamily> &all) {
        for (MetricFamily &each : families_) {
            if (!each.metric.empty()) all.push_back(std::move(each));
        }
        if (!info_.metric.empty()) all.push_back(std::move(info_));
    }

 private:
    Labels labels_of(const std::string &name, const Instance &instance,
                     const Record &record) const {
        Labels labels{{std::string(place_labels[0]), name},
                      {std::string(place_labels[1]), instance.name()},
                      {std::string(place_labels[2]), std::to_string(record.tenant())},
                      {std::string(place_labels[3]), std::to_string(record.src())}};
        for (const LabelField &each : figures_.key)
            labels.push_back({each.name, label_text(record, each)});
        return labels;
    }

    void add_record(const Labels &labels, const Record &record) {
        for (std::size_t i = 0; i < families_.size(); ++i) {
            const Figure &figure = figures_.figures[i];
            const Value value = record.value(figure.column);
            if (value.present()) add(families_[i], labels, number_of(value) * figure.scale);
        }
        if (figures_.info.empty()) return;
        Labels all = labels;
        for (const LabelField &each : figures_.info)
            all.push_back({each.name, label_text(record, each)});
        add(info_, std::move(all), 1);
    }

    const TableFigures &figures_;
    const uint64_t most_series_;
    std::vector<MetricFamily> families_;
    MetricFamily info_;
    std::map<std::string, uint64_t> used_;  // series, by store
};

// The figures of the stores as such.
struct StoreFamilies {
    MetricFamily up = family_of("tarnbase_store_up", "whether the store is open and up to date",
                                MetricType::Gauge);
    MetricFamily transactions =
        family_of("tarnbase_store_transactions_total", "number of the last transaction applied",
                  MetricType::Counter);
    MetricFamily missed = family_of(
        "tarnbase_store_missed_transactions_total",
        "transactions that were removed from the log before they were read", MetricType::Counter);
    MetricFamily openings = family_of("tarnbase_store_openings_total",
                                      "how often the store was opened", MetricType::Counter);
    MetricFamily records = family_of("tarnbase_store_records",
                                     "records of a table, shadows included", MetricType::Gauge);
    MetricFamily left_out = family_of(
        "tarnbase_store_series_left_out",
        "series of a table that are beyond the limit, or can't be read", MetricType::Gauge);

    void add_status(const std::string &name, const StoreStatus &status) {
        const Labels labels{{"store", name}};
        add(up, labels, status.is_open ? 1 : 0);
        add(transactions, labels, static_cast<double>(status.transaction));
        add(missed, labels, static_cast<double>(status.missed));
        add(openings, labels, static_cast<double>(status.openings));
    }
    void add_table(const std::string &name, const Instance &instance, uint64_t series_left_out) {
        const Labels labels{{"store", name},
                            {"type", std::string(instance.table->name)},
                            {"table", instance.name()}};
        add(records, labels, static_cast<double>(instance.block->record_count));
        add(left_out, labels, static_cast<double>(series_left_out));
    }
    void move_to(std::vector<MetricFamily> &all) {
        for (MetricFamily *each : {&up, &transactions, &missed, &openings, &records, &left_out}) {
            if (!each->metric.empty()) all.push_back(std::move(*each));
        }
    }
};

class Scrape {
 public:
    explicit Scrape(uint64_t most_series) {
        for (const TableFigures &each : figures_of_schema())
            tables_.emplace(each.table, TableFamilies(each, most_series));
    }

    void read(FollowedStore &followed) {
        followed.read([&](const Store &store, uint64_t /*transaction*/) {
            for (const Instance &each : tarnctl::instances(store)) {
                TableFamilies &table = tables_.at(each.table);
                stores_.add_table(followed.name(), each, table.read(followed.name(), store, each));
            }
        });
        stores_.add_status(followed.name(), followed.status());
    }

    std::string text(const std::string &version, const prometheus::Serializer &form) {
        std::vector<MetricFamily> all;
        all.push_back(family_of("tarnbase_exporter_build_info", "the version of the exporter",
                                MetricType::Gauge));
        add(all.back(), {{"version", version}}, 1);
        stores_.move_to(all);
        for (const TableFigures &each : figures_of_schema()) tables_.at(each.table).move_to(all);
        return form.Serialize(all);
    }

 private:
    std::map<const tarnctl::Table *, TableFamilies> tables_;
    StoreFamilies stores_;
};

}  // namespace

std::string metrics_text(const Stores &stores, uint64_t most_series, const std::string &version,
                         const prometheus::Serializer &form) {
    Scrape scrape(most_series);
    for (const auto &each : stores) scrape.read(*each);
    return scrape.text(version, form);
}

}  // namespace exporter
